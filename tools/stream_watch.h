// A camera's stream that nobody keeps: its frames are counted and thrown away.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

#include "tools/frame_credit.h"
#include "tools/session.h"
#include "tools/writers/recording_counts.h"

namespace zerix::tool {

class StreamWatch {
public:
    struct Counts {
        uint64_t frames = 0;
        uint64_t lost = 0;       // by the gaps in the camera's numbers
        uint64_t incomplete = 0; // with missing data
        uint64_t firstFrameNanoseconds = 0;
        uint64_t lastFrameNanoseconds = 0;
        uint32_t error = 0; // what ended the stream, or 0
    };

    // Begins to stream. Both must outlive it. Throws CommandError.
    StreamWatch(const OpenCamera &camera, const FrameCredit &credit, uint32_t exposuresPerPicture);
    ~StreamWatch();
    StreamWatch(const StreamWatch &) = delete;
    StreamWatch &operator=(const StreamWatch &) = delete;

    [[nodiscard]] Counts Now() const;

private:
    static constexpr size_t kFramesInFlight = 4;

    struct Slot {
        StreamWatch *watch = nullptr;
        Zerix_Frame frame{};
        std::vector<uint8_t> buffer;
    };

    static void OnFrame(void *slot, uint32_t userData, uint32_t error, uint32_t flags);
    void Arrived(Slot &slot, uint32_t error);
    uint32_t Queue(Slot &slot);
    void Stop();

    const OpenCamera &m_camera;
    const FrameCredit &m_credit;
    uint32_t m_exposuresPerPicture;
    std::array<Slot, kFramesInFlight> m_slots;
    mutable std::mutex m_mutex; // of all below
    Counts m_counts;
    FrameNumbers m_numbers;
};

} // namespace zerix::tool
