// Gaps, and sentences.
#include "tools/writers/recording_counts.h"

#include <algorithm>

#include <fmt/format.h>

namespace zerix::tool {

uint32_t FrameNumbers::Arrived(uint16_t number)
{
    const uint32_t since =
        m_last ? static_cast<uint16_t>(number - *m_last - m_exposures) : uint32_t{0};
    m_last = number;
    return since / m_exposures;
}

std::string FramesText(uint64_t frames)
{
    if (frames == 0)
        return "no frame";
    return frames == 1 ? "1 frame" : fmt::format("{} frames", frames);
}

std::string RateText(uint64_t frames, double recordedSeconds)
{
    const double rate = recordedSeconds > 0 ? static_cast<double>(frames) / recordedSeconds : 0;
    return rate > 0 && rate < 1 ? fmt::format("{:.1f} s a frame", 1 / rate)
                                : fmt::format("{:.1f} frames/s", rate);
}

std::string LossesText(const RecordingCounts &counts)
{
    return fmt::format("lost on the bus: {}, dropped because the disk was slow: {}, "
                       "with missing data: {}",
                       counts.lostOnBus, counts.droppedSlowDisk, counts.withMissingData);
}

std::string RecordingProgress(const RecordingCounts &counts, const RecordingTarget &target,
                              double elapsedSeconds, double recordedSeconds)
{
    constexpr int kBarLength = 20;
    const auto recorded = static_cast<double>(counts.recorded);
    const double byFrames = target.frames != 0 ? recorded / static_cast<double>(target.frames) : 0;
    const double byTime = target.seconds > 0 ? recordedSeconds / target.seconds : 0;
    const double part = std::clamp(std::max(byFrames, byTime), 0.0, 1.0);
    std::string text;
    if (target.frames != 0 || target.seconds > 0)
        text = fmt::format("[{:<{}}] ", std::string(static_cast<size_t>(part * kBarLength), '#'),
                           kBarLength);
    text += target.frames != 0 ? fmt::format("{} of {} frames", counts.recorded, target.frames)
                               : FramesText(counts.recorded);
    text += fmt::format(", {}, {} lost, {} dropped", RateText(counts.recorded, recordedSeconds),
                        counts.lostOnBus, counts.droppedSlowDisk);
    if (part > 0)
        text += fmt::format(", {:.0f} s left", elapsedSeconds * (1 - part) / part);
    return text;
}

} // namespace zerix::tool
