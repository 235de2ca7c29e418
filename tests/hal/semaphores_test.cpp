// Counting semaphores of the hardware layer.
#include <gtest/gtest.h>

#include "platform/os.h"
#include "tests/hal/counting_allocator.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

// How often it can be waited for without blocking; each is given back.
uint32_t CountOf(HAL_Semaphore semaphore)
{
    struct Drain {
        HAL_Semaphore semaphore;
        std::unique_ptr<os::Semaphore> taken = os::Semaphore::Create(0, 1000);
    } drain{.semaphore = semaphore};
    threadInfo *thread = nullptr;
    EXPECT_EQ(HAL_ThreadCreate(
                  [](void *p) {
                      while (HAL_SemaphoreWait(static_cast<Drain *>(p)->semaphore) == 0)
                          static_cast<Drain *>(p)->taken->Signal();
                  },
                  &drain, &thread),
              0u);
    uint32_t count = 0;
    while (drain.taken->Wait(100) == os::WaitResult::kSignalled)
        ++count;
    EXPECT_EQ(HAL_ThreadTerminate(thread), 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, 5000), 0u);
    return count;
}

TEST(HalSemaphore, IsFreeWhenCreated)
{
    HAL_Semaphore semaphore = nullptr;
    ASSERT_EQ(HAL_SemaphoreCreate(&semaphore), 0u);
    EXPECT_EQ(HAL_SemaphoreWait(semaphore), 0u);
    EXPECT_EQ(CountOf(semaphore), 0u);
    EXPECT_EQ(HAL_SemaphoreDestroy(&semaphore), 0u);
}

TEST(HalSemaphore, StaysAt100WhateverIsSignalled)
{
    HAL_Semaphore semaphore = nullptr;
    ASSERT_EQ(HAL_SemaphoreCreate(&semaphore), 0u);
    for (int signal = 0; signal < 150; ++signal)
        EXPECT_EQ(HAL_SemaphoreSignal(semaphore), 0u);
    EXPECT_EQ(CountOf(semaphore), 100u);
    EXPECT_EQ(HAL_SemaphoreDestroy(&semaphore), 0u);
}

TEST(HalSemaphore, IsNullOnceDestroyed)
{
    HAL_Semaphore semaphore = nullptr;
    ASSERT_EQ(HAL_SemaphoreCreate(&semaphore), 0u);
    EXPECT_EQ(HAL_SemaphoreDestroy(&semaphore), 0u);
    EXPECT_EQ(semaphore, nullptr);
}

TEST(HalSemaphore, WithoutMemoryGives32AndLeavesTheCallersWord)
{
    int word = 0;
    auto *const untouched = reinterpret_cast<HAL_Semaphore>(&word);
    for (const uint32_t allocation : {1u, 2u}) { // the system's, and the record
        const test::LackingAllocation lacking(allocation);
        HAL_Semaphore semaphore = untouched;
        EXPECT_EQ(HAL_SemaphoreCreate(&semaphore), 32u);
        EXPECT_EQ(semaphore, untouched);
    }
}

TEST(HalSemaphore, ThatDoesNotExistFailsToWait)
{
    EXPECT_EQ(HAL_SemaphoreWait(nullptr), 32u);
    EXPECT_EQ(HAL_SemaphoreSignal(nullptr), 0u);
}

} // namespace
} // namespace zerix
