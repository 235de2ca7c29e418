// The closing threads: each is handed its work, and counts itself out.
#include "bus/linux_firewire/closing.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace zerix::bus::linux_firewire {

// Shared with the threads, which may outlive the closer's owner at the process's end.
struct Closer::State {
    explicit State(SystemCalls &calls) : system(calls) {}

    void Close(Work &work)
    {
        if (work.thread)
            static_cast<void>(work.thread->Join(os::kWaitForever));
        for (const int file : work.files)
            system.Close(file);
        work.owner.reset();
    }

    void Begin()
    {
        const std::lock_guard lock(mutex);
        ++begun;
    }

    void Finish()
    {
        const std::lock_guard lock(mutex);
        ++finished;
        changed.notify_all();
    }

    SystemCalls &system;
    std::mutex mutex;
    std::condition_variable changed;
    uint64_t begun = 0; // under the mutex, as is the next
    uint64_t finished = 0;
};

struct Closer::Job {
    std::shared_ptr<State> state;
    Work work;
};

Closer::Closer(SystemCalls &system) : m_state(std::make_shared<State>(system)) {}

Closer::~Closer()
{
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait(lock, [this] { return m_state->begun == m_state->finished; });
}

void Closer::Run(void *job)
{
    const std::unique_ptr<Job> mine(static_cast<Job *>(job));
    mine->state->Close(mine->work);
    mine->state->Finish();
}

void Closer::Take(Work work) noexcept
{
    m_state->Begin();
    try {
        auto job = std::make_unique<Job>(Job{m_state, {}});
        std::swap(job->work, work);
        if (os::Thread::Start(Run, job.get())) {
            static_cast<void>(job.release()); // the thread's now
            return;
        }
        std::swap(job->work, work);
    } catch (const std::exception &) {
        // Without the memory for a thread it takes as long as it takes.
    }
    m_state->Close(work);
    m_state->Finish();
}

uint64_t Closer::FinishedCount() const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->finished;
}

bool Closer::AwaitIdle(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_state->mutex);
    const State &state = *m_state;
    return m_state->changed.wait_for(lock, timeout, [&] { return state.begun == state.finished; });
}

bool Closer::AwaitMoreThan(uint64_t count, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_state->mutex);
    State &state = *m_state;
    state.changed.wait_for(lock, timeout,
                           [&] { return state.finished > count || state.begun == state.finished; });
    return state.finished > count;
}

} // namespace zerix::bus::linux_firewire
