// Starting and stopping the isochronous stream, and the run loop's wait for a frame.
#include "hal/iso_stream.h"

#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "hal/receive_thread.h"
#include "hal/register_transport.h"

namespace zerix::hal {

namespace {

constexpr uint32_t kStopTimeoutMilliseconds = 5000;
constexpr uint32_t kSendOn = 1;
constexpr uint32_t kSendOff = 0;
constexpr uint32_t kChannelShift = 24;

// The ring for the device's slot size; null without the memory for it. The buffers are cleared, so
// that a slot which the driver leaves out has no length.
std::unique_ptr<ReceiveRing> MakeRing(const FWCameraDevice &device)
{
    std::unique_ptr<ReceiveRing> ring(new (std::nothrow) ReceiveRing);
    if (!ring)
        return nullptr;
    ring->bufferMutex = os::Mutex::Create();
    ring->stopEvent = os::Event::Create(os::ResetMode::kManual);
    ring->packetSlotBytes = device.packetSize;
    ring->bufferBytes = device.packetSize * kernel::kSlotsPerBuffer;
    const size_t bytes = size_t{ring->bufferBytes} * kernel::kReceiveBuffers;
    ring->memory.reset(static_cast<uint8_t *>(AllocateBlock(bytes)));
    if (!ring->bufferMutex || !ring->stopEvent || !ring->memory)
        return nullptr;
    std::memset(ring->memory.get(), 0, bytes);
    uint8_t *buffer = ring->memory.get();
    for (ReceiveSlot &slot : ring->slots) {
        slot.buffer = buffer;
        buffer += ring->bufferBytes;
    }
    return ring;
}

// Waits for the thread's end. False, and its record kept, where it hasn't come: the caller is that
// thread itself, or a callback doesn't return.
bool JoinReceiveThread(FWCameraDevice &device)
{
    if (IsReceiveThreadOf(device) ||
        HAL_ThreadCleanup(device.receiveThread, kStopTimeoutMilliseconds) != HAL_NO_ERROR)
        return false;
    device.receiveThread = nullptr;
    return true;
}

// Frees the ring, once every request is over and the driver has let go of the buffers.
void FreeRing(FWCameraDevice &device)
{
    const auto handle = device.deviceHandle.load(std::memory_order_relaxed);
    for (ReceiveSlot &slot : device.ring->slots) {
        if (slot.isQueued)
            kernel::Driver().Wait(handle, &slot.overlapped);
    }
    device.ring.reset();
}

uint32_t FailedBecause(uint32_t systemError)
{
    os::SetLastError(systemError);
    return HAL_ERROR_ASYNC_READ;
}

// The driver listens only when every buffer is queued.
void StartReceiveThread(FWCameraDevice &device)
{
    device.isStreaming.store(true, std::memory_order_relaxed);
    device.streamEnd.store(StreamEnd::kRunning, std::memory_order_relaxed);
    device.buffersQueued->Reset();
    if (HAL_ThreadCreate(ReceiveThread, &device, &device.receiveThread) == HAL_NO_ERROR) {
        static_cast<void>(device.buffersQueued->Wait());
        return;
    }
    // Without a thread the stream brings nothing, but it can be stopped, and without a wait.
    device.streamEnd.store(StreamEnd::kNoThread, std::memory_order_relaxed);
    QueueAll(device);
    device.ring->stopEvent->Signal();
}

bool Listen(FWCameraDevice &device)
{
    kernel::ListenRequest request{.resources = device.resourcesHandle, .zero = {}};
    kernel::Overlapped overlapped;
    const std::lock_guard lock(*device.ring->bufferMutex);
    auto result = device.Send(kernel::kControlListen, &request, sizeof request, &request,
                              sizeof request, &overlapped);
    if (result.completion == kernel::Completion::kPending)
        result = device.Wait(&overlapped);
    return result.completion == kernel::Completion::kDone;
}

uint32_t StartStreaming(const HALCamera &camera, FWCameraDevice &device, uint32_t registerAddress,
                        uint16_t streamingVersion)
{
    if (device.isStreaming.load(std::memory_order_relaxed))
        return HAL_NO_ERROR;
    if (!device.handleIsOpen.load(std::memory_order_acquire))
        return FailedBecause(kernel::kErrorInvalidHandle);
    // What an earlier stop had to leave behind. A thread can't be started from its own callback.
    if (!AbandonStream(device) || device.receiveThread != nullptr)
        return FailedBecause(kernel::kErrorBusy);
    device.stream.SetStreamingVersion(static_cast<uint8_t>(streamingVersion));
    device.ring = MakeRing(device);
    if (!device.ring)
        return FailedBecause(kernel::kErrorNoSystemResources);
    StartReceiveThread(device);
    if (!Listen(device))
        return HAL_ERROR_ASYNC_READ;
    const uint32_t control = device.channel << kChannelShift | kSendOn;
    return HAL_CameraWriteData(camera, registerAddress, &control, 1);
}

// Nothing is written any more to the frame in work.
void DropCurrentFrame(FWCameraDevice &device)
{
    const std::lock_guard lock(*device.ring->bufferMutex);
    device.stream.Cancel();
}

// Waits until the receive thread has left its loop, and joins it. It looks at `isStreaming` when
// its next buffer is full; a camera that streams fills one in 4 ms, with idle packets if need be.
// Where no packet comes, the wait ends in vain, and the requests are cancelled under the thread.
//
// The event belongs to this ring, and only the thread's end signals it: it is not reset here, or
// the end of a thread that had left before would be waited for.
//
// False if the thread may still be in the ring.
bool EndReceiveThread(FWCameraDevice &device)
{
    const auto waited = device.ring->stopEvent->Wait(kStopTimeoutMilliseconds);
    if (waited == os::WaitResult::kTimedOut)
        os::DebugOutput("FWCameraIsochStopThreads:Thread Stop timed out!!!\n");
    if (waited == os::WaitResult::kFailed)
        os::DebugOutput("FWCameraIsochStopThreads:Thread Stop Failed!!!\n");
    const bool hasLeft = waited == os::WaitResult::kSignalled;
    if (!hasLeft)
        device.CancelPending();
    return JoinReceiveThread(device) || hasLeft;
}

uint32_t TakeBuffersBack(FWCameraDevice &device)
{
    kernel::StopRequest stop{.resources = device.resourcesHandle, .zero = 0};
    if (!device.Exchange(kernel::kControlStopListen, stop))
        return HAL_ERROR_STREAM_STOP;
    uint32_t resources = device.resourcesHandle;
    if (!device.Exchange(kernel::kControlDetachBuffers, resources))
        return HAL_ERROR_ISOCH_RESOURCES_FREE;
    return HAL_NO_ERROR;
}

uint32_t StopStreaming(const HALCamera &camera, FWCameraDevice &device, uint32_t registerAddress)
{
    if (!device.isStreaming.exchange(false, std::memory_order_relaxed))
        return HAL_NO_ERROR;
    // An access that hangs may hold what the receive thread waits for.
    EndHangingAccesses(device);
    DropCurrentFrame(device);
    const bool threadHasLeft = EndReceiveThread(device);
    const uint32_t error = TakeBuffersBack(device);
    if (error != HAL_NO_ERROR)
        device.CancelPending();
    if (threadHasLeft) {
        // The thread may have begun another frame before it saw the stop.
        device.stream.Cancel();
        FreeRing(device);
    }
    if (error != HAL_NO_ERROR)
        return error;
    return WriteWithPatience(camera, registerAddress, kSendOff);
}

} // namespace

StreamEnd EndOfStream(const HALCamera &camera)
{
    const FWCameraDevice *device = LiveDeviceOf(camera);
    return device != nullptr ? device->streamEnd.load(std::memory_order_relaxed)
                             : StreamEnd::kStopped;
}

bool AbandonStream(FWCameraDevice &device)
{
    if (!device.ring && device.receiveThread == nullptr)
        return true;
    device.isStreaming.store(false, std::memory_order_relaxed);
    if (device.ring)
        device.CancelPending();
    // A callback that closes its own camera runs when the thread has left the ring.
    if (!JoinReceiveThread(device) && !IsReceiveThreadOf(device))
        return false;
    device.stream.Cancel();
    if (device.ring)
        FreeRing(device);
    return true;
}

} // namespace zerix::hal

using namespace zerix::hal;

uint32_t HAL_CameraStartStreaming(HALCamera camera, uint32_t registerAddress,
                                  uint16_t streamingVersion, void *)
{
    if (camera.kind == kDormantTransport)
        return HAL_ERROR_STREAM_START;
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_NO_ERROR;
    return StartStreaming(camera, *device, registerAddress, streamingVersion);
}

uint32_t HAL_CameraStopStreaming(HALCamera camera, uint32_t registerAddress)
{
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_NO_ERROR;
    return StopStreaming(camera, *device, registerAddress);
}

// The wake-up is used up after the wait, not before it: one that came since the last wait, when the
// caller was busy with a frame, ends this wait at once. Frames are published before they wake.
uint32_t HAL_CameraWaitingForFrame(HALCamera camera)
{
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr || !device->handleIsOpen.load(std::memory_order_acquire))
        return HAL_NO_ERROR;
    const auto waited = device->frameWaitEvent->Wait();
    device->frameWaitEvent->Reset();
    return waited == zerix::os::WaitResult::kSignalled ? HAL_NO_ERROR : HAL_ERROR_CONDITION;
}

uint32_t HAL_CameraStopWaitingForFrame(HALCamera camera)
{
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->frameWaitEvent->Signal();
    return HAL_NO_ERROR;
}
