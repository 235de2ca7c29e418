// zerix grab: pictures at the camera's present settings, one file each.
#include <filesystem>

#include <fmt/format.h>

#include "tools/apply_settings.h"
#include "tools/picture_file.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"

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
    CheckPictureFile(grab.file);
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, grab.settings);
    TakenPictures pictures(session, camera);
    Progress progress("taking picture", grab.count);

    for (uint32_t i = 0; i < grab.count; ++i) {
        progress.Advance(i);
        FinishPicture(FileOf(grab, i), i + 1, pictures.Take(grab.waitSeconds));
    }
}

} // namespace zerix::tool
