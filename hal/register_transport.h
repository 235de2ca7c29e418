// Register accesses that don't wait for ever, for the ends of streams and connections.
#pragma once

#include <cstdint>

#include "hal/fw_camera_device.h"

namespace zerix::hal {

// A healthy bus answers within milliseconds.
inline constexpr uint32_t kAccessPatienceMilliseconds = 500;

// Lets the accesses that are on the bus end. Those that don't are cancelled, and with them all that
// the device has pending.
void EndHangingAccesses(FWCameraDevice &device);

// HAL_CameraWriteData of one quadlet, which is cancelled when the patience is over.
uint32_t WriteWithPatience(const HALCamera &camera, uint32_t address, uint32_t value);

} // namespace zerix::hal
