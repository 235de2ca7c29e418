// Connecting a listed camera, disconnecting it and freeing its record.
#include "hal/camera_connection.h"

#include <cstring>
#include <mutex>

#include "hal/bandwidth.h"
#include "hal/debug_text.h"
#include "hal/fw_camera_device.h"
#include "hal/iso_stream.h"
#include "hal/lost_device.h"
#include "hal/receive_thread.h"

namespace zerix::hal {

namespace {

constexpr uint16_t kTagAtConnect = 1;

bool IsDone(DeviceRequest &request, uint32_t *word)
{
    std::memcpy(request.In(), word, sizeof *word);
    auto result = request.Send(kernel::kControlIsOpen);
    if (result.completion == kernel::Completion::kPending)
        result = request.WaitOrCancel(kBeginPatienceMilliseconds);
    if (result.completion != kernel::Completion::kDone)
        return false;
    std::memcpy(word, request.Out(), sizeof *word);
    return true;
}

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
    device.gate.Reopen();
    FreeWhatIsOver();
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

// The accesses of other threads end, and are shut out until the connection is closed.
class ClosedGate {
public:
    explicit ClosedGate(AccessGate &gate) : m_gate(gate), m_wasClosing(gate.IsClosing())
    {
        m_gate.BeginClosing();
        m_gate.EndPresent();
    }
    ~ClosedGate()
    {
        if (!m_wasClosing)
            m_gate.EndClosing();
    }
    ClosedGate(const ClosedGate &) = delete;
    ClosedGate &operator=(const ClosedGate &) = delete;

private:
    AccessGate &m_gate;
    const bool m_wasClosing;
};

void CloseConnection(HALCamera &camera, FWCameraDevice &device)
{
    AbandonStream(device);
    device.CloseDevice();
    FreeWhatIsOver();
    device.deviceHandle.store(0, std::memory_order_relaxed);
    device.frameWaitEvent->Signal();
    camera.isConnected = 0;
}

// Where the device or its driver is gone, nothing can be given back ever, and the open handle would
// keep the device from coming back.
uint32_t DisconnectFromFireWireCamera(HALCamera &camera, FWCameraDevice &device)
{
    // A list entry of a device that somebody else has: marked, but never opened by us.
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_NO_ERROR;
    const ClosedGate gate(device.gate);
    StopStreaming(camera, device, device.streamRegister);
    if (const uint32_t error = GiveBackBusResources(device)) {
        const uint32_t systemError = os::LastError();
        if (SaysDeviceLost(systemError))
            CloseConnection(camera, device);
        os::SetLastError(systemError);
        return error;
    }
    EndBusEvents(device);
    CloseConnection(camera, device);
    return HAL_NO_ERROR;
}

} // namespace

uint32_t FWCameraIsOpen(kernel::DeviceHandle device, uint32_t *isOpen, bool showMessage)
{
    const auto request = DeviceRequest::Make(device, sizeof *isOpen);
    if (request && IsDone(*request, isOpen))
        return HAL_NO_ERROR;
    if (!request)
        os::SetLastError(kernel::kErrorNoSystemResources);
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
    device->gate.EndPresent();
}

void EndClosing(const HALCamera &camera)
{
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->gate.EndClosing();
}

void CancelHangingAccesses(const HALCamera &camera)
{
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->gate.EndPresent();
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
    FWCameraDevice *device = LiveDeviceOf(*camera);
    if (device == nullptr) {
        StorePacketSize(*camera, packetSize);
        return HAL_ERROR_NOT_CONNECTED;
    }
    if (IsInFrameCallbackOf(*device))
        return FailBusy(HAL_ERROR_NOT_CONNECTED);
    const Turn turn(*device);
    if (!turn)
        return FailBusy(HAL_ERROR_NOT_CONNECTED);
    StorePacketSize(*camera, packetSize);
    const uint32_t error = ConnectToFireWireCamera(*camera, *device);
    if (error != HAL_NO_ERROR)
        return error;
    device->sink->SetUp({.getFrame = getFrame,
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
    if (IsInFrameCallbackOf(*device))
        return FailBusy(HAL_ERROR_ISOCH_RESOURCES_FREE);
    const Turn turn(*device, Turn::Haste::kEndsAccesses);
    if (!turn)
        return FailBusy(HAL_ERROR_ISOCH_RESOURCES_FREE);
    return DisconnectFromFireWireCamera(*camera, *device);
}

namespace {

// A receive thread that is stuck in a callback still works on the record, as does an access that
// the system doesn't let go: better lost than freed.
bool IsUnused(FWCameraDevice &device)
{
    if (IsInFrameCallbackOf(device))
        return false;
    const Turn turn(device, Turn::Haste::kEndsAccesses);
    if (!turn || !AbandonStream(device))
        return false;
    device.gate.BeginClosing();
    device.gate.EndPresent();
    return device.gate.AwaitEmpty(kCancelPatienceMilliseconds);
}

} // namespace

uint32_t HAL_CameraRelease(HALCamera *camera)
{
    if (camera->kind != kLiveTransport)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(*camera);
    if (device != nullptr && IsUnused(*device))
        delete device;
    camera->device = nullptr;
    return HAL_NO_ERROR;
}
