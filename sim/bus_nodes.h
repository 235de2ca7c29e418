// What the virtual bus looks like to somebody who looks for a camera.
#pragma once

#include <vector>

#include "sim/virtual_bus.h"
#include "zerix/zerix_records.h"

namespace zerix::sim {

// The computer's own node, and each camera that is plugged in the order of the rack. Under the
// bus's lock.
std::vector<ZerixBusNode> DescribeBus(const VirtualBus &bus);

} // namespace zerix::sim
