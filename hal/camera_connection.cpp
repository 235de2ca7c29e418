// Connecting a listed camera, disconnecting it and freeing its record.
#include "hal/camera_connection.h"

#include <mutex>

#include "hal/bandwidth.h"
#include "hal/debug_text.h"
#include "hal/fw_camera_device.h"
#include "hal/iso_stream.h"
#include "hal/register_transport.h"

namespace zerix::hal {

namespace {

constexpr uint16_t kTagAtConnect = 1;

// Opens the device node. Open doesn't tell of another owner: the question that follows does.
uint32_t OpenUnclaimed(const FWCameraDevice &device, kernel::DeviceHandle &handle)
{
    if (const uint32_t error = kernel::Driver().Open(device.devicePath, &handle)) {
        os::SetLastError(error);
        ShowFailure("ConnectToFireWireCamera");
        return HAL_ERROR_NOT_CONNECTED;
    }
    uint32_t isOpen = 0;
    uint32_t error = FWCameraIsOpen(handle, &isOpen, true);
    if (error == HAL_NO_ERROR && isOpen == 1)
        error = HAL_ERROR_CAMERA_IN_USE;
    if (error != HAL_NO_ERROR)
        kernel::Driver().Close(handle);
    return error;
}

uint32_t ConnectToFireWireCamera(HALCamera &camera, FWCameraDevice &device)
{
    device.frameWaitEvent->Reset();
    kernel::DeviceHandle handle = 0;
    if (const uint32_t error = OpenUnclaimed(device, handle))
        return error;
    AbandonStream(device);
    device.CloseDevice();
    camera.isConnected = 1;
    device.deviceHandle.store(handle, std::memory_order_relaxed);
    device.handleIsOpen.store(true, std::memory_order_release);
    const uint32_t error = TakeBusResources(device, kTagAtConnect);
    // The camera stays marked as connected, and callers don't disconnect after a failed connect:
    // the closed handle gives back what was taken.
    if (error != HAL_NO_ERROR)
        device.CloseDevice();
    return error;
}

void EndBusEvents(FWCameraDevice &device)
{
    const std::lock_guard lock(*device.deviceMutex);
    device.busEventRunning = false;
    uint32_t word = 0;
    static_cast<void>(device.Exchange(kernel::kControlCancelBusEvent, word));
}

uint32_t DisconnectFromFireWireCamera(HALCamera &camera, FWCameraDevice &device)
{
    // A list entry of a device that somebody else has: marked, but never opened by us.
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_NO_ERROR;
    if (const uint32_t error = GiveBackBusResources(device))
        return error;
    EndBusEvents(device);
    AbandonStream(device);
    device.CloseDevice();
    device.deviceHandle.store(0, std::memory_order_relaxed);
    device.frameWaitEvent->Signal();
    camera.isConnected = 0;
    return HAL_NO_ERROR;
}

} // namespace

uint32_t FWCameraIsOpen(kernel::DeviceHandle device, uint32_t *isOpen, bool showMessage)
{
    const auto result = kernel::Driver().Control(device, kernel::kControlIsOpen, isOpen,
                                                 sizeof *isOpen, isOpen, sizeof *isOpen, nullptr);
    if (result.completion == kernel::Completion::kDone)
        return HAL_NO_ERROR;
    os::SetLastError(result.systemError);
    os::DebugOutput("Free Check isOpen failed!!!\n");
    if (showMessage)
        ShowFailure("FWCameraIsOpen");
    return HAL_ERROR_ISOCH_CHANNEL_FREE;
}

void BeginClosing(const HALCamera &camera)
{
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return;
    device->gate.BeginClosing();
    EndHangingAccesses(*device);
}

void EndClosing(const HALCamera &camera)
{
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->gate.EndClosing();
}

void CancelHangingAccesses(const HALCamera &camera)
{
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->gate.EndPresent(kAccessPatienceMilliseconds,
                                [device](kernel::Overlapped &request) { device->Cancel(request); });
}

kernel::DeviceHandle OpenDeviceOf(const HALCamera &camera)
{
    const FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr || !device->handleIsOpen.load(std::memory_order_acquire))
        return 0;
    return device->deviceHandle.load(std::memory_order_relaxed);
}

} // namespace zerix::hal

using namespace zerix::hal;

uint32_t HAL_AdapterOpen(uint32_t, uint32_t) { return HAL_NO_ERROR; }

uint32_t HAL_CameraConnect(HALCamera *camera, uint16_t packetSize, HAL_FrameCallback getFrame,
                           HAL_FrameCallback peekFrame, HAL_EventCallback frameDone,
                           HAL_EventCallback overrun, HAL_EventCallback timedOut, void *context)
{
    if (camera->kind != kLiveTransport)
        return camera->kind == kDormantTransport ? HAL_ERROR_NOT_CONNECTED : HAL_NO_ERROR;
    StorePacketSize(*camera, packetSize);
    FWCameraDevice *device = LiveDeviceOf(*camera);
    if (device == nullptr)
        return HAL_ERROR_NOT_CONNECTED;
    const uint32_t error = ConnectToFireWireCamera(*camera, *device);
    if (error != HAL_NO_ERROR)
        return error;
    device->stream.SetUp({.getFrame = getFrame,
                          .peekFrame = peekFrame,
                          .frameDone = frameDone,
                          .overrun = overrun,
                          .context = context});
    device->timedOut = timedOut;
    device->context = context;
    return HAL_NO_ERROR;
}

uint32_t HAL_CameraDisconnect(HALCamera *camera)
{
    if (camera->kind != kLiveTransport || camera->isConnected == 0)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(*camera);
    if (device == nullptr)
        return HAL_NO_ERROR;
    return DisconnectFromFireWireCamera(*camera, *device);
}

uint32_t HAL_CameraRelease(HALCamera *camera)
{
    if (camera->kind != kLiveTransport)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(*camera);
    // A receive thread that is stuck in a callback still works on the record: better lost than
    // freed.
    if (device != nullptr && AbandonStream(*device))
        delete device;
    camera->device = nullptr;
    return HAL_NO_ERROR;
}
