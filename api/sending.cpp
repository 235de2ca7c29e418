// The one road from a settings record to the camera: every value to its setter, in the order that
// the camera layer relies on, and at the end one commit, if anything has changed.
#include <cstdint>

#include "api/cached_settings.h"
#include "api/context.h"
#include "api/entry.h"
#include "api/param_setters.h"
#include "api/tweeking_register.h"
#include "api/unit_conversion.h"
#include "camera/stream_owner.h"

using namespace zerix;
using namespace zerix::api;

namespace {

using Camera = ZX::ZCamera;

struct Sending {
    Camera &camera;
    ZerixContext &context;
    Zerix_Settings *settings;
    bool isCurrent;

    [[nodiscard]] uint32_t Get(uint32_t key) const
    {
        return tables::GetSlot32(settings, key, isCurrent);
    }
    [[nodiscard]] uint64_t Get64(uint32_t key) const
    {
        return tables::GetSlot64(settings, key, isCurrent);
    }
    void Set(uint32_t key, uint32_t value) const
    {
        tables::SetSlot32(settings, key, value, isCurrent);
    }
};

// A step's status. An unchecked one is nobody's concern.
using Step = uint16_t (*)(const Sending &sending);

struct SendStep {
    Step apply;
    bool isChecked;
};

// A key's value to its setter as it is, or as a switch; signed keys; 64-bit keys.
template <auto kSetter, uint32_t kKey>
uint16_t Value(const Sending &sending)
{
    return (sending.camera.*kSetter)(sending.Get(kKey));
}

template <auto kSetter, uint32_t kKey>
uint16_t Switch(const Sending &sending)
{
    return (sending.camera.*kSetter)(sending.Get(kKey) != 0);
}

template <auto kSetter, uint32_t kKey>
uint16_t ValueS32(const Sending &sending)
{
    return (sending.camera.*kSetter)(tables::GetSlotS32(sending.settings, kKey, sending.isCurrent));
}

template <auto kSetter, uint32_t kKey>
uint16_t Value64(const Sending &sending)
{
    return (sending.camera.*kSetter)(sending.Get64(kKey));
}

// Keys that only a current record has.
template <Step kStep>
uint16_t CurrentOnly(const Sending &sending)
{
    return sending.isCurrent ? kStep(sending) : uint16_t{ZX::kStatusOk};
}

uint16_t BitDepth(const Sending &sending)
{
    switch (sending.Get(zprmImageFormat)) {
    case 0:
    case 2:
    case 4:
    case 6:
    case 8:
    case 9:
    case 11:
    case 12:
        return sending.camera.SetBitDepth(8);
    case 1:
    case 3:
    case 5:
    case 7:
    case 10:
        return sending.camera.SetBitDepth(sending.camera.GetMaxBitDepth());
    default:
        return ZX::kStatusOk;
    }
}

uint16_t LvwMode(const Sending &sending)
{
    const uint32_t mode = sending.Get(zprmCameraMode);
    return mode <= 1 ? sending.camera.SetLVWMode(mode == 1) : uint16_t{ZX::kStatusOk};
}

uint16_t VerticalBinning(const Sending &sending)
{
    Camera &camera = sending.camera;
    if (camera.IsVerticalBinningSupported())
        return camera.SetVerticalBinning(static_cast<uint16_t>(sending.Get(zprmVerticalBinning)));
    return camera.SetSymmetricalBinning(static_cast<uint16_t>(sending.Get(zprmBinning)));
}

uint16_t HorizontalBinning(const Sending &sending)
{
    if (!sending.camera.IsHorizontalBinningSupported())
        return ZX::kStatusOk;
    return sending.camera.SetHorizontalBinning(
        static_cast<uint16_t>(sending.Get(zprmHorizontalBinning)));
}

void TakeRegionBack(const Sending &sending)
{
    sending.Set(zprmRoiX, sending.camera.GetROIX());
    sending.Set(zprmRoiY, sending.camera.GetROIY());
    sending.Set(zprmRoiWidth, sending.camera.GetROIWidth());
    sending.Set(zprmRoiHeight, sending.camera.GetROIHeight());
}

uint16_t RegionOfInterest(const Sending &sending)
{
    const uint16_t status =
        sending.camera.SetROI(sending.Get(zprmRoiX), sending.Get(zprmRoiY),
                              sending.Get(zprmRoiWidth), sending.Get(zprmRoiHeight));
    if (MapCameraStatus(status) == ZERIX_SUCCESS)
        TakeRegionBack(sending);
    return status;
}

uint16_t ReadoutSpeed(const Sending &sending)
{
    return sending.camera.SetReadoutFrequency(ReadoutMegahertzOf(sending.Get(zprmReadoutSpeed)));
}

uint16_t Cooler(const Sending &sending)
{
    if (!sending.camera.IsCoolerAvailable())
        return ZX::kStatusOk;
    return sending.camera.SetCoolerStatus(sending.Get(zprmCoolerActive) != 0);
}

uint16_t WheelColour(const Sending &sending)
{
    return sending.camera.SetRGBFilterStartColour(
        static_cast<uint16_t>(sending.Get(zprmColorWheel)));
}

// The wheel turns for the formats that need its colours.
uint16_t FilterWheel(const Sending &sending)
{
    constexpr uint32_t kFirstColourFormat = 6;
    constexpr uint32_t kLastColourFormat = 12;
    if (sending.camera.GetCCDImageFormat() != kMonochromeImage)
        return ZX::kStatusOk;
    const uint32_t format = sending.Get(zprmImageFormat);
    if (format < kFirstColourFormat || format > kLastColourFormat)
        return sending.camera.SetRGBFilterCycle(false);
    sending.camera.SetRGBFilterActive(true);
    sending.camera.SetRGBFilterCycle(true);
    sending.context.filterWheel->SetOutputFormat(format);
    return ZX::kStatusOk;
}

uint16_t FrameBuffers(const Sending &sending)
{
    return sending.camera.SetFrameBufferLength(
        static_cast<uint8_t>(sending.Get(zprmFrameBufferLength)));
}

// Without the wheel all colours are exposed alike.
template <auto kSetter, uint32_t kKey>
uint16_t ColourExposure(const Sending &sending)
{
    const bool isTurning = sending.camera.GetRGBFilterCycleMode();
    return (sending.camera.*kSetter)(sending.Get64(isTurning ? kKey : uint32_t{zprm64Exposure}));
}

// In this mode the gain is the one of the readout speed.
uint16_t MultiplyingGain(const Sending &sending)
{
    const bool isOn = sending.Get(zprmKeelEmMode) != 0;
    const uint16_t status = sending.camera.SetKeelEmMode(isOn);
    if (MapCameraStatus(status) == ZERIX_SUCCESS && isOn)
        TakeEmGainOfReadout(sending.settings);
    return status;
}

constexpr SendStep kSteps[] = {
    {BitDepth, false},
    {LvwMode, false},
    {VerticalBinning, true},
    {HorizontalBinning, true},
    {RegionOfInterest, true},
    {ReadoutSpeed, true},
    {Value<&Camera::SetTriggerMode, zprmTriggerType>, true},
    {Cooler, true},
    {WheelColour, false},
    {FilterWheel, false},
    {Switch<&Camera::SetDoubleShotMode, zprmDoubleShot>, true},
    {Value<&Camera::SetMetrolShutterDelay, zprmMetrolShutterDelay>, true},
    {CurrentOnly<FrameBuffers>, true},
    {ValueS32<&Camera::SetNormalizedGaindB, zprmS32NormalizedGaindB>, true},
    {Value64<&Camera::SetNormalizedIntensifierGain, zprm64NormIntensGain>, true},
    {ValueS32<&Camera::SetAbsoluteOffset, zprmS32AbsoluteOffset>, true},
    {Value64<&Camera::SetExposure, zprm64Exposure>, true},
    {ColourExposure<&Camera::SetRGBFilterRedExposure, zprm64ExposureRed>, true},
    {ColourExposure<&Camera::SetRGBFilterBlueExposure, zprm64ExposureBlue>, true},
    {Value<&Camera::SetSyncBMode, zprmSyncb>, true},
    {Value<&Camera::SetFanSpeed, zprmFan>, true},
    {Switch<&Camera::SetBlackoutMode, zprmBlackoutMode>, true},
    {Switch<&Camera::SetHighSensitivityMode, zprmHighSensitivityMode>, true},
    {Value<&Camera::SetReadoutPort, zprmReadoutPort>, true},
    {ValueS32<&Camera::SetRegulatedCoolingTemp, zprmS32RegulatedCoolingTemp>, true},
    {Value<&Camera::SetSyncBMode, zprmSyncb>, true}, // once more, behind the readout port
    {CurrentOnly<MultiplyingGain>, true},
    {CurrentOnly<Switch<&Camera::SetLockedGainMode, zprmLockedGainMode>>, true},
    {Value<&Camera::SetEMGain, zprmEMGain>, true},
    {Switch<&Camera::SetDither, zprmDither>, true},
    {Switch<&Camera::SetHighGainMode, zprmHighGainMode>, true},
    {Value<&Camera::SetVClockPeriod, zprmVClockPeriod>, true},
};

// Each scale that is set builds its tables anew, so the ones that stand are left alone.
template <auto kGetter, auto kSetter, uint32_t kKey>
void SetScale(const Sending &sending)
{
    ZX::ZAutoWhiteBalance &filter = *sending.context.whiteBalance;
    const float scale = static_cast<float>(sending.Get(kKey)) / 1000.0f;
    if ((filter.*kGetter)() != scale)
        (filter.*kSetter)(scale);
}

void SetBayerAlgorithm(ZX::ZBayerInterpolation &filter, uint32_t value)
{
    constexpr uint32_t kSlowBicubic = 3;
    constexpr uint32_t kBicubic = 4;
    if (value >= 1 && value <= kBicubic)
        filter.SetAlgorithm(static_cast<uint16_t>(value == kSlowBicubic ? kBicubic : value));
}

void SetPostProcessing(const Sending &sending)
{
    ZerixContext &context = sending.context;
    const std::lock_guard lock(context.processingMutex);
    context.isPostProcessingOn.store(sending.Get(zprmDoPostProcessing) != 0);
    using Filter = ZX::ZAutoWhiteBalance;
    SetScale<&Filter::GetRedScale, &Filter::SetRedScale, zprmPostProcessGainRed>(sending);
    SetScale<&Filter::GetGreenScale, &Filter::SetGreenScale, zprmPostProcessGainGreen>(sending);
    SetScale<&Filter::GetBlueScale, &Filter::SetBlueScale, zprmPostProcessGainBlue>(sending);
    context.bayerFilter->SetOutputFormat(sending.Get(zprmPostProcessImageFormat));
    SetBayerAlgorithm(*context.bayerFilter, sending.Get(zprmPostProcessBayerAlgorithm));
}

void TakeGeometryBack(const Sending &sending)
{
    TakeRegionBack(sending);
    sending.Set(zprmBinning, sending.camera.GetSymmetricalBinningMode());
    sending.Set(zprmVerticalBinning, sending.camera.GetVerticalBinningMode());
    sending.Set(zprmHorizontalBinning, sending.camera.GetHorizontalBinningMode());
    sending.Set(zprmReadoutSpeed, ReadoutIndexOf(sending.camera.GetReadoutFrequency()));
}

uint32_t ApplySteps(const Sending &sending)
{
    for (const SendStep &step : kSteps) {
        const uint32_t error = MapCameraStatus(step.apply(sending));
        if (step.isChecked && error != ZERIX_SUCCESS)
            return error;
    }
    return ZERIX_SUCCESS;
}

// Under the queue semaphore. Nothing is taken back where a step fails, and the sending flag stays
// set, so that the expose-done handler goes on without the semaphore until a send succeeds. Nobody
// starts the stream with half of the settings.
uint32_t Send(const Sending &sending)
{
    const StreamHold stream(sending.camera.Stream());
    sending.context.isSending.store(true);
    const bool wasStreaming = sending.camera.IsCameraStreaming();
    Zerix_PreflightSettings(&sending.camera, sending.settings);
    if (const uint32_t error = ApplySteps(sending))
        return error;
    SetPostProcessing(sending);
    ApplyTweekingRegister(sending.camera, sending.Get(zprmTweekingRegister));
    const bool hasStopped = wasStreaming && !sending.camera.IsCameraStreaming();
    if (SettingsChanged(sending.context, sending.settings) || hasStopped)
        sending.camera.UpdateSettingsOnCamera();
    TakeGeometryBack(sending);
    LogChangedSettings(sending.context, sending.settings);
    RefreshCachedSettings(sending.context, sending.settings, sending.isCurrent);
    sending.context.isSending.store(false);
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_SendSettingsToCam(ZerixHandle camera, Zerix_Settings *settings)
{
    return Enter(
        Start(__func__), OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), GoodSettings(settings), Open(),
               Exclusive(), HasContext()),
        [&](ExportedCall &, const CameraUse &use) {
            const SemaphoreHold queue(*use.Context().queueSemaphore);
            return Send({use.Camera(), use.Context(), settings, tables::IsCurrentLayout(settings)});
        });
}
