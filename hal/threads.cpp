// Threads of the hardware layer. Any thread may call any of it; one at a time for the same thread
// record.
#include <atomic>
#include <memory>
#include <new>

#include "hal/debug_text.h"
#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix::hal {

namespace {

// What a threadInfo really is: the thread writes its end there, so that the record must live until
// both the caller and the thread are done with it, also when the thread could not be ended.
struct ThreadRecord : threadInfo {
    std::atomic<uint32_t> holders{2};
};

struct ThreadParam {
    void *parameter;
    HAL_ThreadRoutine routine;
    ThreadRecord *record;
};

// Both sides read and write this word of a plain C record; release and acquire order what the
// routine did before its end.
void SetIsRunning(threadInfo &thread, uint32_t isRunning)
{
    std::atomic_ref<uint32_t>(thread.isRunning).store(isRunning, std::memory_order_release);
}

bool IsRunning(threadInfo &thread)
{
    return std::atomic_ref<uint32_t>(thread.isRunning).load(std::memory_order_acquire) == 1;
}

void LetGo(ThreadRecord *record)
{
    if (record->holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete record;
}

// Clears isRunning when the routine ends, or is ended.
class RunningMark {
public:
    explicit RunningMark(ThreadRecord *record) : m_record(record) {}
    ~RunningMark()
    {
        SetIsRunning(*m_record, 0);
        LetGo(m_record);
    }
    RunningMark(const RunningMark &) = delete;
    RunningMark &operator=(const RunningMark &) = delete;

private:
    ThreadRecord *const m_record;
};

void StartRoutine(void *startParameter)
{
    const ThreadParam start = *static_cast<ThreadParam *>(startParameter);
    delete static_cast<ThreadParam *>(startParameter);
    const RunningMark mark(start.record);
    if (start.routine != nullptr)
        start.routine(start.parameter);
}

os::Thread *HandleOf(const threadInfo &thread)
{
    return thread.handleIsOpen == 1 ? static_cast<os::Thread *>(thread.threadHandle) : nullptr;
}

void CloseThreadHandle(threadInfo &thread)
{
    delete HandleOf(thread);
    thread.threadHandle = nullptr;
    thread.handleIsOpen = 0;
}

// A thread that has marked its end is waited for too: it leaves the routine's library only then.
os::WaitResult WaitForEnd(threadInfo &thread, uint32_t timeoutMilliseconds)
{
    os::Thread *const handle = HandleOf(thread);
    if (handle == nullptr)
        return os::WaitResult::kSignalled;
    const bool isRunning = IsRunning(thread);
    const os::WaitResult result = handle->Join(timeoutMilliseconds);
    return isRunning ? result : os::WaitResult::kSignalled;
}

} // namespace

} // namespace zerix::hal

using namespace zerix;
using namespace zerix::hal;

uint32_t HAL_ThreadCreate(HAL_ThreadRoutine routine, void *parameter, threadInfo **thread)
{
    std::unique_ptr<ThreadRecord> record(new (std::nothrow) ThreadRecord{});
    std::unique_ptr<ThreadParam> start(new (std::nothrow) ThreadParam{
        .parameter = parameter, .routine = routine, .record = record.get()});
    if (!record || !start) {
        os::DebugOutput(
            "HAL_ThreadCreate:HAL_ThreadCreate: either threadParam or threadInfo are set "
            "to NULL");
        return HAL_ERROR_THREAD_CREATE;
    }
    record->handleIsOpen = 1;
    // Set before the thread runs, so that it can't overwrite the mark of a routine that is already
    // over.
    record->isRunning = 1;
    *thread = nullptr;
    auto handle = os::Thread::Start(StartRoutine, start.get());
    if (!handle) {
        os::DebugOutput("HAL_ThreadCreate:HAL_ThreadCreate: CreateThread returned NULL");
        return HAL_ERROR_THREAD_CREATE;
    }
    static_cast<void>(start.release()); // the thread's now
    record->threadId = handle->Id();
    record->threadHandle = handle.release();
    *thread = record.release();
    return HAL_NO_ERROR;
}

uint32_t HAL_ThreadTerminate(threadInfo *thread)
{
    uint32_t error = HAL_NO_ERROR;
    if (IsRunning(*thread)) {
        os::Thread *const handle = HandleOf(*thread);
        if (handle == nullptr || !handle->ForceEnd())
            error = HAL_ERROR_THREAD_TERMINATE;
        SetIsRunning(*thread, 0);
    }
    CloseThreadHandle(*thread);
    return error;
}

uint32_t HAL_ThreadCleanup(threadInfo *thread, uint32_t timeoutMilliseconds)
{
    if (thread == nullptr)
        return HAL_NO_ERROR;
    switch (WaitForEnd(*thread, timeoutMilliseconds)) {
    case os::WaitResult::kTimedOut:
        return HAL_ERROR_THREAD_TIMEOUT;
    case os::WaitResult::kFailed: {
        const uint32_t error = os::LastError();
        os::DebugOutput(Formatted("%s failed with error %d: %s\n", "HAL_ThreadCleanup",
                                  static_cast<int>(error), os::ErrorText(error).c_str()));
        return HAL_NO_ERROR;
    }
    case os::WaitResult::kSignalled:
        break;
    }
    CloseThreadHandle(*thread);
    LetGo(static_cast<ThreadRecord *>(thread));
    return HAL_NO_ERROR;
}
