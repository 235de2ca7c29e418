// The frames and settings of a camera that wait, oldest first, at most a hundred. All of it from
// any thread: the context's queue mutex keeps it whole, whoever holds which semaphore.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "api/context.h"

namespace zerix::api {

using QueueEntryPointer = std::shared_ptr<ZerixQueueEntry>;

[[nodiscard]] bool IsQueueFull(const ZerixContext &context);

// False if the queue is full; otherwise how many wait now.
std::optional<uint32_t> AppendEntry(ZerixContext &context, QueueEntryPointer entry);

// The oldest entry, which stays; null if there is none.
[[nodiscard]] QueueEntryPointer OldestEntry(ZerixContext &context);

// Takes the oldest entry if it is this one still.
bool TakeOldest(ZerixContext &context, const QueueEntryPointer &entry);

// Takes the oldest entry if it is of settings, and something stands behind it.
[[nodiscard]] QueueEntryPointer TakeSettingsWithFollower(ZerixContext &context);

// The entry that the end of an exposure is told to. One scan position serves all cameras and is
// never put back: a frame there is the one, settings that have been told already are passed over.
// Null if there is none.
[[nodiscard]] QueueEntryPointer ExposedEntry(ZerixContext &context);

// Both handlers may come to tell the application of the same exposure; the first to begin does.
// False for the other, and where it has been told.
bool BeginExposeCall(ZerixContext &context, ZerixQueueEntry &entry);
void MarkExposeCalled(ZerixContext &context, ZerixQueueEntry &entry);
// The callback of the one that began has returned.
void EndExposeCall(ZerixContext &context, ZerixQueueEntry &entry);
// Waits until the other handler's call has returned: a frame is told after its exposure. Not past
// the beginning of an abort, nor longer than a second, since that callback may itself wait for what
// the stream's thread is to do.
void AwaitExposeCall(ZerixContext &context, const ZerixQueueEntry &entry);

// While it lives nobody waits for an expose call. An abort waits for the stream's thread, and may
// come from within the very callback that this thread waits for.
class ExposeWaitsEnded {
public:
    explicit ExposeWaitsEnded(ZerixContext &context);
    ~ExposeWaitsEnded();
    ExposeWaitsEnded(const ExposeWaitsEnded &) = delete;
    ExposeWaitsEnded &operator=(const ExposeWaitsEnded &) = delete;

private:
    ZerixContext &m_context;
};

[[nodiscard]] bool IsExposeCalled(ZerixContext &context, const ZerixQueueEntry &entry);

// Frees every entry.
void EmptyQueue(ZerixContext &context);

// The scan position begins anew, as in a fresh process.
void ResetScanPositionForTest();

} // namespace zerix::api
