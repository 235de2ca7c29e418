// Semaphores, events and mutexes.
#include <cerrno>
#include <new>
#include <pthread.h>

#include "platform/os.h"
#include "platform/posix/monitor.h"

namespace zerix::os {

namespace {

// The object, if there is memory for it and the system gave it what it needs.
template <typename Object, typename... Arguments>
std::unique_ptr<Object> MakeWhole(Arguments... arguments)
{
    std::unique_ptr<Object> object(new (std::nothrow) Object(arguments...));
    if (!object || !object->IsWhole()) {
        SetLastError(ENOMEM);
        return nullptr;
    }
    return object;
}

class PosixSemaphore final : public Semaphore {
public:
    PosixSemaphore(uint32_t initialCount, uint32_t maximumCount)
        : m_count(initialCount), m_maximum(maximumCount)
    {
    }
    [[nodiscard]] bool IsWhole() const { return m_monitor.IsWhole(); }

    WaitResult Wait(uint32_t timeoutMilliseconds) override
    {
        Monitor::Lock lock(m_monitor);
        if (!lock.WaitUntil(timeoutMilliseconds, [this] { return m_count > 0; }))
            return WaitResult::kTimedOut;
        --m_count;
        return WaitResult::kSignalled;
    }

    bool Signal() override
    {
        Monitor::Lock lock(m_monitor);
        if (m_count >= m_maximum)
            return false;
        ++m_count;
        lock.WakeAfterwards();
        return true;
    }

private:
    Monitor m_monitor;
    uint32_t m_count;
    const uint32_t m_maximum;
};

// A signal is handed to the thread that has waited longest, so that two signals in quick succession
// release two waiters although neither has run yet, and nobody who comes later takes it from them.
class AutomaticEvent final : public Event {
public:
    [[nodiscard]] bool IsWhole() const { return m_monitor.IsWhole(); }

    WaitResult Wait(uint32_t timeoutMilliseconds) override
    {
        Monitor::Lock lock(m_monitor);
        if (m_isSignalled) {
            m_isSignalled = false;
            return WaitResult::kSignalled;
        }
        Waiter self(*this);
        if (!lock.WaitUntil(timeoutMilliseconds, [&self] { return self.isReleased; }))
            return WaitResult::kTimedOut;
        self.isGone = true;
        return WaitResult::kSignalled;
    }

    bool Signal() override
    {
        Monitor::Lock lock(m_monitor);
        if (SignalLocked())
            lock.WakeAfterwards();
        return true;
    }

    void Reset() override
    {
        const Monitor::Lock lock(m_monitor);
        m_isSignalled = false;
    }

private:
    // Stands in the queue, also for a thread that is ended in its wait: what was handed to it goes
    // to the next.
    struct Waiter {
        explicit Waiter(AutomaticEvent &itsEvent) : event(itsEvent)
        {
            Waiter **last = &event.m_first;
            while (*last != nullptr)
                last = &(*last)->next;
            *last = this;
        }
        ~Waiter()
        {
            if (isReleased && !isGone && event.SignalLocked())
                event.m_monitor.Wake();
            for (Waiter **link = &event.m_first; *link != nullptr; link = &(*link)->next)
                if (*link == this) {
                    *link = next;
                    break;
                }
        }
        Waiter(const Waiter &) = delete;
        Waiter &operator=(const Waiter &) = delete;

        AutomaticEvent &event;
        Waiter *next = nullptr;
        bool isReleased = false; // and out of the queue
        bool isGone = false;     // with the signal
    };

    // Whether there is somebody to wake.
    bool SignalLocked()
    {
        Waiter *const waiter = m_first;
        if (waiter == nullptr) {
            m_isSignalled = true;
            return false;
        }
        m_first = waiter->next;
        waiter->isReleased = true;
        return true;
    }

    Monitor m_monitor;
    bool m_isSignalled = false;
    Waiter *m_first = nullptr; // the longest wait; the others behind it
};

// Whoever waited when it was signalled is released, even if it is reset before that thread runs.
class ManualEvent final : public Event {
public:
    [[nodiscard]] bool IsWhole() const { return m_monitor.IsWhole(); }

    WaitResult Wait(uint32_t timeoutMilliseconds) override
    {
        Monitor::Lock lock(m_monitor);
        const uint64_t signalsBefore = m_signals;
        const bool isReleased = lock.WaitUntil(timeoutMilliseconds, [this, signalsBefore] {
            return m_isSignalled || m_signals != signalsBefore;
        });
        return isReleased ? WaitResult::kSignalled : WaitResult::kTimedOut;
    }

    bool Signal() override
    {
        Monitor::Lock lock(m_monitor);
        m_isSignalled = true;
        ++m_signals;
        lock.WakeAfterwards();
        return true;
    }

    void Reset() override
    {
        const Monitor::Lock lock(m_monitor);
        m_isSignalled = false;
    }

private:
    Monitor m_monitor;
    bool m_isSignalled = false;
    uint64_t m_signals = 0;
};

class PosixMutex final : public Mutex {
public:
    PosixMutex() : m_isWhole(pthread_mutex_init(&m_mutex, nullptr) == 0) {}
    ~PosixMutex() override
    {
        if (m_isWhole)
            pthread_mutex_destroy(&m_mutex);
    }
    [[nodiscard]] bool IsWhole() const { return m_isWhole; }
    void lock() override { pthread_mutex_lock(&m_mutex); }
    void unlock() override { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
    const bool m_isWhole;
};

} // namespace

std::unique_ptr<Semaphore> Semaphore::Create(uint32_t initialCount, uint32_t maximumCount)
{
    if (maximumCount == 0 || initialCount > maximumCount) {
        SetLastError(EINVAL);
        return nullptr;
    }
    return MakeWhole<PosixSemaphore>(initialCount, maximumCount);
}

std::unique_ptr<Event> Event::Create(ResetMode mode)
{
    if (mode == ResetMode::kAutomatic)
        return MakeWhole<AutomaticEvent>();
    return MakeWhole<ManualEvent>();
}

std::unique_ptr<Mutex> Mutex::Create() { return MakeWhole<PosixMutex>(); }

} // namespace zerix::os
