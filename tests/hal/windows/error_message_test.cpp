// The message of the last error, as Windows words it.
#include <string>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

TEST(ErrorMessage, IsTheSystemsToTheLetter)
{
    char words[256] = {};
    ASSERT_NE(
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, words, sizeof words, nullptr),
        0u);
    os::SetLastError(5);
    char *const message = HAL_ErrorMessage(24, 0);
    EXPECT_STREQ(message, words);
    HAL_MemoryFree(message);
}

TEST(ErrorMessage, IsNullWhereTheSystemHasNoWords)
{
    os::SetLastError(4'000'000'000u);
    EXPECT_EQ(HAL_ErrorMessage(24, 0), nullptr);
}

} // namespace
} // namespace zerix
