// Automatic exposure and white balance: a measurement on images that are taken for it, its results
// written to the settings record, and the record sent.
#include <algorithm>
#include <exception>

#include "api/context.h"
#include "api/exported_call.h"
#include "api/unit_conversion.h"
#include "tables/settings_accessors.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint32_t kSmallestSide = 16; // pixels, of the longer side

// The region has pixels and isn't tiny; 32. One short side is enough.
struct LargeEnough {
    uint32_t operator()(ExportedCall &) const
    {
        const bool isEmpty = width == 0 || height == 0;
        return isEmpty || std::max(width, height) < kSmallestSide ? ZERIX_ERROR_ROI_TOO_SMALL
                                                                  : ZERIX_SUCCESS;
    }
    uint32_t width;
    uint32_t height;
};

// What both calls check, in their order.
uint32_t CheckCall(ExportedCall &call, const Zerix_Settings *settings, uint32_t width,
                   uint32_t height)
{
    return call.Check(Loaded(), NotNull(settings, ZERIX_ERROR_BAD_PARAMETER),
                      GoodSettings(settings), OpenRecord(settings), LargeEnough{width, height});
}

void TellRegion(ExportedCall &call, uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    call.Message("X:%d Y:%d Width:%d Height:%d", x, y, width, height);
}

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

} // namespace

// What the search answers is nobody's concern: the exposure that the camera has then counts.
uint32_t Zerix_AutoExpose(Zerix_Settings *settings, uint32_t x, uint32_t y, uint32_t width,
                          uint32_t height)
try {
    ExportedCall call(__func__);
    TellRegion(call, x, y, width, height);
    if (const auto error = CheckCall(call, settings, width, height))
        return call.End(error);
    const ZerixHandle handle = tables::GetCamera(settings);
    ZX::ZCamera &camera = *CameraOf(handle);
    const ContextUse use(camera);
    if (use.Get() == nullptr)
        return call.End(ZERIX_ERROR_DRIVER_FAULT);
    use.Get()->autoExposure->CalculateExposure(x, y, width, height, &camera);
    if (const uint32_t error = Zerix_SetParam64(settings, zprm64Exposure, camera.GetExposure()))
        return call.End(error);
    Zerix_SetParam64(settings, zprm64ExposureRed, camera.GetRGBFilterRedExposure());
    Zerix_SetParam64(settings, zprm64ExposureBlue, camera.GetRGBFilterBlueExposure());
    Zerix_SendSettingsToCam(handle, settings);
    TellExposures(call, camera);
    return call.End(ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_WhiteBalance(Zerix_Settings *settings, uint32_t x, uint32_t y, uint32_t width,
                            uint32_t height)
try {
    ExportedCall call(__func__);
    TellRegion(call, x, y, width, height);
    uint32_t format = zfmtRaw8;
    if (settings != nullptr) {
        format = tables::GetSlot32(settings, zprmPostProcessImageFormat);
        call.Message("Output image format:%d", format);
    }
    if (const auto error = CheckCall(call, settings, width, height))
        return call.End(error);
    if (Zerix_isColor(format) == 0) {
        call.Message("Post processing image format is not colour so returning success without "
                     "white balancing");
        return call.End(ZERIX_SUCCESS);
    }
    const ZerixHandle handle = tables::GetCamera(settings);
    ZX::ZCamera &camera = *CameraOf(handle);
    const ContextUse use(camera);
    if (use.Get() == nullptr)
        return call.End(ZERIX_ERROR_DRIVER_FAULT);
    ZX::ZAutoWhiteBalance &balance = *use.Get()->whiteBalance;
    const int16_t status = balance.Preprocess(x, y, width, height, &camera);
    if (const uint32_t error = MapCameraStatus(static_cast<uint16_t>(status)))
        return call.End(error);
    if (const uint32_t error = StoreGains(call, settings, balance))
        return call.End(error);
    uint32_t hasWheel = 0;
    const uint32_t infoError = Zerix_GetInfo(handle, zinfColorWheelSupported, &hasWheel);
    if (hasWheel != 0)
        if (const uint32_t error = StoreWheelExposures(call, settings, camera))
            return call.End(error);
    Zerix_SendSettingsToCam(handle, settings);
    call.End(infoError);
    return ZERIX_SUCCESS;
} catch (const std::exception &) {
    return kExceptionError;
}
