// What of a scene's light a sensor turns into electrons: colour mask or wheel filter, quantum
// efficiency. Pure functions.
#pragma once

#include <cstdint>
#include <vector>

#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {

// Electrons a second for every pixel, row by row. `colour` multiplies each colour of the light, and
// `brightness` all of it. `filterColour` is the wheel filter before a
// monochrome sensor: 0 red, 1 green, 2 black, 3 blue, else none.
std::vector<float> ElectronRates(const SensorType &type, const Scene &scene, float brightness,
                                 const Light &colour, uint8_t filterColour);

} // namespace zerix::sim
