// Switching a camera's stream on and off, and the software trigger.
#include "api/entry.h"
#include "api/stream_callbacks.h"
#include "camera/stream_owner.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint32_t kSoftwareTrigger = 5;

// What waits for the stream ends also where a change of settings has switched it off meanwhile.
uint32_t TurnOff(ExportedCall &call, ZX::ZCamera &camera)
{
    const StreamHold stream(camera.Stream());
    camera.Stream().Forget();
    // For frames that a loss hasn't been reported to yet; without one nothing happens.
    camera.Stream().AskForLoss({ImageReceived, &camera});
    if (!camera.IsCameraStreaming()) {
        call.Message("Streaming is already off");
        return ZERIX_SUCCESS;
    }
    if (const uint32_t error = MapCameraStatus(camera.StopStreamingImages()))
        return error;
    call.Message("Streaming is now off");
    return ZERIX_SUCCESS;
}

// A stream that is on for one image stays on for the application; one that is lost is no stream.
uint32_t TurnOn(ExportedCall &call, ZX::ZCamera &camera)
{
    const StreamHold stream(camera.Stream());
    const bool wasStreaming = camera.IsCameraStreaming();
    if (wasStreaming && !camera.Stream().isForOneImage && !camera.Stream().IsLost()) {
        call.Message("Streaming is already on");
        camera.Stream().ForgetRestart();
        return ZERIX_SUCCESS;
    }
    if (const uint32_t error = MapCameraStatus(camera.StartStreamingImages(
            ImageReceived, ExposeDone, camera.DoesSupportExternalBuffers(), &camera)))
        return error;
    call.Message(wasStreaming ? "Streaming is already on" : "Streaming is now on");
    return ZERIX_SUCCESS;
}

// The camera is streaming; 24.
struct Streaming {
    uint32_t operator()(ExportedCall &, const CameraUse &use) const
    {
        return use.Camera().IsCameraStreaming() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_STREAMING;
    }
};

// A send that restarts the stream is waited for, and may have ended in vain.
uint32_t Trigger(ExportedCall &, const CameraUse &use)
{
    const StreamHold stream(use.Camera().Stream());
    if (!use.Camera().IsCameraStreaming())
        return ZERIX_ERROR_NOT_STREAMING;
    if (use.Camera().GetTriggerMode() != kSoftwareTrigger)
        return ZERIX_ERROR_NOT_SUPPORTED;
    return MapCameraStatus(use.Camera().SoftwareTrigger());
}

} // namespace

uint32_t Zerix_SetStreaming(ZerixHandle camera, uint32_t on)
{
    return Enter(Start(__func__), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Exclusive()),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return on != 0 ? TurnOn(call, use.Camera()) : TurnOff(call, use.Camera());
                 });
}

uint32_t Zerix_Trigger(ZerixHandle camera)
{
    return Enter(
        Start(__func__), OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Streaming(), Exclusive()),
        Trigger);
}
