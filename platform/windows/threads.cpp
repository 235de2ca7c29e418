// Threads and their priorities.
#include <memory>
#include <new>
#include <windows.h>

#include "platform/os.h"
#include "platform/windows/handle.h"
#include "platform/windows/thread_stack.h"

namespace zerix::os {

std::atomic<size_t> threadStackBytesForTest{0};

namespace {

constexpr uint32_t kForcedEndMilliseconds = 1000;

struct StartParameter {
    ThreadRoutine routine;
    void *parameter;
};

DWORD WINAPI RunThread(void *parameter)
{
    const StartParameter start = *static_cast<StartParameter *>(parameter);
    delete static_cast<StartParameter *>(parameter);
    start.routine(start.parameter);
    return 0;
}

class WindowsThread final : public Thread {
public:
    WindowsThread(HANDLE handle, DWORD id) : m_handle(handle), m_id(id) {}

    uint32_t Id() const override { return m_id; }

    WaitResult Join(uint32_t timeoutMilliseconds) override
    {
        return WaitFor(m_handle.Get(), timeoutMilliseconds);
    }

    // Nothing is unwound: what the routine holds is lost. Its waits hold nothing of the port's.
    bool ForceEnd() override
    {
        if (Join(0) == WaitResult::kSignalled)
            return true;
        if (TerminateThread(m_handle.Get(), 0) == 0)
            KeepLastError();
        return Join(kForcedEndMilliseconds) == WaitResult::kSignalled;
    }

private:
    const Handle m_handle;
    const DWORD m_id;
};

// Suspended, so that everything that can lack memory comes before the routine.
std::unique_ptr<Thread> StartThread(StartParameter *start)
{
    DWORD id = 0;
    const HANDLE handle =
        CreateThread(nullptr, threadStackBytesForTest.load(std::memory_order_relaxed), RunThread,
                     start, CREATE_SUSPENDED, &id);
    if (handle == nullptr) {
        KeepLastError();
        return nullptr;
    }
    std::unique_ptr<Thread> thread(new (std::nothrow) WindowsThread(handle, id));
    if (!thread) {
        TerminateThread(handle, 0); // it has run nothing
        CloseHandle(handle);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    ResumeThread(handle);
    return thread;
}

} // namespace

std::unique_ptr<Thread> Thread::Start(ThreadRoutine routine, void *parameter)
{
    std::unique_ptr<StartParameter> start(
        new (std::nothrow) StartParameter{.routine = routine, .parameter = parameter});
    if (!start) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    auto thread = StartThread(start.get());
    if (thread)
        static_cast<void>(start.release()); // the thread's now
    return thread;
}

bool SetCurrentThreadPriority(int priority)
{
    return SetThreadPriority(GetCurrentThread(), priority) != 0;
}

// The system grants the next best class where it grants no real-time class to this user.
bool SetProcessPriorityClass(uint32_t priorityClass)
{
    return SetPriorityClass(GetCurrentProcess(), priorityClass) != 0;
}

} // namespace zerix::os
