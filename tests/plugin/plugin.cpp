// A plug-in of the monitor that keeps the notifications it gets. Any thread.
#include <cstdint>
#include <mutex>
#include <vector>

#include "api/monitor.h"
#include "zerix/zerix_export.h"

namespace {

struct State {
    std::mutex mutex;
    std::vector<zerix::api::ZerixIpcNotification> notifications;
};

State &TheState()
{
    static State state;
    return state;
}

} // namespace

// The driver's entry point.
extern "C" ZERIX_API void IPC_callin(zerix::api::ZerixIpcNotification notification)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().notifications.push_back(notification);
}

// Moves the oldest notifications out to the test, at most `room`; how many there were.
extern "C" ZERIX_API uint32_t ZerixTestPlugin_Take(zerix::api::ZerixIpcNotification *notifications,
                                                   uint32_t room)
{
    const std::lock_guard lock(TheState().mutex);
    auto &kept = TheState().notifications;
    uint32_t count = 0;
    for (; count < room && count < kept.size(); ++count)
        notifications[count] = kept[count];
    kept.erase(kept.begin(), kept.begin() + count);
    return count;
}
