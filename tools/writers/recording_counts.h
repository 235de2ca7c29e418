// What became of the frames of a recording, as numbers and in words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zerix::tool {

struct RecordingCounts {
    uint64_t recorded = 0;        // handed to the writer
    uint64_t lostOnBus = 0;       // never came, or too damaged for use
    uint64_t droppedSlowDisk = 0; // came when no buffer was free
    uint64_t withMissingData = 0; // recorded, with black in place of what was lost
};

// Counts the frames that never came by the gaps in the camera's rolling 16-bit numbers.
class FrameNumbers {
public:
    // A filter wheel's frame is made of several exposures, each with a number.
    explicit FrameNumbers(uint32_t exposuresPerFrame = 1) : m_exposures(exposuresPerFrame) {}

    // The frames that are missing before this one.
    uint32_t Arrived(uint16_t number);

private:
    uint32_t m_exposures;
    std::optional<uint16_t> m_last;
};

// "12 frames", "1 frame", "no frame".
std::string FramesText(uint64_t frames);

// "15.0 frames/s", or "600.5 s a frame" where they are rare. By the frames' own times: the first
// one's start to the last one's end.
std::string RateText(uint64_t frames, double recordedSeconds);

// "lost on the bus: 2, dropped because the disk was slow: 0, with missing data: 1".
std::string LossesText(const RecordingCounts &counts);

struct RecordingTarget {
    uint64_t frames = 0;    // 0: no limit
    double seconds = 0;     // 0: no limit
    double waitSeconds = 0; // longest wait for the next frame; 0: no limit
};

// "[######    ] 60 of 100 frames, 15.0 frames/s, 2 lost, 0 dropped, 3 s left". Without a limit
// there is no bar and no time left. `recordedSeconds` is what counts for the limit of time.
std::string RecordingProgress(const RecordingCounts &counts, const RecordingTarget &target,
                              double elapsedSeconds, double recordedSeconds);

} // namespace zerix::tool
