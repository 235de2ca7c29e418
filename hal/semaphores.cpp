// Counting semaphores of the hardware layer. They have no owner: any thread may wait and signal.
#include "hal/semaphores.h"

#include <memory>
#include <new>

struct HALSemaphoreRecord {
    std::unique_ptr<zerix::os::Semaphore> semaphore;
};

using namespace zerix;

namespace {

constexpr uint32_t kInitialCount = 1;
constexpr uint32_t kMaximumCount = 100;

} // namespace

os::WaitResult hal::SemaphoreTimedWait(HAL_Semaphore semaphore, uint32_t timeoutMilliseconds)
{
    return semaphore != nullptr ? semaphore->semaphore->Wait(timeoutMilliseconds)
                                : os::WaitResult::kFailed;
}

uint32_t HAL_SemaphoreCreate(HAL_Semaphore *semaphore)
{
    auto system = os::Semaphore::Create(kInitialCount, kMaximumCount);
    if (!system)
        return HAL_ERROR_SEMAPHORE;
    auto *const record = new (std::nothrow) HALSemaphoreRecord{.semaphore = std::move(system)};
    if (record == nullptr)
        return HAL_ERROR_SEMAPHORE;
    *semaphore = record;
    return HAL_NO_ERROR;
}

uint32_t HAL_SemaphoreWait(HAL_Semaphore semaphore)
{
    return hal::SemaphoreTimedWait(semaphore, os::kWaitForever) == os::WaitResult::kSignalled
               ? HAL_NO_ERROR
               : HAL_ERROR_SEMAPHORE;
}

uint32_t HAL_SemaphoreSignal(HAL_Semaphore semaphore)
{
    if (semaphore != nullptr)
        semaphore->semaphore->Signal();
    return HAL_NO_ERROR;
}

uint32_t HAL_SemaphoreDestroy(HAL_Semaphore *semaphore)
{
    delete *semaphore;
    *semaphore = nullptr;
    return HAL_NO_ERROR;
}
