// zerix grab: pictures at the camera's present settings, one file each.
#include <filesystem>

#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"
#include "tools/writers/picture.h"
#include "tools/writers/statistics.h"

namespace zerix::tool {

namespace {

// FILE for one picture; STEM-0001.ENDING and so on for several.
std::string FileOf(const GrabOptions &grab, uint32_t index)
{
    if (grab.count == 1)
        return grab.file;
    const std::filesystem::path path(grab.file);
    const auto name =
        fmt::format("{}-{:04}{}", path.stem().string(), index + 1, path.extension().string());
    return (path.parent_path() / name).string();
}

} // namespace

void Grab(const CommonOptions &options, const GrabOptions &grab)
{
    // A file that can't be written is found before anything is exposed.
    std::string error;
    if (FormatOfFile(grab.file, &error) == nullptr)
        throw CommandError(error);
    const auto folder = std::filesystem::path(grab.file).parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder))
        throw CommandError(
            fmt::format("{} can't be written: there is no folder {}.", grab.file, folder.string()));

    const Session session(options);
    const OpenCamera camera(session.Chosen());
    TakenPictures pictures(session, camera);
    Progress progress("taking picture", grab.count);

    for (uint32_t i = 0; i < grab.count; ++i) {
        progress.Advance(i);
        const Picture picture = pictures.Take();
        if (picture.hasMissingData)
            fmt::print(stderr, "zerix: warning: data of picture {} is missing and is black.\n",
                       i + 1);
        const std::string file = FileOf(grab, i);
        error = WritePicture(file, picture);
        if (!error.empty())
            throw CommandError(error);
        fmt::print("{}: {}\n", file, SummaryOf(picture));
    }
}

} // namespace zerix::tool
