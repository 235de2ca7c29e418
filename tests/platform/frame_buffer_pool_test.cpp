// The memory of frames.
#include "platform/frame_buffer_pool.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace zerix {
namespace {

TEST(FrameBufferPool, GivesAlignedBuffersThatKnowTheirSize)
{
    FrameBufferPool pool;
    for (const uint32_t size : {0u, 1u, 63u, 64u, 1'000'003u}) {
        uint8_t *const buffer = pool.Acquire(size);
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer) % 64, 0u);
        EXPECT_EQ(FrameBufferPool::SizeOf(buffer), size);
        std::memset(buffer, 0xA5, size);
        pool.Release(buffer);
    }
    EXPECT_EQ(pool.IdleBytes(), 0u + 1 + 63 + 64 + 1'000'003);
}

TEST(FrameBufferPool, UsesABufferOfTheSameSizeAgain)
{
    FrameBufferPool pool;
    uint8_t *const first = pool.Acquire(100);
    uint8_t *const second = pool.Acquire(100);
    EXPECT_NE(first, second);
    pool.Release(first);
    pool.Release(second);
    EXPECT_EQ(pool.IdleCount(), 2u);
    uint8_t *const other = pool.Acquire(99);
    EXPECT_NE(other, first);
    EXPECT_NE(other, second);
    EXPECT_EQ(pool.Acquire(100), second); // the youngest
    EXPECT_EQ(pool.Acquire(100), first);
    EXPECT_EQ(pool.IdleCount(), 0u);
    pool.Release(first);
    pool.Release(second);
    pool.Release(other);
    pool.Release(nullptr);
    EXPECT_EQ(pool.IdleCount(), 3u);
    pool.Trim();
    EXPECT_EQ(pool.IdleCount(), 0u);
    EXPECT_EQ(pool.IdleBytes(), 0u);
}

TEST(FrameBufferPool, KeepsTheEightYoungest)
{
    FrameBufferPool pool;
    std::vector<uint8_t *> buffers;
    for (uint32_t size = 1; size <= 10; ++size)
        buffers.push_back(pool.Acquire(size));
    for (uint8_t *const buffer : buffers)
        pool.Release(buffer);
    EXPECT_EQ(pool.IdleCount(), 8u);
    EXPECT_EQ(pool.IdleBytes(), 3u + 4 + 5 + 6 + 7 + 8 + 9 + 10);
}

TEST(FrameBufferPool, KeepsNoMoreThanItsLimitOfBytes)
{
    FrameBufferPool pool;
    constexpr uint32_t kHalf = 64u << 20;
    uint8_t *const first = pool.Acquire(kHalf);
    uint8_t *const second = pool.Acquire(kHalf);
    uint8_t *const third = pool.Acquire(1);
    pool.Release(first);
    pool.Release(second);
    EXPECT_EQ(pool.IdleBytes(), uint64_t{kHalf} * 2);
    pool.Release(third); // the first makes room
    EXPECT_EQ(pool.IdleCount(), 2u);
    EXPECT_EQ(pool.IdleBytes(), uint64_t{kHalf} + 1);
    pool.Release(pool.Acquire((128u << 20) + 1)); // never kept
    EXPECT_EQ(pool.IdleCount(), 2u);
}

TEST(FrameBufferPool, CanBeMadeToFail)
{
    FrameBufferPool pool;
    pool.SetLargestForTest(10);
    EXPECT_EQ(pool.Acquire(11), nullptr);
    pool.Release(pool.Acquire(10));
    EXPECT_EQ(pool.IdleCount(), 1u);
}

TEST(FrameBufferPool, FreesAForeignBufferAndKeepsItsOwn)
{
    FrameBufferPool pool;
    uint8_t *const first = pool.Acquire(10);
    uint8_t *const second = pool.Acquire(10);
    uint8_t *const third = pool.Acquire(10);
    pool.Release(static_cast<uint8_t *>(std::malloc(10)));
    EXPECT_EQ(pool.IdleCount(), 0u);
    pool.Release(second);
    pool.Release(third);
    pool.Release(first);
    EXPECT_EQ(pool.IdleCount(), 3u);
    EXPECT_EQ(pool.Acquire(10), first);
    pool.Release(first);
    EXPECT_EQ(pool.IdleCount(), 3u);
}

TEST(FrameBufferPool, ServesManyThreads)
{
    FrameBufferPool pool;
    std::vector<std::thread> threads;
    for (uint8_t mark = 0; mark < 4; ++mark)
        threads.emplace_back([&pool, mark] {
            for (uint32_t round = 0; round < 500; ++round) {
                const uint32_t size = 16 + round % 5;
                uint8_t *const buffer = pool.Acquire(size);
                std::memset(buffer, mark, size);
                EXPECT_EQ(buffer[size - 1], mark);
                pool.Release(buffer);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_LE(pool.IdleCount(), 8u);
}

} // namespace
} // namespace zerix
