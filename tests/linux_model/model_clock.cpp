// Converts between the model's time and the wall clock's.
#include "tests/linux_model/model_clock.h"

namespace zerix::linux_model {
namespace {

// An hour after the system's start, so that no moment of the past is negative.
constexpr nanoseconds kStart = std::chrono::hours(1);

} // namespace

ModelClock::ModelClock(double speedUp)
    : m_speedUp(speedUp), m_modelStart(kStart), m_realStart(Real::now())
{
}

nanoseconds ModelClock::Now() const
{
    if (m_isHeld)
        return m_modelStart;
    const auto real = std::chrono::duration<double, std::nano>(Real::now() - m_realStart);
    return m_modelStart + nanoseconds(static_cast<int64_t>(real.count() * m_speedUp));
}

void ModelClock::Hold()
{
    m_modelStart = Now();
    m_isHeld = true;
}

// Rounded up by a microsecond, so that a waiting thread wakes after the moment.
ModelClock::Real::time_point ModelClock::RealMomentOf(nanoseconds moment) const
{
    const double real = static_cast<double>((moment - m_modelStart).count()) / m_speedUp;
    return m_realStart + nanoseconds(static_cast<int64_t>(real)) + std::chrono::microseconds(1);
}

} // namespace zerix::linux_model
