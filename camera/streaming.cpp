// Starting and stopping the stream, and taking one image. On the callers' threads; the callback of
// the one image comes on the run loop's.
#include <string>

#include "camera/semaphore_lock.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_ex_image.h"
#include "platform/os.h"

namespace ZX {

// Applications of 32 bits know the record by its layout.
static_assert(sizeof(void *) != 4 || sizeof(ZImageReceivedCallbackStruct) == 12);

using zerix::SemaphoreLock;

namespace {

constexpr uint32_t kStreamingControlOffset = zerix::registers::kBulkDataControlOffset;
constexpr uint32_t kSoftwareTriggerMode = 5;
constexpr uint64_t kOneImageReserve = 5'000'000'000; // nanoseconds

bool IsAbortable(uint32_t triggerMode)
{
    return triggerMode == 0 || triggerMode == 5 || triggerMode == 8;
}

} // namespace

// Start and stop ---------------------------------------------------------------------------------

bool TolvaneFWCamera::IsCameraStreaming() { return streaming; }

uint16_t TolvaneFWCamera::StartStreamingImages(ZImageReceivedCallback streamCallback,
                                               ZExposeDoneCallback newExposeDoneCallback,
                                               bool areExternal, void *userData)
{
    if (streaming)
        return kStatusOk;
    const uint16_t required = CalculateRequiredPacketSize(true);
    if (required > GetCurrentFireWirePacketSize()) {
        SetCurrentFireWirePacketSize(required);
        if (const uint16_t status = ReallocateBandwidth(required))
            return status;
    }
    SemaphoreLock settings(settingsSemaphore);
    // A new tag for each start. Where it can't be told, the camera goes on with the old one, and
    // its frames are dropped.
    SetPSN(static_cast<uint8_t>(GetPSN() + 1));
    if (const uint16_t status = Commit())
        return status;
    isExternalBuffered = areExternal;
    SetReceiver({streamCallback, userData});
    exposeDoneCallback = newExposeDoneCallback;
    if (streamCallback != GetOneImageCallback)
        exposeDoneUserData = userData;
    ++streamSession;
    streaming = true;
    abortPending = false;
    const uint32_t error = HAL_CameraStartStreaming(
        halCamera, streamingBlock.address + kStreamingControlOffset, GetStreamingVersion(), this);
    settings.Release();
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : FailStart(error);
}

// Takes back what was started, so that the next start begins afresh. The receive thread may be
// waiting for settingsSemaphore, so it isn't held here.
uint16_t TolvaneFWCamera::FailStart(uint32_t halError)
{
    const uint16_t status = ReportHalError(halError);
    streaming = false;
    HAL_CameraStopStreaming(halCamera, streamingBlock.address + kStreamingControlOffset);
    const SemaphoreLock queue(frameQueueSemaphore);
    ClearFrameInfoVector();
    return status;
}

// Runs to its end also when the hardware layer fails: that has then given up the stream as well.
uint16_t TolvaneFWCamera::StopStreamingImages()
{
    const uint32_t error =
        HAL_CameraStopStreaming(halCamera, streamingBlock.address + kStreamingControlOffset);
    const uint16_t status = error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
    const SemaphoreLock settings(settingsSemaphore);
    streaming = false;
    HAL_CameraStopWaitingForFrame(halCamera);
    const SemaphoreLock queue(frameQueueSemaphore);
    ClearFrameInfoVector();
    return status;
}

// For a setting that the stream must not see change. The commit starts the stream again.
uint16_t TolvaneFWCamera::TurnOffStreaming()
{
    if (restartStreaming)
        return kStatusOk;
    restartStreaming = streaming;
    return restartStreaming ? StopStreamingImages() : uint16_t{kStatusOk};
}

void TolvaneFWCamera::SetStreamingCallback(ZImageReceivedCallback callback, void *userData)
{
    SetReceiver({callback, userData});
    exposeDoneUserData = userData;
}

// The pair changes as one: a callback must never see another's user data. While one image is taken,
// the expose-done callback keeps its own.
void TolvaneFWCamera::SetReceiver(const StreamReceiver &receiver)
{
    const std::lock_guard lock(callbackMutex);
    streamingCallback = receiver.callback;
    callbackUserData = receiver.userData;
}

TolvaneFWCamera::StreamReceiver TolvaneFWCamera::Receiver()
{
    const std::lock_guard lock(callbackMutex);
    return {streamingCallback, callbackUserData};
}

uint16_t TolvaneFWCamera::SoftwareTrigger()
{
    if (!streaming)
        return kStatusNotStreaming;
    if (GetTriggerMode() != kSoftwareTriggerMode)
        return kStatusWrongTriggerMode;
    abortPending = false;
    return WriteQuadlet(commandBlock.address + zerix::registers::kSoftwareTriggerOffset, 1);
}

// A commit holds the settings over its write.
uint16_t TolvaneFWCamera::Abort()
{
    const SemaphoreLock settings(settingsSemaphore, CameraForThreads());
    const uint32_t error = HAL_ConditionSignal(imageCondition);
    abortPending = IsAbortable(GetTriggerMode());
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

// One image --------------------------------------------------------------------------------------

uint64_t TolvaneFWCamera::OneImageTimeLimit()
{
    if (GetRGBFilterCycleMode())
        return GetExposure() + GetRGBFilterBlueExposure() + GetRGBFilterRedExposure() +
               kOneImageReserve;
    return (IsInterlaced() ? 3 : 2) * GetExposure() + kOneImageReserve;
}

// The limit is in nanoseconds and the wait in microseconds: it is a thousand times as patient as it
// looks, and applications rely on that with slow triggers.
uint16_t TolvaneFWCamera::GetOneImage(ZExImage **image)
{
    const bool wasStreaming = IsCameraStreaming();
    const uint64_t limit = OneImageTimeLimit();
    HAL_ConditionReset(imageCondition);
    AwaitOneImage(wasStreaming ? streamSession.load() : streamSession + 1);
    const StreamReceiver previous = Receiver();
    if (wasStreaming)
        SetReceiver({GetOneImageCallback, this});
    else if (const uint16_t status =
                 StartStreamingImages(GetOneImageCallback, exposeDoneCallback, false, this))
        return status;
    if (const uint32_t error = HAL_ConditionTimedWait(imageCondition, limit))
        return ReportHalError(error);
    if (wasStreaming)
        SetReceiver(previous);
    else
        StopStreamingImages();
    *image = TakeOneImage();
    return *image == nullptr ? uint16_t{kStatusNoImage} : uint16_t{kStatusOk};
}

// An image that came too late for an earlier call is thrown away.
void TolvaneFWCamera::AwaitOneImage(uint32_t fromSession)
{
    const std::lock_guard lock(oneImageMutex);
    ZCamera::FreeImage(oneImage);
    oneImage = nullptr;
    oneImageReady = false;
    oneImageSession = fromSession;
}

ZExImage *TolvaneFWCamera::TakeOneImage()
{
    const std::lock_guard lock(oneImageMutex);
    ZExImage *const image = oneImageReady ? oneImage : nullptr;
    oneImage = nullptr;
    oneImageReady = false;
    return image;
}

void TolvaneFWCamera::GetOneImageCallback(ZImageReceivedCallbackStruct *record)
{
    auto &camera = *static_cast<TolvaneFWCamera *>(record->userData);
    const std::lock_guard lock(camera.oneImageMutex);
    // Exposed for an earlier call, and on its way for so long. Compared as a difference: it wraps.
    const bool isLate = record->image != nullptr &&
                        static_cast<int32_t>(camera.deliveringSession - camera.oneImageSession) < 0;
    if (isLate)
        return ZCamera::FreeImage(record->image);
    if (camera.oneImageReady)
        ZCamera::FreeImage(camera.oneImage);
    camera.oneImage = record->image;
    camera.oneImageReady = true;
    if (const uint32_t error = HAL_ConditionSignal(camera.imageCondition))
        zerix::os::DebugOutput("GetOneImageCallback error " + std::to_string(error) +
                               " occurred calling HAL_ConditionSignal\n");
}

} // namespace ZX
