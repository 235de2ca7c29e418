// A rack as a TOML file tells it. Pure functions, safe from any thread.
#pragma once

#include <string>
#include <string_view>

#include "sim/rack.h"

namespace zerix::sim {

// Reads a rack from the text of a file whose name messages give. False, and one sentence with file,
// line, what was found and what was expected.
bool ParseRack(std::string_view text, const std::string &fileName, Rack *rack, std::string *error);

} // namespace zerix::sim
