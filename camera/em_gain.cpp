// Electron-multiplying gain, and the two bits that belong to it. The register runs opposite to the
// gain: it holds what is missing to the maximum. On the caller's thread, without a lock.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

uint32_t TolvaneFWCamera::GetEMGain()
{
    return IsEMGainAvailable() ? GetEMGainMax() - Control(control::kEmGainBelowMax) : 0;
}

uint32_t TolvaneFWCamera::GetEMGainMin()
{
    return IsEMGainAvailable() ? Information(information::kEmGainMin) : 0;
}

uint32_t TolvaneFWCamera::GetEMGainMax()
{
    return IsEMGainAvailable() ? Information(information::kEmGainMax) : 0;
}

uint32_t TolvaneFWCamera::GetEMGainDefault()
{
    return IsEMGainAvailable() ? Information(information::kEmGainDefault) : 0;
}

uint32_t TolvaneFWCamera::GetEMGainDefaultWithFlip() { return GetEMGainMax() - GetEMGainDefault(); }

uint16_t TolvaneFWCamera::SetEMGain(uint32_t gain)
{
    if (!IsEMGainAvailable())
        return kStatusNotSupported;
    if (gain < GetEMGainMin() || gain > GetEMGainMax())
        return kStatusBadValue;
    return WriteField(control::kEmGainBelowMax, GetEMGainMax() - gain);
}

// By index of the readout frequency: 0 is 20 MHz, 1 is 10 MHz, 7 is 40 MHz.
uint32_t TolvaneFWCamera::Get100XEmGain(uint32_t readoutIndex)
{
    if (!IsEMGainAvailable())
        return 0;
    switch (readoutIndex) {
    case 0:
        return Information(information::k100XEmGain20);
    case 1:
        return Information(information::k100XEmGain10);
    case 7:
        return Information(information::k100XEmGain40);
    default:
        return 0;
    }
}

bool TolvaneFWCamera::GetKeelEmMode()
{
    return IsKeelEmModeSupported() && Control(control::kKeelEm) != 0;
}

uint16_t TolvaneFWCamera::SetKeelEmMode(bool on)
{
    return UpdateFeature(IsKeelEmModeSupported(), on != GetKeelEmMode(), control::kKeelEm, on);
}

bool TolvaneFWCamera::GetLockedGainMode()
{
    return IsLockedGainModeSupported() && Control(control::kLockedGain) != 0;
}

uint16_t TolvaneFWCamera::SetLockedGainMode(bool on)
{
    return UpdateFeature(IsLockedGainModeSupported(), on != GetLockedGainMode(),
                         control::kLockedGain, on);
}

} // namespace ZX
