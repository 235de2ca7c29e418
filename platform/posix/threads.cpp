// Threads and their priorities.
#include <algorithm>
#include <cerrno>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/os.h"
#include "platform/posix/cancellation.h"
#include "platform/posix/monitor.h"

namespace zerix::os {

namespace {

constexpr uint32_t kForcedEndMilliseconds = 1000;
constexpr int kTimeCritical = 15;

// Shared by the thread and its handle; the last of them frees it.
struct ThreadState {
    ThreadRoutine routine = nullptr;
    void *parameter = nullptr;
    Monitor monitor;
    uint32_t id = 0; // under the monitor, as is the next
    bool hasEnded = false;
};

// Tells of the thread's end, however it comes.
class EndTeller {
public:
    explicit EndTeller(ThreadState &state) : m_state(state) {}
    ~EndTeller()
    {
        Monitor::Lock lock(m_state.monitor);
        m_state.hasEnded = true;
        lock.WakeAfterwards();
    }
    EndTeller(const EndTeller &) = delete;
    EndTeller &operator=(const EndTeller &) = delete;

private:
    ThreadState &m_state;
};

void TellId(ThreadState &state)
{
    Monitor::Lock lock(state.monitor);
    state.id = static_cast<uint32_t>(gettid());
    lock.WakeAfterwards();
}

void *RunThread(void *parameter)
{
    const std::unique_ptr<std::shared_ptr<ThreadState>> owner(
        static_cast<std::shared_ptr<ThreadState> *>(parameter));
    ThreadState &state = **owner;
    const EndTeller end(state);
    TellId(state);
    state.routine(state.parameter);
    return nullptr;
}

class PosixThread final : public Thread {
public:
    explicit PosixThread(std::shared_ptr<ThreadState> state) : m_state(std::move(state)) {}
    ~PosixThread() override
    {
        if (m_isStarted && !m_isJoined)
            pthread_detach(m_handle);
    }

    // Once, before anybody else sees the object. 0 or a system error.
    [[nodiscard]] int Start()
    {
        auto forThread = std::make_unique<std::shared_ptr<ThreadState>>(m_state);
        if (const int error = pthread_create(&m_handle, nullptr, RunThread, forThread.get()))
            return error;
        static_cast<void>(forThread.release()); // the thread's now
        m_isStarted = true;
        Monitor::Lock lock(m_state->monitor);
        static_cast<void>(lock.WaitUntil(kWaitForever, [this] { return m_state->id != 0; }));
        m_id = m_state->id;
        return 0;
    }

    uint32_t Id() const override { return m_id; }

    WaitResult Join(uint32_t timeoutMilliseconds) override
    {
        if (!WaitForEnd(timeoutMilliseconds))
            return WaitResult::kTimedOut;
        const CancellationOff noCancellation;
        const std::lock_guard lock(m_joinMutex);
        if (!m_isJoined)
            m_isJoined = pthread_join(m_handle, nullptr) == 0;
        return WaitResult::kSignalled;
    }

    bool ForceEnd() override
    {
        {
            const std::lock_guard lock(m_joinMutex);
            if (!m_isJoined)
                pthread_cancel(m_handle);
        }
        return Join(kForcedEndMilliseconds) == WaitResult::kSignalled;
    }

private:
    bool WaitForEnd(uint32_t timeoutMilliseconds)
    {
        Monitor::Lock lock(m_state->monitor);
        return lock.WaitUntil(timeoutMilliseconds, [this] { return m_state->hasEnded; });
    }

    const std::shared_ptr<ThreadState> m_state;
    pthread_t m_handle{};
    uint32_t m_id = 0;
    bool m_isStarted = false;
    std::mutex m_joinMutex;
    bool m_isJoined = false;
};

// Everything that can lack memory comes before the thread.
std::unique_ptr<Thread> StartThread(const std::shared_ptr<ThreadState> &state)
{
    auto thread = std::make_unique<PosixThread>(state);
    if (const int error = thread->Start()) {
        SetLastError(static_cast<uint32_t>(error));
        return nullptr;
    }
    return thread;
}

} // namespace

std::unique_ptr<Thread> Thread::Start(ThreadRoutine routine, void *parameter)
{
    const CancellationOff noCancellation;
    try {
        const auto state = std::make_shared<ThreadState>();
        state->routine = routine;
        state->parameter = parameter;
        if (state->monitor.IsWhole())
            return StartThread(state);
    } catch (const std::bad_alloc &) {
    }
    SetLastError(ENOMEM);
    return nullptr;
}

// Time critical means the lowest real-time priority, which is above every ordinary thread; where
// that is refused, the best ordinary one. The others are nice levels, as far as they go.
bool SetCurrentThreadPriority(int priority)
{
    const bool isTimeCritical = priority >= kTimeCritical;
    const int policy = isTimeCritical ? SCHED_FIFO : SCHED_OTHER;
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(policy);
    const bool hasPolicy = pthread_setschedparam(pthread_self(), policy, &parameters) == 0;
    if (isTimeCritical && hasPolicy)
        return true;
    const int niceLevel = std::clamp(-priority, -20, 19);
    return setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceLevel) == 0;
}

// There are no classes of processes here: every process is in the normal one and none in the
// real-time one. The receive thread's own priority does the work.
bool SetProcessPriorityClass(uint32_t priorityClass)
{
    constexpr uint32_t kNormalClass = 0x20;
    return priorityClass == kNormalClass;
}

} // namespace zerix::os
