// The mutex and condition below semaphores, events and threads.
#include "platform/posix/monitor.h"

#include "platform/os.h"

namespace zerix::os {

timespec DeadlineIn(uint32_t milliseconds)
{
    constexpr long kNanosecondsPerSecond = 1'000'000'000;
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(milliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (deadline.tv_nsec >= kNanosecondsPerSecond) {
        deadline.tv_nsec -= kNanosecondsPerSecond;
        ++deadline.tv_sec;
    }
    return deadline;
}

Monitor::Monitor()
{
    pthread_condattr_t attributes;
    if (pthread_condattr_init(&attributes) != 0)
        return;
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    const bool hasMutex = pthread_mutex_init(&m_mutex, nullptr) == 0;
    m_isWhole = hasMutex && pthread_cond_init(&m_condition, &attributes) == 0;
    if (hasMutex && !m_isWhole)
        pthread_mutex_destroy(&m_mutex);
    pthread_condattr_destroy(&attributes);
}

Monitor::~Monitor()
{
    if (!m_isWhole)
        return;
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

bool Monitor::Sleep(uint32_t timeoutMilliseconds, const timespec &deadline)
{
    if (timeoutMilliseconds == kWaitForever)
        return pthread_cond_wait(&m_condition, &m_mutex) == 0;
    return pthread_cond_timedwait(&m_condition, &m_mutex, &deadline) == 0;
}

} // namespace zerix::os
