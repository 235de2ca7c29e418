// Switching a camera's stream on and off, and the software trigger.
#include <exception>

#include "api/context.h"
#include "api/exported_call.h"
#include "api/stream_callbacks.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint32_t kSoftwareTrigger = 5;

uint32_t TurnOff(ExportedCall &call, ZX::ZCamera &camera)
{
    if (!camera.IsCameraStreaming()) {
        call.Message("Streaming is already off");
        return ZERIX_SUCCESS;
    }
    if (const uint32_t error = MapCameraStatus(camera.StopStreamingImages()))
        return error;
    call.Message("Streaming is now off");
    return ZERIX_SUCCESS;
}

uint32_t TurnOn(ExportedCall &call, ZX::ZCamera &camera)
{
    if (camera.IsCameraStreaming()) {
        call.Message("Streaming is already on");
        return ZERIX_SUCCESS;
    }
    if (const uint32_t error = MapCameraStatus(camera.StartStreamingImages(
            ImageReceived, ExposeDone, camera.DoesSupportExternalBuffers(), &camera)))
        return error;
    call.Message("Streaming is now on");
    return ZERIX_SUCCESS;
}

// The camera is streaming; 24.
struct Streaming {
    explicit Streaming(ZerixHandle cameraToTest) : handle(cameraToTest) {}
    uint32_t operator()(ExportedCall &) const
    {
        return CameraOf(handle)->IsCameraStreaming() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_STREAMING;
    }
    ZerixHandle handle;
};

} // namespace

uint32_t Zerix_SetStreaming(ZerixHandle camera, uint32_t on)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                                      Open(camera), Exclusive(camera)))
        return call.End(error);
    const ContextUse use(*CameraOf(camera));
    return call.End(on != 0 ? TurnOn(call, *CameraOf(camera)) : TurnOff(call, *CameraOf(camera)));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_Trigger(ZerixHandle camera)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                                      Open(camera), Streaming(camera), Exclusive(camera)))
        return call.End(error);
    const ContextUse use(*CameraOf(camera));
    if (CameraOf(camera)->GetTriggerMode() != kSoftwareTrigger)
        return call.End(ZERIX_ERROR_NOT_SUPPORTED);
    return call.End(MapCameraStatus(CameraOf(camera)->SoftwareTrigger()));
} catch (const std::exception &) {
    return kExceptionError;
}
