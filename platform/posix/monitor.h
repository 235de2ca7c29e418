// A pthread mutex with its condition, on the monotonic clock, for everything here that waits.
// Unlike std::condition_variable, a wait may be ended by the cancellation of its thread: the lock
// guard then unwinds and lets go.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <pthread.h>

#include "platform/posix/cancellation.h"

namespace zerix::os {

// The moment on the monotonic clock this many milliseconds from now.
timespec DeadlineIn(uint32_t milliseconds);

class Monitor {
    struct Core;

public:
    Monitor();
    ~Monitor();
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

    // False if the system had none to give; it must not be used then.
    [[nodiscard]] bool IsWhole() const { return m_core != nullptr; }

    class Lock {
    public:
        explicit Lock(Monitor &monitor) : m_core(*monitor.m_core)
        {
            pthread_mutex_lock(&m_core.mutex);
        }
        ~Lock()
        {
            pthread_mutex_unlock(&m_core.mutex);
            if (m_isWakeDue)
                m_core.WakeAndRelease();
        }
        Lock(const Lock &) = delete;
        Lock &operator=(const Lock &) = delete;

        // Waits until `condition()` holds; false when the time is over and it still doesn't. A
        // time-out of 0 only looks.
        template <typename Condition>
        [[nodiscard]] ZERIX_MAY_END_HERE bool WaitUntil(uint32_t timeoutMilliseconds,
                                                        Condition condition)
        {
            if (condition())
                return true;
            if (timeoutMilliseconds == 0)
                return false;
            const timespec deadline = DeadlineIn(timeoutMilliseconds);
            while (m_core.Sleep(timeoutMilliseconds, deadline))
                if (condition())
                    return true;
            return condition();
        }

        // Wakes all who wait, once this lock is released: they need it, and who runs at once would
        // only go back to sleep. Whoever sees the reason before may destroy the monitor; what is
        // woken lives until then.
        void WakeAfterwards()
        {
            if (!m_isWakeDue)
                m_core.users.fetch_add(1, std::memory_order_relaxed);
            m_isWakeDue = true;
        }

    private:
        Core &m_core;
        bool m_isWakeDue = false;
    };

    // Wakes all who wait. Under a lock.
    void Wake() { m_core->Wake(); }

private:
    struct Core {
        // Null if the system had none to give.
        static Core *Create();
        // Always all: a wake-up for one can be lost in this C library when a waiter comes at the
        // same moment.
        void Wake() { pthread_cond_broadcast(&condition); }
        void WakeAndRelease();
        void Release();
        // False on a time-out.
        ZERIX_MAY_END_HERE bool Sleep(uint32_t timeoutMilliseconds, const timespec &deadline);

        pthread_mutex_t mutex;
        pthread_cond_t condition;
        std::atomic<uint32_t> users{1}; // the last one deletes it
    };

    Core *const m_core;
};

} // namespace zerix::os
