// Which nodes are listed as cameras, and what is asked of those that may be one.
#include <atomic>
#include <chrono>
#include <thread>

#include <pthread.h>

#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

constexpr uint32_t kModel = 0xE0010038;
constexpr uint32_t kSecondModel = 0xE0001138;
constexpr uint32_t kDirectory = 0xD0000000;

class Recognising : public LinuxBus {
protected:
    void SetUp() override
    {
        driver = std::make_unique<LinuxFirewireDriver>(
            system, Recognition{.units = {{0x1234, 0x5678}},
                                .isModel = [](uint32_t model) { return model == 18; }});
        Camera().words = {{kModel, 18u << 16 | 5},         {kDirectory, 0x00010001},
                          {kDirectory + 0x08, 0xD0000100}, {kDirectory + 0x10, 0xD0000400},
                          {kDirectory + 0x18, 0xD0000600}, {kDirectory + 0x20, 0xD0000700},
                          {kDirectory + 0x28, 0xD0000500}};
    }

    uint32_t Count()
    {
        kernel::DevicePath paths[4];
        uint32_t count = 99;
        EXPECT_EQ(0u, driver->Enumerate(paths, 4, &count));
        return count;
    }
    // Of every request: the offset within the node's registers.
    std::vector<uint32_t> Asked()
    {
        return system.Locked([this] {
            std::vector<uint32_t> offsets;
            for (const auto &sent : system.sent) {
                EXPECT_EQ(uint32_t{TCODE_READ_QUADLET_REQUEST}, sent.request.tcode);
                offsets.push_back(static_cast<uint32_t>(sent.request.offset));
            }
            return offsets;
        });
    }
};

TEST_F(Recognising, AsksACameraOnceForItsModelAndItsDirectory)
{
    EXPECT_EQ(1u, Count());
    EXPECT_EQ((std::vector<uint32_t>{kModel, kDirectory, kDirectory + 0x08, kDirectory + 0x10,
                                     kDirectory + 0x18, kDirectory + 0x20, kDirectory + 0x28}),
              Asked());
    EXPECT_EQ(1u, Count());
    EXPECT_EQ(7u, Asked().size());
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(0u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(7u, Asked().size());
}

TEST_F(Recognising, TriesTheSecondPlace)
{
    Camera().words[kSecondModel] = 18u << 16;
    Camera().words[kModel] = 0xDEADDEAD;
    EXPECT_EQ(1u, Count());
    EXPECT_EQ((std::vector<uint32_t>{kModel, kSecondModel}),
              (std::vector<uint32_t>{Asked()[0], Asked()[1]}));
    ++Camera().maxRecord; // another configuration memory: it is asked again
    system.codes = {RCODE_ADDRESS_ERROR};
    EXPECT_EQ(1u, Count());
}

TEST_F(Recognising, AsksNothingOfAKnownUnit)
{
    Camera().units = "0x00a02d:0x000100 0x001234:0x005678";
    EXPECT_EQ(1u, Count());
    EXPECT_TRUE(Asked().empty());
}

TEST_F(Recognising, LeavesANodeToItsDriver)
{
    Camera().boundUnits = {"fw1.0"};
    EXPECT_EQ(0u, Count());
    EXPECT_TRUE(Asked().empty());
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(2u, driver->Open(kCameraPath, &handle));
    Camera().boundUnits = {};
    EXPECT_EQ(1u, Count());
}

// A disk, say: it is read from twice, and never again.
TEST_F(Recognising, AsksWhatIsNoCameraOnceAndForAll)
{
    Camera().words[kModel] = 17u << 16;
    EXPECT_EQ(0u, Count());
    EXPECT_EQ((std::vector<uint32_t>{kModel, kSecondModel}), Asked());
    EXPECT_EQ(0u, Count());
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(2u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(2u, Asked().size());
}

TEST_F(Recognising, DoubtsADirectoryThatMakesNoSense)
{
    const std::map<uint32_t, uint32_t> nonsense[] = {{{kDirectory, 0x00010002}},
                                                     {{kDirectory + 0x08, 0}},
                                                     {{kDirectory + 0x10, 0xD0000101}},
                                                     {{kDirectory + 0x18, 0xD0000100}},
                                                     {{kDirectory + 0x08, 0xFFFFFFFF}}};
    for (const auto &words : nonsense) {
        ++Camera().maxRecord;
        const auto good = Camera().words;
        for (const auto &[address, word] : words)
            Camera().words[address] = word;
        EXPECT_EQ(0u, Count()) << words.begin()->first;
        Camera().words = good;
    }
    ++Camera().maxRecord;
    system.codes = {0, 0, 0, RCODE_ADDRESS_ERROR};
    EXPECT_EQ(0u, Count());
    ++Camera().maxRecord;
    EXPECT_EQ(1u, Count());
}

// What couldn't be asked has said nothing.
TEST_F(Recognising, AsksAgainWhereItGotNoAnswer)
{
    Camera().openErrors = {-EACCES};
    EXPECT_EQ(0u, Count());
    Camera().isStale = true;
    EXPECT_EQ(0u, Count());
    Camera().isStale = false;
    EXPECT_EQ(1u, Count());
}

// A camera that starts may be busy, or not answer at all.
TEST_F(Recognising, AsksAgainWhoAnsweredNothingAtAll)
{
    for (const uint32_t code : {RCODE_BUSY, RCODE_NO_ACK}) {
        ++Camera().maxRecord;
        system.codes.assign(code == RCODE_BUSY ? 301 : 1, code);
        system.probeCodes.assign(code == RCODE_BUSY ? 301 : 1, code);
        EXPECT_EQ(0u, Count()) << code;
        EXPECT_TRUE(system.codes.empty() && system.probeCodes.empty()) << code;
        EXPECT_EQ(0u, Count()) << code;
        system.Sleep(std::chrono::seconds(11));
        EXPECT_EQ(1u, Count()) << code;
    }
}

TEST_F(Recognising, WaitsForTheAccessToANewNode)
{
    Camera().isThere = false;
    EXPECT_EQ(0u, Count());
    Camera().isThere = true;
    Camera().openErrors.assign(3, -EACCES);
    EXPECT_EQ(1u, Count());
}

// It is asked at one place, for a second; for a while it isn't asked again, and then it may answer.
TEST_F(Recognising, WaitsForASilentNodeOnce)
{
    system.movesTime = false;
    system.codes = {ScriptedKernel::kHang};
    EXPECT_EQ(0u, Count());
    EXPECT_EQ(0u, Count());
    EXPECT_EQ(std::vector<uint32_t>{kModel}, Asked());
    system.movesTime = true;
    system.Sleep(std::chrono::seconds(11));
    EXPECT_EQ(1u, Count());
}

TEST_F(Recognising, IsNotDoneWithANodeThatFallsSilent)
{
    system.movesTime = false;
    system.codes = {0, 0, 0, ScriptedKernel::kHang};
    EXPECT_EQ(0u, Count());
    system.movesTime = true;
    system.Sleep(std::chrono::seconds(11));
    EXPECT_EQ(1u, Count());
}

TEST_F(Recognising, KeepsNobodyFromAKnownCamera)
{
    ScriptedKernel::Node known{.name = "fw2", .guid = kCameraGuid + 1};
    known.words = Camera().words;
    system.Add(known);
    Camera().isThere = false;
    EXPECT_EQ(1u, Count());
    Camera().isThere = true;
    system.sent.clear();
    system.movesTime = false;
    system.codes = {ScriptedKernel::kHang};
    std::atomic<bool> hasListed = false;
    std::thread lister([&] {
        EXPECT_EQ(1u, Count());
        hasListed = true;
    });
    EXPECT_TRUE(system.Await([this] { return !system.sent.empty(); }));
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(0u, driver->Open("firewire:00a02d0000000124", &handle));
    EXPECT_FALSE(hasListed);
    lister.join();
}

// Its request's block goes with its stack.
TEST_F(Recognising, ForgetsAThreadThatIsEndedByForce)
{
    system.movesTime = false;
    system.codes = {ScriptedKernel::kHang};
    std::thread lister([this] { Count(); });
    EXPECT_TRUE(system.Await([this] { return !system.sent.empty(); }));
    EXPECT_EQ(0, pthread_cancel(lister.native_handle()));
    lister.join();
    EXPECT_TRUE(system.AwaitNoFiles()) << system.files();
    EXPECT_EQ(0u, driver->Book().CountOf(1));
    EXPECT_EQ(1u, Count());
}

TEST_F(Recognising, NeverListsTheCard)
{
    auto &card = system.NodeNamed("fw0");
    card.units = "0x001234:0x005678";
    Camera().isThere = false;
    EXPECT_EQ(0u, Count());
}

TEST_F(Recognising, KeepsNothingOpen)
{
    EXPECT_EQ(1u, Count());
    EXPECT_TRUE(system.AwaitNoFiles()) << system.files();
}

} // namespace
} // namespace zerix::bus::linux_firewire
