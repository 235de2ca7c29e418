// What every implementation of threads must do.
#include <atomic>
#include <gtest/gtest.h>

#include "platform/os.h"

namespace zerix::os {
namespace {

constexpr uint32_t kDeadline = 10'000; // milliseconds; never waited for when all is well

struct Gate {
    std::unique_ptr<Event> entered = Event::Create(ResetMode::kManual);
    std::unique_ptr<Event> mayLeave = Event::Create(ResetMode::kManual);
};

void PassGate(void *parameter)
{
    auto *const gate = static_cast<Gate *>(parameter);
    gate->entered->Signal();
    EXPECT_EQ(gate->mayLeave->Wait(kDeadline), WaitResult::kSignalled);
}

// Holds a thread for ever.
struct Trap {
    std::unique_ptr<Event> entered = Event::Create(ResetMode::kManual);
    std::unique_ptr<Event> never = Event::Create(ResetMode::kAutomatic);
    std::unique_ptr<Semaphore> neverCounted = Semaphore::Create(0, 1);
};

void WaitForEventForEver(void *parameter)
{
    auto *const trap = static_cast<Trap *>(parameter);
    trap->entered->Signal();
    static_cast<void>(trap->never->Wait());
}

void WaitForSemaphoreForEver(void *parameter)
{
    auto *const trap = static_cast<Trap *>(parameter);
    trap->entered->Signal();
    static_cast<void>(trap->neverCounted->Wait());
}

void SleepForEver(void *parameter)
{
    auto *const trap = static_cast<Trap *>(parameter);
    trap->entered->Signal();
    for (;;)
        SleepMilliseconds(1'000'000);
}

TEST(Threads, RunTheRoutineWithItsParameter)
{
    std::atomic<int> value{0};
    const auto thread = Thread::Start(
        [](void *parameter) { static_cast<std::atomic<int> *>(parameter)->store(42); }, &value);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->Join(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(value, 42);
}

TEST(Threads, HaveDifferentNumbersThatAreNotZero)
{
    Gate gate;
    const auto first = Thread::Start(PassGate, &gate);
    const auto second = Thread::Start(PassGate, &gate);
    EXPECT_NE(first->Id(), 0u);
    EXPECT_NE(second->Id(), 0u);
    EXPECT_NE(first->Id(), second->Id());
    gate.mayLeave->Signal();
    EXPECT_EQ(first->Join(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(second->Join(kDeadline), WaitResult::kSignalled);
}

TEST(Threads, JoinTimesOutAndMayBeCalledAgain)
{
    Gate gate;
    const auto thread = Thread::Start(PassGate, &gate);
    EXPECT_EQ(thread->Join(0), WaitResult::kTimedOut);
    EXPECT_EQ(thread->Join(5), WaitResult::kTimedOut);
    gate.mayLeave->Signal();
    EXPECT_EQ(thread->Join(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(thread->Join(0), WaitResult::kSignalled);
}

TEST(Threads, GoOnWhenTheirHandleIsGivenUp)
{
    Gate gate;
    const auto left = Event::Create(ResetMode::kManual);
    struct Both {
        Gate &gate;
        Event &left;
    } both{gate, *left};
    auto thread = Thread::Start(
        [](void *parameter) {
            PassGate(&static_cast<Both *>(parameter)->gate);
            static_cast<Both *>(parameter)->left.Signal();
        },
        &both);
    EXPECT_EQ(gate.entered->Wait(kDeadline), WaitResult::kSignalled);
    thread.reset();
    gate.mayLeave->Signal();
    EXPECT_EQ(left->Wait(kDeadline), WaitResult::kSignalled);
}

class ForcedEnd : public testing::TestWithParam<ThreadRoutine> {};

TEST_P(ForcedEnd, EndsAThreadThatWaits)
{
    Trap trap;
    const auto thread = Thread::Start(GetParam(), &trap);
    ASSERT_NE(thread, nullptr);
    ASSERT_EQ(trap.entered->Wait(kDeadline), WaitResult::kSignalled);
    EXPECT_TRUE(thread->ForceEnd());
    EXPECT_EQ(thread->Join(0), WaitResult::kSignalled);
    // Again, now that it has ended.
    EXPECT_TRUE(thread->ForceEnd());
}

INSTANTIATE_TEST_SUITE_P(Waits, ForcedEnd,
                         testing::Values(WaitForEventForEver, WaitForSemaphoreForEver,
                                         SleepForEver));

TEST(Threads, ChangeTheirPriorityOrRefuse)
{
    const auto thread = Thread::Start(
        [](void *) {
            // Whether it is granted depends on the user; back to normal always is.
            static_cast<void>(SetCurrentThreadPriority(15));
        },
        nullptr);
    EXPECT_EQ(thread->Join(kDeadline), WaitResult::kSignalled);
    EXPECT_TRUE(SetCurrentThreadPriority(0));
}

TEST(Threads, TheNormalClassIsNeverRefused)
{
    static_cast<void>(SetProcessPriorityClass(0x100));
    EXPECT_TRUE(SetProcessPriorityClass(0x20));
}

TEST(Threads, NoSuchPriorityClassIsRefused) { EXPECT_FALSE(SetProcessPriorityClass(0x3)); }

} // namespace
} // namespace zerix::os
