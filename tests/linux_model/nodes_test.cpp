// The nodes of the bus: their files in sysfs, and how they come and go.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/linux_model/process_fixture.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;
using Nodes = ProcessTest;

constexpr const char *kDevices = "/sys/bus/firewire/devices";

TEST_F(Nodes, AreListedWithTheirUnits)
{
    Boot();
    EXPECT_EQ(Folder(kDevices), (std::vector<std::string>{"fw0", "fw1", "fw1.0", "fw2", "fw2.0"}));
    const std::vector<std::string> devices = Folder("/dev");
    EXPECT_EQ(std::count(devices.begin(), devices.end(), "fw2"), 1);
    EXPECT_EQ(std::count(devices.begin(), devices.end(), "fw2.0"), 0);
    std::vector<std::string> names;
    EXPECT_EQ(Model().ListFolder("/sys/bus/pci", names), -ENOENT);
    EXPECT_EQ(Model().ListFolder("/sys/bus/firewire/devices/fw1/guid", names), -ENOTDIR);
}

TEST_F(Nodes, AreDescribedInSysfs)
{
    Boot();
    const std::string camera = "/sys/bus/firewire/devices/fw1/";
    EXPECT_EQ(File(camera + "guid"), "0x00a1b2c300000018\n");
    EXPECT_EQ(File(camera + "vendor"), "0x00a1b2\n");
    EXPECT_EQ(File(camera + "model"), "0x000012\n");
    EXPECT_EQ(File(camera + "units"), "0x00a1b2:0x000101\n");
    EXPECT_EQ(File(camera + "is_local"), "0\n");
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw0/is_local"), "1\n");
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw0/units"), "");
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw1.0/specifier_id"), "0x00a1b2\n");
    std::string contents;
    EXPECT_EQ(Model().ReadSmallFile("/sys/bus/firewire/devices/fw9/guid", contents), -ENOENT);
    EXPECT_EQ(Model().ReadSmallFile("/sys/bus/firewire/devices/fw1/speed", contents), -ENOENT);
    EXPECT_EQ(Model().ReadSmallFile("/sys/bus/firewire/devices/fw1", contents), -EISDIR);
}

// In host order. The checksums were worked out by another program, bit by bit.
TEST_F(Nodes, HaveTheirRomInHostOrder)
{
    Boot();
    const std::string text = File("/sys/bus/firewire/devices/fw1/config_rom");
    std::vector<uint32_t> rom(text.size() / 4);
    std::memcpy(rom.data(), text.data(), rom.size() * 4);
    ASSERT_EQ(rom.size(), 13u);
    EXPECT_EQ(rom[0], 0x0404E498u);
    EXPECT_EQ(rom[1], 0x31333934u);
    EXPECT_EQ(rom[2], 0x6064A013u); // max_rec 10, link speed 800
    EXPECT_EQ(rom[3], 0x00A1B2C3u);
    EXPECT_EQ(rom[4], 0x00000018u);
    EXPECT_EQ(rom[5], 0x000401FCu);
    EXPECT_EQ(rom[6], 0x0300A1B2u);
    EXPECT_EQ(rom[7], 0x17000012u);
    EXPECT_EQ(rom[8], 0x0C0083C0u);
    EXPECT_EQ(rom[9], 0xD1000001u);
    EXPECT_EQ(rom[10], 0x0002DF4Cu);
    EXPECT_EQ(rom[11], 0x1200A1B2u);
    EXPECT_EQ(rom[12], 0x13000101u);
}

TEST_F(Nodes, OfTheCardMayBeTheLast)
{
    Boot("", "", {.localNodeIsLast = true});
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw2/is_local"), "1\n");
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw0/guid"), "0x00a1b2c300000018\n");
}

TEST_F(Nodes, GiveTheirInformation)
{
    Boot();
    const int file = Model().Open("/dev/fw1");
    ASSERT_EQ(file, 3);
    uint32_t rom[5] = {};
    fw_cdev_get_info info{};
    info.version = 5;
    info.rom_length = sizeof rom;
    info.rom = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(rom));
    EXPECT_EQ(Model().Ioctl(file, FW_CDEV_IOC_GET_INFO, &info), 0);
    EXPECT_EQ(info.version, 5u);
    EXPECT_EQ(info.rom_length, 52u);
    EXPECT_EQ(info.card, 0u);
    EXPECT_EQ(rom[3], 0x00A1B2C3u);
    const auto reset = Info(file);
    EXPECT_EQ(reset.closure, 0xB055u);
    EXPECT_EQ(reset.type, 0u);
    EXPECT_EQ(reset.node_id, 0xFFC0u);
    EXPECT_EQ(reset.local_node_id, 0xFFC2u);
    EXPECT_EQ(reset.root_node_id, 0xFFC2u);
    EXPECT_EQ(Model().Ioctl(file, FW_CDEV_IOC_GET_SPEED, nullptr), 3);
    Close(file);
    EXPECT_EQ(Model().Ioctl(file, FW_CDEV_IOC_GET_SPEED, nullptr), -EBADF);
}

TEST_F(Nodes, OfASlowBusSaySo)
{
    Boot("", "speed = 400\n");
    const int file = OpenFile("/dev/fw1");
    EXPECT_EQ(Model().Ioctl(file, FW_CDEV_IOC_GET_SPEED, nullptr), 2);
    Close(file);
}

// The same cameras, as far as their names go.
TEST_F(Nodes, OfAnotherRackHaveItsSpeed)
{
    Boot("", "speed = 400\n");
    ChangeRack("speed = 800\n");
    for (const char *const path : {"/dev/fw0", "/dev/fw1", "/dev/fw2"}) {
        SCOPED_TRACE(path);
        const int file = OpenFile(path);
        EXPECT_EQ(Model().Ioctl(file, FW_CDEV_IOC_GET_SPEED, nullptr), 3);
        Close(file);
    }
    const std::string rom = File("/sys/bus/firewire/devices/fw0/config_rom");
    ASSERT_GE(rom.size(), 12u);
    EXPECT_EQ(rom[8] & 7, 3); // link speed, in host order
}

// The alarm sounds on the card's own file; the camera's sees nothing for two seconds.
TEST_F(Nodes, GoTwoSecondsAfterTheirCamera)
{
    Boot();
    const int alarm = OpenFile("/dev/fw0");
    const int camera = OpenFile("/dev/fw1");
    const uint32_t generation = Info(camera).generation;
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Look();
    EXPECT_EQ(Polled(alarm), POLLIN);
    const Bytes event = NextEvent(alarm);
    ASSERT_EQ(event.size(), 40u);
    EXPECT_EQ(Type(event), 0u);
    EXPECT_EQ(Closure(event), 0xB055u);
    EXPECT_EQ(Word(event, 12), 0xFFC1u); // the local node, now after one camera
    EXPECT_EQ(Word(event, 32), generation + 1);

    Model().Advance(1999ms);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Info(camera).generation, generation);
    EXPECT_EQ(Info(camera).node_id, 0xFFC0u);
    EXPECT_EQ(Info(camera).local_node_id, 0xFFC1u);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Rcode(NextEvent(camera)), 0x13u);
    EXPECT_EQ(Folder(kDevices).size(), 5u);

    Model().Advance(1ms);
    EXPECT_EQ(Polled(camera), POLLHUP | POLLERR);
    EXPECT_EQ(Model().Ioctl(camera, FW_CDEV_IOC_GET_SPEED, nullptr), -ENODEV);
    Bytes nothing(100);
    EXPECT_EQ(Model().Read(camera, nothing), -ENODEV);
    EXPECT_EQ(Folder(kDevices), (std::vector<std::string>{"fw0", "fw2", "fw2.0"}));
    EXPECT_EQ(Model().Open("/dev/fw1"), -ENOENT);
    Close(camera);
    Close(alarm);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
}

TEST_F(Nodes, KeepEventsForTheirReaderWhenTheyGo)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    Model().ResetBus();
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Advance(2s);
    EXPECT_EQ(Polled(camera), POLLIN | POLLHUP | POLLERR);
    EXPECT_EQ(Type(NextEvent(camera)), 0u);
    EXPECT_EQ(Polled(camera), POLLHUP | POLLERR);
    Close(camera);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
}

// A second reset within the two seconds sets the timer anew when it fires.
TEST_F(Nodes, GoLaterAfterAnotherReset)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Advance(1500ms);
    Model().ResetBus();
    Model().Advance(2499ms);
    EXPECT_EQ(Polled(camera), 0);
    Model().Advance(1ms);
    EXPECT_EQ(Polled(camera), POLLHUP | POLLERR);
    Close(camera);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
}

TEST_F(Nodes, ComeHalfASecondAfterTheirCameraUnderTheOldName)
{
    Boot();
    const int alarm = OpenFile("/dev/fw0");
    const int dead = OpenFile("/dev/fw1");
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Advance(2s);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    Model().Look();
    Model().Advance(499ms);
    EXPECT_EQ(Folder(kDevices).size(), 3u);
    Model().Advance(1ms);
    EXPECT_EQ(Folder(kDevices).size(), 5u);
    EXPECT_EQ(File("/sys/bus/firewire/devices/fw1/guid"), "0x00a1b2c300000018\n");
    EXPECT_EQ(Polled(dead), POLLHUP | POLLERR);
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Rcode(NextEvent(camera)), 0u);
    EXPECT_EQ(Type(NextEvent(alarm)), 0u); // gone
    EXPECT_EQ(Type(NextEvent(alarm)), 0u); // back
    EXPECT_EQ(Polled(alarm), 0);
    Close(dead);
    Close(camera);
    Close(alarm);
}

// Half a second after the plug the information is right; the event waits for the old timer.
TEST_F(Nodes, LiveOnIfTheirCameraIsBackInTwoSeconds)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Advance(1s);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    Model().Look();
    Model().Advance(499ms);
    const uint32_t old = Info(camera).generation;
    Model().Advance(1ms);
    EXPECT_EQ(Info(camera).generation, old + 2);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Rcode(NextEvent(camera)), 0u);
    Model().Advance(499ms);
    EXPECT_EQ(Polled(camera), 0);
    Model().Advance(1ms);
    EXPECT_EQ(Polled(camera), POLLIN);
    EXPECT_EQ(Type(NextEvent(camera)), 0u);
    Model().Advance(10s);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Folder(kDevices).size(), 5u);
    Close(camera);
}

TEST_F(Nodes, AreTriedAgainIfTheRomCannotBeRead)
{
    Boot();
    const int alarm = OpenFile("/dev/fw0");
    ASSERT_EQ(ZerixSim_Unplug(1), 0u);
    Model().Advance(2s);
    Model().FailRomReads(1);
    ASSERT_EQ(ZerixSim_Plug(1), 0u);
    Model().Look();
    Model().Advance(3499ms);
    EXPECT_EQ(Folder(kDevices).size(), 3u);
    Model().Advance(1ms);
    EXPECT_EQ(Folder(kDevices).size(), 5u);
    Close(alarm);
}

TEST_F(Nodes, CannotBeOpenedUntilPermissionIsGiven)
{
    Boot();
    const int alarm = OpenFile("/dev/fw0");
    ASSERT_EQ(ZerixSim_Unplug(1), 0u);
    Model().Advance(2s);
    Model().DelayPermission(300ms);
    ASSERT_EQ(ZerixSim_Plug(1), 0u);
    Model().Look();
    Model().Advance(799ms);
    EXPECT_EQ(Model().Open("/dev/fw2"), -EACCES);
    Model().Advance(1ms);
    Close(OpenFile("/dev/fw2"));
    Close(alarm);
}

TEST_F(Nodes, AllHearOfAReset)
{
    Boot();
    const int local = OpenFile("/dev/fw0");
    const int camera = OpenFile("/dev/fw1");
    const uint32_t generation = Info(camera).generation;
    Model().ResetBus();
    for (const int file : {local, camera}) {
        const Bytes event = NextEvent(file);
        EXPECT_EQ(event.size(), 40u);
        EXPECT_EQ(Word(event, 32), generation + 1);
        Close(file);
    }
}

TEST_F(Nodes, TellOfResetsOnlyWhoAskedForInformation)
{
    Boot();
    const int silent = Model().Open("/dev/fw1");
    const int asking = OpenFile("/dev/fw1");
    Model().ResetBus();
    EXPECT_EQ(Polled(silent), 0);
    EXPECT_EQ(Polled(asking), POLLIN);
    Close(silent);
    Close(asking);
}

// Without a file open nobody sees the time.
TEST_F(Nodes, AreAsTheRackIsWhileNobodyWatches)
{
    Boot();
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    EXPECT_EQ(Folder(kDevices), (std::vector<std::string>{"fw0", "fw2", "fw2.0"}));
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    EXPECT_EQ(Folder(kDevices).size(), 5u);
}

} // namespace
} // namespace zerix::linux_model
