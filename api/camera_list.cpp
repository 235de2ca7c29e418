// The process's cameras.
#include "api/camera_list.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>

#include "api/camera_use.h"
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

// 0 if the camera has no device of the kernel driver.
kernel::DeviceHandle DeviceOf(ZX::ZCamera &camera)
{
    const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera);
    return onBus != nullptr ? hal::OpenDeviceOf(onBus->CameraForThreads())
                            : kernel::DeviceHandle{0};
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

// No camera is freed under a call.
bool EndUses(ZX::ZCamera &camera)
{
    if (!camera.IsCameraOpen())
        return AwaitUnused(camera, kCallsEndMilliseconds);
    const bool haveEnded =
        EndCalls(camera, [&](uint32_t milliseconds) { return AwaitUnused(camera, milliseconds); });
    EndHangingCalls(camera);
    return haveEnded;
}

// Frees cameras whose life has ended. One that is in use all the same is only closed.
void Free(const ZX::ZCameraList &cameras)
{
    for (ZX::ZCamera *camera : cameras) {
        ZX::ZCameraList unused = {camera};
        if (!EndUses(*camera)) {
            camera->CloseCamera();
            continue;
        }
        ZX::ZCamera::FreeCameraList(unused);
        Forget(camera);
    }
}

} // namespace

ZX::ZCameraList &Cameras() { return TheState().cameras; }

ZX::ZCamera *ListedCamera(uint32_t row)
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    return row < state.cameras.size() ? state.cameras[row] : nullptr;
}

void VisitCameras(const std::function<void(const ZX::ZCameraList &cameras)> &visit)
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    visit(state.cameras);
}

uint16_t ListCamerasAgain()
{
    State &state = TheState();
    const std::lock_guard lock(state.mutex);
    const auto closed =
        std::stable_partition(state.cameras.begin(), state.cameras.end(),
                              [](ZX::ZCamera *camera) { return !EndLifeIfClosed(*camera); });
    const ZX::ZCameraList erased(closed, state.cameras.end());
    state.cameras.erase(closed, state.cameras.end());
    Free(erased);
    const uint16_t status = ZX::ZCamera::GetCameraList(state.cameras);
    for (ZX::ZCamera *camera : state.cameras)
        BeginLife(*camera);
    return status;
}

// Without the lock: a call that is waited for may be about to take it.
void FreeCameras()
{
    State &state = TheState();
    ZX::ZCameraList cameras;
    {
        const std::lock_guard lock(state.mutex);
        state.watched.clear();
        cameras.swap(state.cameras);
        for (ZX::ZCamera *camera : cameras)
            EndLife(*camera);
    }
    Free(cameras);
}

// A call that is on its way to its wait hears of a later abort.
bool EndCalls(ZX::ZCamera &camera, const std::function<bool(uint32_t milliseconds)> &await)
{
    constexpr uint32_t kBetweenAbortsMilliseconds = 100;
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(kCallsEndMilliseconds);
    bool haveEnded = await(0);
    while (!haveEnded && std::chrono::steady_clock::now() < end) {
        camera.Abort();
        EndHangingAccesses(camera);
        haveEnded = await(kBetweenAbortsMilliseconds);
    }
    return haveEnded;
}

void EndHangingCalls(ZX::ZCamera &camera)
{
    if (const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera))
        hal::BeginClosing(onBus->CameraForThreads());
}

void EndHangingAccesses(ZX::ZCamera &camera)
{
    if (const auto *const onBus = dynamic_cast<ZX::TolvaneFWCamera *>(&camera))
        hal::CancelHangingAccesses(onBus->CameraForThreads());
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
    BeginLife(*camera);
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
