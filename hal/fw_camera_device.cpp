// The private record behind a HALCamera of kind 0: its life, and the way of its requests.
#include "hal/fw_camera_device.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>

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

// All of them were cancelled at once: one second is for all.
void ReceiveRing::EndRequests()
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(kCancelPatienceMilliseconds);
    for (ReceiveSlot &slot : slots) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::max(deadline - Clock::now(), Clock::duration::zero()));
        if (slot.isQueued)
            kernel::Driver().WaitFor(device, &slot.overlapped, static_cast<uint32_t>(left.count()));
    }
}

bool ReceiveRing::IsOver()
{
    return std::none_of(std::begin(slots), std::end(slots), [this](ReceiveSlot &slot) {
        return slot.isQueued && kernel::Driver().WaitFor(device, &slot.overlapped, 0).completion ==
                                    kernel::Completion::kPending;
    });
}

FWCameraDevice::FWCameraDevice(const char *path)
    : deviceMutex(os::Mutex::Create()), frameWaitEvent(os::Event::Create(os::ResetMode::kManual)),
      buffersQueued(os::Event::Create(os::ResetMode::kManual)), sink(MakePacketSink())
{
    std::strncpy(devicePath, path, kernel::kLongestDevicePath);
}

FWCameraDevice::~FWCameraDevice()
{
    AbandonStream(*this);
    CloseDevice();
}

kernel::ControlResult FWCameraDevice::Queue(ReceiveSlot &slot, uint32_t bytes)
{
    if (!handleIsOpen.load(std::memory_order_acquire))
        return Told({kernel::Completion::kFailed, kernel::kErrorInvalidHandle, 0});
    return Told(kernel::Driver().Control(deviceHandle.load(std::memory_order_relaxed),
                                         kernel::kControlQueueBuffer, slot.buffer, bytes,
                                         slot.buffer, bytes, &slot.overlapped));
}

kernel::ControlResult FWCameraDevice::Send(uint32_t code, DeviceRequest &request)
{
    if (!handleIsOpen.load(std::memory_order_acquire))
        return Told({kernel::Completion::kFailed, kernel::kErrorInvalidHandle, 0});
    return request.Send(code);
}

bool FWCameraDevice::ExchangeBytes(uint32_t code, void *record, uint32_t size,
                                   uint32_t patienceMilliseconds)
{
    const auto request = DeviceRequest::Make(deviceHandle.load(std::memory_order_relaxed), size);
    if (!request) {
        os::SetLastError(kernel::kErrorNoSystemResources);
        return false;
    }
    std::memcpy(request->In(), record, size);
    auto result = Send(code, *request);
    if (result.completion == kernel::Completion::kPending)
        result = request->WaitOrCancel(patienceMilliseconds);
    if (result.completion != kernel::Completion::kDone)
        return false;
    std::memcpy(record, request->Out(), size);
    return true;
}

void FWCameraDevice::CancelPending() const
{
    if (handleIsOpen.load(std::memory_order_acquire))
        kernel::Driver().CancelPending(deviceHandle.load(std::memory_order_relaxed));
}

void FWCameraDevice::CloseDevice()
{
    if (handleIsOpen.exchange(false, std::memory_order_acq_rel))
        kernel::Driver().Close(deviceHandle.load(std::memory_order_relaxed));
    holdings = {};
    heldSlotBytes.store(0, std::memory_order_relaxed);
}

} // namespace zerix::hal
