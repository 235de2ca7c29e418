// The camera models by number and display name, as a rack file may tell them. Constant data.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zerix::sim {

// The number of a camera model by its display name; 0 if none has it.
uint32_t FindModel(std::string_view name);

// The display name of a number; empty if no model has it.
std::string_view ModelName(uint32_t number);

// All of them for a message: 5 "Astrel A1", 6 …
std::string KnownModels();

} // namespace zerix::sim
