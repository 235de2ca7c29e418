// Queueing frames and settings, and emptying the queue.
#include <memory>
#include <optional>
#include <utility>

#include "api/camera_list.h"
#include "api/context.h"
#include "api/entry.h"
#include "api/entry_queue.h"
#include "api/stream_callbacks.h"
#include "camera/stream_owner.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// What a queueing call is given beside its record.
struct Receiver {
    ZerixAsyncCallback callback;
    uint32_t flags;
    void *userPointer;
    uint32_t userData;
};

QueueEntryPointer MakeEntry(ZX::ZCamera &camera, ZerixQueueEntry::Kind kind,
                            const Receiver &receiver)
{
    auto entry = std::make_shared<ZerixQueueEntry>();
    entry->camera = &camera;
    entry->callback = receiver.callback;
    entry->flags = receiver.flags;
    entry->userPointer = receiver.userPointer;
    entry->userData = receiver.userData;
    entry->kind = kind;
    return entry;
}

uint32_t QueueFrame(ExportedCall &call, ZX::ZCamera &camera, ZerixContext &context,
                    Zerix_Frame *frame, const Receiver &receiver)
{
    const SemaphoreHold queue(*context.queueSemaphore);
    if (frame == nullptr)
        return ZERIX_ERROR_BAD_PARAMETER;
    if (IsQueueFull(context))
        return ZERIX_ERROR_QUEUE_FULL;
    if (frame->bufferSize < camera.GetImageSize())
        return ZERIX_ERROR_BUFFER_TOO_SMALL;
    QueueEntryPointer entry = MakeEntry(camera, ZerixQueueEntry::Kind::kFrame, receiver);
    entry->frame = frame;
    const auto count = AppendEntry(context, std::move(entry));
    if (!count)
        return ZERIX_ERROR_QUEUE_FULL;
    if (camera.DoesSupportExternalBuffers())
        camera.AddExternalImageBuffer(frame->pBuffer);
    call.Message("Queued up frame (array size = %d)", *count);
    context.isAborted.store(false);
    camera.Stream().AskForLoss({ImageReceived, &camera});
    return ZERIX_SUCCESS;
}

// The packets that the settings need, with the speed's index in the place of its megahertz, as
// these calls have always computed it. Settings that need larger ones are refused; the size that
// they would need stays. A start on another thread may book more meanwhile.
bool FitsPackets(ZX::ZCamera &camera, const Zerix_Settings *settings)
{
    const StreamHold stream(camera.Stream());
    const uint16_t current = camera.GetCurrentFireWirePacketSize();
    const uint16_t required = camera.CalculateRequiredPacketSize(
        static_cast<uint16_t>(tables::GetSlot32(settings, zprmHorizontalBinning)),
        camera.GetMaxBitDepth(), static_cast<float>(tables::GetSlot32(settings, zprmReadoutSpeed)));
    if (current >= required)
        return true;
    camera.SetCurrentFireWirePacketSize(required);
    return false;
}

// With nothing before them they are due at once. The callback may queue too, so it runs without the
// semaphore.
uint32_t ApplyAtOnce(ExportedCall &call, ZX::ZCamera &camera, Zerix_Settings *settings,
                     const Receiver &receiver, SemaphoreHold &queue)
{
    const uint32_t error = queue.Without([&] {
        const uint32_t result = Zerix_SendSettingsToCam(&camera, settings);
        if ((receiver.flags & ZERIX_FLAG_FRAME_DONE) != 0 && receiver.callback != nullptr)
            receiver.callback(receiver.userPointer, receiver.userData, result, receiver.flags);
        return result;
    });
    call.Message("Queue was empty, so settings change applied immediately");
    return error;
}

uint32_t AppendSettings(ExportedCall &call, ZX::ZCamera &camera, ZerixContext &context,
                        Zerix_Settings *settings, const Receiver &receiver)
{
    QueueEntryPointer entry = MakeEntry(camera, ZerixQueueEntry::Kind::kSettings, receiver);
    entry->settings = settings;
    const auto count = AppendEntry(context, std::move(entry));
    if (!count)
        return ZERIX_ERROR_QUEUE_FULL;
    call.Message("Queued up settings (array size = %d)", *count);
    camera.Stream().AskForLoss({ImageReceived, &camera});
    return ZERIX_SUCCESS;
}

uint32_t QueueSettings(ExportedCall &call, ZX::ZCamera &camera, ZerixContext &context,
                       Zerix_Settings *settings, const Receiver &receiver)
{
    SemaphoreHold queue(*context.queueSemaphore);
    if (settings == nullptr || !tables::HasMagic(settings))
        return ZERIX_ERROR_BAD_SETTINGS;
    if (IsQueueFull(context))
        return ZERIX_ERROR_QUEUE_FULL;
    if (!FitsPackets(camera, settings))
        return ZERIX_ERROR_BAD_SETTINGS;
    const uint32_t error = context.queueCount.load() == 0
                               ? ApplyAtOnce(call, camera, settings, receiver, queue)
                               : AppendSettings(call, camera, context, settings, receiver);
    context.isAborted.store(false);
    return error;
}

// Takes a semaphore from a send that may hang in a register access, which is then ended. A callback
// that is slow is waited for.
ZX::ZSemaphore &Taken(ZX::ZSemaphore &semaphore, ZX::ZCamera &camera)
{
    constexpr uint32_t kBetweenLooksMilliseconds = 100;
    while (!semaphore.WaitFor(kBetweenLooksMilliseconds))
        EndHangingAccesses(camera);
    return semaphore;
}

void AbortQueue(ZX::ZCamera &camera, ZerixContext &context)
{
    {
        const SemaphoreHold queue(Taken(*context.queueSemaphore, camera), std::adopt_lock);
        context.isAborted.store(true);
    }
    EmptyQueue(context);
    camera.Abort();
}

// From within a frame callback the thread has the callback semaphore already.
uint32_t AbortAll(ZX::ZCamera &camera, ZerixContext &context)
{
    const ExposeWaitsEnded nobodyWaits(context);
    std::optional<SemaphoreHold> callbacks;
    if (!IsReceivingFor(context))
        callbacks.emplace(Taken(*context.callbackSemaphore, camera), std::adopt_lock);
    AbortQueue(camera, context);
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_QueueFrame(ZerixHandle camera, Zerix_Frame *frame, ZerixAsyncCallback callback,
                          uint32_t flags, void *userPointer, uint32_t userData)
{
    return Enter(Start(__func__, TracedIf{diag::ZLogShouldOutputFrame()}), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Exclusive(),
                        HasContext()),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return QueueFrame(call, use.Camera(), use.Context(), frame,
                                       {callback, flags, userPointer, userData});
                 });
}

uint32_t Zerix_QueueSettings(ZerixHandle camera, Zerix_Settings *settings,
                             ZerixAsyncCallback callback, uint32_t flags, void *userPointer,
                             uint32_t userData)
{
    return Enter(Start(__func__), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Exclusive(),
                        HasContext()),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return QueueSettings(call, use.Camera(), use.Context(), settings,
                                          {callback, flags, userPointer, userData});
                 });
}

uint32_t Zerix_Abort(ZerixHandle camera)
{
    return Enter(
        Start(__func__), OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Exclusive(),
               HasContext()),
        [](ExportedCall &, const CameraUse &use) { return AbortAll(use.Camera(), use.Context()); });
}
