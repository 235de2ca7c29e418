// The monitor thread and its plug-in.
#include "api/monitor.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "api/camera_list.h"
#include "platform/os.h"

namespace zerix::api {
namespace {

static_assert(offsetof(ZerixIpcNotification, index) == 36);
static_assert(offsetof(ZerixIpcNotification, last) == 40);
static_assert(offsetof(ZerixIpcNotification, three) == 44);
static_assert(offsetof(ZerixIpcNotification, serial) == 48);

// How long a release waits for a thread that a plug-in keeps.
constexpr uint32_t kEndMilliseconds = 5000;

// One run of the thread, shared with it: it may have to outlive its stop.
struct Run {
    std::atomic<bool> isOn{true};
    std::unique_ptr<os::Event> wake = os::Event::Create(os::ResetMode::kManual);
    uint32_t firstMilliseconds = 0;
    uint32_t roundMilliseconds = 0;

    // True when the time is over, false when the run is.
    bool Sleep(uint32_t milliseconds) const
    {
        return wake->Wait(milliseconds) == os::WaitResult::kTimedOut && isOn.load();
    }
};

struct State {
    std::mutex taskMutex;
    std::vector<void (*)()> tasks;
    std::atomic<IpcCallin> callin{nullptr};
    std::unique_ptr<os::DynamicLibrary> plugin;
    std::unique_ptr<os::Thread> thread;
    std::shared_ptr<Run> run;
    uint32_t firstMilliseconds = 3'000;
    uint32_t roundMilliseconds = 28'000;
    std::atomic<uint32_t> rounds{0};
};

// Never destroyed: the thread may outlive the program's main function.
State &TheState()
{
    static auto *const state = new State;
    return *state;
}

thread_local bool t_isMonitor = false;

// Null past the end. The list may grow while a round runs.
bool TaskAt(std::size_t index, void (*&task)())
{
    State &state = TheState();
    const std::lock_guard lock(state.taskMutex);
    if (index >= state.tasks.size())
        return false;
    task = state.tasks[index];
    return true;
}

void RunRound(const Run &run)
{
    void (*task)() = nullptr;
    for (std::size_t index = 0; TaskAt(index, task); ++index) {
        if (task != nullptr && run.isOn.load())
            task();
    }
    TheState().rounds.fetch_add(1);
}

void MonitorThread(void *parameter)
try {
    const std::unique_ptr<std::shared_ptr<Run>> owned(
        static_cast<std::shared_ptr<Run> *>(parameter));
    const Run &run = **owned;
    t_isMonitor = true;
    for (bool goesOn = run.Sleep(run.firstMilliseconds); goesOn;
         goesOn = run.Sleep(run.roundMilliseconds))
        RunRound(run);
} catch (const std::exception &) {
    // Out of memory: there is no watching any more, and nothing else depends on it.
}

void LoadPlugin(State &state)
{
    state.plugin = os::DynamicLibrary::Load(os::PluginFileName("Zerix_IPC_Plugin"));
    void *const symbol = state.plugin != nullptr ? state.plugin->Symbol("IPC_callin") : nullptr;
    state.callin.store(reinterpret_cast<IpcCallin>(symbol));
}

// True if nothing of the plug-in can run any more.
bool EndThread(State &state)
{
    state.run->isOn.store(false);
    if (state.run->wake != nullptr)
        state.run->wake->Signal();
    if (state.thread == nullptr)
        return true;
    // A plug-in that releases the library does so on this very thread, which ends after it.
    if (t_isMonitor)
        return false;
    return state.thread->Join(kEndMilliseconds) == os::WaitResult::kSignalled ||
           state.thread->ForceEnd();
}

} // namespace

void AddMonitorTask(void (*task)())
{
    State &state = TheState();
    const std::lock_guard lock(state.taskMutex);
    state.tasks.push_back(task);
}

void StartMonitor()
{
    State &state = TheState();
    if (state.run != nullptr)
        return;
    LoadPlugin(state);
    state.run = std::make_shared<Run>();
    state.run->firstMilliseconds = state.firstMilliseconds;
    state.run->roundMilliseconds = state.roundMilliseconds;
    if (state.run->wake == nullptr)
        return;
    auto parameter = std::make_unique<std::shared_ptr<Run>>(state.run);
    state.thread = os::Thread::Start(MonitorThread, parameter.get());
    if (state.thread != nullptr)
        static_cast<void>(parameter.release());
}

void StopMonitor()
{
    State &state = TheState();
    if (state.run == nullptr)
        return;
    const bool hasEnded = EndThread(state);
    state.run.reset();
    state.thread.reset();
    state.callin.store(nullptr);
    if (!hasEnded)
        static_cast<void>(state.plugin.release()); // its code is still running
    state.plugin.reset();
}

void TellPlugin(IpcCallin callin, const std::vector<std::string> &serials)
{
    if (callin == nullptr)
        return;
    for (std::size_t index = 0; index < serials.size(); ++index) {
        ZerixIpcNotification notification = {};
        notification.one = 1;
        notification.index = static_cast<uint32_t>(index);
        notification.last = static_cast<uint32_t>(serials.size() - 1);
        notification.three = 3;
        serials[index].copy(notification.serial, sizeof(notification.serial) - 1);
        callin(notification);
    }
}

void WatchCameras()
{
    const std::vector<std::string> serials = SerialsOfOpenCameras();
    TellPlugin(TheState().callin.load(), serials);
}

void SetMonitorIntervalsForTest(uint32_t firstMilliseconds, uint32_t roundMilliseconds)
{
    TheState().firstMilliseconds = firstMilliseconds;
    TheState().roundMilliseconds = roundMilliseconds;
}

uint32_t MonitorRoundsForTest() { return TheState().rounds.load(); }

} // namespace zerix::api
