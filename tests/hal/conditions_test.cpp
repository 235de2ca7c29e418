// Conditions of the hardware layer.
#include <gtest/gtest.h>

#include "platform/os.h"
#include "tests/hal/counting_allocator.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

constexpr uint64_t kAMoment = 5'000;       // microseconds
constexpr uint64_t kDeadline = 10'000'000; // microseconds

class HalCondition : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(HAL_ConditionCreate(&m_condition), 0u); }
    void TearDown() override { EXPECT_EQ(HAL_ConditionDestroy(&m_condition), 0u); }

    int m_word = 0;
    HAL_Condition m_condition{.record = nullptr, .carried = &m_word};
};

TEST_F(HalCondition, BeginsUnsignalledAndTimesOutWith33)
{
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, kAMoment), 33u);
}

TEST_F(HalCondition, AWaitOf999IsNoWait)
{
    const uint64_t before = os::PerformanceCounter();
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, 999), 33u);
    EXPECT_LT(os::PerformanceCounter() - before, os::PerformanceFrequency());
    EXPECT_EQ(HAL_ConditionSignal(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, 999), 0u);
}

TEST_F(HalCondition, WaitsATimeoutInThousandths)
{
    const uint64_t before = os::PerformanceCounter();
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, 30'999), 33u);
    const uint64_t waited = (os::PerformanceCounter() - before) * 1000 / os::PerformanceFrequency();
    EXPECT_GE(waited, 29u);
    EXPECT_LT(waited, 5000u);
}

TEST_F(HalCondition, OnlyTheLow32BitsOfTheMillisecondsCount)
{
    // 2^32 milliseconds, whose low half is 0.
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, 4'294'967'296'000), 33u);
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, 4'294'967'297'000), 33u);
}

TEST_F(HalCondition, ASignalIsKeptForOneWaiter)
{
    EXPECT_EQ(HAL_ConditionSignal(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionSignal(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionWait(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, kAMoment), 33u);
}

TEST_F(HalCondition, ResetClearsASignal)
{
    EXPECT_EQ(HAL_ConditionSignal(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionReset(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionTimedWait(m_condition, kAMoment), 33u);
}

TEST_F(HalCondition, ASignalWakesAThreadThatWaits)
{
    struct Shared {
        HAL_Condition condition;
        HAL_Condition answer;
    } shared{.condition = m_condition, .answer = {}};
    ASSERT_EQ(HAL_ConditionCreate(&shared.answer), 0u);
    threadInfo *thread = nullptr;
    ASSERT_EQ(HAL_ThreadCreate(
                  [](void *p) {
                      EXPECT_EQ(HAL_ConditionWait(static_cast<Shared *>(p)->condition), 0u);
                      EXPECT_EQ(HAL_ConditionSignal(static_cast<Shared *>(p)->answer), 0u);
                  },
                  &shared, &thread),
              0u);
    EXPECT_EQ(HAL_ConditionSignal(m_condition), 0u);
    EXPECT_EQ(HAL_ConditionTimedWait(shared.answer, kDeadline), 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, 5000), 0u);
    EXPECT_EQ(HAL_ConditionDestroy(&shared.answer), 0u);
}

TEST_F(HalCondition, TheSecondWordIsLeftAlone) { EXPECT_EQ(m_condition.carried, &m_word); }

TEST(HalConditionRecord, WithoutMemoryGives32AndLeavesTheCallersWords)
{
    int word = 0;
    auto *const untouched = reinterpret_cast<HALConditionRecord *>(&word);
    HAL_Condition condition{.record = untouched, .carried = &word};
    const test::LackingAllocation lacking(1);
    EXPECT_EQ(HAL_ConditionCreate(&condition), 32u);
    EXPECT_EQ(condition.record, untouched);
    EXPECT_EQ(condition.carried, &word);
}

TEST(HalConditionRecord, IsGoneOnceDestroyedAndTheSecondWordStays)
{
    int word = 0;
    HAL_Condition condition{.record = nullptr, .carried = &word};
    ASSERT_EQ(HAL_ConditionCreate(&condition), 0u);
    EXPECT_NE(condition.record, nullptr);
    EXPECT_EQ(HAL_ConditionDestroy(&condition), 0u);
    EXPECT_EQ(condition.record, nullptr);
    EXPECT_EQ(condition.carried, &word);
}

// Nobody tests whether the system had an event: the record is made all the same, and stays when
// its event can't be closed.
TEST(HalConditionRecord, WithoutAnEventIsMadeAndFailsWith33)
{
    HAL_Condition condition{};
    {
        const test::LackingAllocation lacking(2);
        EXPECT_EQ(HAL_ConditionCreate(&condition), 0u);
    }
    ASSERT_NE(condition.record, nullptr);
    auto *const record = condition.record;
    EXPECT_EQ(HAL_ConditionTimedWait(condition, 0), 33u);
    EXPECT_EQ(HAL_ConditionSignal(condition), 33u);
    EXPECT_EQ(HAL_ConditionDestroy(&condition), 33u);
    EXPECT_EQ(condition.record, record);
    EXPECT_EQ(HAL_ConditionDestroy(&condition), 33u);
    ::operator delete(record);
}

TEST(HalConditionRecord, ThatDoesNotExistFailsWith33)
{
    HAL_Condition condition{};
    EXPECT_EQ(HAL_ConditionWait(condition), 33u);
    EXPECT_EQ(HAL_ConditionTimedWait(condition, 0), 33u);
    EXPECT_EQ(HAL_ConditionSignal(condition), 33u);
    EXPECT_EQ(HAL_ConditionReset(condition), 0u);
    EXPECT_EQ(HAL_ConditionDestroy(&condition), 33u);
}

} // namespace
} // namespace zerix
