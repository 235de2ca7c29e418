// Blocks of memory small and large, aligned and usable from end to end.
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "platform/large_blocks.h"
#include "tests/support/too_much_memory.h"

namespace zerix {
namespace {

TEST(LargeBlocks, AreAlignedAndUsableToTheirEnds)
{
    constexpr size_t kLargePage = 2'097'152;
    constexpr std::array<size_t, 6> kSizes = {
        1, 64, 4'095, kLargePage - 1, kLargePage, 2 * kLargePage + 1};
    for (const size_t size : kSizes) {
        auto *const block = static_cast<uint8_t *>(AllocateBlock(size));
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u) << size;
        std::memset(block, 0x5A, size);
        EXPECT_EQ(block[0], 0x5A);
        EXPECT_EQ(block[size - 1], 0x5A);
        FreeBlock(block);
    }
    FreeBlock(nullptr);
}

TEST(LargeBlocks, AreNotThereWithoutTheMemory)
{
    // More than any system gives, and no more than a sanitizer's allocator lets itself be asked
    // for.
    EXPECT_EQ(AllocateBlock(std::numeric_limits<size_t>::max() / 2 - 4'096), nullptr);
}

} // namespace
} // namespace zerix
