// The cooler of a virtual camera: a thermoelectric one, that follows its target with a first-order
// lag. Plain data, not for use by two threads at once.
#include "sim/exact_math.h"
#include "sim/sensor.h"

namespace zerix::sim {
namespace {

constexpr double kTimeConstantSeconds = 30.0;
constexpr double kLockedWithinKelvin = 0.5;

} // namespace

Cooler::Cooler(double ambientCelsius)
    : m_ambient(ambientCelsius), m_target(ambientCelsius), m_start(ambientCelsius)
{
}

void Cooler::Set(bool on, double targetCelsius, uint64_t nowNanoseconds)
{
    m_start = Celsius(nowNanoseconds);
    m_since = nowNanoseconds;
    m_on = on;
    m_target = targetCelsius;
}

double Cooler::Celsius(uint64_t nowNanoseconds) const
{
    const double goal = m_on ? m_target : m_ambient;
    const uint64_t passed = nowNanoseconds > m_since ? nowNanoseconds - m_since : 0;
    const double seconds = static_cast<double>(passed) * 1e-9;
    return goal + (m_start - goal) * Exp(-seconds / kTimeConstantSeconds);
}

bool Cooler::IsLocked(uint64_t nowNanoseconds) const
{
    const double away = Celsius(nowNanoseconds) - m_target;
    return m_on && away <= kLockedWithinKelvin && away >= -kLockedWithinKelvin;
}

} // namespace zerix::sim
