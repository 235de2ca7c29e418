// The monitor's watch task with a real plug-in file and cameras of the virtual bus.
#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "api/monitor.h"
#include "platform/os.h"
#include "tests/api/virtual_bus_session.h"
#include "tests/support/places.h"

namespace zerix::api {
namespace {

using Serials = std::vector<std::string>;

class Plugin : public VirtualBusSession {
protected:
    ~Plugin() override { SetMonitorIntervalsForTest(3'000, 28'000); }

    // The driver finds the plug-in by its name while somebody has it loaded. From then on it is the
    // driver's alone.
    void LoadWithPlugin()
    {
        auto library = os::DynamicLibrary::Load(test::PluginPath());
        ASSERT_NE(library, nullptr) << test::PluginPath();
        take = reinterpret_cast<decltype(take)>(library->Symbol("ZerixTestPlugin_Take"));
        ASSERT_NE(take, nullptr);
        Load();
    }

    static bool IsPluginLoaded()
    {
        return os::DynamicLibrary::Load(os::PluginFileName("Zerix_IPC_Plugin")) != nullptr;
    }

    std::vector<ZerixIpcNotification> TakeNotifications() const
    {
        std::vector<ZerixIpcNotification> notifications(1000);
        notifications.resize(take(notifications.data(), 1000));
        return notifications;
    }

    // One round of the watch task on this thread; the serials that it told, numbered in order.
    Serials Watch() const
    {
        WatchCameras();
        Serials serials;
        const auto notifications = TakeNotifications();
        for (std::size_t index = 0; index < notifications.size(); ++index) {
            EXPECT_EQ(notifications[index].index, index);
            EXPECT_EQ(notifications[index].last, notifications.size() - 1);
            serials.emplace_back(notifications[index].serial);
        }
        return serials;
    }
    // Rounds until one tells these: a bus may take its time to find out that a camera has gone.
    Serials WatchUntil(const Serials &expected) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        Serials told = Watch();
        while (told != expected && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
            told = Watch();
        }
        return told;
    }

    uint32_t (*take)(ZerixIpcNotification *, uint32_t) = nullptr;
};

TEST_F(Plugin, IsLoadedWithTheDriverAndFreedWithIt)
{
    EXPECT_FALSE(IsPluginLoaded());
    LoadWithPlugin();
    EXPECT_TRUE(IsPluginLoaded());
    Zerix_ReleaseDriver();
    EXPECT_FALSE(IsPluginLoaded());
}

TEST_F(Plugin, ThatIsMissingChangesNothing)
{
    const ZerixHandle handle = LoadAndOpen(0);
    WatchCameras();
    EXPECT_EQ(Take(), (Lines{"Zerix_GetSerialString start",
                             "Zerix_GetSerialString - Serial: ZV-C2-2019-0018",
                             EndLine("Zerix_GetSerialString")}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(Plugin, WithoutTheEntryPointChangesNothing)
{
    auto library = os::DynamicLibrary::Load(test::PluginWithoutEntryPath());
    ASSERT_NE(library, nullptr) << test::PluginWithoutEntryPath();
    const ZerixHandle handle = LoadAndOpen(0);
    library.reset();
    EXPECT_TRUE(IsPluginLoaded()); // the driver has it
    WatchCameras();
    EXPECT_EQ(Take(), (Lines{"Zerix_GetSerialString start",
                             "Zerix_GetSerialString - Serial: ZV-C2-2019-0018",
                             EndLine("Zerix_GetSerialString")}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    Zerix_ReleaseDriver();
    EXPECT_FALSE(IsPluginLoaded());
}

TEST_F(Plugin, HearsOfEachOpenCameraInTheListsOrder)
{
    LoadWithPlugin();
    EXPECT_EQ(Watch(), Serials{});
    List();
    EXPECT_EQ(Watch(), Serials{});
    const ZerixHandle third = OpenListed(2);
    const ZerixHandle first = OpenListed(0);
    EXPECT_EQ(Watch(), (Serials{"ZV-C2-2019-0018", "ZV-C1-2006-0012"}));
    EXPECT_EQ(Zerix_CloseCamera(first), 0u);
    EXPECT_EQ(Watch(), Serials{"ZV-C1-2006-0012"});
    EXPECT_EQ(Zerix_CloseCamera(third), 0u);
    EXPECT_EQ(Watch(), Serials{});
}

TEST_F(Plugin, GetsTheNotificationByValue)
{
    LoadWithPlugin();
    List();
    OpenListed(0);
    OpenListed(1);
    WatchCameras();
    const auto notifications = TakeNotifications();
    ASSERT_EQ(notifications.size(), 2u);
    std::vector<uint8_t> expected(204);
    expected[0] = 1;
    expected[36] = 1;
    expected[40] = 1;
    expected[44] = 3;
    std::memcpy(expected.data() + 48, "ZV-B2-2017-0019", 15);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&notifications[1]);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 204), expected);
}

// Each round asks the kernel driver whether the device is open, and believes it.
TEST_F(Plugin, HearsNothingOfADeviceThatIsNotOpen)
{
    LoadWithPlugin();
    List();
    OpenListed(0);
    OpenListed(1);
    const uint32_t before = tap.CountOf(kernel::kControlIsOpen);
    EXPECT_EQ(Watch().size(), 2u);
    EXPECT_EQ(tap.CountOf(kernel::kControlIsOpen), before + 2);
    tap.FailRequest(kernel::kControlIsOpen, kernel::kErrorGenFailure);
    EXPECT_EQ(Watch(), Serials{"ZV-B2-2017-0019"});
    EXPECT_EQ(Watch().size(), 2u);
    ASSERT_EQ(ZerixSim_Unplug(1), 0u);
    EXPECT_EQ(WatchUntil({"ZV-C2-2019-0018"}), Serials{"ZV-C2-2019-0018"});
    tap.PretendFree();
    EXPECT_EQ(Watch(), Serials{});
}

// A camera that another process holds has no connection of ours.
TEST_F(Plugin, HearsNothingOfACameraOfAnotherProcess)
{
    LoadWithPlugin();
    List();
    tap.PretendInUse(true);
    ZerixHandle handle = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 16u);
    EXPECT_EQ(Watch(), Serials{});
}

TEST_F(Plugin, HearsOnTheMonitorsThread)
{
    SetMonitorIntervalsForTest(0, 1);
    LoadWithPlugin();
    List();
    OpenListed(0);
    std::vector<ZerixIpcNotification> heard;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (heard.size() < 3 && std::chrono::steady_clock::now() < deadline) {
        for (const ZerixIpcNotification &notification : TakeNotifications())
            heard.push_back(notification);
        std::this_thread::yield();
    }
    ASSERT_GE(heard.size(), 3u);
    for (const ZerixIpcNotification &notification : heard) {
        EXPECT_STREQ(notification.serial, "ZV-C2-2019-0018");
        EXPECT_EQ(notification.last, 0u);
    }
}

std::atomic<uint32_t (*)(ZerixIpcNotification *, uint32_t)> g_take{nullptr};
std::atomic<uint32_t> g_heardInARound{0};
std::atomic<uint32_t> g_countedRounds{0};

// A task of the monitor that counts what the plug-in heard since the round before.
void CountWhatWasHeard()
{
    const auto take = g_take.load();
    if (take == nullptr)
        return;
    ZerixIpcNotification notifications[64];
    uint32_t heard = 0;
    while (const uint32_t count = take(notifications, 64))
        heard += count;
    g_heardInARound.store(heard);
    g_countedRounds.fetch_add(1);
}

// The list of tasks outlives a release, and every load adds the watch task once more.
TEST_F(Plugin, HearsOnceMoreInARoundWithEveryLoad)
{
    SetMonitorIntervalsForTest(0, 1);
    AddMonitorTask(CountWhatWasHeard);
    uint32_t heard[2] = {};
    for (uint32_t &inARound : heard) {
        LoadWithPlugin();
        List();
        OpenListed(0);
        TakeNotifications();
        g_take.store(take);
        const uint32_t before = g_countedRounds.load();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (g_countedRounds.load() < before + 3 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_GE(g_countedRounds.load(), before + 3);
        inARound = g_heardInARound.load();
        g_take.store(nullptr);
        Zerix_ReleaseDriver();
    }
    EXPECT_GE(heard[0], 1u);
    EXPECT_EQ(heard[1], heard[0] + 1);
}

// The monitor looks on while cameras are listed, opened, closed and released under it.
TEST_F(Plugin, HearsBesideEverythingElse)
{
    SetMonitorIntervalsForTest(0, 0);
    for (int round = 0; round < 3; ++round) {
        LoadWithPlugin();
        List();
        for (int turn = 0; turn < 5; ++turn) {
            const ZerixHandle first = OpenListed(0);
            const ZerixHandle second = OpenListed(1);
            EXPECT_EQ(Zerix_CloseCamera(first), 0u);
            List();
            EXPECT_EQ(Zerix_CloseCamera(second), 0u);
        }
        OpenListed(0);
        Zerix_ReleaseDriver();
        EXPECT_FALSE(IsPluginLoaded());
    }
}

} // namespace
} // namespace zerix::api
