// Scenes that stand for the test generator of a converter: nothing of the analogue chain is in the
// way of their numbers. Pure functions.
#pragma once

#include <cstdint>

#include "sim/readout.h"
#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {

bool IsTestPattern(const Scene &scene);

// Writes the bytes of a frame of such a scene.
void ExposeTestPattern(const Scene &scene, const SensorType &type, const ReadoutChain &chain,
                       const ExposureSettings &settings, uint8_t *pixels);

} // namespace zerix::sim
