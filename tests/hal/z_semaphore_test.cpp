// The semaphore as an object.
#include <gtest/gtest.h>
#include <memory>

#include "hal/z_semaphore.h"
#include "platform/os.h"
#include "tests/hal/counting_allocator.h"
#include "tests/support/debug_output_capture.h"

namespace ZX {
namespace {

TEST(ZSemaphore, IsFreeWhenMadeAndFreeAgainWhenSignalled)
{
    const zerix::test::DebugOutputCapture capture;
    ZSemaphore semaphore;
    semaphore.Wait();
    semaphore.Signal();
    semaphore.Wait();
    EXPECT_TRUE(capture.Lines().empty());
}

TEST(ZSemaphore, ThatCannotBeMadeTellsSoAndHoldsNobody)
{
    const zerix::test::DebugOutputCapture capture;
    const zerix::test::LackingAllocation lacking(1);
    {
        ZSemaphore semaphore;
        EXPECT_EQ(capture.Text(), "ZSemaphore::ZSemaphore() call to HAL_SemaphoreCreate failed\n");
        semaphore.Wait();
        EXPECT_TRUE(semaphore.WaitFor(10'000)); // at once, and not again and again
        semaphore.Signal();                     // always succeeds, as does the end
    }
    EXPECT_EQ(capture.Text(), "ZSemaphore::ZSemaphore() call to HAL_SemaphoreCreate failed\n"
                              "ZSemaphore::ZSemaphore() call to HAL_SemaphoreWait failed\n"
                              "ZSemaphore::ZSemaphore() call to HAL_SemaphoreWait failed\n");
}

TEST(ZSemaphore, IsWaitedForAsLongAsTold)
{
    ZSemaphore semaphore;
    EXPECT_TRUE(semaphore.WaitFor(0));
    EXPECT_FALSE(semaphore.WaitFor(0));
    EXPECT_FALSE(semaphore.WaitFor(1));
    semaphore.Signal();
    EXPECT_TRUE(semaphore.WaitFor(10'000));
}

TEST(ZSemaphore, HoldsAThreadUntilItIsSignalled)
{
    struct Shared {
        ZSemaphore semaphore;
        std::unique_ptr<zerix::os::Event> passed =
            zerix::os::Event::Create(zerix::os::ResetMode::kManual);
    } shared;
    shared.semaphore.Wait();
    const auto thread = zerix::os::Thread::Start(
        [](void *p) {
            static_cast<Shared *>(p)->semaphore.Wait();
            static_cast<Shared *>(p)->passed->Signal();
        },
        &shared);
    EXPECT_EQ(shared.passed->Wait(20), zerix::os::WaitResult::kTimedOut);
    shared.semaphore.Signal();
    EXPECT_EQ(shared.passed->Wait(10'000), zerix::os::WaitResult::kSignalled);
    EXPECT_EQ(thread->Join(10'000), zerix::os::WaitResult::kSignalled);
}

} // namespace
} // namespace ZX
