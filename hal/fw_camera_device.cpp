// The private record behind a HALCamera of kind 0: its life, and the way of its requests.
#include "hal/fw_camera_device.h"

#include <cstring>

#include "hal/iso_stream.h"

namespace zerix::hal {

namespace {

kernel::ControlResult Told(const kernel::ControlResult &result)
{
    if (result.completion == kernel::Completion::kFailed)
        os::SetLastError(result.systemError);
    return result;
}

} // namespace

FWCameraDevice::FWCameraDevice(const char *path)
    : deviceMutex(os::Mutex::Create()), frameWaitEvent(os::Event::Create(os::ResetMode::kManual)),
      buffersQueued(os::Event::Create(os::ResetMode::kManual))
{
    std::strncpy(devicePath, path, kernel::kLongestDevicePath);
}

FWCameraDevice::~FWCameraDevice()
{
    AbandonStream(*this);
    CloseDevice();
}

kernel::ControlResult FWCameraDevice::Send(uint32_t code, const void *in, uint32_t inSize,
                                           void *out, uint32_t outSize,
                                           kernel::Overlapped *overlapped)
{
    if (!handleIsOpen.load(std::memory_order_acquire))
        return Told({kernel::Completion::kFailed, kernel::kErrorInvalidHandle, 0});
    return Told(kernel::Driver().Control(deviceHandle.load(std::memory_order_relaxed), code, in,
                                         inSize, out, outSize, overlapped));
}

kernel::ControlResult FWCameraDevice::Wait(kernel::Overlapped *overlapped)
{
    return Told(kernel::Driver().Wait(deviceHandle.load(std::memory_order_relaxed), overlapped));
}

void FWCameraDevice::CancelPending() const
{
    if (handleIsOpen.load(std::memory_order_acquire))
        kernel::Driver().CancelPending(deviceHandle.load(std::memory_order_relaxed));
}

void FWCameraDevice::Cancel(kernel::Overlapped &request) const
{
    if (handleIsOpen.load(std::memory_order_acquire))
        kernel::Driver().Cancel(deviceHandle.load(std::memory_order_relaxed), &request);
}

void FWCameraDevice::CloseDevice()
{
    if (handleIsOpen.exchange(false, std::memory_order_acq_rel))
        kernel::Driver().Close(deviceHandle.load(std::memory_order_relaxed));
    holdings = {};
    heldSlotBytes.store(0, std::memory_order_relaxed);
}

} // namespace zerix::hal
