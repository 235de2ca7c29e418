// The process's cameras.
#include "api/camera_list.h"

#include <algorithm>
#include <array>
#include <mutex>

#include "api/context.h"
#include "camera/tolvane_fw_camera.h"
#include "hal/camera_connection.h"
#include "zerix/zerix.h"

namespace zerix::api {
namespace {

struct WatchedCamera {
    ZX::ZCamera *camera;
    kernel::DeviceHandle device;
};

struct State {
    std::mutex mutex; // over both lists where the monitor runs
    ZX::ZCameraList cameras;
    std::vector<WatchedCamera> watched;
};

// Never destroyed: an application may end without releasing the library, its threads still running.
State &TheState()
{
    static auto *const state = new State;
    return *state;
}

constexpr uint32_t kCallsEndMilliseconds = 5000;

// 0 if the camera has no device of the kernel driver.
kernel::DeviceHandle DeviceOf(ZX::ZCamera &camera)
{
    const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera);
    return onBus != nullptr ? hal::OpenDeviceOf(onBus->GetHalCamera()) : kernel::DeviceHandle{0};
}

void AppendSerialIfOpen(const WatchedCamera &watched, std::vector<std::string> &serials)
{
    uint32_t isOpen = 0;
    if (hal::FWCameraIsOpen(watched.device, &isOpen, false) != HAL_NO_ERROR || isOpen != 1)
        return;
    std::array<char, 32> text = {};
    if (Zerix_GetSerialString(watched.camera, text.data(), text.size()) == ZERIX_SUCCESS)
        serials.emplace_back(text.data());
}

// No camera is freed under a call that hangs in it, or waits for a frame of it.
void EndCallsOn(ZX::ZCamera &camera)
{
    EndHangingCalls(camera);
    if (AwaitUnused(camera, 0))
        return;
    camera.Abort();
    AwaitUnused(camera, kCallsEndMilliseconds);
}

} // namespace

ZX::ZCameraList &Cameras() { return TheState().cameras; }

uint16_t ListCamerasAgain()
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    ZX::ZCamera::EraseClosedCamerasFromList(state.cameras);
    return ZX::ZCamera::GetCameraList(state.cameras);
}

void FreeCameras()
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    state.watched.clear();
    // A camera's streaming threads use its context until the camera has been closed.
    std::vector<ZerixContext *> contexts;
    for (ZX::ZCamera *camera : state.cameras) {
        if (camera->IsCameraOpen())
            EndCallsOn(*camera);
        contexts.push_back(ContextOf(*camera));
    }
    ZX::ZCamera::FreeCameraList(state.cameras);
    for (ZerixContext *context : contexts)
        RetireContext(context);
}

void EndHangingCalls(ZX::ZCamera &camera)
{
    if (const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera))
        hal::BeginClosing(onBus->GetHalCamera());
}

void EndHangingAccesses(ZX::ZCamera &camera)
{
    if (const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera))
        hal::CancelHangingAccesses(onBus->GetHalCamera());
}

void BeginWatching(ZX::ZCamera &camera)
{
    const kernel::DeviceHandle device = DeviceOf(camera);
    if (device == 0)
        return;
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    state.watched.push_back({&camera, device});
}

void EndWatching(ZX::ZCamera &camera)
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    std::erase_if(state.watched,
                  [&](const WatchedCamera &watched) { return watched.camera == &camera; });
}

void AppendCameraForTest(ZX::ZCamera *camera)
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    state.cameras.push_back(camera);
}

std::vector<std::string> SerialsOfOpenCameras()
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    std::vector<std::string> serials;
    for (const ZX::ZCamera *camera : state.cameras) {
        const auto found =
            std::find_if(state.watched.begin(), state.watched.end(),
                         [&](const WatchedCamera &watched) { return watched.camera == camera; });
        if (found != state.watched.end())
            AppendSerialIfOpen(*found, serials);
    }
    return serials;
}

} // namespace zerix::api
