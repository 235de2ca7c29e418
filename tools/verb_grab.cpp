// zerix grab: pictures at the camera's present settings, one file each.
#include "tools/apply_settings.h"
#include "tools/colour.h"
#include "tools/numbered_file.h"
#include "tools/picture_file.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"

namespace zerix::tool {

void Grab(const CommonOptions &options, const GrabOptions &grab)
{
    CheckPictureFile(grab.file);
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, grab.settings);
    PrepareColour(session, camera, grab.colour);
    TakenPictures pictures(session, camera);
    Progress progress(grab.count == 1 ? "taking a picture" : "taking picture", grab.count);

    for (uint32_t i = 0; i < grab.count; ++i) {
        progress.Advance(i);
        const Picture picture = pictures.Take(grab.waitSeconds);
        progress.Hide();
        FinishPicture(NumberedFile(grab.file, i, grab.count), i + 1, picture);
    }
}

} // namespace zerix::tool
