// Starting and stopping the stream, taking one image, and what the hardware layer calls on its
// receive thread. Callbacks of the application run with no lock held.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "camera/semaphore_lock.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_ex_image.h"
#include "platform/os.h"

namespace ZX {

// Applications of 32 bits know the record by its layout.
static_assert(sizeof(void *) != 4 || sizeof(ZImageReceivedCallbackStruct) == 12);

using zerix::FrameRecord;
using zerix::SemaphoreLock;

namespace {

constexpr uint32_t kStreamingControlOffset = zerix::registers::kBulkDataControlOffset;
constexpr uint32_t kSoftwareTriggerMode = 5;
constexpr uint64_t kOneImageReserve = 5'000'000'000; // nanoseconds
constexpr uint16_t kCameraLost = 0x1A;

bool IsAbortable(uint32_t triggerMode)
{
    return triggerMode == 0 || triggerMode == 5 || triggerMode == 8;
}

uint32_t BytesPerSample(uint32_t bitDepth) { return bitDepth / 8 + (bitDepth % 8 != 0 ? 1 : 0); }

template <typename... Arguments>
std::string Text(const char *format, Arguments... arguments)
{
    char text[160];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
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

uint16_t TolvaneFWCamera::AddExternalImageBuffer(void *buffer)
{
    if (!DoesSupportExternalBuffers())
        return 1;
    const SemaphoreLock lock(externalSemaphore);
    externalBuffers.push_back(buffer);
    return kStatusOk;
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

uint16_t TolvaneFWCamera::Abort()
{
    const SemaphoreLock settings(settingsSemaphore);
    const uint32_t error = HAL_ConditionSignal(imageCondition);
    abortPending = IsAbortable(GetTriggerMode());
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

// The frames in work ------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::IgnoreNextFrame() { return SetPSN(static_cast<uint8_t>(GetPSN() + 1)); }

// Under frameQueueSemaphore.
void TolvaneFWCamera::IgnoreFrameInfoVector() { frameInfoQueue.MarkAllStale(); }

// Under frameQueueSemaphore. A frame that is still being assembled, by a receive thread that could
// not be ended, is nobody's to free.
void TolvaneFWCamera::ClearFrameInfoVector()
{
    while (tStFrameInfo *frame = frameInfoQueue.TakeOldestFinished())
        frameRecords.Release(*frame);
}

bool TolvaneFWCamera::IsFrameValid(const tStFrameInfo &frame)
{
    if (!frame.valid.load(std::memory_order_relaxed))
        return false;
    if (GetImageWidth() * BytesPerSample(GetBitDepth()) * GetImageHeight() != frame.size)
        return false;
    return frame.status != kFrameStray || GetTriggerMode() != 0;
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
        zerix::os::DebugOutput(Text(
            "GetOneImageCallback error %" PRIu32 " occurred calling HAL_ConditionSignal\n", error));
}

// On the receive thread ---------------------------------------------------------------------------

tStFrameInfo *TolvaneFWCamera::PrivatePeekNewFrame()
{
    if (!streaming || abortPending) {
        abortPending = false;
        return nullptr;
    }
    if (isExternalBuffered && !HasExternalBuffer())
        return nullptr;
    DropNewestIfFull();
    if (exposeDoneCallback.load() != nullptr)
        HAL_ConditionSignal(exposeDoneCondition);
    FrameRecord *record = frameRecords.Acquire();
    if (record == nullptr)
        return nullptr;
    if (!GiveDataTo(*record)) {
        frameRecords.Release(*record);
        return nullptr;
    }
    FillFrameInfo(*record);
    const SemaphoreLock queue(frameQueueSemaphore);
    if (frameInfoQueue.PushFront(*record))
        return record;
    frameRecords.Release(*record);
    return nullptr;
}

bool TolvaneFWCamera::HasExternalBuffer()
{
    const SemaphoreLock lock(externalSemaphore);
    return !externalBuffers.empty();
}

// Where the application is too slow it loses the newest frame, not the oldest.
void TolvaneFWCamera::DropNewestIfFull()
{
    const SemaphoreLock queue(frameQueueSemaphore);
    if (frameInfoQueue.Count() < frameBufferLength)
        return;
    if (tStFrameInfo *newest = frameInfoQueue.TakeFrontIfFinished())
        frameRecords.Release(*newest);
}

// The geometry is read once, so that size and geometry can't disagree.
bool TolvaneFWCamera::GiveDataTo(FrameRecord &record)
{
    record.width = GetImageWidth();
    record.height = GetImageHeight();
    record.bitDepth = GetBitDepth();
    record.size = record.width * record.height * BytesPerSample(record.bitDepth);
    record.ownsData = !isExternalBuffered;
    const SemaphoreLock lock(externalSemaphore);
    if (record.ownsData) {
        record.data = ZExImage::AllocateBuffer(record.size);
    } else if (!externalBuffers.empty()) {
        record.data = static_cast<uint8_t *>(externalBuffers.front());
        externalBuffers.pop_front();
    }
    if (record.data == nullptr)
        zerix::os::DebugOutput(Text(
            "TolvaneFWCamera::PrivatePeekNewFrame - call to malloc with size %" PRIu32 " failed\n",
            record.size));
    return record.data != nullptr;
}

void TolvaneFWCamera::FillFrameInfo(FrameRecord &record)
{
    const SemaphoreLock settings(settingsSemaphore);
    record.interlaced = IsInterlaced();
    record.expected = record.interlaced ? record.size / 2 : record.size;
    record.psn = GetPSN();
    record.lineBytes = static_cast<uint16_t>(BytesPerSample(record.bitDepth) * record.width);
    record.binning = GetSymmetricalBinningMode();
    record.exposure = GetExposure();
    record.normalizedGain = GetNormalizedGain();
    record.startColour = GetRGBFilterStartColour();
    record.session = streamSession;
}

tStFrameInfo *TolvaneFWCamera::PrivateGetNewFrame()
{
    const SemaphoreLock queue(frameQueueSemaphore);
    return frameInfoQueue.Front();
}

void TolvaneFWCamera::PrivateImageHasArrived()
{
    HAL_CameraStopWaitingForFrame(CameraForThreads());
}

// The device is lost: whoever waits for a frame is told.
void TolvaneFWCamera::PrivateImageHasTimedOut()
{
    const StreamReceiver receiver = Receiver();
    ZImageReceivedCallbackStruct record{
        .image = nullptr, .userData = receiver.userData, .error = kCameraLost};
    if (receiver.callback != nullptr)
        receiver.callback(&record);
}

TolvaneFWCamera::StreamReceiver TolvaneFWCamera::Receiver()
{
    const std::lock_guard lock(callbackMutex);
    return {streamingCallback, callbackUserData};
}

tStFrameInfo *TolvaneFWCamera::PeekNewFrameCallback(void *context)
{
    return static_cast<TolvaneFWCamera *>(context)->PrivatePeekNewFrame();
}

tStFrameInfo *TolvaneFWCamera::GetNewFrameCallback(void *context)
{
    return static_cast<TolvaneFWCamera *>(context)->PrivateGetNewFrame();
}

void TolvaneFWCamera::ImageArrivedCallback(void *context)
{
    static_cast<TolvaneFWCamera *>(context)->PrivateImageHasArrived();
}

void TolvaneFWCamera::OverrunCallback(void *) { zerix::os::DebugOutput("OverrunCB called\n"); }

void TolvaneFWCamera::TimedOutCallback(void *context)
{
    static_cast<TolvaneFWCamera *>(context)->PrivateImageHasTimedOut();
}

// A trace of what the camera wrote to the host, and nothing else.
void TolvaneFWCamera::CameraAsyncWriteCallback(const uint8_t *data, uint32_t length)
{
    std::string text = "CameraAsyncWriteCallback:\n";
    for (uint32_t i = 0; i < length; ++i) {
        text += Text("%02x", unsigned{data[i]});
        if (i % 16 == 15)
            text += "\n";
        else if (i % 8 == 7)
            text += "  ";
        else if (i % 4 == 3)
            text += " ";
    }
    zerix::os::DebugOutput(text);
}

} // namespace ZX
