// The figures behind camera_traits.h.
#include "sim/camera_traits.h"

#include <cmath>

#include "sim/exact_math.h"
#include "sim/register_map.h"

namespace zerix::sim {
namespace {

constexpr double kDecibelsPerFlatCount = 7.518e-06;
constexpr double kDecibelsPerMiddleCount = 0.007517812;
constexpr double kDecibelsPerSteepCount = 0.016678944;

double PiecewiseDecibels(uint32_t raw)
{
    const auto gain = static_cast<double>(raw);
    if (raw <= 500)
        return gain * kDecibelsPerFlatCount;
    if (raw <= 3500)
        return (gain - 500.0) * kDecibelsPerMiddleCount + 0.003759;
    if (raw <= 4000)
        return (gain - 3500.0) * kDecibelsPerSteepCount + 22.557195;
    return (gain - 4000.0) * kDecibelsPerFlatCount + 30.896667;
}

} // namespace

bool HasPiecewiseGain(const CameraDescription &description)
{
    switch (description.model) {
    case 8:
    case 1001:
        return true;
    case 5:
    case 7:
    case 12:
    case 13:
    case 14:
        return description.firmwareVersion < 100;
    case 6:
        return description.firmwareVersion < 6;
    default:
        return false;
    }
}

double GainDecibels(const CameraDescription &description, uint32_t rawGain)
{
    if (HasPiecewiseGain(description))
        return PiecewiseDecibels(rawGain) - PiecewiseDecibels(kDefaultGain);
    return (static_cast<double>(rawGain) - static_cast<double>(kDefaultGain)) * kDecibelsPerCount;
}

double MultiplicationFactor(uint32_t raw)
{
    return Power(100.0, static_cast<double>(raw) / static_cast<double>(kHundredfoldMultiplication));
}

double IntensifierFactor(uint32_t raw)
{
    return FactorFromDecibels(static_cast<double>(raw) * kIntensifierDecibelsPerCount +
                              kIntensifierDecibelsAtZero);
}

bool HasRegulatedCooling(const CameraDescription &description)
{
    return description.cooler && description.regulatedCooling &&
           IsAtLeast(description.information, 2, 7);
}

bool HasVoltages(const CameraDescription &description)
{
    return IsAtLeast(description.information, 2, 10);
}

bool HasSecondChannel(const CameraDescription &description)
{
    return IsAtLeast(description.information, 2, 9) && description.hardwareVersion >= 2 &&
           description.hardwareVersion <= 3;
}

bool HasWheel(const CameraDescription &description, const SensorType &sensor)
{
    return sensor.mosaic == Mosaic::kNone && description.model != model::kSparrowIr &&
           description.model != model::kNoctisA1;
}

uint32_t LiveModeStep(const SensorType &sensor)
{
    if (sensor.columns == 2048)
        return 3;
    return sensor.columns == 2560 ? 4 : 1;
}

double CelsiusOfCounts(uint32_t counts) { return static_cast<double>(counts) * 0.025634766 - 55.0; }

uint32_t CountsOfCelsius(double celsius)
{
    return static_cast<uint32_t>(std::floor((celsius + 55.0) / 0.025634766 + 0.5));
}

} // namespace zerix::sim
