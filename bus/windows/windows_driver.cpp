// The open devices, and the way of each call to its own.
#include "bus/windows/windows_driver.h"

#include <new>

#include "bus/windows/device_interfaces.h"

namespace zerix::bus {

using namespace kernel;

namespace {

constexpr uint32_t kReadAndWrite = 0xC0000000;
constexpr uint32_t kNoSharing = 0;
constexpr uint32_t kOpenExisting = 3;
constexpr uint32_t kOverlappedFile = 0x40000080;

constexpr ControlResult kNotOpen = {Completion::kFailed, kErrorInvalidHandle, 0};

} // namespace

uint32_t WindowsDriver::Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    return EnumerateDeviceInterfaces(m_system, paths, maximumCount, count);
}

uint32_t WindowsDriver::Open(const char *devicePath, DeviceHandle *device)
{
    const SystemHandle handle =
        m_system.CreateFile(devicePath, kReadAndWrite, kNoSharing, kOpenExisting, kOverlappedFile);
    if (handle == kInvalidSystemHandle)
        return WhyItFailed(m_system);
    try {
        auto requests = std::make_shared<PendingRequests>(m_system, handle);
        const std::lock_guard lock(m_mutex);
        m_devices.insert_or_assign(handle, std::move(requests));
    } catch (const std::bad_alloc &) {
        m_system.CloseHandle(handle);
        return kErrorNotEnoughMemory;
    }
    *device = handle;
    return 0;
}

ControlResult WindowsDriver::Control(DeviceHandle device, uint32_t code, const void *in,
                                     uint32_t inSize, void *out, uint32_t outSize,
                                     Overlapped *overlapped)
{
    const auto requests = RequestsOf(device);
    if (!requests)
        return kNotOpen;
    return requests->Send(code, {.in = in, .inBytes = inSize, .out = out, .outBytes = outSize},
                          overlapped);
}

ControlResult WindowsDriver::Wait(DeviceHandle device, Overlapped *overlapped)
{
    const auto requests = RequestsOf(device);
    return requests ? requests->Wait(*overlapped) : kNotOpen;
}

ControlResult WindowsDriver::WaitFor(DeviceHandle device, Overlapped *overlapped,
                                     uint32_t timeoutMilliseconds)
{
    const auto requests = RequestsOf(device);
    return requests ? requests->WaitFor(*overlapped, timeoutMilliseconds)
                    : PendingRequests::AfterTheClose(*overlapped);
}

void WindowsDriver::CancelPending(DeviceHandle device)
{
    if (const auto requests = RequestsOf(device))
        requests->CancelAll();
}

void WindowsDriver::Cancel(DeviceHandle device, Overlapped *overlapped)
{
    if (const auto requests = RequestsOf(device))
        requests->Cancel(*overlapped);
}

void WindowsDriver::Close(DeviceHandle device)
{
    const auto requests = RequestsOf(device);
    if (!requests)
        return;
    requests->Close();
    const std::lock_guard lock(m_mutex);
    m_devices.erase(device);
}

std::shared_ptr<PendingRequests> WindowsDriver::RequestsOf(DeviceHandle device)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_devices.find(device);
    return found != m_devices.end() ? found->second : nullptr;
}

} // namespace zerix::bus
