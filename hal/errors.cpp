// Start and end of the hardware layer, texts of failures, and the camera layer's statuses for them.
// Any thread.
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/os.h"
#include "zerix/zerix_hal.h"

using namespace zerix;

namespace {

struct StatusRow {
    uint32_t halError;
    uint32_t cameraStatus;
};

constexpr StatusRow kStatuses[] = {
    {HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE, 7},
    {HAL_ERROR_THREAD_TIMEOUT, 25},
    {HAL_ERROR_NO_SYSTEM_RESOURCES, 33},
};
constexpr uint32_t kAnyOtherStatus = 9; // success, too

} // namespace

uint32_t HAL_Open(void) { return HAL_NO_ERROR; }

uint32_t HAL_Close(void) { return HAL_NO_ERROR; }

char *HAL_ErrorMessage(uint32_t, uint32_t)
{
    const std::string text = os::ErrorText(os::LastError());
    if (text.empty())
        return nullptr;
    auto *const copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy != nullptr)
        std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

uint32_t HAL_MemoryFree(void *block)
{
    std::free(block);
    return HAL_NO_ERROR;
}

uint32_t HAL_TranslateError(uint32_t halError)
{
    for (const StatusRow &row : kStatuses)
        if (row.halError == halError)
            return row.cameraStatus;
    return kAnyOtherStatus;
}
