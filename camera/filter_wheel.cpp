// The colour filter wheel in front of a monochrome sensor: whether it turns, where it begins, and
// the exposures of its other two filters. On the caller's thread, without a lock.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

bool TolvaneFWCamera::GetRGBFilterCycleMode() { return Control(control::kRgbFilterCycle) != 0; }

uint16_t TolvaneFWCamera::SetRGBFilterCycle(bool on)
{
    return UpdateStopped(control::kRgbFilterCycle, on);
}

uint16_t TolvaneFWCamera::SetRGBFilterActive(bool on)
{
    return WriteField(control::kRgbFilterActive, on);
}

uint16_t TolvaneFWCamera::GetRGBFilterStartColour()
{
    return static_cast<uint16_t>(Control(control::kRgbFilterStartColour));
}

// The wheel has no third colour at 2.
uint16_t TolvaneFWCamera::SetRGBFilterStartColour(uint16_t colour)
{
    if (Holds(control::kRgbFilterStartColour, colour))
        return kStatusOk;
    return WriteField(control::kRgbFilterStartColour, colour == 1 || colour == 3 ? colour : 0);
}

uint64_t TolvaneFWCamera::GetRGBFilterRedExposure()
{
    return ReadExposure(control::kRedExposure, control::kRedExposureLow);
}

uint16_t TolvaneFWCamera::SetRGBFilterRedExposure(uint64_t nanoseconds)
{
    return UpdateExposure(control::kRedExposure, control::kRedExposureLow, nanoseconds);
}

uint64_t TolvaneFWCamera::GetRGBFilterBlueExposure()
{
    return ReadExposure(control::kBlueExposure, control::kBlueExposureLow);
}

uint16_t TolvaneFWCamera::SetRGBFilterBlueExposure(uint64_t nanoseconds)
{
    return UpdateExposure(control::kBlueExposure, control::kBlueExposureLow, nanoseconds);
}

uint16_t TolvaneFWCamera::SetRGBFilterDelays(uint32_t delays)
{
    return WriteField(control::kRgbFilterDelays, delays);
}

uint32_t TolvaneFWCamera::GetRGBFilterDefaultDelays()
{
    return Information(information::kRgbFilterDelays);
}

} // namespace ZX
