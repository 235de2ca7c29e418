// What the modes, voltages and clocks of the control block do to the sensor and its converter. A
// register that was never written holds 0: the camera then goes by its own default. Pure functions.
#pragma once

#include <cstdint>
#include <span>

#include "sim/rack.h"
#include "sim/sensor.h"

namespace zerix::sim {

// Fills in everything but time and place of an exposure; the converter's depth must be there.
void PlanDrive(const CameraDescription &description, std::span<const uint32_t> words,
               ExposureSettings &exposure);

// What the readout takes longer than at the default vertical clock and shutter, nanoseconds.
int64_t ExtraReadoutNanoseconds(const CameraDescription &description, const SensorType &sensor,
                                std::span<const uint32_t> words);

// The part of the sensor that is read out: the factory's miscellaneous word leaves out a border at
// the far edges.
SensorType ReadPart(const CameraDescription &description, const SensorType &sensor,
                    std::span<const uint32_t> words);

} // namespace zerix::sim
