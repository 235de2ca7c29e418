// Scene to electrons a second: what the glass before a pixel lets through, times the sensor's
// quantum efficiency. Pure functions.
#include "sim/sensor_light.h"

#include <cstddef>

namespace zerix::sim {
namespace {

// Quantum efficiency in a third of the spectrum relative to the peak, which is in the green.
constexpr Light kRelativeEfficiency{.red = 0.85F, .green = 1.0F, .blue = 0.75F};

// Transmission of the dyes of a mosaic; they overlap. Those of a wheel's glass filters hardly do.
constexpr Light kRedDye{.red = 0.90F, .green = 0.06F, .blue = 0.02F};
constexpr Light kGreenDye{.red = 0.07F, .green = 0.90F, .blue = 0.09F};
constexpr Light kBlueDye{.red = 0.02F, .green = 0.10F, .blue = 0.86F};
constexpr Light kRedFilter{.red = 0.93F, .green = 0.01F, .blue = 0.0F};
constexpr Light kGreenFilter{.red = 0.01F, .green = 0.92F, .blue = 0.02F};
constexpr Light kBlueFilter{.red = 0.0F, .green = 0.02F, .blue = 0.91F};
constexpr Light kClear{.red = 1.0F, .green = 1.0F, .blue = 1.0F};
constexpr Light kBlack{.red = 0.0F, .green = 0.0F, .blue = 0.0F};

const Light &WheelFilter(uint8_t colour)
{
    switch (colour) {
    case 0:
        return kRedFilter;
    case 1:
        return kGreenFilter;
    case 2:
        return kBlack;
    case 3:
        return kBlueFilter;
    default:
        return kClear;
    }
}

// The glass of two columns in turn.
struct PairOfColumns {
    Light even;
    Light odd;
};

PairOfColumns GlassOfRow(const SensorType &type, uint8_t filterColour, uint32_t row)
{
    const bool evenRow = row % 2 == 0;
    switch (type.mosaic) {
    case Mosaic::kRggb:
        return evenRow ? PairOfColumns{kRedDye, kGreenDye} : PairOfColumns{kGreenDye, kBlueDye};
    case Mosaic::kGrbg:
        return evenRow ? PairOfColumns{kGreenDye, kRedDye} : PairOfColumns{kBlueDye, kGreenDye};
    case Mosaic::kNone:
        break;
    }
    return {WheelFilter(filterColour), WheelFilter(filterColour)};
}

// Electrons a second in a pixel for a photon a second and square micrometre of each colour.
Light Response(const SensorType &type, const Light &glass, const Light &colour)
{
    const float area = type.pitchMicrometres * type.pitchMicrometres;
    const float scale = area * type.peakQuantumEfficiency;
    return {.red = scale * (kRelativeEfficiency.red * glass.red) * colour.red,
            .green = scale * (kRelativeEfficiency.green * glass.green) * colour.green,
            .blue = scale * (kRelativeEfficiency.blue * glass.blue) * colour.blue};
}

float Electrons(const Light &response, const Light &light)
{
    const float rate =
        response.red * light.red + response.green * light.green + response.blue * light.blue;
    return rate > 0.0F ? rate : 0.0F;
}

} // namespace

std::vector<float> ElectronRates(const SensorType &type, const Scene &scene, float brightness,
                                 const Light &colour, uint8_t filterColour)
{
    std::vector<Light> light;
    scene.Sample(type.columns, type.rows, type.pitchMicrometres, light);
    std::vector<float> rates(light.size());
    for (uint32_t row = 0; row < type.rows; ++row) {
        const PairOfColumns glass = GlassOfRow(type, filterColour, row);
        const Light even = Response(type, glass.even, colour);
        const Light odd = Response(type, glass.odd, colour);
        const size_t start = static_cast<size_t>(row) * type.columns;
        for (uint32_t column = 0; column < type.columns; ++column)
            rates[start + column] =
                brightness * Electrons(column % 2 == 0 ? even : odd, light[start + column]);
    }
    return rates;
}

} // namespace zerix::sim
