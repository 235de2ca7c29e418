// The kernel-driver port on Windows: requests to the 1394 kernel driver by the system's device
// control calls, overlapped, each with an event. Any thread.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "bus/windows/pending_requests.h"
#include "bus/windows/system_calls.h"
#include "hal/kernel_driver.h"

namespace zerix::bus {

class WindowsDriver final : public kernel::KernelDriver {
public:
    // `system` must outlive it.
    explicit WindowsDriver(SystemCalls &system) : m_system(system) {}

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override;
    kernel::ControlResult Wait(kernel::DeviceHandle device,
                               kernel::Overlapped *overlapped) override;
    void CancelPending(kernel::DeviceHandle device) override;
    void Close(kernel::DeviceHandle device) override;
    bool IsSimulated() const override { return false; }
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override;
    kernel::ControlResult WaitFor(kernel::DeviceHandle device, kernel::Overlapped *overlapped,
                                  uint32_t timeoutMilliseconds) override;

private:
    // Null for a device that isn't open.
    std::shared_ptr<PendingRequests> RequestsOf(kernel::DeviceHandle device);

    SystemCalls &m_system;
    std::mutex m_mutex;
    std::map<kernel::DeviceHandle, std::shared_ptr<PendingRequests>> m_devices; // under the mutex
};

} // namespace zerix::bus
