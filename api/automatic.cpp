// Automatic exposure and white balance: a measurement on images that are taken for it, its results
// written to the settings record, and the record sent.
#include <algorithm>

#include "api/context.h"
#include "api/entry.h"
#include "api/unit_conversion.h"
#include "camera/stream_owner.h"
#include "image/z_auto_exposure.h"
#include "image/z_benchmate_ratio_correction.h"
#include "tables/settings_accessors.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint32_t kSmallestSide = 16; // pixels, of the longer side

// The region has pixels and isn't tiny; 32. One short side is enough.
struct LargeEnough {
    uint32_t operator()(ExportedCall &, const CameraUse &) const
    {
        const bool isEmpty = width == 0 || height == 0;
        return isEmpty || std::max(width, height) < kSmallestSide ? ZERIX_ERROR_ROI_TOO_SMALL
                                                                  : ZERIX_SUCCESS;
    }
    uint32_t width;
    uint32_t height;
};

// The region begins within the picture that is measured, which a Benchmate's binning and live mode
// make narrower and higher; 32. Beyond its edges there would be nothing but black to go by.
struct BeginsInside {
    uint32_t operator()(ExportedCall &, const CameraUse &use) const
    {
        uint32_t width = use.Camera().GetImageWidth();
        uint32_t height = use.Camera().GetImageHeight();
        ZX::ZBenchmateRatioCorrection::CorrectSize(use.Camera(), width, height);
        return x < width && y < height ? ZERIX_SUCCESS : ZERIX_ERROR_ROI_TOO_SMALL;
    }
    uint32_t x;
    uint32_t y;
};

// No check, but the remarks that come before the first one.
struct RegionTold {
    uint32_t operator()(ExportedCall &call, const CameraUse &) const
    {
        call.Message("X:%d Y:%d Width:%d Height:%d", x, y, width, height);
        return ZERIX_SUCCESS;
    }
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

struct FormatTold {
    uint32_t operator()(ExportedCall &call, const CameraUse &) const
    {
        if (settings != nullptr)
            call.Message("Output image format:%d",
                         tables::GetSlot32(settings, zprmPostProcessImageFormat));
        return ZERIX_SUCCESS;
    }
    const Zerix_Settings *settings;
};

void TellExposures(ExportedCall &call, ZX::ZCamera &camera)
{
    call.Message("New red exposure: %l ns", camera.GetRGBFilterRedExposure());
    call.Message("New green exposure: %l ns", camera.GetExposure());
    call.Message("New blue exposure: %l ns", camera.GetRGBFilterBlueExposure());
}

// Each failure ends it.
uint32_t StoreGains(ExportedCall &call, Zerix_Settings *settings,
                    const ZX::ZAutoWhiteBalance &balance)
{
    const uint32_t red = GainKeyOf(balance.GetRedScale());
    const uint32_t green = GainKeyOf(balance.GetGreenScale());
    const uint32_t blue = GainKeyOf(balance.GetBlueScale());
    if (const uint32_t error = Zerix_SetParam(settings, zprmPostProcessGainRed, red))
        return error;
    if (const uint32_t error = Zerix_SetParam(settings, zprmPostProcessGainGreen, green))
        return error;
    if (const uint32_t error = Zerix_SetParam(settings, zprmPostProcessGainBlue, blue))
        return error;
    call.Message("New red gain: %d", red);
    call.Message("New green gain: %d", green);
    call.Message("New blue gain: %d", blue);
    return ZERIX_SUCCESS;
}

// Red first here.
uint32_t StoreWheelExposures(ExportedCall &call, Zerix_Settings *settings, ZX::ZCamera &camera)
{
    if (const uint32_t error =
            Zerix_SetParam64(settings, zprm64ExposureRed, camera.GetRGBFilterRedExposure()))
        return error;
    if (const uint32_t error = Zerix_SetParam64(settings, zprm64Exposure, camera.GetExposure()))
        return error;
    if (const uint32_t error =
            Zerix_SetParam64(settings, zprm64ExposureBlue, camera.GetRGBFilterBlueExposure()))
        return error;
    TellExposures(call, camera);
    return ZERIX_SUCCESS;
}

// What the search answers is nobody's concern: the exposure that the camera has then counts.
uint32_t AutoExpose(ExportedCall &call, const CameraUse &use, Zerix_Settings *settings,
                    const RegionTold &region)
{
    ZX::ZCamera &camera = use.Camera();
    {
        const Measurement measurement(camera.Stream());
        if (!measurement)
            return ZERIX_ERROR_BUSY;
        ZX::ZAutoExposure search(false);
        search.CalculateExposure(region.x, region.y, region.width, region.height, &camera);
        if (const uint32_t error = Zerix_SetParam64(settings, zprm64Exposure, camera.GetExposure()))
            return error;
        Zerix_SetParam64(settings, zprm64ExposureRed, camera.GetRGBFilterRedExposure());
        Zerix_SetParam64(settings, zprm64ExposureBlue, camera.GetRGBFilterBlueExposure());
    }
    Zerix_SendSettingsToCam(&camera, settings);
    TellExposures(call, camera);
    return ZERIX_SUCCESS;
}

bool IsColourWanted(ExportedCall &call, const Zerix_Settings *settings)
{
    if (Zerix_isColor(tables::GetSlot32(settings, zprmPostProcessImageFormat)) != 0)
        return true;
    call.Message("Post processing image format is not colour so returning success without white "
                 "balancing");
    return false;
}

// On a running stream with a commit of its own first: an image that was exposed before the settings
// were sent tells nothing about them.
uint32_t MeasureColours(ZX::ZCamera &camera, ZX::ZAutoWhiteBalance &balance,
                        const RegionTold &region)
{
    if (camera.IsCameraStreaming())
        if (const uint16_t status = camera.UpdateSettingsOnCamera())
            return MapCameraStatus(status);
    return MapCameraStatus(static_cast<uint16_t>(
        balance.Preprocess(region.x, region.y, region.width, region.height, &camera)));
}

uint32_t BalanceRecord(ExportedCall &call, const CameraUse &use, Zerix_Settings *settings,
                       const RegionTold &region, uint32_t &infoError)
{
    ZX::ZCamera &camera = use.Camera();
    ZX::ZAutoWhiteBalance &balance = *use.Context().whiteBalance;
    const Measurement measurement(camera.Stream());
    if (!measurement)
        return ZERIX_ERROR_BUSY;
    if (const uint32_t error = MeasureColours(camera, balance, region))
        return error;
    if (const uint32_t error = StoreGains(call, settings, balance))
        return error;
    uint32_t hasWheel = 0;
    infoError = Zerix_GetInfo(&camera, zinfColorWheelSupported, &hasWheel);
    return hasWheel != 0 ? StoreWheelExposures(call, settings, camera) : uint32_t{ZERIX_SUCCESS};
}

uint32_t WhiteBalance(ExportedCall &call, const CameraUse &use, Zerix_Settings *settings,
                      const RegionTold &region)
{
    uint32_t infoError = ZERIX_SUCCESS;
    if (const uint32_t error = BalanceRecord(call, use, settings, region, infoError))
        return error;
    Zerix_SendSettingsToCam(&use.Camera(), settings);
    call.End(infoError);
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_AutoExpose(Zerix_Settings *settings, uint32_t x, uint32_t y, uint32_t width,
                          uint32_t height)
{
    const RegionTold region{x, y, width, height};
    return Enter(Start(__func__), OfRecord{settings},
                 Checks(region, Loaded(), NotNull(settings, ZERIX_ERROR_BAD_PARAMETER),
                        GoodSettings(settings), OpenRecord(), LargeEnough{width, height},
                        BeginsInside{x, y}, HasContext()),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return AutoExpose(call, use, settings, region);
                 });
}

uint32_t Zerix_WhiteBalance(Zerix_Settings *settings, uint32_t x, uint32_t y, uint32_t width,
                            uint32_t height)
{
    const RegionTold region{x, y, width, height};
    return Enter(Start(__func__), OfRecord{settings},
                 Checks(region, FormatTold{settings}, Loaded(),
                        NotNull(settings, ZERIX_ERROR_BAD_PARAMETER), GoodSettings(settings),
                        OpenRecord(), LargeEnough{width, height}, BeginsInside{x, y}),
                 [&](ExportedCall &call, const CameraUse &use) {
                     if (!IsColourWanted(call, settings))
                         return uint32_t{ZERIX_SUCCESS};
                     if (const uint32_t error = HasContext()(call, use))
                         return error;
                     return WhiteBalance(call, use, settings, region);
                 });
}
