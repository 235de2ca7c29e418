// The frames in work: what the hardware layer calls on its receive thread to get a frame for the
// image that comes, and which of them still count.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "camera/semaphore_lock.h"
#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_ex_image.h"
#include "platform/os.h"

namespace ZX {

using zerix::FrameRecord;
using zerix::SemaphoreLock;

namespace {

uint32_t BytesPerSample(uint32_t bitDepth) { return bitDepth / 8 + (bitDepth % 8 != 0 ? 1 : 0); }

template <typename... Arguments>
std::string Text(const char *format, Arguments... arguments)
{
    char text[160];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

} // namespace

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

uint16_t TolvaneFWCamera::AddExternalImageBuffer(void *buffer)
{
    if (!DoesSupportExternalBuffers())
        return 1;
    const SemaphoreLock lock(externalSemaphore);
    externalBuffers.push_back(buffer);
    return kStatusOk;
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

// The device is lost. The receive thread ends with this: the run loop tells who waits for a frame.
void TolvaneFWCamera::PrivateImageHasTimedOut() { Stream().MarkLost(); }

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
