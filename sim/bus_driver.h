// The kernel driver's side of the virtual bus: its 18 control requests, as records.
#pragma once

#include <cstdint>

#include "hal/kernel_driver.h"

namespace zerix::sim {

class BusDriver final : public kernel::KernelDriver {
public:
    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override;
    kernel::ControlResult Wait(kernel::DeviceHandle device,
                               kernel::Overlapped *overlapped) override;
    void CancelPending(kernel::DeviceHandle device) override;
    void Close(kernel::DeviceHandle device) override;
    bool IsSimulated() const override { return true; }
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override;
    kernel::ControlResult WaitFor(kernel::DeviceHandle device, kernel::Overlapped *overlapped,
                                  uint32_t timeoutMilliseconds) override;
};

} // namespace zerix::sim
