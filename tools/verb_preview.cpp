// zerix preview: one picture of a camera, small and in colour, for a quick look.
#include <filesystem>

#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/picture_file.h"
#include "tools/preview.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"

namespace zerix::tool {

namespace {

// What can't be written is found before anything is exposed.
void CheckFile(const std::string &file)
{
    const std::filesystem::path path(file);
    if (path.extension() != ".ppm")
        throw CommandError(fmt::format("{}: a preview goes to a file that ends in .ppm.", file));
    CheckFolder(file);
}

} // namespace

void ShowPreview(const CommonOptions &options, const PreviewOptions &wanted)
{
    CheckFile(wanted.file);
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    TakenPictures pictures(session, camera);
    Progress progress("taking a picture");
    const Preview preview = MakePreview(pictures.Take(), wanted.longestSide);
    progress.Hide();
    const std::string error = WritePreview(wanted.file, preview);
    if (!error.empty())
        throw CommandError(error);
    fmt::print("{}: {}, {} x {}\n", wanted.file, camera.Model(), preview.width, preview.height);
}

} // namespace zerix::tool
