// Connecting, disconnecting and releasing a camera: the requests, their order and what failures
// leave.
#include "hal/camera_connection.h"
#include "tests/hal/hal_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using ConnectionTest = HalTest;

const Calls kFullConnect = {"open 1394#camera", "222096", "22A0A0", "22A0A8", "22A0B0"};
const Calls kFullDisconnect = {"22A0B4", "22A0AC", "22A0A4", "22A08C", "close"};

TEST_F(ConnectionTest, AsksForEverythingInOrder)
{
    EXPECT_EQ(Connect(), 0u);
    EXPECT_EQ(driver.Calls(), kFullConnect);
    EXPECT_EQ(camera.isConnected, 1u);
    EXPECT_EQ(camera.packetBufferSize, 112u);
    EXPECT_EQ(Device().packetSize, 112u);
    EXPECT_EQ(Device().deviceHandle.load(), 0x1001u);
    EXPECT_EQ(Device().bandwidthHandle, 0xB0000001u);
    EXPECT_EQ(Device().channel, 5u);
    EXPECT_EQ(Device().resourcesHandle, 0x4E500001u);
    EXPECT_EQ(Device().speedFlag, 8u);
    EXPECT_EQ(Said(), "");
}

TEST_F(ConnectionTest, SendsTheRecordsOfTheDriver)
{
    ASSERT_EQ(Connect(), 0u);
    const auto isOpen = driver.Requests(0x222096).at(0);
    EXPECT_EQ(isOpen.in, (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(isOpen.outSize, 4u);
    const auto bandwidth = driver.Requests(0x22A0A0).at(0);
    EXPECT_EQ(bandwidth.in, (Bytes{112, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(bandwidth.outSize, 20u);
    const auto channel = driver.Requests(0x22A0A8).at(0);
    EXPECT_EQ(channel.in, (Bytes{255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(channel.outSize, 16u);
    const auto resources = driver.Requests(0x22A0B0).at(0);
    EXPECT_EQ(resources.in, (Bytes{8,   0, 0, 0, 0x41, 0, 0, 0, 5,    0,    0, 0,
                                   112, 0, 0, 0, 61,   0, 0, 0, 0x20, 0x0D, 0, 0, // 112 * 30
                                   0,   0, 0, 0, 1,    0, 0, 0, 0,    0,    0, 0}));
    EXPECT_EQ(resources.outSize, 36u);
}

TEST_F(ConnectionTest, GivesEverythingBackInOrder)
{
    BeConnected();
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), kFullDisconnect);
    EXPECT_EQ(driver.Requests(0x22A0B4).at(0).in, (Bytes{0x01, 0x00, 0x50, 0x4E}));
    EXPECT_EQ(driver.Requests(0x22A0B4).at(0).outSize, 4u);
    EXPECT_EQ(driver.Requests(0x22A0AC).at(0).in, (Bytes{5, 0, 0, 0}));
    EXPECT_EQ(driver.Requests(0x22A0A4).at(0).in, (Bytes{0x01, 0x00, 0x00, 0xB0}));
    EXPECT_EQ(driver.Requests(0x22A08C).at(0).inSize, 4u);
    EXPECT_EQ(camera.isConnected, 0u);
    EXPECT_EQ(Device().deviceHandle.load(), 0u);
}

TEST_F(ConnectionTest, CanBeOpenedManyTimes)
{
    for (uint32_t i = 0; i < 3; ++i) {
        driver.Forget();
        EXPECT_EQ(Connect(), 0u);
        EXPECT_EQ(driver.Calls(), kFullConnect);
        EXPECT_EQ(hal::OpenDeviceOf(camera), 0x1001u + i);
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
        EXPECT_EQ(hal::OpenDeviceOf(camera), 0u);
    }
}

TEST_F(ConnectionTest, TellsANodeThatCannotBeOpened)
{
    driver.openError = kernel::kErrorFileNotFound;
    EXPECT_EQ(Connect(), 17u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera"}));
    EXPECT_EQ(camera.isConnected, 0u);
    EXPECT_NE(Said().find("ConnectToFireWireCamera failed with error 2: " + os::ErrorText(2)),
              std::string::npos);
    EXPECT_NE(Said().find("Error"), std::string::npos);
    EXPECT_EQ(os::LastError(), 2u);
}

TEST_F(ConnectionTest, ClosesADeviceThatCannotTellItsOwner)
{
    driver.Next(kernel::kControlIsOpen, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(Connect(), 27u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera", "222096", "close"}));
    EXPECT_EQ(camera.isConnected, 0u);
    EXPECT_EQ(Said().find("Free Check isOpen failed!!!\n"), 0u);
    EXPECT_NE(Said().find("FWCameraIsOpen failed with error 31: "), std::string::npos);
    EXPECT_EQ(os::LastError(), 31u);
}

TEST_F(ConnectionTest, LeavesADeviceOfSomebodyElse)
{
    driver.Next(kernel::kControlIsOpen, {.out = Word(1)});
    EXPECT_EQ(Connect(), 37u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera", "222096", "close"}));
    EXPECT_EQ(camera.isConnected, 0u);
    EXPECT_EQ(hal::OpenDeviceOf(camera), 0u);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(Connect(), 0u) << "the other has closed it";
}

TEST_F(ConnectionTest, FailsWithoutBandwidth)
{
    driver.Next(kernel::kControlAllocateBandwidth, Fails(kernel::kErrorNoSystemResources));
    EXPECT_EQ(Connect(), 24u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera", "222096", "22A0A0", "close"}));
    EXPECT_EQ(Said(), "Allocating Resources Failed with error 24");
    EXPECT_EQ(Device().bandwidthHandle, 0u);
    EXPECT_EQ(os::LastError(), 1450u);
}

TEST_F(ConnectionTest, FailsWithoutAChannel)
{
    driver.Next(kernel::kControlAllocateChannel, Fails(kernel::kErrorNoSystemResources));
    EXPECT_EQ(Connect(), 26u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera", "222096", "22A0A0", "22A0A8", "close"}));
    EXPECT_EQ(Device().channel, 0xFFFFFFFFu);
    EXPECT_EQ(Said(), "");
}

TEST_F(ConnectionTest, TriesTheSlowerSpeedSecond)
{
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(Connect(), 0u);
    const auto requests = driver.Requests(0x22A0B0);
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].Words()[0], 8u);
    EXPECT_EQ(requests[1].Words(), (std::vector<uint32_t>{4, 0x41, 5, 112, 61, 3360, 0, 1, 0}));
    EXPECT_EQ(Device().speedFlag, 4u);
    EXPECT_EQ(Device().resourcesHandle, 0x4E500001u);
}

TEST_F(ConnectionTest, FailsWhenBothSpeedsAreRefused)
{
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported), 2);
    EXPECT_EQ(Connect(), 28u);
    EXPECT_EQ(driver.Calls(), (Calls{"open 1394#camera", "222096", "22A0A0", "22A0A8", "22A0B0",
                                     "22A0B0", "close"}));
    EXPECT_EQ(Device().resourcesHandle, 0u);
    EXPECT_EQ(Device().speedFlag, 4u);
}

TEST_F(ConnectionTest, NeverTriesABigSlotAtTheSlowerSpeed)
{
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(Connect(0x1325 - 12), 28u);
    EXPECT_EQ(driver.Count(kernel::kControlAllocateResources), 1u);
    EXPECT_EQ(Device().speedFlag, 4u);
    EXPECT_EQ(Device().resourcesHandle, 0u);
}

TEST_F(ConnectionTest, TriesTheBiggestSlotThatFitsTheSlowerSpeed)
{
    driver.Next(kernel::kControlAllocateResources, Fails(kernel::kErrorNotSupported));
    EXPECT_EQ(Connect(0x1324 - 12), 0u);
    EXPECT_EQ(driver.Requests(0x22A0B0).at(1).Words()[3], 4900u);
}

// The mark stays and the handle's number with it, so that requests fail as on a closed handle.
TEST_F(ConnectionTest, StaysMarkedAfterAFailedAllocation)
{
    driver.Next(kernel::kControlAllocateBandwidth, Fails(kernel::kErrorNoSystemResources));
    ASSERT_EQ(Connect(), 24u);
    EXPECT_EQ(camera.isConnected, 1u);
    EXPECT_EQ(Device().deviceHandle.load(), 0x1001u);
    EXPECT_EQ(hal::OpenDeviceOf(camera), 0u);
    driver.Forget();
    uint32_t word = 0;
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &word, 1), 18u);
    EXPECT_EQ(os::LastError(), 6u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &word, 1), 19u);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 100, 1), 29u);
    EXPECT_EQ(os::LastError(), 6u);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u) << "nothing is held any more";
    EXPECT_EQ(camera.isConnected, 0u);
    EXPECT_EQ(driver.Calls(), Calls{}) << "nothing goes to a handle that may be another's by now";
    EXPECT_EQ(Connect(), 0u);
}

struct FreeFailure {
    uint32_t code;
    uint32_t error;
    Calls calls;
};

TEST_F(ConnectionTest, KeepsTheConnectionWhenGivingBackFails)
{
    const FreeFailure failures[] = {
        {kernel::kControlFreeResources, 29, {"22A0B4"}},
        {kernel::kControlFreeChannel, 27, {"22A0B4", "22A0AC"}},
        {kernel::kControlFreeBandwidth, 25, {"22A0AC", "22A0A4"}}, // the resources are free already
    };
    BeConnected();
    for (const FreeFailure &failure : failures) {
        driver.Forget();
        driver.Next(failure.code, Fails(kernel::kErrorGenFailure));
        EXPECT_EQ(HAL_CameraDisconnect(&camera), failure.error);
        EXPECT_EQ(driver.Calls(), failure.calls);
        EXPECT_EQ(camera.isConnected, 1u);
        EXPECT_EQ(hal::OpenDeviceOf(camera), 0x1001u);
        EXPECT_EQ(os::LastError(), 31u);
    }
    driver.Forget();
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), (Calls{"22A0A4", "22A08C", "close"})) << "the rest";
}

// Its handle would keep the device from coming back.
TEST_F(ConnectionTest, ClosesTheHandleOfALostDevice)
{
    const FreeFailure failures[] = {
        {kernel::kControlFreeResources, 29, {"22A0B4", "close"}},
        {kernel::kControlFreeChannel, 27, {"22A0B4", "22A0AC", "close"}},
        {kernel::kControlFreeBandwidth, 25, {"22A0B4", "22A0AC", "22A0A4", "close"}},
    };
    for (const FreeFailure &failure : failures)
        for (const uint32_t systemError : {2u, 6u, 55u, 433u, 1167u, 1617u}) {
            BeConnected();
            driver.Next(failure.code, Fails(systemError));
            EXPECT_EQ(HAL_CameraDisconnect(&camera), failure.error);
            EXPECT_EQ(os::LastError(), systemError);
            EXPECT_EQ(driver.Calls(), failure.calls);
            EXPECT_EQ(driver.OpenHandles(), 0u);
            EXPECT_EQ(camera.isConnected, 0u);
            EXPECT_EQ(hal::OpenDeviceOf(camera), 0u);
            EXPECT_EQ(hal::HeldPacketBytes(camera), 0u);
            EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
            EXPECT_EQ(driver.Calls(), failure.calls) << "nothing more";
        }
}

TEST_F(ConnectionTest, DisconnectsEvenIfTheBusEventCannotBeCancelled)
{
    BeConnected();
    driver.Next(kernel::kControlCancelBusEvent, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), kFullDisconnect);
}

TEST_F(ConnectionTest, DisconnectsNothingThatIsNotConnected)
{
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(ConnectionTest, DisconnectsNothingOfSomebodyElses)
{
    camera.isConnected = 1; // as in a list entry that is in use
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
    EXPECT_EQ(camera.isConnected, 1u);
}

TEST_F(ConnectionTest, ReleaseClosesWhatIsStillOpen)
{
    BeConnected();
    EXPECT_EQ(HAL_CameraRelease(&camera), 0u);
    EXPECT_EQ(driver.Calls(), (Calls{"close"}));
    EXPECT_EQ(camera.device, nullptr);
}

TEST_F(ConnectionTest, DoesNothingForOtherKinds)
{
    camera.kind = 2;
    EXPECT_EQ(Connect(), 0u);
    EXPECT_EQ(camera.packetBufferSize, 0u);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(HAL_CameraRelease(&camera), 0u);
    EXPECT_NE(camera.device, nullptr);
    camera.kind = 1;
    EXPECT_EQ(Connect(), 17u) << "the dormant transport isn't there";
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
    camera.kind = 0;
}

TEST_F(ConnectionTest, AdapterOpenDoesNothing)
{
    EXPECT_EQ(HAL_AdapterOpen(1, 2), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(ConnectionTest, IsOpenAnswersForTheMonitor)
{
    BeConnected();
    uint32_t isOpen = 7;
    driver.Next(kernel::kControlIsOpen, {.out = Word(1)});
    EXPECT_EQ(hal::FWCameraIsOpen(0x1001, &isOpen, false), 0u);
    EXPECT_EQ(isOpen, 1u);
    driver.Next(kernel::kControlIsOpen, Fails(kernel::kErrorDeviceNotConnected));
    EXPECT_EQ(hal::FWCameraIsOpen(0x1001, &isOpen, false), 27u);
    EXPECT_EQ(Said(), "Free Check isOpen failed!!!\n") << "and no box";
    EXPECT_EQ(os::LastError(), 1167u);
}

} // namespace
