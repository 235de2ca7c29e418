// Resets, unplugging and plugging in as /dev/fw* shows them, and when.
#include "checks.h"
#include "stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace linux_kernel {

namespace {

short Poll(const DeviceFile &device, int timeoutMilliseconds = 0)
{
    pollfd wanted{.fd = device.File(), .events = POLLIN, .revents = 0};
    poll(&wanted, 1, timeoutMilliseconds);
    return wanted.revents;
}

// Reads away what there is.
void Drain(const DeviceFile &device)
{
    while (device.ReadEvent(0)) {
    }
}

} // namespace

class Resets : public Interface {
protected:
    void SetUp() override
    {
        Interface::SetUp();
        local = std::make_unique<DeviceFile>(LocalDevice());
        ASSERT_EQ(local->GetInfo(0x10ca1).result, 0);
        Sleep(2.5); // earlier resets and unplugged nodes are done with
        Drain(*local);
    }

    std::unique_ptr<DeviceFile> local;
};

TEST_F(Resets, AreToldToBothFilesAtOnce)
{
    ASSERT_EQ(device->GetInfo(0xabc).result, 0);
    const double begin = Now();
    ASSERT_EQ(wire.Reset(), 0);
    for (const auto &[file, closure] :
         {std::pair(local.get(), 0x10ca1ull), std::pair(device.get(), 0xabcull)}) {
        const auto event = file->ReadEvent();
        ASSERT_TRUE(event);
        EXPECT_EQ(event->Type(), static_cast<std::uint32_t>(FW_CDEV_EVENT_BUS_RESET));
        EXPECT_EQ(event->As<fw_cdev_event_bus_reset>().closure, closure);
    }
    EXPECT_LT(Now() - begin, 0.05);
}

TEST_F(Resets, AreNotToldToAFileThatNeverAskedForInfo)
{
    const DeviceFile silent(path);
    ASSERT_EQ(wire.Reset(), 0);
    ASSERT_TRUE(local->ReadEvent());
    EXPECT_FALSE(silent.ReadEvent(3000));
}

TEST_F(Resets, OftenComeInPairs)
{
    // The bus manager sets the gap count that the first reset lost, and a request in between is
    // answered in vain.
    const std::uint32_t before = device->GetInfo().bus.generation;
    ASSERT_EQ(wire.Reset(), 0);
    Sleep(0.2);
    EXPECT_EQ(device->GetInfo().bus.generation, before + 2);
}

TEST_F(Resets, MakeANewGeneration)
{
    const std::uint32_t before = device->GetInfo().bus.generation;
    ASSERT_EQ(wire.Reset(), 0);
    EXPECT_TRUE(WaitUntil([&] { return device->GetInfo().bus.generation != before; }));
    Sleep(0.2);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kComplete);
}

TEST_F(Resets, BegunByTheNodeMakeTheKernelReadItsRomAgain)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    std::vector<std::uint32_t> rom = RomOf(guid);
    rom[2] = 0x00ffb083; // another generation of the ROM
    rom[7] = 0x17000055; // another model
    ASSERT_EQ(wire.SetRom(0, rom), 0);
    const double begin = Now();
    ASSERT_EQ(wire.Reset(0), 0);
    EXPECT_TRUE(WaitUntil([&] { return device->GetInfo().rom == rom; }));
    EXPECT_NEAR(Now() - begin, 0.5, 0.1);
    EXPECT_EQ(Attribute(path, "model"), "0x000055");
}

TEST_F(Resets, AskedForByAProgramComeTwoSecondsAfterTheLast)
{
    ASSERT_EQ(wire.Reset(), 0);
    Sleep(0.3);
    Drain(*local);
    fw_cdev_initiate_bus_reset request{FW_CDEV_SHORT_RESET};
    const double begin = Now();
    ASSERT_EQ(device->Call(FW_CDEV_IOC_INITIATE_BUS_RESET, &request), 0);
    EXPECT_LT(Now() - begin, 0.05);
    ASSERT_TRUE(local->ReadEvent());
    EXPECT_GT(Now() - begin, 1.6);
    EXPECT_LT(Now() - begin, 2.3);
}

TEST_F(Resets, TheLocalFileSeesAnUnplugAtOnce)
{
    const double begin = Now();
    ASSERT_EQ(wire.Unplug(0), 0);
    const auto event = local->ReadEvent();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->Type(), static_cast<std::uint32_t>(FW_CDEV_EVENT_BUS_RESET));
    EXPECT_LT(Now() - begin, 0.05);
}

TEST_F(Resets, TheNodesFileSeesNothingOfAnUnplugForTwoSeconds)
{
    const auto before = device->GetInfo();
    ASSERT_EQ(wire.Unplug(0), 0);
    Sleep(1.9);
    EXPECT_EQ(Poll(*device), 0);
    const auto after = device->GetInfo();
    EXPECT_EQ(after.result, 0);
    EXPECT_EQ(after.rom, before.rom);
    EXPECT_EQ(after.bus.node_id, before.bus.node_id);
    EXPECT_EQ(after.bus.node_id, after.bus.local_node_id);
    EXPECT_EQ(access(path.c_str(), F_OK), 0);
}

TEST_F(Resets, RequestsToAnUnpluggedNodeAreStale)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    ASSERT_EQ(wire.Unplug(0), 0);
    for (const double wait : {0.0, 0.5, 1.0}) {
        Sleep(wait);
        EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kStale);
    }
}

TEST_F(Resets, TheNodesFileIsDeadAfterFourSecondsAtMost)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    const double begin = Now();
    ASSERT_EQ(wire.Unplug(0), 0);
    ASSERT_TRUE(WaitUntil([&] { return Poll(*device) != 0; }));
    EXPECT_GT(Now() - begin, 1.9);
    EXPECT_LT(Now() - begin, 4.1);
    EXPECT_EQ(Poll(*device) & (POLLHUP | POLLERR), POLLHUP | POLLERR);
    EXPECT_EQ(device->GetInfo().result, -ENODEV);
    EXPECT_TRUE(WaitUntil([&] { return access(path.c_str(), F_OK) != 0; }, 0.1));
}

TEST_F(Resets, UnreadEventsOfADeadFileCanStillBeRead)
{
    nodes.SetRegisters(0, {1, 2, 3, 4});
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr, 0x99), 0);
    ASSERT_TRUE(WaitUntil([&] { return (Poll(*device) & POLLIN) != 0; }));
    ASSERT_EQ(wire.Unplug(0), 0);
    ASSERT_TRUE(WaitUntil([&] { return (Poll(*device) & POLLHUP) != 0; }));
    const auto response = device->ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->closure, 0x99u);
    Bytes event(64);
    EXPECT_EQ(read(device->File(), event.data(), event.size()), -1);
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(Resets, ANodeThatIsBackWithinTwoSecondsKeepsItsFileAndItsStream)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    Stream stream(path);
    ASSERT_EQ(stream.Map(4096), 0);
    ASSERT_EQ(stream.Create(5), 0);
    ASSERT_EQ(stream.Queue(0, {{64, 8, FW_CDEV_ISO_INTERRUPT}, {64, 8, FW_CDEV_ISO_INTERRUPT}}), 2);
    ASSERT_EQ(stream.Start(), 0);

    ASSERT_EQ(wire.Unplug(0), 0);
    Sleep(1);
    const double begin = Now();
    ASSERT_EQ(wire.Plug(0, RomOf(guid)), 0);
    ASSERT_TRUE(WaitUntil(
        [&] { return device->GetInfo().bus.generation == local->GetInfo().bus.generation; }));
    EXPECT_NEAR(Now() - begin, 0.5, 0.1);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kComplete);
    ASSERT_EQ(wire.SendIso({.channel = 5}, Pattern(8)), 0);
    EXPECT_EQ(stream.NextHeaders().size(), 1u);
}

TEST_F(Resets, ANodeThatIsBackIsToldOnlyTwoSecondsAfterTheUnplug)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    const double begin = Now();
    ASSERT_EQ(wire.Unplug(0), 0);
    Sleep(0.5);
    ASSERT_EQ(wire.Plug(0, RomOf(guid)), 0);
    const auto event = device->ReadEvent();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->Type(), static_cast<std::uint32_t>(FW_CDEV_EVENT_BUS_RESET));
    EXPECT_NEAR(Now() - begin, 2.0, 0.2);
    Sleep(3);
    EXPECT_EQ(device->GetInfo().result, 0);
}

TEST_F(Resets, ANodeThatIsBackLaterHasTheNameOfTheDeadOne)
{
    const auto unplug = [this](const std::string &name) {
        ASSERT_EQ(wire.Unplug(0), 0);
        ASSERT_TRUE(WaitUntil([&] { return access(name.c_str(), F_OK) != 0; }));
    };
    // Alone on the bus it gets the lowest free name, whatever was there before.
    unplug(path);
    const std::string name = PlugIn(0, guid);
    const DeviceFile dead(name);
    unplug(name);
    EXPECT_EQ(PlugIn(0, guid), name);
    EXPECT_EQ(dead.GetInfo().result, -ENODEV);
    EXPECT_EQ(DeviceFile(name).ReadQuadlet(kBase).rcode, kComplete);
}

TEST_F(Resets, ANewNodeAppearsHalfASecondAfterThePlug)
{
    const double begin = Now();
    ASSERT_NE(PlugIn(1, guid + 0x10000), "");
    EXPECT_NEAR(Now() - begin, 0.5, 0.1);
}

TEST_F(Resets, ANewNodesFileIsSeenByWatchingTheFolder)
{
    const int watch = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, "/dev", IN_CREATE | IN_DELETE), 0);
    const std::string other = PlugIn(1, guid + 0x10000);
    alignas(inotify_event) char event[4096];
    ASSERT_GT(read(watch, event, sizeof(event)), 0);
    const auto *created = reinterpret_cast<const inotify_event *>(event);
    EXPECT_EQ(created->mask, static_cast<std::uint32_t>(IN_CREATE));
    EXPECT_EQ("/dev/" + std::string(created->name), other);
    ASSERT_EQ(wire.Unplug(1), 0);
    ASSERT_GT(read(watch, event, sizeof(event)), 0);
    EXPECT_EQ(created->mask, static_cast<std::uint32_t>(IN_DELETE));
    close(watch);
}

TEST_F(Resets, ARomThatIsNotReadyIsReadAgainAfterThreeSeconds)
{
    std::vector<std::uint32_t> rom = RomOf(guid + 0x10000);
    rom[0] = 0;
    const double begin = Now();
    ASSERT_EQ(wire.Plug(1, rom), 0);
    Sleep(1);
    ASSERT_EQ(wire.SetRom(1, RomOf(guid + 0x10000)), 0);
    ASSERT_NE(WaitForDevice(guid + 0x10000), "");
    EXPECT_NEAR(Now() - begin, 3.5, 0.2);
}

TEST_F(Resets, ANodeCanAnswerForItsRomItself)
{
    const std::vector<std::uint32_t> rom = RomOf(guid + 0x10000);
    nodes.HandleWith([&](const Record &request) {
        const std::size_t place = (request.head.offset - 0xfffff0000400) / 4;
        const std::uint32_t quadlet = place < rom.size() ? rom[place] : 0;
        wire.Answer(request.head.id, kComplete,
                    Bytes{static_cast<std::uint8_t>(quadlet >> 24),
                          static_cast<std::uint8_t>(quadlet >> 16),
                          static_cast<std::uint8_t>(quadlet >> 8),
                          static_cast<std::uint8_t>(quadlet)});
    });
    ASSERT_EQ(wire.Plug(1, {}), 0);
    const std::string other = WaitForDevice(guid + 0x10000);
    ASSERT_NE(other, "");
    EXPECT_EQ(DeviceFile(other).GetInfo().rom, rom);
}

TEST_F(Resets, ANodeIdChangesWhereAnotherNodeGoes)
{
    const DeviceFile second(PlugIn(1, guid + 0x10000));
    EXPECT_EQ(second.GetInfo().bus.node_id, 0xffc1u);
    ASSERT_EQ(wire.Unplug(0), 0);
    EXPECT_TRUE(WaitUntil([&] { return second.GetInfo().bus.node_id == 0xffc0u; }, 0.1));
    Sleep(0.2); // a second reset follows
    EXPECT_EQ(second.ReadQuadlet(kBase).rcode, kComplete);
}

TEST_F(Resets, TenNodesCanBeTalkedTo)
{
    std::vector<std::string> paths{path};
    for (std::uint32_t i = 1; i < 10; ++i)
        ASSERT_EQ(wire.Plug(i, RomOf(guid + i * 0x10000)), 0);
    for (std::uint32_t i = 1; i < 10; ++i)
        paths.push_back(WaitForDevice(guid + i * 0x10000));
    nodes.HandleWith([&](const Record &request) {
        wire.Answer(request.head.id, kComplete,
                    Bytes{0, 0, 0, static_cast<std::uint8_t>(request.head.node)});
    });
    for (std::uint8_t i = 0; i < 10; ++i)
        EXPECT_EQ(DeviceFile(paths[i]).ReadQuadlet(kBase).payload, (Bytes{0, 0, 0, i}));
}

} // namespace linux_kernel
