// zerix record: the camera's stream into one file.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <new>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/os.h"
#include "tools/apply_settings.h"
#include "tools/colour.h"
#include "tools/command_error.h"
#include "tools/interrupts.h"
#include "tools/picture_file.h"
#include "tools/record_stream.h"
#include "tools/verbs.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t kFewestBuffers = 4;
constexpr size_t kMostInFlight = 8;

// What can't be written is found before anything is exposed.
void CheckFile(const std::string &file)
{
    std::string error;
    if (SequenceFormatOfFile(file, &error) == nullptr)
        throw CommandError(error);
    CheckFolder(file);
}

std::unique_ptr<SequenceWriter> Open(const std::string &file)
{
    std::string error;
    auto writer = OpenSequence(file, &error);
    if (writer == nullptr)
        throw CommandError(error);
    return writer;
}

// The line of progress, where the standard error is a terminal.
class ProgressLine {
public:
    ~ProgressLine()
    {
        if (m_isTerminal)
            fmt::print(stderr, "\r\x1b[K");
    }
    void Show(const std::string &text) const
    {
        if (!m_isTerminal)
            return;
        fmt::print(stderr, "\r\x1b[K{}", text);
        std::fflush(stderr);
    }

private:
    bool m_isTerminal = os::StandardErrorIsTerminal();
};

struct Result {
    RecordingCounts counts;
    Recording::Outcome outcome;
    uint32_t error = 0;
    double seconds = 0;         // that it took
    double recordedSeconds = 0; // of the frames' own times
    bool wasInterrupted = false;
    bool hasWaitedInVain = false;
};

// A camera that runs by itself sends a frame after each exposure; a trigger may take its time.
double LongestWait(const RecordOptions &record, const OpenCamera &camera,
                   const TakenPictures &pictures)
{
    const bool runsByItself = camera.ReadSettings().values[zprmTriggerType] == 0;
    return record.waitSeconds > 0 || runsByItself ? pictures.LongestWait(record.waitSeconds) : 0;
}

Result Run(RecordStream &stream, Recording &recording, const RecordingTarget &target)
{
    const Interrupts interrupts;
    const ProgressLine line;
    const auto begin = Clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(Clock::now() - begin).count();
    };
    do
        line.Show(RecordingProgress(stream.Counts(), target, elapsed(), stream.RecordedSeconds()));
    while (!stream.WaitForEnd(100ms) && !Interrupts::Came());
    Result result;
    result.wasInterrupted = Interrupts::Came();
    result.seconds = elapsed();
    stream.Stop();
    result.error = stream.Error();
    result.hasWaitedInVain = stream.HasWaitedInVain();
    result.counts = stream.Counts();
    result.recordedSeconds = stream.RecordedSeconds();
    line.Show(fmt::format("writing the last of {}", FramesText(result.counts.recorded)));
    result.outcome = recording.Finish();
    return result;
}

// A recording that was there before is replaced by the first frame only.
std::string WithoutFrame(const std::string &file)
{
    return std::filesystem::exists(file) ? fmt::format("{} is as it was", file)
                                         : fmt::format("there is no {}", file);
}

std::string EndedWith(uint64_t frames, const std::string &file)
{
    return frames == 0 ? fmt::format("recording ended without a frame, and {}", WithoutFrame(file))
                       : fmt::format("recording ended with {} in {}", FramesText(frames), file);
}

void CheckResult(const std::string &file, const Result &result, const RecordingTarget &target)
{
    const std::string ended = EndedWith(result.outcome.frames, file);
    const std::string safe = fmt::format("{} {} safe in it", FramesText(result.outcome.frames),
                                         result.outcome.frames <= 1 ? "is" : "are");
    if (!result.outcome.writeError.empty())
        throw CommandError(fmt::format("{} can't be written any further: {}; {}.", file,
                                       result.outcome.writeError, safe));
    if (result.error != ZERIX_SUCCESS)
        Fail(ended, result.error);
    if (result.hasWaitedInVain)
        throw CommandError(fmt::format("{}: {}", ended, NoPictureWithin(target.waitSeconds)));
    if (!result.outcome.endError.empty())
        throw CommandError(fmt::format("the end of {} can't be written: {}; {}, but not what the "
                                       "end tells of them.",
                                       file, result.outcome.endError, safe));
}

void PrintJson(const std::string &file, const Result &result)
{
    nlohmann::ordered_json json;
    json["file"] = file;
    json["frames"] = result.outcome.frames;
    json["lost_on_bus"] = result.counts.lostOnBus;
    json["dropped_slow_disk"] = result.counts.droppedSlowDisk;
    json["with_missing_data"] = result.counts.withMissingData;
    json["seconds"] = result.seconds;
    json["recorded_seconds"] = result.recordedSeconds;
    json["interrupted"] = result.wasInterrupted;
    fmt::print("{}\n", JsonText(json, 2));
}

void PrintText(const std::string &file, const Result &result)
{
    if (result.wasInterrupted)
        fmt::print(stderr, "zerix: stopped on request.\n");
    if (result.outcome.frames == 0) {
        fmt::print("no frame came, and {}.\n", WithoutFrame(file));
        return;
    }
    fmt::print("{}: {}, {}; {}\n", file, FramesText(result.outcome.frames),
               RateText(result.counts.recorded, result.recordedSeconds), LossesText(result.counts));
}

} // namespace

void Record(const CommonOptions &options, const RecordOptions &record)
try {
    CheckFile(record.file);
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, record.settings);
    PrepareColour(session, camera, record.colour);
    const TakenPictures pictures(session, camera);
    const FrameCredit credit(session.IsSimulated(), camera.Item().uniqueId);
    const auto frameSize = static_cast<uint32_t>(std::max<size_t>(1, pictures.FrameBytes()));
    const size_t buffers =
        std::max(kFewestBuffers, (size_t{record.bufferMegabytes} << 20) / frameSize);
    const RecordingTarget target{record.count, record.seconds,
                                 LongestWait(record, camera, pictures)};

    Recording recording(Open(record.file), buffers, frameSize);
    RecordStream stream(camera, pictures, credit, recording, target);
    stream.Start(std::min(kMostInFlight, buffers / 2), frameSize);
    const Result result = Run(stream, recording, target);
    CheckResult(record.file, result, target);
    options.json ? PrintJson(record.file, result) : PrintText(record.file, result);
} catch (const std::bad_alloc &) {
    throw CommandError(fmt::format("there is no memory for {} MB of frames: choose a smaller "
                                   "--buffer.",
                                   record.bufferMegabytes));
}

} // namespace zerix::tool
