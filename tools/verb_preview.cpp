// zerix preview: one picture of a camera, small and in colour, for a quick look.
#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/preview.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"

namespace zerix::tool {

void ShowPreview(const CommonOptions &options, const PreviewOptions &wanted)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    TakenPictures pictures(session, camera);
    const Preview preview = MakePreview(pictures.Take(), wanted.longestSide);
    const std::string error = WritePreview(wanted.file, preview);
    if (!error.empty())
        throw CommandError(error);
    fmt::print("{}: {}, {} x {}\n", wanted.file, camera.Model(), preview.width, preview.height);
}

} // namespace zerix::tool
