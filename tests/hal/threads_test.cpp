// Threads of the hardware layer.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "platform/os.h"
#include "tests/hal/counting_allocator.h"
#include "tests/support/debug_output_capture.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

constexpr uint32_t kTimeout = 10'000;

struct Gate {
    std::unique_ptr<os::Event> entered = os::Event::Create(os::ResetMode::kManual);
    std::unique_ptr<os::Event> mayLeave = os::Event::Create(os::ResetMode::kManual);
};

void PassGate(void *parameter)
{
    auto *const gate = static_cast<Gate *>(parameter);
    gate->entered->Signal();
    static_cast<void>(gate->mayLeave->Wait());
}

uint32_t IsRunning(threadInfo *thread)
{
    return std::atomic_ref<uint32_t>(thread->isRunning).load();
}

TEST(HalThread, RunsItsRoutineWithItsParameter)
{
    std::atomic<int> value{0};
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate([](void *p) { static_cast<std::atomic<int> *>(p)->store(7); },
                               &value, &thread),
              0u);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
    EXPECT_EQ(value, 7);
}

TEST(HalThread, IsRunningAndOpenUntilItsRoutineReturns)
{
    Gate gate;
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(PassGate, &gate, &thread), 0u);
    EXPECT_EQ(IsRunning(thread), 1u);
    EXPECT_EQ(thread->handleIsOpen, 1u);
    EXPECT_NE(thread->threadId, 0u);
    EXPECT_NE(thread->threadHandle, nullptr);
    gate.mayLeave->Signal();
    while (IsRunning(thread) != 0)
        std::this_thread::yield();
    EXPECT_EQ(thread->handleIsOpen, 1u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

TEST(HalThread, WithoutMemoryForItsRecordsGives22AndALine)
{
    int word = 0;
    auto *const untouched = reinterpret_cast<threadInfo *>(&word);
    for (const uint32_t allocation : {1u, 2u}) {
        const test::DebugOutputCapture capture;
        const test::LackingAllocation lacking(allocation);
        threadInfo *thread = untouched;
        EXPECT_EQ(HAL_ThreadCreate([](void *) {}, nullptr, &thread), 22u);
        EXPECT_EQ(thread, untouched);
        EXPECT_EQ(capture.Text(), "HAL_ThreadCreate:HAL_ThreadCreate: either threadParam or "
                                  "threadInfo are set to NULL");
    }
}

TEST(HalThread, WithoutMemoryForTheSystemsThreadGives22AndRunsNothing)
{
    std::atomic<bool> hasRun{false};
    const auto run = [](void *p) { static_cast<std::atomic<bool> *>(p)->store(true); };
    const auto create = [&](uint32_t failingAllocation, threadInfo **thread) {
        const test::LackingAllocation lacking(failingAllocation, test::Counted::kAll);
        return HAL_ThreadCreate(run, &hasRun, thread);
    };
    const test::DebugOutputCapture capture;
    uint32_t failures = 0; // behind the two records, as many as the system's threads take
    int word = 0;
    auto *thread = reinterpret_cast<threadInfo *>(&word);
    while (const uint32_t error = create(3 + failures, &thread)) {
        EXPECT_EQ(error, 22u);
        EXPECT_EQ(thread, nullptr);
        EXPECT_FALSE(hasRun);
        ++failures;
        EXPECT_EQ(capture.Lines().back(),
                  "HAL_ThreadCreate:HAL_ThreadCreate: CreateThread returned NULL");
        EXPECT_EQ(capture.Lines().size(), failures);
    }
    EXPECT_GE(failures, 2u); // a start parameter and the thread's object
    EXPECT_EQ(HAL_ThreadCleanup(thread, 10'000), 0u);
    EXPECT_TRUE(hasRun);
}

TEST(HalThread, CleanupOfNoThreadGives0) { EXPECT_EQ(HAL_ThreadCleanup(nullptr, 5000), 0u); }

TEST(HalThread, CleanupTimesOutAndLeavesEverythingForASecondCall)
{
    Gate gate;
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(PassGate, &gate, &thread), 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, 5), 39u);
    EXPECT_EQ(IsRunning(thread), 1u);
    EXPECT_EQ(thread->handleIsOpen, 1u);
    gate.mayLeave->Signal();
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

TEST(HalThread, WithoutARoutineEndsAtOnce)
{
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(nullptr, nullptr, &thread), 0u);
    while (IsRunning(thread) != 0)
        std::this_thread::yield();
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

TEST(HalThread, AVeryShortRoutineIsNeverMarkedRunningAfterItsEnd)
{
    for (int round = 0; round < 200; ++round) {
        threadInfo *thread = nullptr;
        ASSERT_EQ(HAL_ThreadCreate(nullptr, nullptr, &thread), 0u);
        ASSERT_EQ(static_cast<os::Thread *>(thread->threadHandle)->Join(kTimeout),
                  os::WaitResult::kSignalled);
        ASSERT_EQ(IsRunning(thread), 0u);
        ASSERT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
    }
}

TEST(HalThread, TerminateEndsAWaitingThreadAndClosesItsHandle)
{
    Gate gate;
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(PassGate, &gate, &thread), 0u);
    ASSERT_EQ(gate.entered->Wait(kTimeout), os::WaitResult::kSignalled);
    EXPECT_EQ(HAL_ThreadTerminate(thread), 0u);
    EXPECT_EQ(IsRunning(thread), 0u);
    EXPECT_EQ(thread->handleIsOpen, 0u);
    // Nothing is left to be done by a second call.
    EXPECT_EQ(HAL_ThreadTerminate(thread), 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

TEST(HalThread, TerminateOfAThreadThatHasEndedClosesItsHandle)
{
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(nullptr, nullptr, &thread), 0u);
    while (IsRunning(thread) != 0)
        std::this_thread::yield();
    EXPECT_EQ(HAL_ThreadTerminate(thread), 0u);
    EXPECT_EQ(thread->handleIsOpen, 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

// A handle of the system that answers as it is told, in front of the real one.
class ObstinateThread final : public os::Thread {
public:
    explicit ObstinateThread(void *real) : m_real(static_cast<os::Thread *>(real)) {}
    uint32_t Id() const override { return 1; }
    os::WaitResult Join(uint32_t timeoutMilliseconds) override
    {
        if (!joinFails)
            return m_real->Join(timeoutMilliseconds);
        os::SetLastError(6);
        return os::WaitResult::kFailed;
    }
    bool ForceEnd() override { return false; }

    bool joinFails = false;

private:
    std::unique_ptr<os::Thread> m_real;
};

TEST(HalThread, CleanupToldOfAFailedWaitWritesALineAndLeavesTheRecord)
{
    Gate gate;
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(PassGate, &gate, &thread), 0u);
    auto *const handle = new ObstinateThread(thread->threadHandle);
    thread->threadHandle = handle;
    handle->joinFails = true;
    {
        const test::DebugOutputCapture capture;
        EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
        EXPECT_EQ(capture.Text(),
                  "HAL_ThreadCleanup failed with error 6: " + os::ErrorText(6) + "\n");
    }
    EXPECT_EQ(thread->handleIsOpen, 1u);
    handle->joinFails = false;
    gate.mayLeave->Signal();
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
}

TEST(HalThread, TerminateThatFailsGives23AndTheRecordOutlivesTheThread)
{
    Gate gate;
    const auto ended = os::Event::Create(os::ResetMode::kManual);
    struct Both {
        Gate &gate;
        os::Event &ended;
    } both{gate, *ended};
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(
                  [](void *p) {
                      PassGate(&static_cast<Both *>(p)->gate);
                      static_cast<Both *>(p)->ended.Signal();
                  },
                  &both, &thread),
              0u);
    thread->threadHandle = new ObstinateThread(thread->threadHandle);
    EXPECT_EQ(HAL_ThreadTerminate(thread), 23u);
    EXPECT_EQ(IsRunning(thread), 0u);
    EXPECT_EQ(thread->handleIsOpen, 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, kTimeout), 0u);
    gate.mayLeave->Signal(); // the thread now marks its end in the record
    EXPECT_EQ(ended->Wait(kTimeout), os::WaitResult::kSignalled);
}

} // namespace
} // namespace zerix
