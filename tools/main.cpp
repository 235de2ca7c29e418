// The zerix command-line tool: parses the command line and runs a verb. Exit status 0 for success,
// 1 for a failure (one sentence on the standard error), 2 for wrong usage.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "platform/os.h"
#include "tools/command_error.h"
#include "tools/name_match.h"
#include "tools/verbs.h"

namespace {

using namespace zerix::tool;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
// fmt throws where a stream can't be written: not here, where nobody would catch it.
void Tell(const std::string &sentence)
{
    std::fputs(fmt::format("zerix: {}\n", sentence).c_str(), stderr);
}

// What waits in buffers still goes out here: a full disk behind the standard output is a failure.
int WithOutputWritten(int status)
{
    errno = 0;
    const bool isWritten =
        std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.flush().good();
    if (isWritten || status != 0)
        return status;
    const std::string reason = errno != 0 ? fmt::format(": {}", std::strerror(errno)) : "";
    Tell(fmt::format("the standard output can't be written{}.", reason));
    return kFailed;
}

// What a variable that isn't set leaves behind is no name.
std::string CheckNotEmpty(const std::string &text)
{
    return text.empty() ? "it can't be empty" : std::string();
}

std::string CheckTime(const std::string &seconds)
{
    const double value = std::strtod(seconds.c_str(), nullptr);
    return value > 0 && std::isfinite(value) ? std::string()
                                             : "it takes a time above 0, such as 500ms, 5s or 2min";
}

// True where the command line names a command that there isn't; it is told then.
bool HasUnknownCommand(const CLI::App &app)
{
    const CLI::App *last = &app;
    while (!last->get_subcommands().empty())
        last = last->get_subcommands().front();
    std::vector<std::string> known;
    for (const CLI::App *command : last->get_subcommands([](const CLI::App *) { return true; }))
        known.push_back(command->get_name());
    const auto rest = app.remaining(true);
    const auto unknown = std::find_if(
        rest.begin(), rest.end(), [](const std::string &word) { return !word.starts_with('-'); });
    if (known.empty() || unknown == rest.end())
        return false;
    const auto near = NearNames(*unknown, known);
    Tell(
        near.empty()
            ? fmt::format("\"{}\" is no command; known are {}.", *unknown, Enumerated(known, "and"))
            : fmt::format("\"{}\" is no command; did you mean {}?", *unknown, Enumerated(near)));
    return true;
}

constexpr const char *kWaitHelp =
    "Longest wait for a picture: 5s, 10min (default: a minute more than its exposure)";

void AddCommonOptions(CLI::App &app, CommonOptions &options)
{
    app.add_flag("--sim", options.simulated,
                 "Use the virtual bus with its built-in rack of cameras");
    app.add_option(
           "--rack", options.rack,
           "Use the virtual bus with this rack: a TOML file or a known name (implies --sim)")
        ->check(CheckNotEmpty)
        ->type_name("FILE|NAME");
    app.add_option("--camera", options.camera,
                   "The camera: its ID in the list or its unique identifier (default: the first)")
        ->check(CheckNotEmpty)
        ->type_name("ID");
    app.add_flag("--json", options.json, "Print JSON instead of a table");
    app.fallthrough();
}

void AddDuration(CLI::App &verb, const char *name, double &seconds, const char *help)
{
    verb.add_option(name, seconds, help)
        ->transform(CLI::AsNumberWithUnit(
            std::map<std::string, double>{{"ms", 0.001}, {"s", 1}, {"min", 60}, {"h", 3600}}))
        ->check(CheckTime)
        ->type_name("TIME");
}

void AddSettings(CLI::App &verb, std::vector<std::string> &settings)
{
    verb.add_option("--set", settings,
                    "A setting for this run, such as exposure=20ms, format=mono16, binning=2, "
                    "roi=100,100,640,480 or temperature=-20; may be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
}

void AddRegion(CLI::App &verb, ColourOptions &colour, const char *help)
{
    verb.add_option("--region", colour.region, help)->type_name("X,Y,W,H");
}

void AddColour(CLI::App &verb, ColourOptions &colour)
{
    auto *isColour = verb.add_flag("--color", colour.isColour,
                                   "Finished colour pictures, of a camera with a colour mask or "
                                   "a filter wheel");
    verb.add_flag("--autoexpose", colour.findsExposure, "Find the exposure first");
    verb.add_flag("--whitebalance", colour.findsBalance, "Measure the white balance before")
        ->needs(isColour);
    AddRegion(verb, colour,
              "Where --autoexpose and --whitebalance measure, in pixels of the picture (default: "
              "everywhere)");
}

void AddMeasures(CLI::App &app, const CommonOptions &common, MeasureOptions &measure)
{
    auto *expose = app.add_subcommand(
        "autoexpose", "Find the exposure that brings the brightest pixel near the top");
    expose->add_flag("--color", measure.colour.isColour, "For finished colour pictures");
    auto *balance = app.add_subcommand(
        "whitebalance", "Measure the gains that make the colours of a region grey together");
    balance->add_flag("--autoexpose", measure.colour.findsExposure, "Find the exposure first");
    expose->callback([&] { AutoExpose(common, measure); });
    balance->callback([&] { WhiteBalance(common, measure); });
    for (CLI::App *verb : {expose, balance}) {
        AddRegion(*verb, measure.colour,
                  "Where to measure, in pixels of the picture (default: everywhere)");
        AddSettings(*verb, measure.settings);
        AddDuration(*verb, "--wait", measure.colour.searchSeconds,
                    "Longest time for it: 30s, 5min (default: 10min)");
        verb->footer("A camera is set up anew whenever it is opened: give what is printed to the "
                     "command that takes the picture,\nor let that find it by itself: zerix grab "
                     "--color --autoexpose --whitebalance -o FILE.");
    }
}

void AddProcess(CLI::App &app, ProcessOptions &process)
{
    auto *verb = app.add_subcommand("process", "Finish pictures that were kept raw, in colour");
    verb->add_option("IN", process.inputs,
                     "A .raw file with its FILE.json, or a .tif file, of grab or record; or "
                     "three: a filter wheel's red, green and blue exposures")
        ->required()
        ->expected(1, 3)
        ->type_name("");
    verb->add_option("-o,--output", process.output,
                     "The file, as with grab; several pictures get numbers")
        ->required()
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    verb->add_option("--method", process.method,
                     "How colours are interpolated: nearest, linear or cubic (default)")
        ->check(CLI::IsMember({"nearest", "linear", "cubic"}))
        ->type_name("NAME");
    verb->add_option("--gains", process.gains,
                     "White balance: factors, such as those of zerix whitebalance (default: 1,1,1)")
        ->type_name("R,G,B");
    verb->callback([&] { Process(process); });
}

void AddRecord(CLI::App &app, const CommonOptions &common, RecordOptions &record)
{
    auto *verb = app.add_subcommand("record", "Record the camera's stream into one file");
    verb->add_option("-o,--output", record.file,
                     "The file; its ending chooses the format: .tif .tiff (pages), .ome.tif "
                     ".ome.tiff, .fits .fit (a cube), .ser, .raw (raw samples with a FILE.json "
                     "beside them)")
        ->required()
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    verb->add_option("-n,--count", record.count,
                     "How many frames; without this and --for, until Ctrl-C")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}))
        ->type_name("N");
    AddDuration(*verb, "--for", record.seconds,
                "How long: 10s, 500ms, 5min, 1h; by the frames' own times on the virtual "
                "bus's fast clock");
    AddDuration(*verb, "--wait", record.waitSeconds,
                "Longest wait for the next frame: 5s, 10min (default: a minute more than its "
                "exposure; with a trigger, as long as it takes)");
    verb->add_option("--buffer", record.bufferMegabytes,
                     "Most memory for frames that wait for the disk, but for at least four frames; "
                     "one frame more while FITS is written (default: 256)")
        ->check(CLI::Range(1u, 65536u))
        ->type_name("MB");
    AddSettings(*verb, record.settings);
    AddColour(*verb, record.colour);
    verb->callback([&] { Record(common, record); });
}

void AddGetAndSet(CLI::App &app, const CommonOptions &common, std::vector<std::string> &texts)
{
    auto *get = app.add_subcommand(
        "get", "Show a camera's settings, with their defaults and what it allows");
    get->add_option("KEY", texts, "Settings, such as exposure, roi or binning (default: all)")
        ->type_name("");
    get->callback([&] { GetSettings(common, texts); });

    auto *set = app.add_subcommand(
        "set", "Try settings on a camera: check them, send them, show what becomes of them");
    set->add_option("SETTING", texts,
                    "KEY=VALUE, such as exposure=20ms, format=mono16, roi=100,100,640,480, "
                    "binning=2, temperature=-20, gain-db=6dB, trigger=software")
        ->required()
        ->type_name("");
    set->footer("A camera is set up anew whenever it is opened, so that no setting outlives this "
                "command.\nFor a picture with settings give them to the command that takes it: "
                "zerix grab --set KEY=VALUE.\n\"zerix info\" shows all settings and what the "
                "camera allows.");
    set->callback([&] { SetSettings(common, texts); });
}

void AddTrigger(CLI::App &app, const CommonOptions &common, TriggerOptions &trigger)
{
    auto *verb = app.add_subcommand("trigger", "Take one picture by a software trigger");
    verb->add_option("-o,--output", trigger.file,
                     "The file, as with grab (default: the picture is only described)")
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    AddSettings(*verb, trigger.settings);
    AddDuration(*verb, "--wait", trigger.waitSeconds, kWaitHelp);
    verb->callback([&] { Trigger(common, trigger); });
}

void AddMonitor(CLI::App &app, const CommonOptions &common, MonitorOptions &monitor)
{
    auto *verb = app.add_subcommand(
        "monitor", "Watch a camera stream: frame rate, losses, cooler; until Ctrl-C");
    verb->add_option("-n,--count", monitor.count, "End after so many lines")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}))
        ->type_name("N");
    AddDuration(*verb, "--for", monitor.seconds, "End after this time: 10s, 5min, 1h");
    AddDuration(*verb, "--every", monitor.everySeconds, "Time between two lines (default: 1s)");
    AddSettings(*verb, monitor.settings);
    verb->callback([&] { Monitor(common, monitor); });
}

void AddTrace(CLI::App &app, TraceOptions &trace)
{
    auto *verb =
        app.add_subcommand("trace", "Switch the driver's log on or off, show it, follow it");
    verb->require_subcommand(1);
    const auto add = [&](const char *action, const char *help) {
        auto *sub = verb->add_subcommand(action, help);
        sub->callback([&trace, action] {
            trace.action = action;
            Trace(trace);
        });
        return sub;
    };
    const auto addFile = [&](CLI::App &sub, const char *help) {
        sub.add_option("--file", trace.file, help)->type_name("FILE");
    };
    auto *on = add("on", "Log every call of every program that uses the driver, from its next "
                         "start on");
    on->add_option("KIND", trace.kinds,
                   "What to log besides calls: settings, info, frames, tables, nested (calls in "
                   "calls) or all")
        ->check(CLI::IsMember({"settings", "info", "frames", "tables", "nested", "all"}));
    addFile(*on, "The log's file (default: as configured, or zerix-trace.log in the state folder)");
    add("off", "Log no more; the file stays");
    auto *show = add("show", "Print the log, one message a line");
    show->add_option("-n,--lines", trace.lines, "The last so many messages alone")
        ->check(CLI::Range(1u, 1'000'000'000u))
        ->type_name("N");
    addFile(*show, "The log's file (default: as configured)");
    auto *follow = add("follow", "Print what is logged from now on; until Ctrl-C");
    addFile(*follow, "The log's file (default: as configured)");
    AddDuration(*follow, "--for", trace.seconds, "End after this time: 10s, 5min, 1h");
}

int Run(int argc, char **argv)
{
    CommonOptions common;
    GrabOptions grab;
    PreviewOptions preview;
    RecordOptions record;
    TriggerOptions trigger;
    MonitorOptions monitor;
    TraceOptions trace;
    MeasureOptions measure;
    ProcessOptions process;
    std::vector<std::string> texts;
    CLI::App app{
        "Lists scientific FireWire cameras, shows what they can do, takes pictures with them and "
        "records\ntheir streams. No camera at hand? --sim brings virtual ones.\n"
        "The options before COMMAND may also stand behind it.",
        "zerix"};
    app.set_version_flag("--version", "zerix " ZERIX_TOOL_VERSION);
    app.require_subcommand(1);
    AddCommonOptions(app, common);
    app.get_formatter()->column_width(28);
    app.footer(
        "Examples:\n"
        "  zerix list                                   the cameras on the bus\n"
        "  zerix bus                                    what is on it, if no camera is listed\n"
        "  zerix --sim grab -o cells.png                a picture from a virtual camera\n"
        "  zerix grab --set exposure=2s --set binning=2 -o m.fits\n"
        "                                               a long exposure in large pixels\n"
        "  zerix grab --camera 1 -n 5 -o m.fits         five pictures, m-0001.fits to m-0005.fits\n"
        "  zerix get exposure gain-db                   two settings, and what they may be\n"
        "  zerix --rack family-1 list                   the oldest virtual cameras\n"
        "\"zerix COMMAND --help\" tells a command's options.");

    auto *list = app.add_subcommand("list", "List the cameras on the bus");
    list->callback([&] { ListCameras(common); });

    bool showsEntry = false;
    auto *bus = app.add_subcommand("bus", "Show every device on the bus, camera or not, and why");
    bus->add_flag("--hwdb", showsEntry,
                  "Print the entry of the system's hardware database that lets people open the "
                  "cameras at hand (Linux)");
    bus->callback([&] { ShowBus(common, showsEntry); });

    auto *info = app.add_subcommand("info", "Show what a camera is and can do");
    info->callback([&] { ShowInfo(common); });

    AddGetAndSet(app, common, texts);

    auto *racks =
        app.add_subcommand("racks", "List the known racks of virtual cameras, and the scenes");
    racks->callback([&] { ListRacks(common); });

    auto *take = app.add_subcommand("grab", "Take pictures at the camera's present settings");
    take->add_option("-o,--output", grab.file,
                     "The file; its ending chooses the format: .tif .tiff .fits .fit .png .raw "
                     "(raw samples with a FILE.json beside them)")
        ->required()
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    take->add_option("-n,--count", grab.count,
                     "How many pictures (default: 1); several get numbers "
                     "behind the file's name")
        ->check(CLI::Range(1u, 100000u))
        ->type_name("N");
    AddSettings(*take, grab.settings);
    AddDuration(*take, "--wait", grab.waitSeconds, kWaitHelp);
    AddColour(*take, grab.colour);
    take->callback([&] { Grab(common, grab); });

    AddMeasures(app, common, measure);
    AddProcess(app, process);
    AddTrigger(app, common, trigger);
    AddRecord(app, common, record);
    AddMonitor(app, common, monitor);
    AddTrace(app, trace);

    auto *look = app.add_subcommand(
        "preview", "Take a picture for a quick look: small, stretched, in colour if there is any");
    look->add_option("-o,--output", preview.file, "The file, in the format PPM: FILE.ppm")
        ->required()
        ->check(CheckNotEmpty)
        ->type_name("FILE");
    look->add_option("--size", preview.longestSide, "Most pixels of the longer side (default: 400)")
        ->check(CLI::Range(16u, 4096u))
        ->type_name("N");
    look->callback([&] { ShowPreview(common, preview); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) {
        return app.exit(success);
    } catch (const CLI::ParseError &error) {
        if (!HasUnknownCommand(app))
            app.exit(error);
        return kWrongUsage;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    zerix::os::ReserveStandardStreams();
    try {
        return WithOutputWritten(Run(argc, argv));
    } catch (const zerix::tool::CommandError &error) {
        Tell(error.what());
    } catch (const std::system_error &error) {
        // fmt's, of a standard output that is full.
        Tell(fmt::format("{}: {}.",
                         std::ferror(stdout) != 0 ? "the standard output can't be written"
                                                  : "something went wrong",
                         error.code().message()));
    } catch (const std::exception &error) {
        Tell(fmt::format("something went wrong: {}.", error.what()));
    }
    return kFailed;
}
