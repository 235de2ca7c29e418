// What a connection holds of the bus: bandwidth, a channel, and the driver's resources for them.
// Used by the thread that owns the connection, never while it streams.
#pragma once

#include <cstdint>

#include "hal/fw_camera_device.h"

namespace zerix::hal {

// A slot above this can't be had at speed flag 4.
inline constexpr uint16_t kBiggestSlotAt400 = 0x1324;

// Stores the slot size that belongs to a packet size, in the camera and in its device.
void StorePacketSize(HALCamera &camera, uint16_t packetSize);

// Takes bandwidth, a channel and resources for the device's slot size, in this order; `tag` is the
// tag of the packets to receive. 0, or HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE, ..._CHANNEL_ALLOCATE or
// ..._RESOURCES_ALLOCATE; what was taken before the failure stays taken.
uint32_t TakeBusResources(FWCameraDevice &device, uint16_t tag);

// Gives back what is held of them, in the opposite order. 0, or HAL_ERROR_ISOCH_RESOURCES_FREE,
// ..._CHANNEL_FREE or ..._BANDWIDTH_FREE; the first failure ends it, and the rest stays held.
uint32_t GiveBackBusResources(FWCameraDevice &device);

} // namespace zerix::hal
