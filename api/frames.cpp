// Taking one frame, and the calls for frames that no camera supports.
#include <cstddef>
#include <memory>

#include "api/context.h"
#include "api/entry.h"
#include "api/frame_filling.h"
#include "api/not_supported.h"
#include "api/stream_callbacks.h"
#include "camera/stream_owner.h"
#include "diag/dumps.h"

using namespace zerix;
using namespace zerix::api;

namespace {

static_assert(sizeof(Zerix_Frame) == (sizeof(void *) == 8 ? 88 : 72));
static_assert(offsetof(Zerix_Frame, bufferSize) == sizeof(void *));
static_assert(offsetof(Zerix_Frame, bitDepth) == offsetof(Zerix_Frame, size) + 4);
static_assert(offsetof(Zerix_Frame, camera) == (sizeof(void *) == 8 ? 48 : 40));
static_assert(offsetof(Zerix_Frame, filled) == (sizeof(void *) == 8 ? 80 : 68));

struct ImageDeleter {
    void operator()(ZX::ZExImage *image) const { ZX::ZCamera::FreeImage(image); }
};

uint32_t GrabOneImage(ZX::ZCamera &camera, ZerixContext &context, Zerix_Frame &frame)
{
    if (context.queueCount.load() != 0)
        return ZERIX_ERROR_BUSY;
    if (frame.bufferSize < camera.GetImageSize())
        return ZERIX_ERROR_BUFFER_TOO_SMALL;
    ZX::ZExImage *received = nullptr;
    const uint32_t error = MapCameraStatus(camera.GetOneImage(&received));
    const std::unique_ptr<ZX::ZExImage, ImageDeleter> image(received);
    // A loss that ended this call is one of the frames that were queued meanwhile, too.
    if (context.queueCount.load() != 0)
        camera.Stream().AskForLoss({ImageReceived, &camera});
    if (error != ZERIX_SUCCESS)
        return error;
    if (image == nullptr)
        return ZERIX_ERROR_DRIVER_FAULT;
    PostProcess(*image, context);
    if (const uint32_t fillError = FillFrame(*image, camera, context, frame))
        return fillError;
    diag::ZerixDebugOutputFrame(&frame);
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_GrabFrame(ZerixHandle camera, Zerix_Frame *frame)
{
    return Enter(Start(__func__), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                        NotNull(frame, ZERIX_ERROR_BAD_PARAMETER), Open(), Exclusive(),
                        HasContext()),
                 [&](ExportedCall &, const CameraUse &use) {
                     return GrabOneImage(use.Camera(), use.Context(), *frame);
                 });
}

// Offered by the interface and supported by no camera.
uint32_t Zerix_GrabFrameNow(ZerixHandle, Zerix_Frame *) { return NotSupported(Start(__func__)); }

uint32_t Zerix_GrabRawNow(ZerixHandle, Zerix_Frame *) { return NotSupported(Start(__func__)); }

uint32_t Zerix_ProcessRaw(ZerixHandle, Zerix_Frame *) { return NotSupported(Start(__func__)); }

uint32_t Zerix_SetFrameBuffers(ZerixHandle, Zerix_Frame **, uint32_t)
{
    return NotSupported(Start(__func__));
}
