// The facts that a virtual camera tells about itself in its information block. A pure function.
#pragma once

#include <cstdint>
#include <vector>

#include "sim/rack.h"
#include "sim/sensor.h"

namespace zerix::sim {

// The words of the block in host order, as many as the description's version has; empty for a
// version that no camera has.
std::vector<uint32_t> MakeInformationBlock(const CameraDescription &description,
                                           const SensorType &sensor);

} // namespace zerix::sim
