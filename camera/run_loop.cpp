// The camera's two threads: the run loop turns finished frames into images, runs the image pipeline
// and calls the application; the other one tells it that an exposure has begun.
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <new>

#include "camera/semaphore_lock.h"
#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"
#include "platform/os.h"

namespace ZX {

using zerix::SemaphoreLock;

namespace {

constexpr uint64_t kTimeStampsPerSecond = 10000;
constexpr uint16_t kStatusLost = 0x1A; // of a frame

void Complain(const char *format, uint32_t error)
{
    char text[160];
    std::snprintf(text, sizeof text, format, error);
    zerix::os::DebugOutput(text);
}

void ComplainAboutSemaphore(const char *function, uint32_t error)
{
    char text[160];
    std::snprintf(text, sizeof text,
                  "TolvaneFWCamera::PrivateImageStreamingRunLoop() error %" PRIu32
                  " occurred calling %s\n",
                  error, function);
    zerix::os::DebugOutput(text);
}

uint16_t ErrorOfStatus(uint32_t status)
{
    switch (status) {
    case kFrameDataMissing:
        return 0x12;
    case kFrameCut:
        return 0x13;
    case kFrameOverflow:
        return 0x14;
    case kFrameHostOverflow:
        return 0x15;
    default:
        return 0;
    }
}

// Plain, a mosaic, or already in colour.
uint32_t ImageFormatOf(uint16_t cameraFormat, uint32_t bitDepth)
{
    switch (cameraFormat) {
    case 1:
    case 3:
        return bitDepth == 8 ? 2 : 3;
    case 2:
        return bitDepth == 8 ? 4 : 5;
    default:
        return 2;
    }
}

} // namespace

void TolvaneFWCamera::RunLoopThread(void *camera)
{
    static_cast<TolvaneFWCamera *>(camera)->PrivateImageStreamingRunLoop();
}

void TolvaneFWCamera::ExposeDoneThread(void *camera)
{
    static_cast<TolvaneFWCamera *>(camera)->PrivateExposeDoneLoop();
}

// Without the packet size, which a start of streaming changes while the threads run.
HALCamera TolvaneFWCamera::CameraForThreads() const
{
    return {.cameraIndex = halCamera.cameraIndex,
            .kind = halCamera.kind,
            .isConnected = halCamera.isConnected,
            .modelWord = halCamera.modelWord,
            .packetBufferSize = 0,
            .device = halCamera.device};
}

// A wake-up that comes while frames are worked on ends the next wait at once, so that neither a
// frame nor the end is slept through.
void TolvaneFWCamera::PrivateImageStreamingRunLoop()
{
    while (runLoopActive) {
        if (const uint32_t error = HAL_CameraWaitingForFrame(CameraForThreads()))
            Complain("PrivateImageStreamingRunLoop() - call to HAL_WaitingForFrame failed with "
                     "error %" PRIu32 "\n",
                     error);
        NoticeDeadStream();
        while (runLoopActive && (WorkOnOldestFrame() || TellOfLoss())) {
        }
    }
    HAL_SemaphoreSignal(closeSemaphore);
}

// False if there is none to work on.
bool TolvaneFWCamera::WorkOnOldestFrame()
{
    ZImageReceivedCallbackStruct record{};
    uint32_t timeStamp = 0;
    ZImageReceivedCallback callback = nullptr;
    if (const uint32_t error = HAL_SemaphoreWait(frameQueueSemaphore)) {
        ComplainAboutSemaphore("HAL_SemaphoreWait", error);
        return false;
    }
    tStFrameInfo *frame = streaming ? frameInfoQueue.TakeOldestFinished() : nullptr;
    if (frame != nullptr) {
        timeStamp = TimeStampNow();
        const StreamReceiver receiver = Receiver();
        callback = receiver.callback;
        record.userData = receiver.userData;
    }
    if (const uint32_t error = HAL_SemaphoreSignal(frameQueueSemaphore))
        ComplainAboutSemaphore("HAL_SemaphoreSignal", error);
    if (frame == nullptr)
        return false;
    delivering = zerix::OriginOf(*frame);
    const bool isStray = Stream().isTagDecisive && frame->status == kFrameStray;
    if (IsFrameValid(*frame) && !isStray && !IsOutdated(delivering)) {
        record.error = ErrorOfStatus(frame->status);
        record.image = MakeImage(*frame, record.error, timeStamp);
    }
    {
        const SemaphoreLock queue(frameQueueSemaphore);
        frameRecords.Release(*frame);
    }
    Deliver(record, callback, delivering.session);
    return true;
}

// In units of a ten-thousandth of a second since the camera was opened.
uint32_t TolvaneFWCamera::TimeStampNow() const
{
    const uint64_t now = zerix::os::PerformanceCounter();
    return static_cast<uint32_t>((now - counterStart) / (counterFrequency / kTimeStampsPerSecond));
}

// The data goes over to the image, unless it is the application's. Null if there is no memory.
ZExImage *TolvaneFWCamera::MakeImage(tStFrameInfo &frame, uint16_t error, uint32_t timeStamp)
{
    zerix::FrameRecord &owner = zerix::RecordOf(frame);
    auto *image = new (std::nothrow) ZExImage(
        frame.data, frame.size, frame.width, frame.height, static_cast<uint16_t>(frame.bitDepth),
        frame.exposure, frame.normalizedGain, ImageFormatOf(GetImageFormat(), frame.bitDepth),
        GetImageFormat(), static_cast<uint16_t>(frame.colourPattern), frame.startColour, imageFlag,
        GetModel(), static_cast<uint16_t>(halCamera.cameraIndex),
        static_cast<uint16_t>(frame.binning), GetLVWMode(), frame.headerWord, error, this,
        owner.ownsData, timeStamp);
    if (image != nullptr)
        owner.ownsData = false;
    return image;
}

// The receive thread wakes the run loop when it ends.
void TolvaneFWCamera::NoticeDeadStream()
{
    if (streaming && !Stream().isStarting && !Stream().IsLost() && IsStreamDead())
        Stream().MarkLost();
}

bool TolvaneFWCamera::IsOfThisStream(uint32_t session) const
{
    return streaming && session == streamSession;
}

// Exposed before the last commit of a thread that measures images.
bool TolvaneFWCamera::IsOutdated(const zerix::ImageOrigin &origin)
{
    return Stream().isTagDecisive && origin.tag != GetPSN();
}

// The pipeline may hold an image back, as the filter wheel does with the first two of three. An
// image of a stream that has been stopped meanwhile is nobody's any more, and leaves nothing in the
// filters of the next one: they have been reset when that started, possibly while this image was
// in them. The same goes for an image that a commit has outdated.
void TolvaneFWCamera::Deliver(ZImageReceivedCallbackStruct &record, ZImageReceivedCallback callback,
                              uint32_t session)
{
    if (record.image == nullptr)
        return;
    bool isReady = false;
    if (IsOfThisStream(session) && !IsOutdated(delivering)) {
        GetImagePipeline()->ProcessImage(record.image, &isReady);
        if (session != streamSession || IsOutdated(delivering))
            GetImagePipeline()->ResetFilters();
    }
    if (!isReady || callback == nullptr || !IsOfThisStream(session)) {
        ZCamera::FreeImage(record.image);
        return;
    }
    record.error = record.image->GetErrorCode();
    callback(&record);
}

// The receiver of the stream, if that is still on, and whoever has asked since. False if there is
// nobody to tell.
bool TolvaneFWCamera::TellOfLoss()
{
    const auto requests = Stream().TakeLossRequests();
    const auto tell = [](const zerix::StreamReceiver &receiver) {
        ZImageReceivedCallbackStruct record{
            .image = nullptr, .userData = receiver.userData, .error = kStatusLost};
        if (receiver.callback != nullptr)
            receiver.callback(&record);
    };
    if (requests.isForStream && streaming) {
        const StreamReceiver receiver = Receiver();
        tell({receiver.callback, receiver.userData});
    }
    if (requests.other)
        tell(*requests.other);
    return requests.isForStream || requests.other.has_value();
}

// No reset after the wait, which uses the signal up: a signal in between would be lost.
void TolvaneFWCamera::PrivateExposeDoneLoop()
{
    while (exposeThreadActive) {
        HAL_ConditionWait(exposeDoneCondition);
        if (const ZExposeDoneCallback callback = exposeDoneCallback)
            callback(exposeDoneUserData);
    }
}

} // namespace ZX
