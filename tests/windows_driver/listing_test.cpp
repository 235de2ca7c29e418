// The list of cameras through the system's device set-up.
#include "device_calls.h"
#include "hal_camera.h"

namespace zerix::test {
namespace {

using WindowsListing = HalDriverTest;

TEST_F(WindowsListing, ReadsTheModelOfEveryDevice)
{
    EXPECT_EQ(0u, List());
    ASSERT_EQ(2u, count);
    EXPECT_EQ(0x00120000u, Camera(0).modelWord);
    EXPECT_EQ(0x001F0000u, Camera(1).modelWord);
    EXPECT_EQ(0u, Camera(0).cameraIndex);
    EXPECT_EQ(1u, Camera(1).cameraIndex);
    EXPECT_EQ(0u, Camera(0).isConnected);
    EXPECT_EQ("FWCameraGetList - got 2 devices using setup API\n", said.Text());
    EXPECT_EQ(0u, driver.State(0).openHandles + driver.State(1).openHandles);
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Held());
}

TEST_F(WindowsListing, EndsAtTheMaximum)
{
    EXPECT_EQ(0u, List(1));
    EXPECT_EQ(1u, count);
}

TEST_F(WindowsListing, ReadsABigEndianModelWhenTheReadPends)
{
    driver.SetPending(0, kTestPendAlways);
    EXPECT_EQ(0u, List());
    ASSERT_EQ(2u, count);
    EXPECT_EQ(0x00120000u, Camera(0).modelWord);
}

TEST_F(WindowsListing, LooksForTheModelAtTheSecondAddressToo)
{
    driver.Reset();
    driver.SetRegister(0, kModelAddressAlt, 0x00190000);
    driver.SetRegister(1, kModelAddress, 0x00120000);
    EXPECT_EQ(0u, List());
    ASSERT_EQ(2u, count);
    EXPECT_EQ(0x00190000u, Camera(0).modelWord);
    EXPECT_EQ(0x00120000u, Camera(1).modelWord);
}

TEST_F(WindowsListing, FailsWithoutAModel)
{
    driver.Reset();
    driver.SetRegister(1, kModelAddress, 0x00120000);
    EXPECT_EQ(17u, List());
}

TEST_F(WindowsListing, IsEmptyWithoutDevices)
{
    driver.Unplug(0);
    driver.Unplug(1);
    EXPECT_EQ(0u, List());
    EXPECT_EQ(0u, count);
    EXPECT_EQ("FWCameraGetList - got 0 devices using setup API\n", said.Text());
}

TEST_F(WindowsListing, LeavesOutTheDeviceThatHasGone)
{
    driver.Unplug(0);
    EXPECT_EQ(0u, List());
    ASSERT_EQ(1u, count);
    EXPECT_EQ(0x001F0000u, Camera(0).modelWord);
}

TEST_F(WindowsListing, MarksADeviceThatSomebodyElseHas)
{
    OpenDevice other(kFirst);
    ASSERT_TRUE(other.Take(112));
    EXPECT_EQ(0u, List());
    ASSERT_EQ(2u, count);
    EXPECT_EQ(1u, Camera(0).isConnected);
    EXPECT_EQ(0u, Camera(0).modelWord);
    EXPECT_EQ(0u, Camera(1).isConnected);
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
    EXPECT_EQ((std::vector<uint32_t>{1, 1, 1}), Held());
}

TEST_F(WindowsListing, FailsOnABusWithoutBandwidth)
{
    driver.Fail(1, 0x22A0A0, kStatusInsufficientResources);
    EXPECT_EQ(17u, List());
}

} // namespace
} // namespace zerix::test
