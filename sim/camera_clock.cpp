// The two clocks of a virtual camera. The wall clock is read once; from then on the steady counter
// moves it, so that it never jumps.
#include "sim/camera_clock.h"

#include "platform/os.h"

namespace zerix::sim {

uint64_t SteadyNanoseconds()
{
    const uint64_t ticks = os::PerformanceCounter();
    const uint64_t frequency = os::PerformanceFrequency();
    // Whole seconds apart, so that the product stays within 64 bits.
    return ticks / frequency * 1'000'000'000 + ticks % frequency * 1'000'000'000 / frequency;
}

CameraClock::CameraClock(bool fast) : m_fast(fast)
{
    const os::WallTime wall = os::WallClock();
    const uint64_t now =
        static_cast<uint64_t>(wall.seconds) * 1'000'000'000 + wall.microseconds * 1000ull;
    m_steadyOffset = now - SteadyNanoseconds();
}

uint64_t CameraClock::Now() const { return m_fast ? m_now : m_steadyOffset + SteadyNanoseconds(); }

void CameraClock::Advance(uint64_t nanoseconds) { m_now += nanoseconds; }

void CameraClock::MoveTo(uint64_t moment)
{
    if (moment > m_now)
        m_now = moment;
}

} // namespace zerix::sim
