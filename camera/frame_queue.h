// The frames on their way from the receive thread to the run loop, and their records, which are
// used again. A queue isn't locked: whoever uses it holds the camera's frameQueueSemaphore.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>

#include "camera/assembler/frame_info.h"

namespace zerix {

// What an image was exposed under: a start of the stream, and the tag of a commit.
struct ImageOrigin {
    uint32_t session = 0;
    uint8_t tag = 0;
};

// A frame in work with what only the camera needs to know of it. All frames of a camera are such.
struct FrameRecord : tStFrameInfo {
    bool ownsData;     // false for a buffer of the application
    uint32_t session;  // the start of streaming that it belongs to
    FrameRecord *next; // while it waits for its next use
};

inline FrameRecord &RecordOf(tStFrameInfo &frame) { return static_cast<FrameRecord &>(frame); }

inline ImageOrigin OriginOf(tStFrameInfo &frame) { return {RecordOf(frame).session, frame.psn}; }

// Gives and takes back records; once there are enough, without the heap. Any thread.
class FrameRecords {
public:
    FrameRecords() = default;
    ~FrameRecords();
    FrameRecords(const FrameRecords &) = delete;
    FrameRecords &operator=(const FrameRecords &) = delete;

    // Cleared but for `valid`, which is true; null if there is no memory.
    [[nodiscard]] FrameRecord *Acquire();
    // Frees the data, if the frame owns it, and takes the record back.
    void Release(tStFrameInfo &frame);

private:
    FrameRecord *TakeIdle();

    std::mutex m_mutex;
    FrameRecord *m_idle = nullptr;
};

class FrameQueue {
public:
    static constexpr uint32_t kCapacity = 256;

    [[nodiscard]] uint32_t Count() const { return m_count; }

    // The newest frame; null if there is none.
    [[nodiscard]] tStFrameInfo *Front() const;
    // False if there is no room.
    [[nodiscard]] bool PushFront(tStFrameInfo &frame);
    // Takes the newest frame, unless it is still being assembled.
    tStFrameInfo *TakeFrontIfFinished();
    // Takes the oldest frame that nobody writes to any more; null if there is none.
    tStFrameInfo *TakeOldestFinished();
    // Makes the run loop throw away what is in the queue.
    void MarkAllStale();

private:
    [[nodiscard]] tStFrameInfo *&At(uint32_t index)
    {
        return m_frames[(m_back + index) % kCapacity];
    }
    tStFrameInfo *Take(uint32_t index);

    std::array<tStFrameInfo *, kCapacity> m_frames{};
    uint32_t m_back = 0; // place of the oldest
    uint32_t m_count = 0;
};

} // namespace zerix
