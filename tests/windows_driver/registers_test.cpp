// Register accesses through the system's device control calls, at once and pending.
#include <array>
#include <thread>

#include "hal_camera.h"

namespace zerix::test {
namespace {

constexpr uint32_t kRead = 0x22207A;
constexpr uint32_t kWrite = 0x22A07C;

class WindowsRegisters : public HalDriverTest {
protected:
    void SetUp() override
    {
        HalDriverTest::SetUp();
        driver.SetRegisters(0, kTestRegister, std::array<uint32_t, 2>{0x01020304, 0xA0B0C0D0});
        BeConnected();
        driver.TakeAccesses(0);
    }

    void TearDown() override
    {
        if (count > 0) {
            EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
        }
        HalDriverTest::TearDown();
    }

    uint32_t Read(uint32_t quadlets)
    {
        data = {};
        return HAL_CameraReadData(Camera(0), kTestRegister, data.data(), quadlets);
    }

    uint32_t Write(const std::array<uint32_t, 2> &words, uint32_t quadlets = 2)
    {
        return HAL_CameraWriteData(Camera(0), kTestRegister, words.data(), quadlets);
    }

    std::array<uint32_t, 3> data{};
};

TEST_F(WindowsRegisters, AreReadAtOnceAndLater)
{
    for (const TestPending pending : {kTestPendNever, kTestPendAlways, kTestPendEverySecond}) {
        driver.SetPending(0, pending);
        EXPECT_EQ(0u, Read(2));
        EXPECT_EQ((std::array<uint32_t, 3>{0x01020304, 0xA0B0C0D0, 0}), data);
        EXPECT_EQ(0u, Read(1));
        EXPECT_EQ((std::array<uint32_t, 3>{0x01020304, 0, 0}), data);
    }
}

TEST_F(WindowsRegisters, AreWrittenAtOnceAndLater)
{
    for (const TestPending pending : {kTestPendNever, kTestPendAlways}) {
        driver.SetPending(0, pending);
        EXPECT_EQ(0u, Write({0x11223344, 0x55667788}));
        EXPECT_EQ(0x11223344u, driver.Register(0, kTestRegister));
        EXPECT_EQ(0x55667788u, driver.Register(0, kTestRegister + 4));
        EXPECT_EQ(0u, Write({1, 2}));
    }
    const auto accesses = driver.TakeAccesses(0);
    ASSERT_EQ(4u, accesses.size());
    for (const TestAccess &access : accesses) {
        EXPECT_EQ(1u, access.isWrite);
        EXPECT_EQ(kTestRegister, access.address);
        EXPECT_EQ(2u, access.quadlets);
    }
}

TEST_F(WindowsRegisters, TakeAWriteOfNothing)
{
    EXPECT_EQ(0u, Write({1, 2}, 0));
    EXPECT_EQ("FWCameraWriteData:NumberOfBytesToWrite is ZERO!", said.Text());
    EXPECT_EQ(0x01020304u, driver.Register(0, kTestRegister));
}

TEST_F(WindowsRegisters, FailToBeReadWithOneError)
{
    driver.Fail(0, kRead, kStatusInsufficientResources);
    EXPECT_EQ(18u, Read(1));
    driver.AddFault({0, kRead, kTestPendAndFail, kStatusUnsuccessful, 0, 1});
    EXPECT_EQ(18u, Read(1));
    EXPECT_EQ(18u, Read(3)); // the third is none of the camera's
    EXPECT_EQ(0u, Read(1));
}

// Only a write that fails at once tells of missing resources.
TEST_F(WindowsRegisters, FailToBeWrittenWithTheSystemsError)
{
    driver.Fail(0, kWrite, kStatusUnsuccessful);
    EXPECT_EQ(19u, Write({1, 2}));
    EXPECT_EQ(
        0u, said.Text().find("In FWCameraWriteData(), GetOverlappedResult failed with error 31: "));
    said.Clear();
    driver.Fail(0, kWrite, kStatusInsufficientResources);
    EXPECT_EQ(40u, Write({1, 2}));
    EXPECT_EQ(0u, said.Text().find(
                      "In FWCameraWriteData(), GetOverlappedResult failed with error 1450: "));
    driver.AddFault({0, kWrite, kTestPendAndFail, kStatusInsufficientResources, 0, 1});
    EXPECT_EQ(19u, Write({1, 2}));
    EXPECT_EQ(0x01020304u, driver.Register(0, kTestRegister));
    EXPECT_EQ(0u, Write({1, 2}));
}

TEST_F(WindowsRegisters, OfADeviceThatHasGoneFail)
{
    driver.Unplug(0);
    EXPECT_EQ(18u, Read(1));
    EXPECT_EQ(19u, Write({1, 2}));
    driver.Plug(0);
    EXPECT_EQ(0u, Read(1));
}

// An access waits without limit, but not past the device.
TEST_F(WindowsRegisters, ThatHangEndWithTheDevice)
{
    driver.AddFault({0, kRead, kTestHang, 0, 0, 1});
    uint32_t error = 0;
    std::thread reader([&] { error = Read(1); });
    while (driver.State(0).pendingRequests == 0)
        std::this_thread::yield();
    driver.Unplug(0);
    reader.join();
    EXPECT_EQ(18u, error);
    driver.Plug(0);
}

} // namespace
} // namespace zerix::test
