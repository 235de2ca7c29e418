// Start, end, texts of failures and their statuses.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

std::string MessageFor(uint32_t lastError, uint32_t halError, uint32_t reserved)
{
    os::SetLastError(lastError);
    char *const text = HAL_ErrorMessage(halError, reserved);
    const std::string copy = text != nullptr ? text : "null";
    EXPECT_EQ(HAL_MemoryFree(text), 0u);
    return copy;
}

TEST(HalErrors, TheLayerOpensAndClosesWithNothingToDo)
{
    EXPECT_EQ(HAL_Open(), 0u);
    EXPECT_EQ(HAL_Open(), 0u);
    EXPECT_EQ(HAL_Close(), 0u);
    EXPECT_EQ(HAL_Close(), 0u);
}

TEST(HalErrors, TheMessageIsThatOfTheLastErrorWhateverIsAskedFor)
{
    EXPECT_EQ(MessageFor(1450, 24, 0), os::ErrorText(1450));
    EXPECT_EQ(MessageFor(1450, 0, 77), os::ErrorText(1450));
    EXPECT_EQ(MessageFor(6, 24, 0), os::ErrorText(6));
}

TEST(HalErrors, FreeingNothingIsAllowed) { EXPECT_EQ(HAL_MemoryFree(nullptr), 0u); }

TEST(HalErrors, EveryNumberHasItsStatus)
{
    for (uint32_t number = 0; number <= 1000; ++number) {
        const uint32_t expected = number == 24 ? 7u : number == 39 ? 25u : number == 40 ? 33u : 9u;
        EXPECT_EQ(HAL_TranslateError(number), expected) << number;
    }
    EXPECT_EQ(HAL_TranslateError(0xFFFFFFFF), 9u);
}

TEST(HalErrors, TheNumbersAreFixed)
{
    EXPECT_EQ(HAL_NO_ERROR, 0);
    EXPECT_EQ(HAL_ERROR_INVALID_HANDLE, 6);
    EXPECT_EQ(HAL_ERROR_NOT_CONNECTED, 17);
    EXPECT_EQ(HAL_ERROR_ASYNC_READ, 18);
    EXPECT_EQ(HAL_ERROR_ASYNC_WRITE, 19);
    EXPECT_EQ(HAL_ERROR_THREAD_CREATE, 22);
    EXPECT_EQ(HAL_ERROR_THREAD_TERMINATE, 23);
    EXPECT_EQ(HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE, 24);
    EXPECT_EQ(HAL_ERROR_ISOCH_BANDWIDTH_FREE, 25);
    EXPECT_EQ(HAL_ERROR_ISOCH_CHANNEL_ALLOCATE, 26);
    EXPECT_EQ(HAL_ERROR_ISOCH_CHANNEL_FREE, 27);
    EXPECT_EQ(HAL_ERROR_ISOCH_RESOURCES_ALLOCATE, 28);
    EXPECT_EQ(HAL_ERROR_ISOCH_RESOURCES_FREE, 29);
    EXPECT_EQ(HAL_ERROR_STREAM_START, 30);
    EXPECT_EQ(HAL_ERROR_STREAM_STOP, 31);
    EXPECT_EQ(HAL_ERROR_SEMAPHORE, 32);
    EXPECT_EQ(HAL_ERROR_CONDITION, 33);
    EXPECT_EQ(HAL_ERROR_CAMERA_IN_USE, 37);
    EXPECT_EQ(HAL_ERROR_UNKNOWN_SPEED, 38);
    EXPECT_EQ(HAL_ERROR_THREAD_TIMEOUT, 39);
    EXPECT_EQ(HAL_ERROR_NO_SYSTEM_RESOURCES, 40);
    EXPECT_EQ(HAL_ERROR_NOT_IMPLEMENTED, 996);
    EXPECT_EQ(HAL_ERROR_NO_BUFFER, 997);
}

} // namespace
} // namespace zerix
