// The frames and settings of a camera that wait.
#include "api/entry_queue.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace zerix::api {
namespace {

// Relaxed: it orders nothing. Two cameras may move it at once; it only ever goes up.
std::atomic<uint32_t> g_scanPosition{0};

// Under the queue mutex. Removal moves the rest up.
QueueEntryPointer TakeFirst(ZerixContext &context)
{
    const uint32_t count = context.queueCount.load();
    QueueEntryPointer first = std::move(context.queue[0]);
    std::move(context.queue.begin() + 1, context.queue.begin() + count, context.queue.begin());
    context.queue[count - 1] = nullptr;
    context.queueCount.store(count - 1);
    return first;
}

} // namespace

bool IsQueueFull(const ZerixContext &context) { return context.queueCount.load() >= kQueueLength; }

std::optional<uint32_t> AppendEntry(ZerixContext &context, QueueEntryPointer entry)
{
    const std::lock_guard lock(context.queueMutex);
    const uint32_t count = context.queueCount.load();
    if (count >= kQueueLength)
        return std::nullopt;
    context.queue[count] = std::move(entry);
    context.queueCount.store(count + 1);
    return count + 1;
}

QueueEntryPointer OldestEntry(ZerixContext &context)
{
    const std::lock_guard lock(context.queueMutex);
    return context.queue[0];
}

bool TakeOldest(ZerixContext &context, const QueueEntryPointer &entry)
{
    const std::lock_guard lock(context.queueMutex);
    if (entry == nullptr || context.queue[0] != entry)
        return false;
    TakeFirst(context);
    return true;
}

QueueEntryPointer TakeSettingsWithFollower(ZerixContext &context)
{
    const std::lock_guard lock(context.queueMutex);
    if (context.queueCount.load() < 2 || context.queue[0]->kind != ZerixQueueEntry::Kind::kSettings)
        return nullptr;
    return TakeFirst(context);
}

QueueEntryPointer ExposedEntry(ZerixContext &context)
{
    const std::lock_guard lock(context.queueMutex);
    const uint32_t count = context.queueCount.load();
    for (uint32_t at = g_scanPosition.load(std::memory_order_relaxed); at < count; ++at) {
        const QueueEntryPointer &entry = context.queue[at];
        if (entry->kind == ZerixQueueEntry::Kind::kFrame)
            return entry;
        if (!entry->isExposeCalled)
            return nullptr;
        g_scanPosition.store(at + 1, std::memory_order_relaxed);
    }
    return nullptr;
}

bool BeginExposeCall(ZerixContext &context, ZerixQueueEntry &entry)
{
    const std::lock_guard lock(context.queueMutex);
    return !entry.isExposeCalled && !std::exchange(entry.isExposeClaimed, true);
}

void MarkExposeCalled(ZerixContext &context, ZerixQueueEntry &entry)
{
    const std::lock_guard lock(context.queueMutex);
    entry.isExposeCalled = true;
}

void EndExposeCall(ZerixContext &context, ZerixQueueEntry &entry)
{
    const std::lock_guard lock(context.queueMutex);
    entry.isExposeOver = true;
    context.exposeOver.notify_all();
}

void AwaitExposeCall(ZerixContext &context, const ZerixQueueEntry &entry)
{
    std::unique_lock lock(context.queueMutex);
    context.exposeOver.wait_for(lock, context.longestExposeWait, [&] {
        return !entry.isExposeClaimed || entry.isExposeOver || context.abortsBegun > 0;
    });
}

ExposeWaitsEnded::ExposeWaitsEnded(ZerixContext &context) : m_context(context)
{
    const std::lock_guard lock(context.queueMutex);
    ++context.abortsBegun;
    context.exposeOver.notify_all();
}

ExposeWaitsEnded::~ExposeWaitsEnded()
{
    const std::lock_guard lock(m_context.queueMutex);
    --m_context.abortsBegun;
}

bool IsExposeCalled(ZerixContext &context, const ZerixQueueEntry &entry)
{
    const std::lock_guard lock(context.queueMutex);
    return entry.isExposeCalled;
}

void EmptyQueue(ZerixContext &context)
{
    const std::lock_guard lock(context.queueMutex);
    for (QueueEntryPointer &entry : context.queue)
        entry = nullptr;
    context.queueCount.store(0);
}

void ResetScanPositionForTest() { g_scanPosition.store(0); }

} // namespace zerix::api
