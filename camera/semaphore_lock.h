// Holds one of the camera's semaphores for as long as it lives.
#pragma once

#include "zerix/zerix_hal.h"

namespace zerix {

class SemaphoreLock {
public:
    explicit SemaphoreLock(HAL_Semaphore semaphore)
        : m_semaphore(semaphore), m_isHeld(HAL_SemaphoreWait(semaphore) == HAL_NO_ERROR)
    {
    }
    ~SemaphoreLock() { Release(); }
    SemaphoreLock(const SemaphoreLock &) = delete;
    SemaphoreLock &operator=(const SemaphoreLock &) = delete;

    void Release()
    {
        if (m_isHeld)
            HAL_SemaphoreSignal(m_semaphore);
        m_isHeld = false;
    }

private:
    HAL_Semaphore m_semaphore;
    bool m_isHeld;
};

} // namespace zerix
