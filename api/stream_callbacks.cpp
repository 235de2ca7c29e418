// What a camera's streaming threads call for the application's queue. The order of one frame:
// expose done, if it comes late; frame done; then the settings directly behind the frame.
#include "api/stream_callbacks.h"

#include <memory>
#include <utility>

#include "api/entry.h"
#include "api/entry_queue.h"
#include "api/frame_filling.h"
#include "camera/stream_owner.h"
#include "diag/dumps.h"
#include "image/z_ex_image.h"

namespace zerix::api {
namespace {

constexpr uint16_t kStatusLost = 0x1A;

thread_local const ZerixContext *t_receivingFor = nullptr;

class Receiving {
public:
    explicit Receiving(const ZerixContext &context)
        : m_before(std::exchange(t_receivingFor, &context))
    {
    }
    ~Receiving() { t_receivingFor = m_before; }
    Receiving(const Receiving &) = delete;
    Receiving &operator=(const Receiving &) = delete;

private:
    const ZerixContext *m_before;
};

struct ImageDeleter {
    void operator()(ZX::ZExImage *image) const { ZX::ZCamera::FreeImage(image); }
};
using ImagePointer = std::unique_ptr<ZX::ZExImage, ImageDeleter>;

bool IsFrame(const ZerixQueueEntry &entry) { return entry.kind == ZerixQueueEntry::Kind::kFrame; }

bool Wants(const ZerixQueueEntry &entry, uint32_t flag) { return (entry.flags & flag) != 0; }

void CallBack(const ZerixQueueEntry &entry, uint32_t error, uint32_t flags)
{
    entry.callback(entry.userPointer, entry.userData, error, flags);
}

// The callback runs first and the mark comes after it, the other way round than at the end of an
// exposure.
void CatchUpOnExposeDone(ExportedCall &call, ZerixContext &context, ZerixQueueEntry &entry)
{
    if (!Wants(entry, ZERIX_FLAG_EXPOSE_DONE))
        return;
    if (!BeginExposeCall(context, entry)) {
        AwaitExposeCall(context, entry);
        return;
    }
    call.Message("Received a frame but the expose done callback wasn't called.  Calling it now "
                 "before returning the frame.");
    if (context.isAborted.load())
        call.Message("Not calling expose done callback because Zerix_Abort was called");
    else if (entry.callback == nullptr)
        call.Message("Not calling expose done callback because it is null");
    else
        CallBack(entry, ZERIX_SUCCESS, ZERIX_FLAG_EXPOSE_DONE);
    MarkExposeCalled(context, entry);
    EndExposeCall(context, entry);
}

void FillQueuedFrame(ZX::ZCamera &camera, ZerixContext &context, Zerix_Frame &frame,
                     uint16_t status, ZX::ZExImage *image)
{
    if (status == kStatusLost)
        frame.errorCode = ZERIX_ERROR_UNPLUGGED;
    else if (image != nullptr)
        PostProcess(*image, context);
    if (image == nullptr)
        return;
    if (const uint32_t error = FillFrame(*image, camera, context, frame))
        frame.errorCode = error;
}

void TellFrameDone(ExportedCall &call, const ZerixContext &context, const ZerixQueueEntry &entry)
{
    if (!Wants(entry, ZERIX_FLAG_FRAME_DONE)) {
        call.Message("Not calling framedone callback the user doesn't want framedone callbacks");
    } else if (context.isAborted.load()) {
        call.Message("Not calling framedone callback because Zerix_Abort was called");
    } else if (entry.callback == nullptr) {
        call.Message("Not calling framedone callback because the callback in null");
    } else {
        diag::ZerixDebugOutputFrame(entry.frame);
        CallBack(entry, entry.frame->errorCode, ZERIX_FLAG_FRAME_DONE);
    }
}

void SendQueuedSettings(const ZerixQueueEntry &entry)
{
    const uint32_t error = Zerix_SendSettingsToCam(entry.camera, entry.settings);
    if (Wants(entry, ZERIX_FLAG_FRAME_DONE) && entry.callback != nullptr)
        CallBack(entry, error, entry.flags);
}

// Settings stand at the front when the frame before them came while they were the last. They are
// sent as soon as something is queued behind them, at the cost of this image, which was exposed
// without them; as the last ones they go on waiting.
void SendSettingsAtFront(ZerixContext &context)
{
    if (const QueueEntryPointer settings = TakeSettingsWithFollower(context))
        SendQueuedSettings(*settings);
}

void GiveImageToOldest(ExportedCall &call, ZX::ZCamera &camera, ZerixContext &context,
                       uint16_t status, ZX::ZExImage *image)
{
    const QueueEntryPointer head = OldestEntry(context);
    if (head == nullptr)
        return;
    if (!IsFrame(*head)) {
        SendSettingsAtFront(context);
        SendSettingsAtFront(context);
        return;
    }
    CatchUpOnExposeDone(call, context, *head);
    // An abort from within the callback has given the frame back already.
    if (!TakeOldest(context, head))
        return;
    const QueueEntryPointer next = TakeSettingsWithFollower(context);
    FillQueuedFrame(camera, context, *head->frame, status, image);
    TellFrameDone(call, context, *head);
    if (next != nullptr)
        SendQueuedSettings(*next);
}

// No image comes any more for what is still queued: the run loop calls once more. Settings that are
// queued last go on waiting.
void AskForRest(ZX::ZCamera &camera, ZerixContext &context)
{
    const QueueEntryPointer head = OldestEntry(context);
    if (head != nullptr && (IsFrame(*head) || context.queueCount.load() > 1))
        camera.Stream().AskForLoss({ImageReceived, &camera});
}

void TellExposeDone(ExportedCall &call, ZerixContext &context, ZerixQueueEntry &entry,
                    SemaphoreHold *queue)
{
    if (!Wants(entry, ZERIX_FLAG_EXPOSE_DONE))
        return;
    if (entry.callback == nullptr && !IsExposeCalled(context, entry)) {
        call.Message("Not calling expose done callback because it is null");
        return;
    }
    if (!BeginExposeCall(context, entry)) {
        call.Message("Not calling expose done callback  for frame %d because it's already been "
                     "called for this frame",
                     entry.userData);
        return;
    }
    MarkExposeCalled(context, entry);
    const auto tell = [&] {
        CallBack(entry, ZERIX_SUCCESS, ZERIX_FLAG_EXPOSE_DONE);
        EndExposeCall(context, entry);
    };
    if (queue != nullptr)
        queue->Without(tell);
    else
        tell();
    call.Message("Called expose done callback for frame number %d", entry.userData);
}

void LookForExposed(ExportedCall &call, ZerixContext &context, SemaphoreHold *queue)
{
    if (context.queueCount.load() == 0 || context.isAborted.load()) {
        call.Message("Not calling expose done callback because the queue is empty or abort was "
                     "called");
        return;
    }
    if (const QueueEntryPointer entry = ExposedEntry(context))
        TellExposeDone(call, context, *entry, queue);
}

} // namespace

bool IsReceivingFor(const ZerixContext &context) { return t_receivingFor == &context; }

void ImageReceived(ZX::ZImageReceivedCallbackStruct *record)
{
    const ImagePointer image(record->image);
    EnterCallback(Start(__func__), record->userData, [&](ExportedCall &call, const CameraUse &use) {
        if (use.ContextOrNull() == nullptr)
            return;
        ZerixContext &context = use.Context();
        const SemaphoreHold callbacks(*context.callbackSemaphore);
        const Receiving receiving(context);
        GiveImageToOldest(call, use.Camera(), context, record->error, image.get());
        if (record->error == kStatusLost)
            AskForRest(use.Camera(), context);
    });
}

// While settings are being sent, the sender has the queue semaphore, and may wait for this thread.
void ExposeDone(void *camera)
{
    EnterCallback(Start(__func__), camera, [](ExportedCall &call, const CameraUse &use) {
        if (use.ContextOrNull() == nullptr) {
            diag::ZLogEndError(call.Name(), ZERIX_ERROR_BAD_PARAMETER);
        } else if (use.Context().isSending.load()) {
            LookForExposed(call, use.Context(), nullptr);
        } else {
            SemaphoreHold queue(*use.Context().queueSemaphore);
            LookForExposed(call, use.Context(), &queue);
        }
    });
}

} // namespace zerix::api
