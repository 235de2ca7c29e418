// The default state of a fresh camera. The shadow of the control block is never read from the
// camera: it begins as zeros, and then everything is set, in an order that the cameras' firmware
// relies on. What a short control block has no word for is left out.
#include "camera/tolvane_fw_camera.h"
#include "image/z_image_pipeline.h"

namespace ZX {

namespace information = zerix::registers::information;

namespace {

constexpr uint16_t kGainCannotBeSetUp = kStatusGainNotConverted;
constexpr uint64_t kRedExposure = 28'100'000; // nanoseconds
constexpr uint64_t kBlueExposure = 34'900'000;
constexpr uint32_t kFastestFan = 4;
constexpr uint32_t kSubVoltageScale = 1000;

// Runs the steps in order, up to the first that fails.
template <typename... Steps>
uint16_t RunInOrder(Steps... steps)
{
    uint16_t status = kStatusOk;
    const auto failed = [&status](uint16_t result) {
        status = result == kStatusNotSupported ? uint16_t{kStatusOk} : result;
        return status != kStatusOk;
    };
    static_cast<void>((failed(steps()) || ...));
    return status;
}

} // namespace

uint16_t TolvaneFWCamera::SetupCamera()
{
    const uint16_t gainStatus = SetupNormalizedGain();
    if (gainStatus == kGainCannotBeSetUp)
        return kStatusOk;
    if (gainStatus != kStatusOk)
        return gainStatus;
    if (const uint16_t status = SetupNormalizedIntensifiedGain())
        return status;
    if (const uint16_t status = SetupControlRegisters(controlBlock.address))
        return status;
    GetImagePipeline()->Setup(GetCCDWidth(), GetCCDHeight());
    return kStatusOk;
}

uint16_t TolvaneFWCamera::SetupControlRegisters(uint32_t address)
{
    controlBlock.address = address;
    if (const uint16_t status = ReadVersionWord(controlBlock))
        return status;
    controlBlock.FillWithZeros();
    controlWrites.Forget();
    return RunInOrder([this] { return ReleaseTweakedRegion(); },
                      [this] { return SetPSN(static_cast<uint8_t>(halCamera.cameraIndex)); },
                      [this] { return SetupMode(); }, [this] { return SetupRegion(); },
                      [this] { return SetupExposures(); },
                      // By way of 2, so that 1 is written whatever the camera had.
                      [this] { return SetSymmetricalBinning(2); },
                      [this] { return SetSymmetricalBinning(1); },
                      [this] { return SetupFeatures(); },
                      [this] {
                          SetupVoltages();
                          return uint16_t{kStatusOk};
                      },
                      [this] { return SetupReadoutPort(); },
                      [this] {
                          imageFlag = false;
                          return SetBigEndian(false);
                      },
                      [this] { return UpdateSettingsOnCamera(); });
}

// MiscCtrl decides how large the sensor is, so it comes before all that depends on the size, and
// with the smallest region, which fits any.
uint16_t TolvaneFWCamera::ReleaseTweakedRegion()
{
    if (!IsTweekingRegisterSupported())
        return kStatusOk;
    return RunInOrder([this] { return SetROIX(1); }, [this] { return SetROIY(1); },
                      [this] { return SetROIHeight(1); }, [this] { return SetROIWidth(1); },
                      [this] { return SetMiscCtrlAd(GetMiscCtrlDefAd()); },
                      [this] { return Commit(); },
                      [this] { return ReadRegisterSet(informationBlock); });
}

uint16_t TolvaneFWCamera::SetupMode()
{
    return RunInOrder(
        [this] { return SetCompression(0); },
        [this] { return SetReadoutFrequency(GetReadoutFrequencyDefault()); },
        [this] { return SetBitDepth(8); }, [this] { return SetNormalizedGain(1'000'000); },
        [this] { return SetAbsoluteOffset(0); }, [this] { return SetTriggerMode(0); });
}

// By way of a region of one pixel, so that each field is written at least once.
uint16_t TolvaneFWCamera::SetupRegion()
{
    return RunInOrder([this] { return SetROIX(1); }, [this] { return SetROIY(1); },
                      [this] { return SetROIHeight(1); }, [this] { return SetROIWidth(1); },
                      [this] { return SetROIX(0); }, [this] { return SetROIY(0); },
                      [this] { return SetROIHeight(GetCCDHeight()); },
                      [this] { return SetROIWidth(GetCCDWidth()); });
}

uint16_t TolvaneFWCamera::SetupExposures()
{
    return RunInOrder(
        [this] { return SetExposure(GetDefaultExposure()); },
        [this] { return SetRGBFilterDelays(Information(information::kRgbFilterDelays)); },
        [this] { return SetRGBFilterStartColour(0); },
        [this] { return SetRGBFilterRedExposure(kRedExposure); },
        [this] { return SetRGBFilterBlueExposure(kBlueExposure); });
}

uint16_t TolvaneFWCamera::SetupFeatures()
{
    const auto ifSupported = [](bool isSupported, auto set) {
        return [isSupported, set] { return isSupported ? uint16_t{set()} : uint16_t{kStatusOk}; };
    };
    return RunInOrder(
        ifSupported(IsHorizontalBinningSupported(), [this] { return SetHorizontalBinning(1); }),
        ifSupported(IsVerticalBinningSupported(), [this] { return SetVerticalBinning(1); }),
        ifSupported(IsLVWModeSupported(), [this] { return SetLVWMode(false); }),
        ifSupported(IsVClockControlAvailable(),
                    [this] { return SetVClockPeriod(GetVClockPeriodDefault()); }),
        ifSupported(IsSyncBSupported(), [this] { return SetSyncBMode(1); }),
        ifSupported(IsEMGainAvailable(), [this] { return SetupEMGain(); }),
        ifSupported(
            IsIntensifierAvailable(),
            [this] { return SetNormalizedIntensifierGain(GetNormalizedIntensifierGainMin()); }),
        ifSupported(IsFanControlAvailable(), [this] { return SetFanSpeed(kFastestFan); }),
        ifSupported(IsRGBFilterSupported(), [this] { return SetRGBFilterActive(true); }),
        ifSupported(IsShutterCloseDelayAvailable(),
                    [this] { return SetShutterCloseDelay(GetShutterCloseDelayDefault()); }),
        ifSupported(IsRegulatedCoolingAvailable(),
                    [this] { return SetRegulatedCoolingTemp(GetMinRegulatedCoolingTemp()); }),
        ifSupported(IsCoolerAvailable(), [this] { return SetCoolerStatus(true); }));
}

// The information block has had the default for longer than the limits. A camera without limits
// refuses every gain above 0, and keeps the one that it comes up with.
uint16_t TolvaneFWCamera::SetupEMGain()
{
    const uint16_t status = SetEMGain(GetEMGainDefault());
    const bool hasLimits = informationBlock.Has(information::kEmGainMax);
    return status == kStatusBadValue && !hasLimits ? uint16_t{kStatusOk} : status;
}

// A voltage that can't be written is left as it was.
void TolvaneFWCamera::SetupVoltages()
{
    if (!IsTweekingRegisterSupported())
        return;
    SetSubCpAd(GetSubCpDefAd());
    SetSubAd(GetSubDefAd() / kSubVoltageScale);
    SetResetVhAd(GetResetVhDefAd());
    SetV1VmAd(GetV1VmDefAd());
    SetV2VmAd(GetV2VmDefAd());
    SetV3VmAd(GetV3VmDefAd());
    SetV4VmAd(GetV4VmDefAd());
}

uint16_t TolvaneFWCamera::SetupReadoutPort()
{
    if (!IsReadoutPortSupported())
        return kStatusOk;
    return RunInOrder([this] { return SetReadoutPort(1); }, [this] { return SetReadoutPort(0); });
}

} // namespace ZX
