// The facts that a virtual camera tells about itself in its information block. Pure functions.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/rack.h"
#include "sim/sensor.h"

namespace zerix::sim {

// The words of the block in host order, as many as the description's version has; empty for a
// version that no camera has.
std::vector<uint32_t> MakeInformationBlock(const CameraDescription &description,
                                           const SensorType &sensor);

// The sizes of the picture in each binning, of the part of the sensor that is read out.
void PutSizes(const CameraDescription &description, const SensorType &part,
              std::span<uint32_t> words);

} // namespace zerix::sim
