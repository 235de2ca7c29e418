// What every failing hardware call of the camera classes does before it returns. Any thread.
#include "camera/hal_error.h"

#include <cstdio>

#include "zerix/zerix_hal.h"

namespace zerix {

uint16_t ReportHalError(uint32_t halError)
{
    if (char *text = HAL_ErrorMessage(halError, 0)) {
        std::printf("%s", text);
        HAL_MemoryFree(text);
    }
    return static_cast<uint16_t>(HAL_TranslateError(halError));
}

} // namespace zerix
