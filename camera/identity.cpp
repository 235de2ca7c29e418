// Facts of the information block: who the camera is, what its sensor is, and what it can do. Any
// thread; GetSerialNumberString fills the object's own buffer.
#include <cstring>

#include "camera/tolvane_fw_camera.h"
#include "tables/ccd_models.h"

namespace ZX {

namespace information = zerix::registers::information;
using zerix::registers::Capability;

// Who the camera is ------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::GetModel()
{
    return static_cast<uint16_t>(Information(information::kModel));
}

uint64_t TolvaneFWCamera::GetUniqueID()
{
    return Information64(information::kUniqueIdHigh, information::kUniqueIdLow);
}

// Four characters to a quadlet, the first in the top byte. They come out in order once the camera
// has been switched to little-endian data, which its set-up does.
const char *TolvaneFWCamera::GetSerialNumberString()
{
    for (uint32_t offset = 0; offset < information::kSerialBytes; offset += sizeof(uint32_t)) {
        uint32_t word = informationBlock.Word(information::kSerialOffset + offset);
        if (!GetBigEndian())
            word = zerix::registers::SwapBytes(word);
        std::memcpy(serialNumber + offset, &word, sizeof word);
    }
    return serialNumber;
}

uint16_t TolvaneFWCamera::GetHardwareProfile()
{
    const uint32_t profile = Information(information::kHardwareProfile);
    return CheckConfigRegVersion(2, 9) && profile <= 3 ? static_cast<uint16_t>(profile)
                                                       : uint16_t{0};
}

uint16_t TolvaneFWCamera::GetHardwareVersion()
{
    if (CheckConfigRegVersion(2, 9))
        return GetHardwareProfile();
    return static_cast<uint16_t>(Information(information::kHardwareVersion));
}

uint16_t TolvaneFWCamera::GetFirmwareVersion()
{
    return static_cast<uint16_t>(Information(information::kFirmwareVersion));
}

uint16_t TolvaneFWCamera::GetFirmwareBuildNumber()
{
    return static_cast<uint16_t>(Information(information::kFirmwareBuild));
}

uint16_t TolvaneFWCamera::GetIntensifierModel()
{
    return static_cast<uint16_t>(Information(information::kIntensifierModel));
}

uint16_t TolvaneFWCamera::GetStreamingVersion()
{
    if (!CheckConfigRegVersion(2, 1))
        return 0;
    return static_cast<uint16_t>(Information(information::kStreamingVersion));
}

// The sensor -------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::GetCCDModel()
{
    return static_cast<uint16_t>(Information(information::kCcdModel));
}

const char *TolvaneFWCamera::GetCCDModelString()
{
    return zerix::tables::CcdModelText(GetCCDModel());
}

uint32_t TolvaneFWCamera::GetPixelSize() { return zerix::tables::CcdPixelSize(GetCCDModel()); }

uint32_t TolvaneFWCamera::GetDistanceBetweenPixels() { return GetPixelSize(); }

uint32_t TolvaneFWCamera::GetFullWellCapacity()
{
    return zerix::tables::CcdFullWellCapacity(GetCCDModel());
}

// What it can do ---------------------------------------------------------------------------------

bool TolvaneFWCamera::IsCoolerAvailable() { return Information(information::kCoolerFitted) != 0; }

bool TolvaneFWCamera::IsRGBFilterSupported() { return GetCCDImageFormat() == 1; }

bool TolvaneFWCamera::IsDoubleShotSupported()
{
    return CheckConfigRegVersion(1, 2) && Information(information::kDoubleShotSupported) != 0;
}

bool TolvaneFWCamera::IsTweekingRegisterSupported() { return CheckConfigRegVersion(2, 10); }

bool TolvaneFWCamera::IsHighSensitivityModeAvailable()
{
    return HasCapability(Capability::kHighSensitivity);
}

bool TolvaneFWCamera::IsBlackoutModeAvailable() { return HasCapability(Capability::kBlackout); }

bool TolvaneFWCamera::IsFanControlAvailable() { return HasCapability(Capability::kFanControl); }

bool TolvaneFWCamera::IsRegulatedCoolingAvailable()
{
    return HasCapability(Capability::kRegulatedCooling);
}

bool TolvaneFWCamera::IsEMGainAvailable() { return HasCapability(Capability::kEmGain); }

bool TolvaneFWCamera::IsShutterCloseDelayAvailable()
{
    return HasCapability(Capability::kShutterCloseDelay);
}

bool TolvaneFWCamera::IsDitherControlAvailable() { return HasCapability(Capability::kDither); }

bool TolvaneFWCamera::IsHighGainModeAvailable() { return HasCapability(Capability::kHighGain); }

bool TolvaneFWCamera::IsVClockControlAvailable() { return HasCapability(Capability::kVClock); }

bool TolvaneFWCamera::IsDualChannelSupported() { return HasCapability(Capability::kDualChannel); }

bool TolvaneFWCamera::IsKeelEmModeSupported() { return HasCapability(Capability::kKeelEm, 11); }

bool TolvaneFWCamera::IsLockedGainModeSupported()
{
    return HasCapability(Capability::kLockedGain, 11);
}

} // namespace ZX
