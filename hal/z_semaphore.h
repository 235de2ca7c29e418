// A counting semaphore as an object: initial count 1, maximum 100. Any thread may wait and signal.
#pragma once

#include <cstdint>

#include "zerix/zerix_export.h"
#include "zerix/zerix_hal.h"

namespace ZX {

// A failure is not passed on: it writes a line to the debug output.
class ZERIX_API ZSemaphore {
public:
    ZSemaphore();
    ~ZSemaphore();
    ZSemaphore(const ZSemaphore &) = delete;
    ZSemaphore &operator=(const ZSemaphore &) = delete;

    void Wait();
    void Signal();

    // False if it could not be had in that time.
    [[nodiscard]] bool WaitFor(uint32_t timeoutMilliseconds);

private:
    HAL_Semaphore m_semaphore = nullptr;
};

} // namespace ZX
