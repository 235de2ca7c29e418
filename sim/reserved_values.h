// Which values of the writable registers have a meaning on a camera. Pure functions.
#pragma once

#include <cstdint>

#include "sim/rack.h"

namespace zerix::sim {

// Offsets are in bytes from the block's start.
bool IsReservedControl(const CameraDescription &description, uint32_t offset, uint32_t value);
bool IsReservedCommand(uint32_t offset, uint32_t value);
bool IsReservedStreaming(uint32_t offset, uint32_t value);

} // namespace zerix::sim
