// Starting and stopping the stream. On the callers' threads, under the lock of the stream's owner.
#include <mutex>
#include <utility>

#include "camera/semaphore_lock.h"
#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "hal/camera_connection.h"
#include "image/z_image_pipeline.h"

namespace ZX {

using zerix::SemaphoreLock;
using zerix::hal::StreamEnd;

namespace {

constexpr uint32_t kStreamingControlOffset = zerix::registers::kBulkDataControlOffset;
constexpr uint32_t kSoftwareTriggerMode = 5;

bool IsAbortable(uint32_t triggerMode)
{
    return triggerMode == 0 || triggerMode == 5 || triggerMode == 8;
}

} // namespace

// Start and stop ---------------------------------------------------------------------------------

bool TolvaneFWCamera::IsCameraStreaming() { return streaming; }

// A stream that is on stays as it is, but one that was started for a single image goes on after it.
uint16_t TolvaneFWCamera::StartStreamingImages(ZImageReceivedCallback streamCallback,
                                               ZExposeDoneCallback newExposeDoneCallback,
                                               bool areExternal, void *userData)
{
    const zerix::StreamHold stream(Stream());
    Stream().ForgetRestart();
    if (streaming && Stream().IsLost())
        return kStatusNoImage;
    if (streaming && Stream().isApplications && !Stream().isForOneImage)
        return kStatusOk;
    const StreamReceiver receiver{streamCallback, userData};
    if (!streaming) {
        const StreamReceiver first =
            Stream().IsAwaited() ? StreamReceiver{GetOneImageCallback, this} : receiver;
        if (const uint16_t status = StartStream(
                {{first.callback, first.userData}, newExposeDoneCallback, userData, areExternal}))
            return status;
    } else {
        if (!Stream().IsAwaited())
            SetReceiver(receiver);
        exposeDoneUserData = userData;
        exposeDoneCallback = newExposeDoneCallback;
    }
    Stream().application = {streamCallback, userData};
    Stream().isApplications = true;
    Stream().isForOneImage = false;
    return kStatusOk;
}

// What a start needs that nobody but a thread waiting for one image, or the commit, asks for.
zerix::StreamStart TolvaneFWCamera::StartAsBefore(const StreamReceiver &receiver, bool areExternal)
{
    return {{receiver.callback, receiver.userData},
            exposeDoneCallback,
            exposeDoneUserData,
            areExternal};
}

uint16_t TolvaneFWCamera::StartStream(const zerix::StreamStart &start)
{
    if (Stream().isClosing)
        return kStatusNoImage;
    if (GetImageSize() == 0)
        return kStatusNoPixels;
    if (const uint16_t status = BookPackets())
        return status;
    SemaphoreLock settings(settingsSemaphore);
    // A new tag for each start. Where it can't be written, the camera goes on with the old one, and
    // its frames are dropped: the stream counts as lost.
    const bool isTagWritten = SetPSN(static_cast<uint8_t>(GetPSN() + 1)) == kStatusOk;
    if (const uint16_t status = Commit())
        return status;
    isExternalBuffered = start.areExternal;
    SetReceiver({start.receiver.callback, start.receiver.userData});
    exposeDoneUserData = start.exposeDoneUserData;
    exposeDoneCallback = start.exposeDone;
    BeginSession();
    Stream().isStarting = true;
    streaming = true;
    abortPending = false;
    const uint32_t error = HAL_CameraStartStreaming(
        CameraForThreads(), streamingBlock.address + kStreamingControlOffset, GetStreamingVersion(),
        this);
    Stream().isStarting = false;
    settings.Release();
    if (error != HAL_NO_ERROR)
        return FailStart(error);
    // A loss that comes right now is seen by one of these two.
    Stream().ForgetLoss();
    if (!isTagWritten || IsStreamDead())
        Stream().MarkLost();
    return kStatusOk;
}

// Its thread has ended although nobody stopped it.
bool TolvaneFWCamera::IsStreamDead() const
{
    const auto end = zerix::hal::EndOfStream(CameraForThreads());
    return end == StreamEnd::kLost || end == StreamEnd::kRequeueRefused ||
           end == StreamEnd::kNoThread;
}

// What an earlier stream left in the filters is not completed by this one's images.
void TolvaneFWCamera::BeginSession()
{
    ++streamSession;
    Stream().isTagDecisive = false; // a frame of an earlier tag is also one of an earlier session
    imagePipeline->ResetFilters();
}

// Takes back what was started, so that the next start begins afresh. The receive thread may be
// waiting for settingsSemaphore, so it isn't held here.
uint16_t TolvaneFWCamera::FailStart(uint32_t halError)
{
    const uint16_t status = ReportHalError(halError);
    streaming = false;
    HAL_CameraStopStreaming(CameraForThreads(), streamingBlock.address + kStreamingControlOffset);
    const SemaphoreLock queue(frameQueueSemaphore);
    ClearFrameInfoVector();
    return status;
}

// The application's own stop also ends the wait for one image, and takes the mark of a stop for
// settings away.
uint16_t TolvaneFWCamera::StopStreamingImages()
{
    const zerix::StreamHold stream(Stream());
    Stream().Forget();
    return HaltStream();
}

// Runs to its end also when the hardware layer fails: that has then given up the stream as well.
uint16_t TolvaneFWCamera::HaltStream()
{
    const uint32_t error = HAL_CameraStopStreaming(CameraForThreads(), streamingBlock.address +
                                                                           kStreamingControlOffset);
    const uint16_t status = error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
    const SemaphoreLock settings(settingsSemaphore);
    streaming = false;
    HAL_CameraStopWaitingForFrame(CameraForThreads());
    const SemaphoreLock queue(frameQueueSemaphore);
    ClearFrameInfoVector();
    return status;
}

// For a setting that the stream must not see change. The commit starts the stream again.
uint16_t TolvaneFWCamera::TurnOffStreaming()
{
    const zerix::StreamHold stream(Stream());
    if (!streaming)
        return kStatusOk;
    Stream().isRestartMarked = true;
    const uint16_t status = HaltStream();
    // A loss that was not reported before the stream went off.
    if (Stream().isApplications)
        Stream().AskForLoss(Stream().application);
    return status;
}

// If the stream does not start again, it is off, and a thread that waits for an image gets the
// error.
uint16_t TolvaneFWCamera::RestartStream()
{
    if (!std::exchange(Stream().isRestartMarked, false))
        return kStatusOk;
    const StreamReceiver receiver =
        Stream().IsAwaited() ? StreamReceiver{GetOneImageCallback, this} : Receiver();
    const uint16_t status = StartStream(StartAsBefore(receiver, isExternalBuffered));
    if (status == kStatusOk) {
        Stream().isForOneImage = !Stream().isApplications;
    } else {
        Stream().isApplications = false;
        Stream().EndWait(status);
    }
    return status;
}

void TolvaneFWCamera::SetStreamingCallback(ZImageReceivedCallback callback, void *userData)
{
    const zerix::StreamHold stream(Stream());
    SetReceiver({callback, userData});
    Stream().application = {callback, userData};
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

// A commit holds the settings over its write, and a start the stream over several.
uint16_t TolvaneFWCamera::Abort()
{
    Stream().EndMeasurement();
    Stream().Hurry();
    const SemaphoreLock settings(settingsSemaphore, CameraForThreads());
    const uint32_t error = HAL_ConditionSignal(imageCondition);
    abortPending = IsAbortable(GetTriggerMode());
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

} // namespace ZX
