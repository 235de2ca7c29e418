// Bus speed, packet limits and the change of packet size.
#include "hal/camera_connection.h"
#include "tests/hal/hal_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

class BandwidthTest : public HalTest {
protected:
    uint16_t Speed()
    {
        uint16_t speed = 1;
        EXPECT_EQ(HAL_CameraConnectionSpeed(camera, &speed), 0u);
        return speed;
    }
    uint16_t FastestPacket()
    {
        uint16_t size = 1;
        EXPECT_EQ(HAL_CameraFastestPacketSizeSupported(camera, &size), 0u);
        return size;
    }
};

TEST_F(BandwidthTest, FollowsTheSpeedFlag)
{
    BeConnected();
    EXPECT_EQ(Speed(), 800);
    EXPECT_EQ(FastestPacket(), 9044);
    for (const uint32_t flag : {4u, 0u, 7u, 9u}) {
        Device().speedFlag = flag;
        EXPECT_EQ(Speed(), 400);
        EXPECT_EQ(FastestPacket(), 5000);
    }
}

TEST_F(BandwidthTest, ReallocatesInOrder)
{
    BeConnected();
    driver.Next(kernel::kControlAllocateChannel,
                {.out = Bytes{255, 255, 255, 255, 17, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 3), 0u);
    EXPECT_EQ(driver.Calls(), (Calls{"22A0B4", "22A0AC", "22A0A4", "22A0A0", "22A0A8", "22A0B0"}));
    EXPECT_EQ(driver.Requests(0x22A0A0).at(0).Words(), (std::vector<uint32_t>{4012, 8, 0, 0, 0}));
    EXPECT_EQ(driver.Requests(0x22A0B0).at(0).Words(),
              (std::vector<uint32_t>{8, 0x41, 17, 4012, 61, 120360, 0, 3, 0}));
    EXPECT_EQ(camera.packetBufferSize, 4012u);
    EXPECT_EQ(Device().packetSize, 4012u);
    EXPECT_EQ(Device().channel, 17u);
}

TEST_F(BandwidthTest, ComesBackAtTheSlowerSpeed)
{
    BeConnected();
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4888, 2), 0u);
    EXPECT_EQ(driver.Requests(0x22A0B0).at(1).Words(),
              (std::vector<uint32_t>{4, 0x41, 5, 4900, 61, 147000, 0, 2, 0}));
    EXPECT_EQ(Speed(), 400);
    EXPECT_EQ(FastestPacket(), 5000);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 100, 2), 0u);
    EXPECT_EQ(Speed(), 800);
}

TEST_F(BandwidthTest, TakesASlotOf4890AtTheSlowerSpeed)
{
    BeConnected();
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4878, 2), 0u);
    EXPECT_EQ(camera.packetBufferSize, 4890u);
    EXPECT_EQ(Speed(), 400);
}

TEST_F(BandwidthTest, RefusesASlotTooBigForTheSlowerSpeed)
{
    BeConnected();
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4890, 2), 28u);
    EXPECT_EQ(driver.Count(kernel::kControlAllocateResources), 2u) << "one of them at connect";
    EXPECT_EQ(Device().resourcesHandle, 0u);
    EXPECT_EQ(camera.packetBufferSize, 4902u);
}

struct Failure {
    uint32_t code;
    int times;
    uint32_t error;
    Calls calls;
    uint32_t slotAfter;
};

TEST_F(BandwidthTest, LeavesTheDeviceOpenAfterEveryFailure)
{
    const Failure failures[] = {
        {kernel::kControlFreeResources, 1, 29, {"22A0B4"}, 112},
        {kernel::kControlFreeChannel, 1, 27, {"22A0B4", "22A0AC"}, 112},
        {kernel::kControlFreeBandwidth, 1, 25, {"22A0B4", "22A0AC", "22A0A4"}, 112},
        {kernel::kControlAllocateBandwidth, 1, 24, {"22A0B4", "22A0AC", "22A0A4", "22A0A0"}, 212},
        {kernel::kControlAllocateChannel,
         1,
         26,
         {"22A0B4", "22A0AC", "22A0A4", "22A0A0", "22A0A8"},
         212},
        {kernel::kControlAllocateResources,
         2,
         28,
         {"22A0B4", "22A0AC", "22A0A4", "22A0A0", "22A0A8", "22A0B0", "22A0B0"},
         212},
    };
    for (const Failure &failure : failures) {
        BeConnected();
        driver.Next(failure.code, Fails(kernel::kErrorGenFailure), failure.times);
        EXPECT_EQ(FWCameraReallocateBandwidth(&camera, 200, 1), failure.error);
        EXPECT_EQ(driver.Calls(), failure.calls);
        EXPECT_EQ(camera.packetBufferSize, failure.slotAfter);
        EXPECT_EQ(Device().packetSize, failure.slotAfter);
        EXPECT_EQ(driver.OpenHandles(), 1u);
        EXPECT_EQ(os::LastError(), 31u);
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    }
    EXPECT_EQ(Said(), "Allocating Resources Failed with error 24");
}

// A refused booking, and the requests that give back what it left.
struct Refusal {
    uint32_t code;
    int times;
    uint32_t error;
    Calls givingBack;
};

const Refusal kRefusals[] = {
    {kernel::kControlAllocateBandwidth, 1, 24, {}},
    {kernel::kControlAllocateChannel, 1, 26, {"22A0A4"}},
    {kernel::kControlAllocateResources, 2, 28, {"22A0AC", "22A0A4"}},
};

Calls Joined(Calls calls, const Calls &more)
{
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

TEST_F(BandwidthTest, ASmallerBookingSucceedsAfterARefusedOne)
{
    for (const Refusal &refusal : kRefusals) {
        BeConnected();
        driver.Next(refusal.code, Fails(kernel::kErrorNoSystemResources), refusal.times);
        EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 1), refusal.error);
        driver.Forget();
        EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 2000, 1), 0u) << refusal.error;
        EXPECT_EQ(driver.Calls(), Joined(refusal.givingBack, {"22A0A0", "22A0A8", "22A0B0"}));
        driver.Forget();
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
        EXPECT_EQ(driver.Calls(), (Calls{"22A0B4", "22A0AC", "22A0A4", "22A08C", "close"}));
    }
}

TEST_F(BandwidthTest, DisconnectAndConnectSucceedAfterARefusedBooking)
{
    for (const Refusal &refusal : kRefusals) {
        BeConnected();
        driver.Next(refusal.code, Fails(kernel::kErrorNoSystemResources), refusal.times);
        EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 1), refusal.error);
        driver.Forget();
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u) << refusal.error;
        EXPECT_EQ(driver.Calls(), Joined(refusal.givingBack, {"22A08C", "close"}));
        EXPECT_EQ(camera.isConnected, 0u);
    }
    EXPECT_EQ(Connect(), 0u);
}

TEST_F(BandwidthTest, ReportsThePacketsThatItHolds)
{
    EXPECT_EQ(hal::HeldPacketBytes(camera), 0u) << "not connected yet";
    BeConnected();
    EXPECT_EQ(hal::HeldPacketBytes(camera), 100u);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 1), 0u);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 4000u);
    for (const Refusal &refusal : kRefusals) {
        driver.Next(refusal.code, Fails(kernel::kErrorNoSystemResources), refusal.times);
        EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 1), refusal.error);
        EXPECT_EQ(hal::HeldPacketBytes(camera), 0u) << refusal.error;
        EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 200, 1), 0u);
        EXPECT_EQ(hal::HeldPacketBytes(camera), 200u);
    }
    driver.Next(kernel::kControlFreeResources, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 300, 1), 29u);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 200u) << "nothing was given back";
    driver.Next(kernel::kControlFreeChannel, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 300, 1), 27u);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 0u) << "the resources were";
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    BeConnected();
    EXPECT_EQ(hal::HeldPacketBytes(camera), 100u);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 0u);
    camera.kind = 1;
    EXPECT_EQ(hal::HeldPacketBytes(camera), 0u);
    camera.kind = 0;
}

TEST_F(BandwidthTest, ForgetsWhatItCouldNotTakeAgain)
{
    BeConnected();
    driver.Next(kernel::kControlAllocateBandwidth, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 200, 1), 24u);
    EXPECT_EQ(Device().bandwidthHandle, 0u);
    driver.Next(kernel::kControlAllocateChannel, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 200, 1), 26u);
    EXPECT_EQ(Device().channel, 0xFFFFFFFFu);
}

TEST_F(BandwidthTest, FailsOnAClosedDevice)
{
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 200, 1), 29u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(BandwidthTest, DormantTransportGoesByThePacketSize)
{
    camera.kind = 1;
    uint16_t speed = 1;
    camera.packetBufferSize = 5000;
    EXPECT_EQ(HAL_CameraConnectionSpeed(camera, &speed), 0u);
    EXPECT_EQ(speed, 400);
    camera.packetBufferSize = 9044;
    EXPECT_EQ(HAL_CameraConnectionSpeed(camera, &speed), 0u);
    EXPECT_EQ(speed, 800);
    camera.packetBufferSize = 4999;
    EXPECT_EQ(HAL_CameraConnectionSpeed(camera, &speed), 38u);
    EXPECT_EQ(speed, 0);
    EXPECT_EQ(FastestPacket(), 5000);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 100, 1), 0u);
    EXPECT_EQ(camera.packetBufferSize, 112u);
    EXPECT_EQ(driver.Calls(), Calls{});
    camera.kind = 0;
}

TEST_F(BandwidthTest, OtherKindsLeaveEverything)
{
    camera.kind = 9;
    uint16_t value = 77;
    EXPECT_EQ(HAL_CameraConnectionSpeed(camera, &value), 0u);
    EXPECT_EQ(HAL_CameraFastestPacketSizeSupported(camera, &value), 0u);
    EXPECT_EQ(value, 77);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 100, 1), 0u);
    EXPECT_EQ(camera.packetBufferSize, 0u);
    camera.kind = 0;
}

} // namespace
