// Ending a stream from inside the hardware layer. Starting and stopping stand in zerix_hal.h.
#pragma once

#include "hal/fw_camera_device.h"

namespace zerix::hal {

// HAL_CameraStopStreaming, by a caller that has the turn.
uint32_t StopStreaming(const HALCamera &camera, FWCameraDevice &device, uint32_t registerAddress);

// Ends a stream that nobody stopped, before its device is closed: cancels the device's requests,
// joins the receive thread and frees the buffers. Asks nothing of the camera. Does nothing without
// a stream. False if the receive thread is stuck in a callback; the record must then stay.
bool AbandonStream(FWCameraDevice &device);

} // namespace zerix::hal
