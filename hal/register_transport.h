// Register accesses that don't wait for ever, for the ends of streams and connections.
#pragma once

#include <cstdint>

#include "hal/fw_camera_device.h"

namespace zerix::hal {

// HAL_CameraWriteData of one quadlet, before the writes of all other threads. It ends those that
// hang, and is cancelled when the patience is over.
uint32_t WriteWithPatience(const HALCamera &camera, uint32_t address, uint32_t value);

} // namespace zerix::hal
