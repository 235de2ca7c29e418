// zerix monitor: a line every second on how a camera's stream and its cooler are doing. On a
// terminal the line stays in its place; into a pipe goes one after another.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/os.h"
#include "tools/apply_settings.h"
#include "tools/command_error.h"
#include "tools/interrupts.h"
#include "tools/stream_watch.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

struct Cooler {
    bool isThere = false;
    bool isOn = false;
    bool isRegulated = false;
    int32_t setTemperature = 0; // degrees Celsius
    bool isLocked = false;
};

Cooler CoolerOf(const OpenCamera &camera)
{
    const auto settings = camera.ReadSettings();
    return {.isThere = camera.Info(zinfCooled).value_or(0) == 1,
            .isOn = settings.values[zprmCoolerActive] != 0,
            .isRegulated = camera.Info(zinfRegulatedCooling).value_or(0) == 1,
            .setTemperature = settings.valuesS32[zprmS32RegulatedCoolingTemp]};
}

std::string CoolerText(const Cooler &cooler)
{
    if (!cooler.isThere)
        return "no cooler";
    std::string text = cooler.isOn ? "cooler on" : "cooler off";
    if (cooler.isRegulated)
        text += fmt::format(", set to {} C, {}", cooler.setTemperature,
                            cooler.isLocked ? "locked" : "not locked yet");
    return text;
}

// By the frames' own times: on the virtual bus's fast clock seconds aren't the computer's.
double RateBetween(const StreamWatch::Counts &before, const StreamWatch::Counts &now)
{
    const bool isFirst = before.frames == 0;
    const uint64_t since = isFirst ? now.firstFrameNanoseconds : before.lastFrameNanoseconds;
    const uint64_t frames = now.frames - (isFirst ? 1 : before.frames);
    if (now.frames == 0 || now.lastFrameNanoseconds <= since)
        return 0;
    return static_cast<double>(frames) * 1e9 /
           static_cast<double>(now.lastFrameNanoseconds - since);
}

void PrintLine(const StreamWatch::Counts &counts, double rate, const Cooler &cooler, bool isInPlace)
{
    fmt::print("{}{} frames, {:.1f} frames/s, {} lost, {} incomplete; {}{}",
               isInPlace ? "\r\x1b[K" : "", counts.frames, rate, counts.lost, counts.incomplete,
               CoolerText(cooler), isInPlace ? "" : "\n");
    std::fflush(stdout);
}

void PrintJson(const StreamWatch::Counts &counts, double rate, const Cooler &cooler)
{
    nlohmann::ordered_json json{{"frames", counts.frames},
                                {"frames_per_second", rate},
                                {"lost", counts.lost},
                                {"incomplete", counts.incomplete},
                                {"cooled", cooler.isThere}};
    json["cooler_on"] = cooler.isThere ? nlohmann::ordered_json(cooler.isOn) : nullptr;
    json["set_temperature"] =
        cooler.isRegulated ? nlohmann::ordered_json(cooler.setTemperature) : nullptr;
    json["locked"] = cooler.isRegulated ? nlohmann::ordered_json(cooler.isLocked) : nullptr;
    fmt::print("{}\n", JsonText(json));
    std::fflush(stdout);
}

Clock::duration Seconds(double seconds)
{
    return std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(std::min(seconds, 1e9)));
}

// False where the watch is to end before.
bool SleepUntil(Clock::time_point moment, const StreamWatch &watch)
{
    while (Clock::now() < moment) {
        if (Interrupts::Came() || watch.Now().error != 0)
            return false;
        std::this_thread::sleep_for(std::min<Clock::duration>(moment - Clock::now(), 50ms));
    }
    return true;
}

} // namespace

void Monitor(const CommonOptions &options, const MonitorOptions &monitor)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, monitor.settings);
    Cooler cooler = CoolerOf(camera);
    const FrameCredit credit(session.IsSimulated(), camera.Item().uniqueId);
    const bool isInPlace = os::StandardOutputIsTerminal() && !options.json;
    const Interrupts interrupts;
    const uint32_t exposuresPerPicture = ExposuresPerPicture(camera.ReadSettings());
    const StreamWatch watch(camera, credit, exposuresPerPicture);
    const auto begin = Clock::now();
    const auto end =
        monitor.seconds > 0 ? begin + Seconds(monitor.seconds) : Clock::time_point::max();

    StreamWatch::Counts before;
    auto next = begin;
    for (uint64_t line = 0; monitor.count == 0 || line < monitor.count; ++line) {
        next += Seconds(monitor.everySeconds);
        if (next > end || !SleepUntil(next, watch))
            break;
        const auto counts = watch.Now();
        // A frame that was lost whole has used its exposure up.
        if (counts.frames == before.frames)
            credit.Grant(exposuresPerPicture);
        cooler.isLocked = camera.Info(zinfRegulatedCoolingLock).value_or(0) == 1;
        const double rate = RateBetween(before, counts);
        options.json ? PrintJson(counts, rate, cooler) : PrintLine(counts, rate, cooler, isInPlace);
        before = counts;
    }
    if (isInPlace)
        fmt::print("\n");
    if (const uint32_t error = watch.Now().error)
        Fail("the stream ended", error);
}

} // namespace zerix::tool
