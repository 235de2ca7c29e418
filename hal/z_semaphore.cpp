// A counting semaphore as an object. All four lines name the constructor; readers of the debug
// output know them so.
#include "hal/z_semaphore.h"

#include "hal/semaphores.h"
#include "platform/os.h"

namespace ZX {

ZSemaphore::ZSemaphore()
{
    if (HAL_SemaphoreCreate(&m_semaphore) != HAL_NO_ERROR)
        zerix::os::DebugOutput("ZSemaphore::ZSemaphore() call to HAL_SemaphoreCreate failed\n");
}

ZSemaphore::~ZSemaphore()
{
    if (HAL_SemaphoreDestroy(&m_semaphore) != HAL_NO_ERROR)
        zerix::os::DebugOutput("ZSemaphore::ZSemaphore() call to HAL_SemaphoreDestroy failed\n");
}

void ZSemaphore::Wait()
{
    if (HAL_SemaphoreWait(m_semaphore) != HAL_NO_ERROR)
        zerix::os::DebugOutput("ZSemaphore::ZSemaphore() call to HAL_SemaphoreWait failed\n");
}

bool ZSemaphore::WaitFor(uint32_t timeoutMilliseconds)
{
    using zerix::os::WaitResult;
    const auto result = zerix::hal::SemaphoreTimedWait(m_semaphore, timeoutMilliseconds);
    if (result == WaitResult::kFailed)
        zerix::os::DebugOutput("ZSemaphore::ZSemaphore() call to HAL_SemaphoreWait failed\n");
    return result != WaitResult::kTimedOut;
}

void ZSemaphore::Signal()
{
    if (HAL_SemaphoreSignal(m_semaphore) != HAL_NO_ERROR)
        zerix::os::DebugOutput("ZSemaphore::ZSemaphore() call to HAL_SemaphoreSignal failed\n");
}

} // namespace ZX
