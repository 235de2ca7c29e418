// The receive thread of a streaming camera: takes the full buffers in turn, passes their payloads
// to the packet sink, and queues them again.
#pragma once

#include <cstdint>
#include <span>

#include "hal/fw_camera_device.h"

namespace zerix::hal {

// Queues a slot's buffer with the driver, for the packets to come. The system error when the driver
// refuses, 0 otherwise.
uint32_t QueueSlot(FWCameraDevice &device, ReceiveSlot &slot);

// Queues every slot's buffer, in order.
void QueueAll(FWCameraDevice &device);

// The payload in one packet slot of the driver's; empty if there is none to parse or its length
// can't be right.
std::span<uint8_t> PayloadOf(std::span<uint8_t> packetSlot);

// The thread's routine; `device` is an FWCameraDevice with its ring made. It queues
// the buffers itself, and then signals `buffersQueued`: Windows ends the requests of a thread that
// ends, and the thread which begins a stream may do so long before the stream does.
void ReceiveThread(void *device);

// Whether the calling thread is the receive thread of this device, in one of its callbacks.
bool IsReceiveThreadOf(const FWCameraDevice &device);

// The same, in a callback of a frame: the thread is in its loop, and the stream can't end under it.
bool IsInFrameCallbackOf(const FWCameraDevice &device);

} // namespace zerix::hal
