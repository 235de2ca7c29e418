// The connection to one camera, as far as other layers look into it. Connecting and disconnecting
// stand in zerix_hal.h.
#pragma once

#include <cstdint>

#include "hal/kernel_driver.h"
#include "zerix/zerix_hal.h"

namespace zerix::hal {

// Asks the kernel driver whether the device is claimed, by whomever: 1 if so. On a failure it
// writes to the debug output and, if asked to, shows the failure box.
// 0, or HAL_ERROR_ISOCH_CHANNEL_FREE.
uint32_t FWCameraIsOpen(kernel::DeviceHandle device, uint32_t *isOpen, bool showMessage);

// The handle of the camera's open device; 0 if it has none. Any thread.
kernel::DeviceHandle OpenDeviceOf(const HALCamera &camera);

// Bytes of the packets for which the connection holds bandwidth, a channel and resources: 0 when a
// booking was refused, until the next one is granted. Any thread.
uint16_t HeldPacketBytes(const HALCamera &camera);

// What became of the last stream.
enum class StreamEnd : uint32_t {
    kStopped,        // by a stop or a disconnect; or none was started
    kRunning,        // its thread receives
    kLost,           // the device is lost: the loss callback has been called, or is about to be
    kRequeueRefused, // the driver did not take a buffer again
    kNoThread,       // the thread could not be created
};

// The answer holds until the next start: a stop does not hide that the stream had ended before.
// Any thread.
StreamEnd EndOfStream(const HALCamera &camera);

// Before a camera is closed, possibly beside calls that are at work with it: ends the register
// accesses that hang, and shuts out those of every other thread. Takes half a second at the most,
// and one and a half where the driver ignores that a request is cancelled.
void BeginClosing(const HALCamera &camera);

// The camera is closed, or stays open after all.
void EndClosing(const HALCamera &camera);

// For calls that wait for one that is at work with the camera: ends the register accesses that
// hang, and nothing else, so that a stream goes on. Takes as long as BeginClosing; whoever waits
// for several accesses calls it again.
void CancelHangingAccesses(const HALCamera &camera);

} // namespace zerix::hal
