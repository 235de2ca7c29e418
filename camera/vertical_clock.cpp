// The period of the sensor's vertical clock, in nanoseconds. The registers count ticks of a clock
// whose frequency the camera tells, in hertz. On the caller's thread, without a lock.
#include "camera/tolvane_fw_camera.h"
#include "camera/truncated.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

constexpr double kHertzPerMegahertz = 1000000.0;
constexpr double kNanosecondsPerMicrosecond = 1000.0;

} // namespace

uint32_t TolvaneFWCamera::GetVClockFrequencyResolution()
{
    return IsVClockControlAvailable() ? Information(information::kVClockResolution) : 0;
}

// A clock that stands still has no period.
uint32_t TolvaneFWCamera::VClockPeriodOf(uint32_t ticks)
{
    const uint32_t hertz = GetVClockFrequencyResolution();
    if (hertz == 0)
        return 0;
    return zerix::Truncated<uint32_t>(ticks / (hertz / kHertzPerMegahertz) *
                                      kNanosecondsPerMicrosecond);
}

uint32_t TolvaneFWCamera::GetVClockPeriod() { return VClockPeriodOf(Control(control::kVClock)); }

uint32_t TolvaneFWCamera::GetVClockPeriodMin()
{
    return VClockPeriodOf(Information(information::kVClockMin));
}

uint32_t TolvaneFWCamera::GetVClockPeriodMax()
{
    return VClockPeriodOf(Information(information::kVClockMax));
}

uint32_t TolvaneFWCamera::GetVClockPeriodDefault()
{
    return VClockPeriodOf(Information(information::kVClockDefault));
}

uint16_t TolvaneFWCamera::SetVClockPeriod(uint32_t nanoseconds)
{
    if (!IsVClockControlAvailable())
        return kStatusNotSupported;
    const double ticks = nanoseconds / kNanosecondsPerMicrosecond *
                         (GetVClockFrequencyResolution() / kHertzPerMegahertz);
    const auto whole = static_cast<uint32_t>(zerix::Truncated<uint64_t>(ticks));
    return WriteField(control::kVClock, zerix::registers::Fitted(control::kVClock, whole));
}

} // namespace ZX
