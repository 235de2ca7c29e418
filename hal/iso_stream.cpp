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
DriverPointer<ReceiveRing> MakeRing(const FWCameraDevice &device)
{
    DriverPointer<ReceiveRing> ring(new (std::nothrow) ReceiveRing);
    if (!ring)
        return nullptr;
    ring->stopEvent = os::Event::Create(os::ResetMode::kManual);
    ring->device = device.deviceHandle.load(std::memory_order_relaxed);
    ring->packetSlotBytes = device.packetSize;
    ring->bufferBytes = device.packetSize * kernel::kSlotsPerBuffer;
    const size_t bytes = size_t{ring->bufferBytes} * kernel::kReceiveBuffers;
    ring->memory.reset(static_cast<uint8_t *>(AllocateBlock(bytes)));
    if (!ring->stopEvent || !ring->memory)
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
// thread itself, a callback doesn't return, or it waits for this call's turn.
bool JoinReceiveThread(FWCameraDevice &device)
{
    constexpr uint32_t kBetweenLooksMilliseconds = 100;
    if (IsReceiveThreadOf(device))
        return false;
    for (uint32_t waited = 0; waited < kStopTimeoutMilliseconds;
         waited += kBetweenLooksMilliseconds) {
        if (HAL_ThreadCleanup(device.receiveThread, kBetweenLooksMilliseconds) == HAL_NO_ERROR) {
            device.receiveThread = nullptr;
            return true;
        }
        if (device.receiverWaits.load(std::memory_order_relaxed))
            return false;
    }
    return false;
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
    return device.Exchange(kernel::kControlListen, request, kBeginPatienceMilliseconds);
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
        return FailBusy(HAL_ERROR_ASYNC_READ);
    FreeWhatIsOver();
    device.streamRegister = registerAddress;
    device.sink->Begin(static_cast<uint8_t>(streamingVersion));
    device.ring = MakeRing(device);
    if (!device.ring)
        return FailedBecause(kernel::kErrorNoSystemResources);
    StartReceiveThread(device);
    if (!Listen(device))
        return HAL_ERROR_ASYNC_READ;
    const uint32_t control = device.channel << kChannelShift | kSendOn;
    const uint32_t error = HAL_CameraWriteData(camera, registerAddress, &control, 1);
    device.ring->isCameraOn = error == HAL_NO_ERROR;
    return error;
}

bool HasLeftLoop(const FWCameraDevice &device)
{
    return device.ring->stopEvent->Wait(0) == os::WaitResult::kSignalled;
}

bool AwaitEndOfLoop(const ReceiveRing &ring)
{
    const auto waited = ring.stopEvent->Wait(kStopTimeoutMilliseconds);
    if (waited == os::WaitResult::kTimedOut)
        os::DebugOutput("FWCameraIsochStopThreads:Thread Stop timed out!!!\n");
    if (waited == os::WaitResult::kFailed)
        os::DebugOutput("FWCameraIsochStopThreads:Thread Stop Failed!!!\n");
    return waited == os::WaitResult::kSignalled;
}

// Waits until the receive thread has left its loop, and joins it. It looks at `isStreaming` when
// its next buffer is full; a camera that streams fills one in 4 ms, with idle packets if need be.
// Where no packet comes, the wait ends in vain, and the requests are cancelled under the thread;
// where the driver ignores that, the thread leaves without them. A camera that was never told to
// send isn't waited for.
//
// The event belongs to this ring, and only the thread's end signals it: it is not reset here, or
// the end of a thread that had left before would be waited for.
//
// False if the thread may still be in the ring.
bool EndReceiveThread(FWCameraDevice &device)
{
    if (device.ring->isCameraOn && AwaitEndOfLoop(*device.ring))
        return JoinReceiveThread(device), true;
    device.CancelPending();
    if (device.ring->stopEvent->Wait(kCancelPatienceMilliseconds) != os::WaitResult::kSignalled)
        device.ring->isGivenUp.store(true, std::memory_order_relaxed);
    return JoinReceiveThread(device) || HasLeftLoop(device);
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

} // namespace

StreamEnd EndOfStream(const HALCamera &camera)
{
    const FWCameraDevice *device = LiveDeviceOf(camera);
    return device != nullptr ? device->streamEnd.load(std::memory_order_relaxed)
                             : StreamEnd::kStopped;
}

// The thread may have begun another frame before it saw the stop.
uint32_t StopStreaming(const HALCamera &camera, FWCameraDevice &device, uint32_t registerAddress)
{
    if (!device.isStreaming.exchange(false, std::memory_order_relaxed))
        return HAL_NO_ERROR;
    // An access that hangs may hold what the receive thread waits for.
    device.gate.EndPresent();
    const bool threadHasLeft = EndReceiveThread(device);
    const uint32_t error = TakeBuffersBack(device);
    if (error != HAL_NO_ERROR)
        device.CancelPending();
    if (threadHasLeft) {
        device.sink->Drop();
        device.ring.reset();
    }
    if (error != HAL_NO_ERROR)
        return error;
    return WriteWithPatience(camera, registerAddress, kSendOff);
}

bool AbandonStream(FWCameraDevice &device)
{
    if (!device.ring && device.receiveThread == nullptr)
        return true;
    if (IsInFrameCallbackOf(device))
        return false;
    device.isStreaming.store(false, std::memory_order_relaxed);
    if (device.ring) {
        device.CancelPending();
        if (device.ring->stopEvent->Wait(kCancelPatienceMilliseconds) != os::WaitResult::kSignalled)
            device.ring->isGivenUp.store(true, std::memory_order_relaxed);
    }
    // A callback that closes its own camera runs when the thread has left the ring.
    if (!JoinReceiveThread(device) && !IsReceiveThreadOf(device))
        return false;
    device.sink->Drop();
    device.ring.reset();
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
    // In a callback of the stream: the thread has to end before another can start.
    if (IsReceiveThreadOf(*device))
        return device->isStreaming.load(std::memory_order_relaxed) ? uint32_t{HAL_NO_ERROR}
                                                                   : FailBusy(HAL_ERROR_ASYNC_READ);
    const Turn turn(*device);
    if (!turn)
        return FailBusy(HAL_ERROR_ASYNC_READ);
    return StartStreaming(camera, *device, registerAddress, streamingVersion);
}

uint32_t HAL_CameraStopStreaming(HALCamera camera, uint32_t registerAddress)
{
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_NO_ERROR;
    if (IsInFrameCallbackOf(*device))
        return FailBusy(HAL_ERROR_STREAM_STOP);
    const Turn turn(*device, Turn::Haste::kEndsAccesses);
    if (!turn)
        return FailBusy(HAL_ERROR_STREAM_STOP);
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
