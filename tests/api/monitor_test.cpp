// The monitor thread: its rounds, its tasks, and a prompt end.
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "api/monitor.h"
#include "tests/api/api_fixture.h"

namespace zerix::api {
namespace {

std::atomic<uint32_t> g_taskRuns = 0;

class Monitor : public ApiTest {
protected:
    ~Monitor() override { SetMonitorIntervalsForTest(3'000, 28'000); }

    // False after ten seconds in vain.
    template <typename Condition>
    static bool Await(const Condition &condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::yield();
        }
        return true;
    }
};

TEST_F(Monitor, EndsPromptlyInItsFirstWait)
{
    const auto begin = std::chrono::steady_clock::now();
    Load();
    Zerix_ReleaseDriver();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2'500));
}

TEST_F(Monitor, EndsPromptlyBetweenRounds)
{
    SetMonitorIntervalsForTest(0, 60'000);
    const uint32_t before = MonitorRoundsForTest();
    Load();
    ASSERT_TRUE(Await([&] { return MonitorRoundsForTest() == before + 1; }));
    const auto begin = std::chrono::steady_clock::now();
    Zerix_ReleaseDriver();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(4'000));
    EXPECT_EQ(MonitorRoundsForTest(), before + 1);
}

TEST_F(Monitor, RunsItsTasksEveryRound)
{
    SetMonitorIntervalsForTest(0, 1);
    AddMonitorTask(nullptr);
    AddMonitorTask([] { g_taskRuns.fetch_add(1); });
    Load();
    const uint32_t before = g_taskRuns.load();
    EXPECT_TRUE(Await([&] { return g_taskRuns.load() >= before + 3; }));
    Zerix_ReleaseDriver();
    const uint32_t after = g_taskRuns.load();
    const uint32_t rounds = MonitorRoundsForTest();
    EXPECT_EQ(g_taskRuns.load(), after);
    EXPECT_EQ(MonitorRoundsForTest(), rounds);
}

std::vector<std::vector<uint8_t>> g_notifications;

extern "C" void Callin(ZerixIpcNotification notification)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&notification);
    g_notifications.emplace_back(bytes, bytes + sizeof(notification));
}

TEST_F(Monitor, TellsThePluginOfEachCameraInTurn)
{
    g_notifications.clear();
    TellPlugin(Callin, {"SN-1", std::string(200, 'x')});
    std::vector<uint8_t> first(204);
    first[0] = 1;
    first[40] = 1;
    first[44] = 3;
    std::memcpy(first.data() + 48, "SN-1", 4);
    std::vector<uint8_t> second(204);
    second[0] = 1;
    second[36] = 1;
    second[40] = 1;
    second[44] = 3;
    std::memset(second.data() + 48, 'x', 155);
    EXPECT_EQ(g_notifications, (std::vector<std::vector<uint8_t>>{first, second}));
    TellPlugin(Callin, {});
    EXPECT_EQ(g_notifications.size(), 2u);
    TellPlugin(nullptr, {"SN-1"});
}

TEST_F(Monitor, RunsBesideOpeningAndClosing)
{
    SetMonitorIntervalsForTest(0, 0);
    Load();
    AddCamera();
    for (int round = 0; round < 50; ++round) {
        ZerixHandle handle = nullptr;
        ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
        ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
    }
}

TEST_F(Monitor, SurvivesManyLoadsAndReleases)
{
    SetMonitorIntervalsForTest(0, 0);
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(Zerix_LoadDriver(), 0u);
        Zerix_ReleaseDriver();
    }
}

} // namespace
} // namespace zerix::api
