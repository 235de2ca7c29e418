// The racks that need no file. Constant data, safe from any thread.
#pragma once

#include <vector>

#include "sim/rack.h"

namespace zerix::sim {

struct BuiltInRack {
    RackDescription description;
    Rack rack;
};

const std::vector<BuiltInRack> &BuiltInRacks();

} // namespace zerix::sim
