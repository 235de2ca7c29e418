// Taking one image, from the application's stream or from one that is started for it. On the
// callers' threads, one at a time; the callback of the one image comes on the run loop's.
#include <string>

#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_ex_image.h"
#include "platform/os.h"

namespace ZX {

// Applications of 32 bits know the record by its layout.
static_assert(sizeof(void *) != 4 || sizeof(ZImageReceivedCallbackStruct) == 12);

namespace {

constexpr uint64_t kReserve = 5'000'000'000; // nanoseconds

} // namespace

uint64_t TolvaneFWCamera::OneImageTimeLimit()
{
    if (GetRGBFilterCycleMode())
        return GetExposure() + GetRGBFilterBlueExposure() + GetRGBFilterRedExposure() + kReserve;
    return (IsInterlaced() ? 3 : 2) * GetExposure() + kReserve;
}

// The limit is in nanoseconds and the wait in microseconds: it is a thousand times as patient as it
// looks, and applications rely on that with slow triggers.
uint16_t TolvaneFWCamera::GetOneImage(ZExImage **image)
{
    const zerix::ImageClaim claim(Stream());
    if (!claim)
        return kStatusBusy;
    const uint64_t limit = OneImageTimeLimit();
    if (const uint16_t status = BeginOneImage())
        return status;
    return EndOneImage(HAL_ConditionTimedWait(imageCondition, limit), image);
}

// From here on the stream's images come to this thread, whether it is on already or for this image.
uint16_t TolvaneFWCamera::BeginOneImage()
{
    const zerix::StreamHold stream(Stream());
    const bool wasLost = Stream().IsLost();
    if (Stream().IsMeasurementOver() || (streaming && wasLost))
        return kStatusNoImage;
    AwaitOneImage(streaming ? streamSession.load() : streamSession + 1);
    Stream().BeginWait();
    Stream().stopsAfterImage = false;
    if (streaming) {
        SetReceiver({GetOneImageCallback, this});
        return kStatusOk;
    }
    const uint16_t status = StartStream(StartAsBefore({GetOneImageCallback, this}, false));
    if (status != kStatusOk) {
        Stream().FinishWait();
        return wasLost ? uint16_t{kStatusNoImage} : status;
    }
    Stream().isForOneImage = true;
    Stream().stopsAfterImage = true;
    return kStatusOk;
}

// Where the time is over, the stream is left as it stands.
uint16_t TolvaneFWCamera::EndOneImage(uint32_t waitError, ZExImage **image)
{
    const zerix::StreamHold stream(Stream());
    const auto endedWith = Stream().FinishWait();
    if (waitError != HAL_NO_ERROR)
        return ReportHalError(waitError);
    if (Stream().isForOneImage && Stream().stopsAfterImage)
        StopAfterOneImage();
    if (Stream().isApplications)
        SetReceiver({Stream().application.callback, Stream().application.userData});
    *image = TakeOneImage();
    if (*image != nullptr)
        return kStatusOk;
    return endedWith.value_or(kStatusNoImage);
}

// The stream that a change of settings has switched off meanwhile needn't come back for this image.
void TolvaneFWCamera::StopAfterOneImage()
{
    Stream().isForOneImage = false;
    if (!Stream().isApplications)
        Stream().ForgetRestart();
    if (streaming)
        HaltStream();
}

// An image that came too late for an earlier call is thrown away, and its signal with it: under the
// lock under which the run loop leaves both, as it may still be about to for the call before.
void TolvaneFWCamera::AwaitOneImage(uint32_t fromSession)
{
    const std::lock_guard lock(oneImageMutex);
    HAL_ConditionReset(imageCondition);
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
    const auto &origin = camera.delivering;
    const bool isLate = static_cast<int32_t>(origin.session - camera.oneImageSession) < 0;
    if (record->image != nullptr && (isLate || camera.IsOutdated(origin)))
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
