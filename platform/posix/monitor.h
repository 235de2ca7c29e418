// A pthread mutex with its condition, on the monotonic clock, for everything here that waits.
// Unlike std::condition_variable, a wait may be ended by the cancellation of its thread: the lock
// guard then unwinds and lets go.
#pragma once

#include <cstdint>
#include <ctime>
#include <pthread.h>

#include "platform/posix/cancellation.h"

namespace zerix::os {

// The moment on the monotonic clock this many milliseconds from now.
timespec DeadlineIn(uint32_t milliseconds);

class Monitor {
public:
    Monitor();
    ~Monitor();
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

    // False if the system had none to give; it must not be used then.
    [[nodiscard]] bool IsWhole() const { return m_isWhole; }

    class Lock {
    public:
        explicit Lock(Monitor &monitor) : m_monitor(monitor)
        {
            pthread_mutex_lock(&m_monitor.m_mutex);
        }
        ~Lock() { pthread_mutex_unlock(&m_monitor.m_mutex); }
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
            while (m_monitor.Sleep(timeoutMilliseconds, deadline))
                if (condition())
                    return true;
            return condition();
        }

    private:
        Monitor &m_monitor;
    };

    // Wakes all who wait. Always all: a wake-up for one can be lost in this C library when a waiter
    // comes at the same moment.
    void Wake() { pthread_cond_broadcast(&m_condition); }

private:
    // False on a time-out.
    ZERIX_MAY_END_HERE bool Sleep(uint32_t timeoutMilliseconds, const timespec &deadline);

    pthread_mutex_t m_mutex;
    pthread_cond_t m_condition;
    bool m_isWhole = false;
};

} // namespace zerix::os
