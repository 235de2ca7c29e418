// The control requests of the kernel driver, one function each, and the table of them: sizes of the
// records, and whether the camera must be on the bus. Called under the bus's lock.
#pragma once

#include <cstdint>
#include <memory>

#include "hal/kernel_driver.h"
#include "sim/bus_device.h"
#include "sim/camera_stream.h"

namespace zerix::sim {

// One call of Control. `ended` outlives the lock, so that a stream that ends is joined without it.
struct Call {
    std::unique_ptr<CameraStream> &ended;
    BusDevice &device;
    const uint8_t *in;
    uint32_t inSize;
    uint8_t *out;
    uint32_t outSize;
    kernel::Overlapped &overlapped; // the caller's, or one of ours that is waited for
};

// Checks the record's size and does what it asks. May answer pending on the call's overlapped
// block.
kernel::ControlResult HandleRequest(uint32_t code, const Call &call);

} // namespace zerix::sim
