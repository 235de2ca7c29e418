// Every pair of operations on one camera, each in a loop on a thread of its own, on an idle camera
// and on one that streams. Every call returns in time and with a code that its documentation gives
// for such company, and the camera is good afterwards.
//
// A single pair: --gtest_filter='Pair/*/Close_Grab'.
#include <barrier>
#include <ostream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/allowed_codes.h"
#include "tests/concurrency/concurrency_fixture.h"
#include "tests/concurrency/operations.h"
#include "tests/concurrency/quietly.h"

namespace zerix::concurrency {
namespace {

constexpr auto kShortRun = std::chrono::milliseconds(20);
constexpr auto kLongRun = std::chrono::milliseconds(1000);
constexpr uint32_t kLeastRounds = 2;
constexpr uint32_t kSoftwareTrigger = 5;

struct Pair {
    const Operation *first;
    const Operation *second;
    std::chrono::milliseconds time;

    [[nodiscard]] std::string Name() const { return std::string(first->name) + "_" + second->name; }
    [[nodiscard]] bool HasTrigger() const { return IsTrigger(*first) || IsTrigger(*second); }
};

std::ostream &operator<<(std::ostream &stream, const Pair &pair) { return stream << pair.Name(); }

std::vector<Pair> AllPairs(std::chrono::milliseconds time)
{
    std::vector<Pair> pairs;
    const auto operations = Operations();
    for (size_t first = 0; first < operations.size(); ++first)
        for (size_t second = first; second < operations.size(); ++second)
            pairs.push_back({&operations[first], &operations[second], time});
    return pairs;
}

class Pairs : public ConcurrencyTest, public testing::WithParamInterface<Pair> {
protected:
    void Meet(bool isStreamOn)
    {
        ASSERT_NO_FATAL_FAILURE(OpenQuick());
        m_first = std::make_unique<Worker>(handle);
        m_second = std::make_unique<Worker>(handle);
        ASSERT_NO_FATAL_FAILURE(Prepare(*m_first, isStreamOn));
        ASSERT_NO_FATAL_FAILURE(Prepare(*m_second, isStreamOn));
        if (isStreamOn) {
            ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        }
        Quietly([&] { RunBoth(); });
        ExpectAllowed(*m_first, *GetParam().second);
        ExpectAllowed(*m_second, *GetParam().first);
        ExpectGoodCamera();
    }

private:
    // Pictures in colour, from the wheel, white balanced. Sent, and taken once for post-processing.
    void Prepare(Worker &worker, bool isStreamOn)
    {
        worker.isStreamOn = isStreamOn;
        tables::SetSlot32(&worker.settings, zprmImageFormat, zfmtRgb24);
        tables::SetSlot32(&worker.settings, zprmDoPostProcessing, 1);
        tables::SetSlot32(&worker.settings, zprmPostProcessImageFormat, zfmtRgb24);
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker.settings), 0u);
        ASSERT_EQ(Zerix_GrabFrame(handle, &worker.kept.frame), 0u);
        if (!GetParam().HasTrigger())
            return;
        tables::SetSlot32(&worker.settings, zprmTriggerType, kSoftwareTrigger);
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker.settings), 0u);
    }

    void RunBoth()
    {
        const Watchdog watchdog(GetParam().Name(), {&m_first->call, &m_second->call});
        const auto until = std::chrono::steady_clock::now() + GetParam().time;
        std::barrier start(2);
        std::atomic<int> busy{2};
        const auto loop = [&](Worker &worker, const Operation &operation,
                              const Operation &neighbour) {
            // The neighbour may be waiting for an exposure.
            const bool goesOn = IsTrigger(operation) && !IsTrigger(neighbour);
            start.arrive_and_wait();
            do {
                operation.run(worker);
                ++worker.round;
            } while (worker.round < kLeastRounds || std::chrono::steady_clock::now() < until ||
                     (goesOn && busy.load() == 2));
            --busy;
        };
        std::thread other([&] { loop(*m_second, *GetParam().second, *GetParam().first); });
        loop(*m_first, *GetParam().first, *GetParam().second);
        other.join();
    }

    static void ExpectAllowed(const Worker &worker, const Operation &neighbour)
    {
        for (const auto &[call, count] : worker.codes) {
            EXPECT_TRUE(IsAllowed(call.first, call.second, neighbour.effects))
                << call.first << " returned " << call.second << " next to " << neighbour.name
                << ", " << count << " times";
        }
    }

    // Outlive the camera: it may have their frames and settings in its queue until it closes.
    std::unique_ptr<Worker> m_first;
    std::unique_ptr<Worker> m_second;
};

class OnAnIdleCamera : public Pairs {};
class OnAStreamingCamera : public Pairs {};

TEST_P(OnAnIdleCamera, BothEndWell) { Meet(false); }
TEST_P(OnAStreamingCamera, BothEndWell) { Meet(true); }

const auto kNameOfPair = [](const testing::TestParamInfo<Pair> &info) { return info.param.Name(); };

INSTANTIATE_TEST_SUITE_P(Pair, OnAnIdleCamera, testing::ValuesIn(AllPairs(kShortRun)), kNameOfPair);
INSTANTIATE_TEST_SUITE_P(Pair, OnAStreamingCamera, testing::ValuesIn(AllPairs(kShortRun)),
                         kNameOfPair);
INSTANTIATE_TEST_SUITE_P(Night, OnAnIdleCamera, testing::ValuesIn(AllPairs(kLongRun)), kNameOfPair);
INSTANTIATE_TEST_SUITE_P(Night, OnAStreamingCamera, testing::ValuesIn(AllPairs(kLongRun)),
                         kNameOfPair);

} // namespace
} // namespace zerix::concurrency
