// What every implementation of semaphores, events and mutexes must do.
#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <vector>

#include "platform/os.h"

namespace zerix::os {
namespace {

constexpr uint32_t kDeadline = 10'000; // milliseconds; never waited for when all is well

TEST(Semaphore, CountsDownFromItsInitialCount)
{
    const auto semaphore = Semaphore::Create(2, 100);
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kTimedOut);
    EXPECT_EQ(semaphore->Wait(5), WaitResult::kTimedOut);
}

TEST(Semaphore, StaysAtItsMaximum)
{
    const auto semaphore = Semaphore::Create(1, 2);
    EXPECT_TRUE(semaphore->Signal());
    EXPECT_FALSE(semaphore->Signal());
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(semaphore->Wait(0), WaitResult::kTimedOut);
}

TEST(Semaphore, CannotBeginAboveItsMaximum)
{
    EXPECT_EQ(Semaphore::Create(2, 1), nullptr);
    EXPECT_EQ(Semaphore::Create(0, 0), nullptr);
}

struct Waiters {
    std::unique_ptr<Semaphore> semaphore;
    std::unique_ptr<Event> event;
    std::unique_ptr<Semaphore> ready = Semaphore::Create(0, 100);
    std::unique_ptr<Semaphore> released = Semaphore::Create(0, 100);
    std::vector<std::unique_ptr<Thread>> threads;

    void Start(ThreadRoutine routine, int count)
    {
        for (int thread = 0; thread < count; ++thread)
            threads.push_back(Thread::Start(routine, this));
        for (int thread = 0; thread < count; ++thread)
            EXPECT_EQ(ready->Wait(kDeadline), WaitResult::kSignalled);
    }
    void JoinAll()
    {
        for (const auto &thread : threads)
            EXPECT_EQ(thread->Join(kDeadline), WaitResult::kSignalled);
    }
};

void WaitForSemaphore(void *parameter)
{
    auto *const waiters = static_cast<Waiters *>(parameter);
    waiters->ready->Signal();
    EXPECT_EQ(waiters->semaphore->Wait(), WaitResult::kSignalled);
    waiters->released->Signal();
}

void WaitForEvent(void *parameter)
{
    auto *const waiters = static_cast<Waiters *>(parameter);
    waiters->ready->Signal();
    EXPECT_EQ(waiters->event->Wait(), WaitResult::kSignalled);
    waiters->released->Signal();
}

TEST(Semaphore, ReleasesOneWaiterForEachSignal)
{
    Waiters waiters;
    waiters.semaphore = Semaphore::Create(0, 100);
    waiters.Start(WaitForSemaphore, 2);
    waiters.semaphore->Signal();
    EXPECT_EQ(waiters.released->Wait(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(waiters.released->Wait(20), WaitResult::kTimedOut);
    waiters.semaphore->Signal();
    EXPECT_EQ(waiters.released->Wait(kDeadline), WaitResult::kSignalled);
    waiters.JoinAll();
}

TEST(AutomaticEvent, BeginsUnsignalledAndIsUsedUpByOneWait)
{
    const auto event = Event::Create(ResetMode::kAutomatic);
    EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
    EXPECT_TRUE(event->Signal());
    EXPECT_TRUE(event->Signal());
    EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
}

TEST(AutomaticEvent, IsClearedByReset)
{
    const auto event = Event::Create(ResetMode::kAutomatic);
    event->Signal();
    event->Reset();
    EXPECT_EQ(event->Wait(5), WaitResult::kTimedOut);
}

TEST(AutomaticEvent, ReleasesOneWaiterForEachSignal)
{
    Waiters waiters;
    waiters.event = Event::Create(ResetMode::kAutomatic);
    waiters.Start(WaitForEvent, 2);
    waiters.event->Signal();
    EXPECT_EQ(waiters.released->Wait(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(waiters.released->Wait(20), WaitResult::kTimedOut);
    waiters.event->Signal();
    EXPECT_EQ(waiters.released->Wait(kDeadline), WaitResult::kSignalled);
    waiters.JoinAll();
}

TEST(AutomaticEvent, KeepsNoSignalOfAWaitThatTimedOut)
{
    const auto event = Event::Create(ResetMode::kAutomatic);
    EXPECT_EQ(event->Wait(5), WaitResult::kTimedOut);
    event->Signal();
    EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
}

TEST(AutomaticEvent, KeepsASignalForTheNextWhenAWaiterWasEnded)
{
    Waiters waiters;
    waiters.event = Event::Create(ResetMode::kAutomatic);
    waiters.Start(WaitForEvent, 1);
    EXPECT_TRUE(waiters.threads[0]->ForceEnd());
    waiters.event->Signal();
    EXPECT_EQ(waiters.event->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(waiters.event->Wait(0), WaitResult::kTimedOut);
}

TEST(ManualEvent, StaysSignalledUntilReset)
{
    const auto event = Event::Create(ResetMode::kManual);
    EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
    event->Signal();
    EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
    EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
    event->Reset();
    EXPECT_EQ(event->Wait(5), WaitResult::kTimedOut);
}

TEST(ManualEvent, ReleasesEveryWaiter)
{
    Waiters waiters;
    waiters.event = Event::Create(ResetMode::kManual);
    waiters.Start(WaitForEvent, 3);
    waiters.event->Signal();
    for (int waiter = 0; waiter < 3; ++waiter)
        EXPECT_EQ(waiters.released->Wait(kDeadline), WaitResult::kSignalled);
    waiters.JoinAll();
}

struct Counter {
    std::unique_ptr<Mutex> mutex = Mutex::Create();
    uint32_t count = 0; // under the mutex
};

void CountUp(void *parameter)
{
    auto *const counter = static_cast<Counter *>(parameter);
    for (int step = 0; step < 1000; ++step) {
        const std::lock_guard lock(*counter->mutex);
        ++counter->count;
    }
}

TEST(Mutex, LetsOneThreadInAtATime)
{
    Counter counter;
    std::vector<std::unique_ptr<Thread>> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.push_back(Thread::Start(CountUp, &counter));
    for (const auto &thread : threads)
        EXPECT_EQ(thread->Join(kDeadline), WaitResult::kSignalled);
    EXPECT_EQ(counter.count, 4000u);
}

} // namespace
} // namespace zerix::os
