// The racks that are known by name, read once, for people who look for one. Safe from any thread.
#pragma once

#include <string>
#include <vector>

#include "sim/rack.h"

namespace zerix::sim {

struct KnownRack {
    std::string name; // by which it is chosen
    std::string meaning;
    bool isBuiltIn;
    Rack rack; // without cameras if its file can't be used
};

// Those that are built in, then the installed ones as they are at the first call.
const std::vector<KnownRack> &RackCatalogue();

} // namespace zerix::sim
