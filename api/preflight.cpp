// Mending a settings record so that the camera can take it. Each repair stands in the caller's
// record and in the log.
#include <cstdint>
#include <optional>

#include "api/entry.h"
#include "camera/stream_owner.h"
#include "tables/settings_accessors.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint32_t kIndexOf20Megahertz = 0;
constexpr uint32_t kIndexOf10Megahertz = 1;
constexpr uint16_t kBayerSensor = 2;
constexpr uint32_t kStandardMode = 0;
constexpr uint32_t kLvwMode = 1;

struct Region {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

struct Preflight {
    ExportedCall &call;
    ZX::ZCamera &camera;
    Zerix_Settings *settings;
    bool isCurrent;

    [[nodiscard]] uint32_t Get(uint32_t key) const
    {
        return tables::GetSlot32(settings, key, isCurrent);
    }
    void Set(uint32_t key, uint32_t value) const
    {
        tables::SetSlot32(settings, key, value, isCurrent);
    }
    void Mend(uint32_t key, uint32_t value, const char *remark) const
    {
        Set(key, value);
        call.Message(remark, value);
    }
};

// The key of one exposure and the remark on its repair.
struct ExposureRow {
    uint32_t key;
    const char *remark;
};
constexpr ExposureRow kExposure = {zprm64Exposure, "Exposure is now %l"};
constexpr ExposureRow kColourExposures[] = {
    {zprm64ExposureRed, "Red Exposure is now %l"},
    {zprm64ExposureBlue, "Blue Exposure is now %l"},
};

// More than 8 bits a colour.
bool IsDeepFormat(uint32_t format)
{
    switch (format) {
    case zfmtRaw16:
    case zfmtMono16:
    case zfmtBayer16:
    case zfmtRgbPlane16:
    case zfmtRgb48:
        return true;
    default:
        return false;
    }
}
static_assert(zfmtRaw16 == 1 && zfmtMono16 == 3 && zfmtBayer16 == 5 && zfmtRgbPlane16 == 7 &&
              zfmtRgb48 == 10);

// The first stream format can't carry deep pixels at full speed.
void SlowDownDeepPixels(const Preflight &preflight)
{
    if (preflight.camera.GetStreamingVersion() != 0 ||
        preflight.Get(zprmReadoutSpeed) != kIndexOf20Megahertz ||
        !IsDeepFormat(preflight.Get(zprmImageFormat)))
        return;
    preflight.Set(zprmReadoutSpeed, kIndexOf10Megahertz);
    preflight.call.Message("Readout speed is now 10MHz");
}

// A mosaic's region holds whole cells, and at least one.
void KeepMosaicWhole(const Preflight &preflight)
{
    if (preflight.camera.GetCCDImageFormat() != kBayerSensor)
        return;
    const auto makeEven = [&](uint32_t key, uint32_t least, const char *remark) {
        const uint32_t value = preflight.Get(key);
        if (value % 2 != 0)
            preflight.Mend(key, value == 1 ? least : value - 1, remark);
    };
    makeEven(zprmRoiX, 0, "Roi X is now %d");
    makeEven(zprmRoiY, 0, "Roi Y is now %d");
    makeEven(zprmRoiWidth, 2, "Roi Width is now %d");
    makeEven(zprmRoiHeight, 2, "Roi Height is now %d");
}

// Entering the mode takes its whole region; within it the region is free.
void FitLvwMode(const Preflight &preflight)
{
    if (preflight.Get(zprmCameraMode) != kLvwMode)
        return;
    for (const uint32_t key : {zprmBinning, zprmVerticalBinning, zprmHorizontalBinning})
        preflight.Set(key, 1);
    if (preflight.camera.GetLVWMode())
        return;
    const auto fill = [&](uint32_t key, uint32_t maximum, const char *remark) {
        if (preflight.Get(key) != maximum)
            preflight.Mend(key, maximum, remark);
    };
    fill(zprmRoiWidth, preflight.camera.GetROIMaxWidthForLVWMode(), "Roi Width is now %d");
    fill(zprmRoiHeight, preflight.camera.GetROIMaxHeightForLVWMode(), "Roi Height is now %d");
}

// A start beyond the limit is put back to 0 first; then the size is cut. The sum is taken in 64
// bits, so that no size is large enough to look small.
void FitAxis(const Preflight &preflight, uint32_t limit, uint32_t &start, uint32_t size,
             uint32_t startKey, const char *startRemark, uint32_t sizeKey, const char *sizeRemark)
{
    if (start > limit) {
        start = 0;
        preflight.Mend(startKey, 0, startRemark);
    }
    if (uint64_t{start} + size > limit)
        preflight.Mend(sizeKey, limit - preflight.Get(startKey), sizeRemark);
}

void FitRegion(const Preflight &preflight)
{
    ZX::ZCamera &camera = preflight.camera;
    const uint32_t vertical =
        preflight.Get(camera.IsVerticalBinningSupported() ? zprmVerticalBinning : zprmBinning);
    const uint32_t horizontal =
        preflight.Get(camera.IsHorizontalBinningSupported() ? zprmHorizontalBinning : zprmBinning);
    Region region = {preflight.Get(zprmRoiX), preflight.Get(zprmRoiY), preflight.Get(zprmRoiWidth),
                     preflight.Get(zprmRoiHeight)};
    // The limits are to be the standard mode's, if that is where the record leads.
    const bool leavesLvw = preflight.Get(zprmCameraMode) == kStandardMode && camera.GetLVWMode();
    // Nobody starts the stream while the camera is in the other mode.
    std::optional<StreamHold> stream;
    if (leavesLvw) {
        stream.emplace(camera.Stream());
        camera.SetLVWMode(false);
    }
    FitAxis(preflight, camera.GetROIMaxHeightForBinningMode(static_cast<uint16_t>(vertical)),
            region.y, region.height, zprmRoiY, "Roi Y is now %d", zprmRoiHeight,
            "Roi Height is now %d");
    FitAxis(preflight, camera.GetROIMaxWidthForBinningMode(static_cast<uint16_t>(horizontal)),
            region.x, region.width, zprmRoiX, "Roi X is now %d", zprmRoiWidth,
            "Roi Width is now %d");
    if (leavesLvw)
        camera.SetLVWMode(true);
}

using Limit = uint32_t (*)(const Zerix_Settings *, uint32_t, uint64_t *);

// Only the 64-bit slot: the 32-bit view of the exposure is left as it was.
uint32_t Clamp(const Preflight &preflight, const ExposureRow &row, Limit limit, bool isLower)
{
    const uint64_t value = tables::GetSlot64(preflight.settings, row.key, preflight.isCurrent);
    uint64_t bound = 0;
    if (const uint32_t error = limit(preflight.settings, row.key, &bound))
        return error;
    if (isLower ? value >= bound : value <= bound)
        return ZERIX_SUCCESS;
    tables::SetSlot64(preflight.settings, row.key, bound, preflight.isCurrent);
    preflight.call.Message(row.remark, bound);
    return ZERIX_SUCCESS;
}

uint32_t ClampExposure(const Preflight &preflight, const ExposureRow &row)
{
    if (const uint32_t error = Clamp(preflight, row, Zerix_GetParam64Min, true))
        return error;
    return Clamp(preflight, row, Zerix_GetParam64Max, false);
}

uint32_t ClampExposures(const Preflight &preflight)
{
    if (const uint32_t error = ClampExposure(preflight, kExposure))
        return error;
    for (const ExposureRow &row : kColourExposures) {
        if (Zerix_IsParam64Supported(&preflight.camera, row.key) != ZERIX_SUCCESS)
            continue;
        if (const uint32_t error = ClampExposure(preflight, row))
            return error;
    }
    return ZERIX_SUCCESS;
}

uint32_t MendSettings(const Preflight &preflight)
{
    SlowDownDeepPixels(preflight);
    KeepMosaicWhole(preflight);
    FitLvwMode(preflight);
    FitRegion(preflight);
    return ClampExposures(preflight);
}

} // namespace

uint32_t Zerix_PreflightSettings(ZerixHandle camera, Zerix_Settings *settings)
{
    return Enter(
        Start(__func__), OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
               NotNull(settings, ZERIX_ERROR_BAD_PARAMETER), Exclusive()),
        [&](ExportedCall &call, const CameraUse &use) {
            return MendSettings({call, use.Camera(), settings, tables::IsCurrentLayout(settings)});
        });
}
