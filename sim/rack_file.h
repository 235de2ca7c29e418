// A rack as a TOML file tells it. Pure functions, safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/rack.h"

namespace zerix::sim {

// Reads a rack from the text of a file whose name messages give. False, and one sentence with file,
// line, what was found and what was expected.
bool ParseRack(std::string_view text, const std::string &fileName, Rack *rack, std::string *error);

// The number of a camera model by its display name; 0 if none has it.
uint32_t FindModel(std::string_view name);

} // namespace zerix::sim
