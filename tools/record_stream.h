// A camera's stream into a recording: several frames are queued, and each that comes back full is
// handed to the writer and another queued in its place.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

#include "tools/frame_credit.h"
#include "tools/session.h"
#include "tools/taken_pictures.h"
#include "tools/writers/recording.h"
#include "tools/writers/recording_counts.h"

namespace zerix::tool {

class RecordStream {
public:
    // All of them must outlive the stream. A target without limits goes on until Stop.
    RecordStream(const OpenCamera &camera, const TakenPictures &pictures, const FrameCredit &credit,
                 Recording &recording, const RecordingTarget &target);
    ~RecordStream();
    RecordStream(const RecordStream &) = delete;
    RecordStream &operator=(const RecordStream &) = delete;

    // Queues `inFlight` frames and begins; `frameSize` is that of the recording's buffers. Throws
    // CommandError.
    void Start(size_t inFlight, uint32_t frameSize);

    // Waits until the target is reached or something has failed, but no longer than told. True at
    // the end.
    bool WaitForEnd(std::chrono::milliseconds longest);

    // Ends the stream; what has come is with the recording.
    void Stop();

    [[nodiscard]] RecordingCounts Counts() const;
    // From the first frame's start to the last one's end of exposure.
    [[nodiscard]] double RecordedSeconds() const;
    // The error of the library that ended the stream, or 0.
    [[nodiscard]] uint32_t Error() const;
    // True where no frame came for as long as the target says.
    [[nodiscard]] bool HasWaitedInVain() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Slot {
        RecordStream *stream;
        Zerix_Frame frame;
        FrameBuffer *buffer;
    };

    static void OnFrame(void *slot, uint32_t userData, uint32_t error, uint32_t flags);
    void Arrived(Slot &slot, uint32_t error);
    void Record(Slot &slot, uint32_t error);
    void EndWith(uint32_t error);
    void Queue(Slot &slot);
    [[nodiscard]] bool IsLongEnough(const Picture &picture) const;
    void GrantWhenThereIsRoom();
    void PayCredit();

    const OpenCamera &m_camera;
    const TakenPictures &m_pictures;
    const FrameCredit &m_credit;
    Recording &m_recording;
    RecordingTarget m_target;
    std::deque<Slot> m_slots;
    bool m_isRunning = false;
    std::atomic<bool> m_isCreditOwed = false;

    mutable std::mutex m_mutex; // of all below
    std::condition_variable m_ended;
    bool m_isOver = false;
    bool m_hasWaitedInVain = false;
    uint32_t m_error = 0;
    RecordingCounts m_counts;
    FrameNumbers m_numbers;
    uint64_t m_firstNanoseconds = 0;
    uint64_t m_lastNanoseconds = 0;
    Clock::time_point m_start;
    Clock::time_point m_lastArrival;
    Clock::time_point m_lastFrame; // that could be recorded
};

} // namespace zerix::tool
