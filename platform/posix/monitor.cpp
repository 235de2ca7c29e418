// The mutex and condition below semaphores, events and threads.
#include "platform/posix/monitor.h"

#include <memory>
#include <new>

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

Monitor::Monitor() : m_core(Core::Create()) {}

Monitor::~Monitor()
{
    if (m_core != nullptr)
        m_core->Release();
}

Monitor::Core *Monitor::Core::Create()
{
    std::unique_ptr<Core> core(new (std::nothrow) Core);
    if (!core || pthread_mutex_init(&core->mutex, nullptr) != 0)
        return nullptr;
    pthread_condattr_t attributes;
    bool isWhole = pthread_condattr_init(&attributes) == 0;
    if (isWhole) {
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        isWhole = pthread_cond_init(&core->condition, &attributes) == 0;
        pthread_condattr_destroy(&attributes);
    }
    if (isWhole)
        return core.release();
    pthread_mutex_destroy(&core->mutex);
    return nullptr;
}

void Monitor::Core::WakeAndRelease()
{
    Wake();
    Release();
}

void Monitor::Core::Release()
{
    if (users.fetch_sub(1, std::memory_order_acq_rel) > 1)
        return;
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
    delete this;
}

bool Monitor::Core::Sleep(uint32_t timeoutMilliseconds, const timespec &deadline)
{
    if (timeoutMilliseconds == kWaitForever)
        return pthread_cond_wait(&condition, &mutex) == 0;
    return pthread_cond_timedwait(&condition, &mutex, &deadline) == 0;
}

} // namespace zerix::os
