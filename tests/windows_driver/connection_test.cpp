// Connecting a camera: what it takes of the bus, and each way to fail.
#include "device_calls.h"
#include "hal_camera.h"

namespace zerix::test {
namespace {

using WindowsConnection = HalDriverTest;

constexpr uint32_t kIsOpen = 0x222096;
constexpr uint32_t kAllocateBandwidth = 0x22A0A0;
constexpr uint32_t kFreeBandwidth = 0x22A0A4;
constexpr uint32_t kAllocateChannel = 0x22A0A8;
constexpr uint32_t kFreeChannel = 0x22A0AC;
constexpr uint32_t kAllocateResources = 0x22A0B0;
constexpr uint32_t kFreeResources = 0x22A0B4;

TEST_F(WindowsConnection, HoldsBandwidthAChannelAndResources)
{
    BeConnected();
    EXPECT_EQ((std::vector<uint32_t>{1, 1, 1}), Held());
    EXPECT_EQ(1u, driver.State(0).openHandles);
    EXPECT_EQ(1u, driver.State(0).isClaimed);
    EXPECT_EQ(1u, Camera(0).isConnected);
    EXPECT_EQ(1012u, Camera(0).packetBufferSize);
    uint16_t value = 0;
    EXPECT_EQ(0u, HAL_CameraConnectionSpeed(Camera(0), &value));
    EXPECT_EQ(800, value);
    EXPECT_EQ(0u, HAL_CameraFastestPacketSizeSupported(Camera(0), &value));
    EXPECT_EQ(9044, value);
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Held());
    EXPECT_EQ(0u, driver.State(0).openHandles);
}

TEST_F(WindowsConnection, ConnectsBothDevicesAtOnce)
{
    BeConnected();
    EXPECT_EQ(0u, Connect(Camera(1)));
    EXPECT_EQ(1u, driver.State(1).holdsChannel);
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(1)));
}

TEST_F(WindowsConnection, FindsASlowBus)
{
    driver.SetSlow(0);
    BeConnected();
    uint16_t value = 0;
    EXPECT_EQ(0u, HAL_CameraConnectionSpeed(Camera(0), &value));
    EXPECT_EQ(400, value);
    EXPECT_EQ(0u, HAL_CameraFastestPacketSizeSupported(Camera(0), &value));
    EXPECT_EQ(5000, value);
    EXPECT_EQ(0u, HAL_CameraReallocateBandwidth(&Camera(0), 4888, 1)); // a slot of 4900
    EXPECT_EQ(28u, HAL_CameraReallocateBandwidth(&Camera(0), 4889, 1));
    EXPECT_EQ((std::vector<uint32_t>{1, 1, 0}), Held());
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0))); // gives back no more than that
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Held());
}

TEST_F(WindowsConnection, TakesTheSizeOfTheLargestPackets)
{
    BeConnected();
    EXPECT_EQ(0u, HAL_CameraReallocateBandwidth(&Camera(0), 9044, 1));
    EXPECT_EQ(9056u, Camera(0).packetBufferSize);
    EXPECT_EQ((std::vector<uint32_t>{1, 1, 1}), Held());
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
}

TEST_F(WindowsConnection, TellsThatSomebodyElseHasTheDevice)
{
    ASSERT_EQ(0u, List());
    OpenDevice other(kFirst);
    ASSERT_TRUE(other.Take(112));
    EXPECT_EQ(37u, Connect(Camera(0)));
    EXPECT_EQ(1u, driver.State(0).openHandles);
    other.Close();
    EXPECT_EQ(0u, Connect(Camera(0)));
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
}

TEST_F(WindowsConnection, TellsOfADeviceThatDoesNotSayWhetherItIsOpen)
{
    ASSERT_EQ(0u, List());
    said.Clear();
    driver.Fail(0, kIsOpen, kStatusUnsuccessful);
    EXPECT_EQ(27u, Connect(Camera(0)));
    const auto lines = said.Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("Free Check isOpen failed!!!\n", lines[0]);
    EXPECT_EQ(0u, lines[1].find("Error: FWCameraIsOpen failed with error 31: "));
}

TEST_F(WindowsConnection, TellsOfADeviceThatHasGone)
{
    ASSERT_EQ(0u, List());
    said.Clear();
    driver.Unplug(0);
    EXPECT_EQ(17u, Connect(Camera(0)));
    EXPECT_EQ(0u, said.Text().find("Error: ConnectToFireWireCamera failed with error 2: "));
}

TEST_F(WindowsConnection, FailsWhereTheBusHasNothingLeft)
{
    const struct {
        uint32_t code;
        uint32_t times;
        uint32_t error;
    } rows[] = {
        {kAllocateBandwidth, 1, 24}, {kAllocateChannel, 1, 26}, {kAllocateResources, 2, 28}};
    ASSERT_EQ(0u, List());
    for (const auto &row : rows) {
        driver.Fail(0, row.code, kStatusInsufficientResources, 0, row.times);
        EXPECT_EQ(row.error, Connect(Camera(0)));
        EXPECT_EQ(0u, driver.State(0).openHandles) << row.error;
        EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Held()) << row.error;
    }
    EXPECT_EQ(0u, Connect(Camera(0)));
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
}

TEST_F(WindowsConnection, TriesTheSlowSpeedAfterTheFastOne)
{
    ASSERT_EQ(0u, List());
    driver.Fail(0, kAllocateResources, kStatusInsufficientResources);
    EXPECT_EQ(0u, Connect(Camera(0)));
    uint16_t speed = 0;
    EXPECT_EQ(0u, HAL_CameraConnectionSpeed(Camera(0), &speed));
    EXPECT_EQ(400, speed);
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
}

TEST_F(WindowsConnection, StaysConnectedWhereTheDriverTakesNothingBack)
{
    const struct {
        uint32_t code;
        uint32_t error;
    } rows[] = {{kFreeResources, 29}, {kFreeChannel, 27}, {kFreeBandwidth, 25}};
    for (const auto &row : rows) {
        BeConnected();
        driver.Fail(0, row.code, kStatusUnsuccessful);
        EXPECT_EQ(row.error, HAL_CameraDisconnect(&Camera(0)));
        EXPECT_EQ(1u, Camera(0).isConnected);
        EXPECT_EQ(1u, driver.State(0).openHandles);
        FreeList();
        EXPECT_EQ(0u, driver.State(0).openHandles);
    }
}

} // namespace
} // namespace zerix::test
