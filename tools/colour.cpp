// Finished colour pictures, the search for an exposure, and the measurement of a white balance.
#include "tools/colour.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include <fmt/format.h>

#include "tools/apply_settings.h"
#include "tools/camera_settings.h"
#include "tools/command_error.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/wait_limit.h"

namespace zerix::tool {

namespace {

struct Region {
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
};

const ParameterRow &Row(const char *name) { return *FindParameters(name).front(); }

uint64_t ValueOf(const CameraSettings &settings, const char *name)
{
    return static_cast<uint64_t>(settings.Value(Row(name)).value_or(0));
}

Region ParseRegion(const std::string &text)
{
    std::array<uint32_t, 4> numbers{};
    const char *at = text.data();
    const char *const end = at + text.size();
    bool isGood = true;
    for (size_t i = 0; i < numbers.size() && isGood; ++i) {
        const auto [next, error] = std::from_chars(at, end, numbers[i]);
        isGood = error == std::errc{} && (i == 3 ? next == end : next != end && *next == ',');
        at = isGood && i < 3 ? next + 1 : next;
    }
    if (!isGood)
        throw CommandError(fmt::format("\"{}\" is no region: write X,Y,WIDTH,HEIGHT in pixels of "
                                       "the picture, such as 100,100,64,64.",
                                       text));
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

// All of the picture unless told; what lies beyond it can't be measured.
Region RegionOf(const CameraSettings &settings, const std::string &text)
{
    const auto width = static_cast<uint32_t>(ValueOf(settings, "roi-width"));
    const auto height = static_cast<uint32_t>(ValueOf(settings, "roi-height"));
    if (text.empty())
        return {0, 0, width, height};
    const Region region = ParseRegion(text);
    if (region.x > width || region.width > width - region.x || region.y > height ||
        region.height > height - region.y)
        throw CommandError(fmt::format("the region {} reaches beyond the picture of {} x {}.", text,
                                       width, height));
    if (region.width == 0 || region.height == 0 || std::max(region.width, region.height) < 16)
        throw CommandError(fmt::format("the region {} is too small: one side must have 16 pixels "
                                       "or more.",
                                       text));
    return region;
}

bool HasWheel(const OpenCamera &camera)
{
    return camera.Info(zinfColorWheelSupported).value_or(0) != 0;
}

bool IsWheelTurning(const CameraSettings &settings)
{
    return Zerix_is3Color(static_cast<uint32_t>(ValueOf(settings, "format"))) == 1;
}

// A call of the library that takes several pictures by itself.
void Measure(const Session &session, const OpenCamera &camera, uint32_t exposuresPerPicture,
             double seconds, const char *what, const std::function<uint32_t()> &call)
{
    FrameCredit credit(session.IsSimulated(), camera.Item().uniqueId);
    const Progress progress(fmt::format("searching for {}", what));
    WaitLimit limit(camera.Handle(), seconds);
    const uint32_t error = credit.WhileEachGranted(call, exposuresPerPicture);
    if (limit.Finish())
        throw CommandError(fmt::format("{} isn't found within {:.3g} s: a camera with a hardware "
                                       "trigger waits for its pulses (--set trigger=free takes "
                                       "pictures without them); otherwise there is too little "
                                       "light.",
                                       what, seconds));
    if (error != ZERIX_SUCCESS)
        Fail(fmt::format("{} can't be found", what), error);
}

FoundExposure ExposureIn(const CameraSettings &settings)
{
    const ParameterState state = settings.State(Row("exposure"));
    FoundExposure found;
    found.nanoseconds = ValueOf(settings, "exposure");
    if (IsWheelTurning(settings)) {
        found.redNanoseconds = ValueOf(settings, "exposure-red");
        found.blueNanoseconds = ValueOf(settings, "exposure-blue");
    }
    found.gainMillionths = static_cast<uint32_t>(ValueOf(settings, "normalized-gain"));
    found.isShortest = state.minimum && state.value <= state.minimum;
    found.isLongest = state.maximum && state.value >= state.maximum;
    return found;
}

} // namespace

void SetToColour(const OpenCamera &camera)
{
    CameraSettings settings(camera);
    const bool isWide = Zerix_is16bit(static_cast<uint32_t>(ValueOf(settings, "format"))) == 1;
    const uint32_t finished = isWide ? zfmtRgb48 : zfmtRgb24;
    const uint32_t mosaic = isWide ? zfmtBayer16 : zfmtBayer8;
    const auto formats = settings.State(Row("post-format")).allowed;
    if (std::find(formats.begin(), formats.end(), finished) == formats.end())
        throw CommandError(fmt::format("{} takes no colour pictures: that wants a camera with a "
                                       "colour mask or a filter wheel.",
                                       camera.Model()));
    settings.Set(Row("format"), HasWheel(camera) ? finished : mosaic);
    settings.Set(Row("post-format"), finished);
    settings.Set(Row("post-processing"), 1);
    settings.Send();
}

FoundExposure FindExposure(const Session &session, const OpenCamera &camera,
                           const ColourOptions &options)
{
    CameraSettings settings(camera);
    const Region region = RegionOf(settings, options.region);
    Measure(session, camera, 1, options.searchSeconds, "an exposure", [&] {
        return Zerix_AutoExpose(settings.Record(), region.x, region.y, region.width, region.height);
    });
    settings.Send();
    settings.ReadPresent();
    return ExposureIn(settings);
}

// Behind a wheel the library moves the exposures and stores the gains too, which would balance
// twice.
FoundBalance FindBalance(const Session &session, const OpenCamera &camera,
                         const ColourOptions &options)
{
    CameraSettings settings(camera);
    const Region region = RegionOf(settings, options.region);
    const bool isTurning = IsWheelTurning(settings);
    Measure(session, camera, isTurning ? 3 : 1, options.searchSeconds, "a white balance", [&] {
        return Zerix_WhiteBalance(settings.Record(), region.x, region.y, region.width,
                                  region.height);
    });
    if (isTurning) {
        for (const char *gain : {"post-gain-red", "post-gain-green", "post-gain-blue"})
            settings.Set(Row(gain), 1000);
    }
    settings.Send();
    settings.ReadPresent();
    FoundBalance found;
    found.isInExposures = isTurning;
    found.exposure = ExposureIn(settings);
    found.gainThousandths = {static_cast<uint32_t>(ValueOf(settings, "post-gain-red")),
                             static_cast<uint32_t>(ValueOf(settings, "post-gain-green")),
                             static_cast<uint32_t>(ValueOf(settings, "post-gain-blue"))};
    return found;
}

void PrepareColour(const Session &session, const OpenCamera &camera, const ColourOptions &options)
{
    if (options.isColour || options.findsBalance)
        SetToColour(camera);
    if (options.findsExposure)
        FindExposure(session, camera, options);
    if (options.findsBalance)
        FindBalance(session, camera, options);
}

} // namespace zerix::tool
