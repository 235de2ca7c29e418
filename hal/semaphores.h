// What a semaphore of the hardware layer can do beside its C interface.
#pragma once

#include <cstdint>

#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix::hal {

// HAL_SemaphoreWait with an end.
[[nodiscard]] os::WaitResult SemaphoreTimedWait(HAL_Semaphore semaphore,
                                                uint32_t timeoutMilliseconds);

} // namespace zerix::hal
