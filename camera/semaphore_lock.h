// Holds one of the camera's semaphores for as long as it lives.
#pragma once

#include "hal/camera_connection.h"
#include "hal/semaphores.h"
#include "zerix/zerix_hal.h"

namespace zerix {

class SemaphoreLock {
public:
    explicit SemaphoreLock(HAL_Semaphore semaphore)
        : m_semaphore(semaphore), m_isHeld(HAL_SemaphoreWait(semaphore) == HAL_NO_ERROR)
    {
    }
    // For one that may be held over a register access: an access of this camera that hangs is
    // ended, so that whoever holds it goes on.
    SemaphoreLock(HAL_Semaphore semaphore, const HALCamera &camera)
        : m_semaphore(semaphore), m_isHeld(TakePatiently(semaphore, camera))
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
    static bool TakePatiently(HAL_Semaphore semaphore, const HALCamera &camera)
    {
        constexpr uint32_t kBetweenLooksMilliseconds = 100;
        os::WaitResult result;
        while ((result = hal::SemaphoreTimedWait(semaphore, kBetweenLooksMilliseconds)) ==
               os::WaitResult::kTimedOut)
            hal::CancelHangingAccesses(camera);
        return result == os::WaitResult::kSignalled;
    }

    HAL_Semaphore m_semaphore;
    bool m_isHeld;
};

} // namespace zerix
