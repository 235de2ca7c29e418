// Listing, opening and closing nodes.
#include <chrono>

#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

class OpenClose : public LinuxBus {
protected:
    std::vector<std::string> Paths(uint32_t maximum = 80)
    {
        std::vector<kernel::DevicePath> paths(maximum);
        uint32_t count = 99;
        EXPECT_EQ(0u, driver->Enumerate(paths.data(), maximum, &count));
        std::vector<std::string> texts;
        for (uint32_t i = 0; i < count && i < maximum; ++i)
            texts.emplace_back(paths[i].text);
        return texts;
    }
};

TEST_F(OpenClose, ListsTheCamerasInOrderOfTheirGuid)
{
    system.Add({.name = "fw2", .guid = 0x00A02D0000000007});
    system.Add({.name = "fw10", .guid = 0xFFFFFFFFFFFFFFFF});
    EXPECT_EQ((std::vector<std::string>{"firewire:00a02d0000000007", "firewire:00a02d0000000123",
                                        "firewire:ffffffffffffffff"}),
              Paths());
    EXPECT_EQ(1u, Paths(1).size());
    EXPECT_EQ(0u, Paths(0).size());
    EXPECT_TRUE(system.AwaitNoFiles()) << system.files();
}

// Whoever opens each device of the list would find the list broken.
TEST_F(OpenClose, ListsNothingThatIsGoneOrLocked)
{
    system.Add({.name = "fw2", .guid = 2});
    system.Locked(
        [&] { return Camera().isStale = true; }); // unplugged: the kernel doesn't know yet
    EXPECT_EQ(std::vector<std::string>{"firewire:0000000000000002"}, Paths());
    system.Locked([&] { return Camera().isStale = false; });
    EXPECT_EQ(2u, Paths().size());
    Camera().openErrors = {-EACCES};
    EXPECT_EQ(1u, Paths().size());
    Camera().openErrors = {-ENOENT};
    EXPECT_EQ(1u, Paths().size());
    Camera().openErrors = {-EMFILE}; // is told to who opens it
    EXPECT_EQ(2u, Paths().size());
}

// One that is there and doesn't answer is listed; those after it aren't asked any longer.
TEST_F(OpenClose, WaitsForAllSilentCamerasFiveSecondsInSum)
{
    for (uint32_t i = 2; i < 12; ++i)
        system.Add({.name = "fw" + std::to_string(i), .guid = 0x1000 + i});
    system.movesTime = false;
    system.probeCodes.assign(11, ScriptedKernel::kHang);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(11u, Paths().size());
    EXPECT_EQ(5u, system.Locked([&] { return system.probes; }));
    EXPECT_LE(5s, std::chrono::steady_clock::now() - before);
}

// The second of two devices with one identifier can't be told from the first.
TEST_F(OpenClose, ListsOneIdentifierOnce)
{
    system.Add({.name = "fw2", .guid = kCameraGuid});
    EXPECT_EQ(std::vector<std::string>{kCameraPath}, Paths());
}

TEST_F(OpenClose, ListsNoNodeWhoseMemoryIsCutShort)
{
    system.longestRom = 4; // quadlets: half an identifier
    EXPECT_TRUE(Paths().empty());
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(1167u, driver->Open(kCameraPath, &handle));
}

TEST_F(OpenClose, PassesOverUnitsWithoutEnd)
{
    std::string units(64 * 1024, '0');
    system.texts["fw1/units"] = units;
    EXPECT_TRUE(Paths().empty());
    for (size_t i = 0; i < units.size(); i += 2)
        units[i] = ':';
    system.texts["fw1/units"] = units;
    EXPECT_TRUE(Paths().empty());
    system.texts["fw1/units"] = units + " 0x00beef:0x000102";
    EXPECT_EQ(1u, Paths().size());
    system.Add({.name = "fw" + std::string(300, '9'), .guid = 3});
    EXPECT_EQ(2u, Paths().size());
}

TEST_F(OpenClose, ListsNothingWithoutFireWire)
{
    system.folderError = -ENOENT;
    EXPECT_EQ(0u, Paths().size());
}

TEST_F(OpenClose, TellsOfAListThatCantBeHad)
{
    system.folderError = -EACCES;
    uint32_t count = 77;
    EXPECT_EQ(5u, driver->Enumerate(nullptr, 0, &count));
    EXPECT_EQ(77u, count);
}

TEST_F(OpenClose, ListsSixtyFourNodes)
{
    for (uint32_t i = 2; i < 64; ++i)
        system.Add({.name = "fw" + std::to_string(i), .guid = 0x1000 + i});
    EXPECT_EQ(63u, Paths().size());
}

TEST_F(OpenClose, PassesOverFilesThatMakeNoSense)
{
    const char *const nonsense[] = {
        "", "\n", "0x", "guid", "0x1123456789abcdef0", "0x12 34", "0x0000000000000000", "-1"};
    for (const char *const guid : nonsense) {
        system.texts["fw1/guid"] = guid;
        EXPECT_EQ(0u, Paths().size()) << guid;
    }
    system.texts.clear();
    for (const char *const units : {"", "0xbeef", "0x00beef:", ":", "0x00beef:0x000102x", "::::"}) {
        system.texts["fw1/units"] = units;
        EXPECT_EQ(0u, Paths().size()) << units;
    }
    system.texts["fw1/units"] = "nonsense 0x1:0x2 0x00beef:0x000102\n";
    EXPECT_EQ(1u, Paths().size());
    system.texts["fw1/config_rom"] = "abc";
    EXPECT_EQ(1u, Paths().size());
    system.texts["fwx/guid"] = "0x1";
    system.texts["fw/guid"] = "0x2";
    system.texts["fw7/guid"] = "0x3"; // and no other file
    EXPECT_EQ(1u, Paths().size());
}

TEST_F(OpenClose, KnowsNoDeviceByItsNumber)
{
    kernel::DeviceHandle handle = 77;
    for (const char *path : {"fw1", "/dev/fw1", "", "firewire:", "firewire:00a02d00000001",
                             "firewire:00a02d000000012g", "firewire:00a02d0000000124",
                             "firewire:0011223344556677"}) // the card itself
        EXPECT_EQ(2u, driver->Open(path, &handle)) << path;
    EXPECT_EQ(77u, handle);
    EXPECT_EQ("", system.files());
}

TEST_F(OpenClose, HoldsTheCameraAndItsCard)
{
    system.Add({.name = "fw5", .guid = 5, .isLocal = true, .card = 1, .units = ""});
    const auto handle = Open();
    ASSERT_TRUE(system.Await([&] { return system.log.size() == 1; }));
    driver->Close(handle);
    EXPECT_TRUE(system.Await([&] { return system.log.size() == 3; }));
    EXPECT_EQ((std::vector<std::string>{"close fw5", "close fw1", "close fw0"}), system.log);
}

TEST_F(OpenClose, TakesTheCardThatTheCameraIsReachedThrough)
{
    system.Add({.name = "fw5", .guid = 5, .isLocal = true, .card = 1, .units = ""});
    Camera().card = 1;
    driver->Close(Open());
    EXPECT_TRUE(system.Await([&] { return system.log.size() == 2; }));
    EXPECT_EQ((std::vector<std::string>{"close fw1", "close fw5"}), system.log);
}

// Not every user may open the card.
TEST_F(OpenClose, DoesWithoutTheCard)
{
    system.NodeNamed("fw0").openErrors = {-EACCES};
    const auto handle = Open();
    EXPECT_EQ(0u, Read(handle));
    EXPECT_EQ(std::string::npos, system.files().find("fw0"));
}

TEST_F(OpenClose, TellsWhyANodeCantBeOpened)
{
    kernel::DeviceHandle handle = 77;
    Camera().openErrors = {-EACCES, -EMFILE, -EIO, -ENODEV};
    EXPECT_EQ(5u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(1450u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(31u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(1167u, driver->Open(kCameraPath, &handle));
    system.ioctlErrors[FW_CDEV_IOC_GET_INFO] = {-EIO};
    EXPECT_EQ(31u, driver->Open(kCameraPath, &handle));
    system.ioctlErrors[FW_CDEV_IOC_GET_SPEED] = {-EIO};
    EXPECT_EQ(31u, driver->Open(kCameraPath, &handle));
    system.version = 1;
    EXPECT_EQ(50u, driver->Open(kCameraPath, &handle));
    EXPECT_EQ(77u, handle);
    EXPECT_TRUE(system.Await([&] { return system.log.size() == 3; }));
}

TEST_F(OpenClose, WorksWithOldKernels)
{
    system.version = 2;
    EXPECT_EQ(0u, Read(Open()));
}

// The name has gone to another node between the list and the file.
TEST_F(OpenClose, OpensNoOtherNodeOfTheSameName)
{
    system.texts["fw1/guid"] = "0x00a02d0000000999";
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(1167u, driver->Open("firewire:00a02d0000000999", &handle));
}

// The access is granted after the file is made; what was always there has had its time.
TEST_F(OpenClose, WaitsForTheAccessToANewNode)
{
    Camera().openErrors.assign(3, -EACCES);
    kernel::DeviceHandle handle = 0;
    EXPECT_EQ(5u, driver->Open(kCameraPath, &handle)); // was there at the first look
    Camera().openErrors.clear();
    system.Add({.name = "fw2", .guid = 2}).openErrors.assign(3, -EACCES);
    const auto before = system.Now();
    EXPECT_EQ(0u, driver->Open("firewire:0000000000000002", &handle));
    EXPECT_EQ(150ms, system.Now() - before);
    system.NodeNamed("fw2").openErrors.assign(1000, -EACCES);
    EXPECT_EQ(5u, driver->Open("firewire:0000000000000002", &handle));
    EXPECT_LE(2s, system.Now() - before);
    EXPECT_GE(2100ms, system.Now() - before);
    const auto later = system.Now();
    EXPECT_EQ(5u, driver->Open("firewire:0000000000000002", &handle));
    EXPECT_EQ(later, system.Now());
}

// Closing a file takes two seconds while a transaction is on its way. The claim doesn't wait.
TEST_F(OpenClose, ClosesWithoutWaiting)
{
    const auto handle = Open();
    const auto other = Open();
    ASSERT_EQ(0u, TakeBandwidth(handle));
    EXPECT_EQ(1u, IsOpen(other));
    system.Locked([&] { return system.closesBlock = true; });
    driver->Close(handle);
    EXPECT_EQ(0u, IsOpen(other));
    EXPECT_EQ(kernel::kErrorInvalidHandle, Read(handle));
    EXPECT_EQ((std::vector<uint32_t>{0}), system.deallocations);
    EXPECT_EQ((std::vector<std::string>{"lock", "unlock"}), system.log);
    EXPECT_FALSE(driver->AwaitClosed(0ms));
    system.Locked([&] { return system.closesBlock = false; });
    EXPECT_TRUE(driver->AwaitClosed(20s));
    EXPECT_EQ(4u, system.log.size());
}

TEST_F(OpenClose, EndsWhatIsPendingAtTheClose)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access);
    driver->Close(handle);
    EXPECT_EQ(995u, End(handle, access).systemError);
    driver->Close(handle); // nothing
}

TEST_F(OpenClose, SplitsAListOfUnits)
{
    EXPECT_EQ((std::vector<Unit>{{0xA02D, 0x100}, {0x800, 0x102}, {1, 2}}),
              UnitsIn("0x00a02d:0x000100,800:102 , 0X1:0x2"));
    EXPECT_EQ(std::vector<Unit>{}, UnitsIn(""));
    EXPECT_EQ(std::vector<Unit>{}, UnitsIn("0x123456789:0 x y:z"));
}

} // namespace
} // namespace zerix::bus::linux_firewire
