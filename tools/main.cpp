// The zerix command-line tool: parses the command line and runs a verb. Exit status 0 for success,
// 1 for a failure (one sentence on the standard error), 2 for wrong usage.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/verbs.h"

namespace {

using namespace zerix::tool;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

void AddCommonOptions(CLI::App &app, CommonOptions &options)
{
    app.add_flag("--sim", options.simulated,
                 "Use the virtual bus with its built-in rack of cameras");
    app.add_option(
           "--rack", options.rack,
           "Use the virtual bus with this rack: a TOML file or a known name (implies --sim)")
        ->type_name("FILE|NAME");
    app.add_option("--camera", options.camera,
                   "The camera: its ID in the list or its unique identifier (default: the first)")
        ->type_name("ID");
    app.add_flag("--json", options.json, "Print JSON instead of a table");
    app.fallthrough();
}

int Run(int argc, char **argv)
{
    CommonOptions common;
    GrabOptions grab;
    PreviewOptions preview;
    CLI::App app{
        "Lists scientific FireWire cameras, shows what they can do, and takes pictures with "
        "them.\nThe options before COMMAND may also stand behind it.",
        "zerix"};
    app.set_version_flag("--version", "zerix " ZERIX_TOOL_VERSION);
    app.require_subcommand(1);
    AddCommonOptions(app, common);
    app.get_formatter()->column_width(28);
    app.footer("Examples:\n"
               "  zerix list                           the cameras on the bus\n"
               "  zerix --sim grab -o cells.png        a picture from a virtual camera\n"
               "  zerix --rack family-1 list           the oldest virtual cameras\n"
               "  zerix grab --camera 1 -n 5 -o m.fits five pictures, m-0001.fits to m-0005.fits");

    auto *list = app.add_subcommand("list", "List the cameras on the bus");
    list->callback([&] { ListCameras(common); });

    auto *info = app.add_subcommand("info", "Show what a camera is and can do");
    info->callback([&] { ShowInfo(common); });

    auto *racks =
        app.add_subcommand("racks", "List the known racks of virtual cameras, and the scenes");
    racks->callback([&] { ListRacks(common); });

    auto *take = app.add_subcommand("grab", "Take pictures at the camera's present settings");
    take->add_option("-o,--output", grab.file,
                     "The file; its ending chooses the format: .tif .tiff .fits .fit .png .raw "
                     "(raw samples with a FILE.json beside them)")
        ->required()
        ->type_name("FILE");
    take->add_option("-n,--count", grab.count,
                     "How many pictures (default: 1); several get numbers "
                     "behind the file's name")
        ->check(CLI::Range(1u, 100000u))
        ->type_name("N");
    take->callback([&] { Grab(common, grab); });

    auto *look = app.add_subcommand(
        "preview", "Take a picture for a quick look: small, stretched, in colour if there is any");
    look->add_option("-o,--output", preview.file, "The file, in the format PPM")
        ->required()
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
        app.exit(error);
        return kWrongUsage;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return Run(argc, argv);
    } catch (const zerix::tool::CommandError &error) {
        fmt::print(stderr, "zerix: {}\n", error.what());
    } catch (const std::exception &error) {
        fmt::print(stderr, "zerix: something went wrong: {}\n", error.what());
    }
    return kFailed;
}
