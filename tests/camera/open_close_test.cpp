// Opening and closing: what is held in between, the camera's threads, and every way it can fail.
#include "camera/models/model_table.h"
#include "platform/os.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kSystemError = kernel::kErrorGenFailure;

class OpenClose : public VirtualBusTest {
protected:
    // Listed and closed.
    ZX::TolvaneFWCamera &ListOne()
    {
        UseCameras({Describe(18, 6)});
        ListCameras();
        return Camera();
    }
    uint32_t OpenHandles()
    {
        ZerixSimHeld held{};
        ZerixSim_GetHeld(&held);
        return held.openHandles;
    }
};

TEST_F(OpenClose, HoldsTheDeviceInBetween)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_TRUE(camera.IsCameraOpen());
    EXPECT_TRUE(camera.DoWeHaveExclusiveAccess());
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 112);
    EXPECT_EQ(camera.GetHalCamera().packetBufferSize, 112u);
    EXPECT_EQ(OpenHandles(), 1u);
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_FALSE(camera.IsCameraOpen());
    EXPECT_FALSE(camera.DoWeHaveExclusiveAccess());
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 0);
    EXPECT_EQ(OpenHandles(), 0u);
}

TEST_F(OpenClose, ClosesAClosedCameraAtOnce)
{
    EXPECT_EQ(ListOne().CloseCamera(), 0);
    EXPECT_EQ(Camera().CloseCamera(), 0);
}

TEST_F(OpenClose, WorksManyTimesOnOneObject)
{
    auto &camera = ListOne();
    for (int round = 0; round < 25; ++round) {
        ASSERT_EQ(camera.OpenCamera(), 0) << round;
        ASSERT_EQ(camera.CloseCamera(), 0) << round;
        ASSERT_EQ(OpenHandles(), 0u) << round;
    }
}

TEST_F(OpenClose, WritesNothingToTheCamera)
{
    auto &camera = ListOne();
    TakeWrites();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

TEST_F(OpenClose, KeepsSeveralCamerasApart)
{
    ListCameras();
    ASSERT_EQ(cameras.size(), 3u);
    for (ZX::ZCamera *camera : cameras)
        EXPECT_EQ(camera->OpenCamera(), 0);
    EXPECT_EQ(OpenHandles(), 3u);
    EXPECT_EQ(cameras[1]->CloseCamera(), 0);
    EXPECT_EQ(OpenHandles(), 2u);
    EXPECT_TRUE(cameras[0]->IsCameraOpen());
    EXPECT_FALSE(cameras[1]->IsCameraOpen());
    EXPECT_TRUE(cameras[2]->IsCameraOpen());
}

// Somebody else's ---------------------------------------------------------------------------------

TEST_F(OpenClose, IsOpenWithoutAccessWhereAnotherProcessHoldsTheDevice)
{
    auto &camera = ListOne();
    tap.PretendInUse(true);
    EXPECT_EQ(camera.OpenCamera(), 1);
    EXPECT_TRUE(camera.IsCameraOpen());
    EXPECT_FALSE(camera.DoWeHaveExclusiveAccess());
    EXPECT_EQ(OpenHandles(), 0u);
    // There are no threads to wait for.
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_FALSE(camera.IsCameraOpen());
    tap.PretendInUse(false);
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_TRUE(camera.DoWeHaveExclusiveAccess());
    EXPECT_EQ(camera.CloseCamera(), 0);
}

TEST_F(OpenClose, IsRefusedToAnOpenCameraWithoutHarm)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.ReallocateBandwidth(4096), 0);
    EXPECT_EQ(camera.OpenCamera(), 1);
    EXPECT_EQ(camera.GetHalCamera().packetBufferSize, 4108u);
    EXPECT_TRUE(camera.DoWeHaveExclusiveAccess());
    EXPECT_EQ(camera.SetTriggerMode(1), 0);
    EXPECT_EQ(OpenHandles(), 1u);
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_EQ(OpenHandles(), 0u);
}

TEST_F(OpenClose, IsOpenAtOnceWhereTheRecordSaysInUse)
{
    HALCamera inUse{};
    inUse.isConnected = 1;
    inUse.kind = 2; // no transport: connecting and disconnecting do nothing
    auto camera = models::MakeCamera(inUse, 18);
    EXPECT_TRUE(camera->IsCameraOpen());
    EXPECT_FALSE(camera->DoWeHaveExclusiveAccess());
    EXPECT_EQ(camera->CloseCamera(), 0);
    EXPECT_FALSE(camera->IsCameraOpen());
}

// Failures ----------------------------------------------------------------------------------------

struct RefusedRequest {
    const char *name;
    uint32_t code;
    uint16_t status;
};

TEST_F(OpenClose, FailsWithTheStatusOfWhatIsRefused)
{
    auto &camera = ListOne();
    const RefusedRequest refused[] = {{"is open", kernel::kControlIsOpen, 9},
                                      {"bandwidth", kernel::kControlAllocateBandwidth, 7},
                                      {"channel", kernel::kControlAllocateChannel, 9}};
    for (const auto &[name, code, status] : refused) {
        tap.FailRequest(code, kSystemError);
        testing::internal::CaptureStdout();
        EXPECT_EQ(camera.OpenCamera(), status) << name;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError)) << name;
        EXPECT_FALSE(camera.IsCameraOpen()) << name;
        EXPECT_EQ(OpenHandles(), 0u) << name;
    }
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.CloseCamera(), 0);
}

TEST_F(OpenClose, FailsWhereTheDeviceCannotBeReached)
{
    auto &camera = ListOne();
    tap.FailOpen(kernel::kErrorFileNotFound);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.OpenCamera(), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kernel::kErrorFileNotFound));
    EXPECT_FALSE(camera.IsCameraOpen());
}

// Whichever step fails, the camera stays open.
TEST_F(OpenClose, KeepsTheDeviceAfterAFailedDisconnection)
{
    for (const uint32_t code : {kernel::kControlFreeResources, kernel::kControlFreeChannel,
                                kernel::kControlFreeBandwidth}) {
        auto &camera = ListOne();
        EXPECT_EQ(camera.OpenCamera(), 0);
        tap.FailRequest(code, kSystemError);
        testing::internal::CaptureStdout();
        EXPECT_EQ(camera.CloseCamera(), 9);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
        EXPECT_TRUE(camera.IsCameraOpen());
        EXPECT_TRUE(camera.DoWeHaveExclusiveAccess());
        testing::internal::CaptureStdout();
        FreeCameras();
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(OpenHandles(), 0u);
    }
}

TEST_F(OpenClose, ClosesAfterAFailedDisconnection)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    tap.FailRequest(kernel::kControlFreeResources, kSystemError, 0, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.CloseCamera(), 9);
    EXPECT_EQ(camera.CloseCamera(), 9);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_FALSE(camera.IsCameraOpen());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(camera.OpenCamera(), 0);
        EXPECT_EQ(camera.CloseCamera(), 0);
    }
}

TEST_F(OpenClose, ClosesAStreamingCamera)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.StartStreamingImages(nullptr, nullptr, false, nullptr), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(OpenHandles(), 0u);
}

TEST_F(OpenClose, ClosesAfterAFailedStop)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.StartStreamingImages(nullptr, nullptr, false, nullptr), 0);
    tap.FailRequest(kernel::kControlStopListen, kSystemError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.CloseCamera(), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    EXPECT_TRUE(camera.IsCameraOpen());
    EXPECT_EQ(camera.CloseCamera(), 0);
    EXPECT_EQ(OpenHandles(), 0u);
}

// The object ends whole, threads and all, whether or not the device can be given back.
TEST_F(OpenClose, EndsAnObjectThatCannotBeClosed)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    EXPECT_EQ(camera.StartStreamingImages(nullptr, nullptr, false, nullptr), 0);
    tap.FailRequest(kernel::kControlStopListen, kSystemError, 0, 100);
    tap.FailRequest(kernel::kControlFreeResources, kSystemError, 0, 100);
    testing::internal::CaptureStdout();
    FreeCameras();
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(cameras.empty());
    EXPECT_EQ(OpenHandles(), 0u);
}

TEST_F(OpenClose, EndsAnUnpluggedCamera)
{
    auto &camera = ListOne();
    EXPECT_EQ(camera.OpenCamera(), 0);
    ASSERT_EQ(ZerixSim_Unplug(0), uint32_t{ZERIX_SIM_OK});
    testing::internal::CaptureStdout();
    FreeCameras();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(OpenHandles(), 0u);
}

// Its record is left to whoever builds the next object from it.
TEST_F(OpenClose, LeavesTheRecordWhereToldTo)
{
    auto &camera = ListOne();
    const HALCamera record = camera.GetHalCamera();
    camera.SetShouldDeleteHALCamera(false);
    FreeCameras();
    cameras.push_back(models::MakeCamera(record, 18).release());
    EXPECT_EQ(cameras[0]->OpenCamera(), 0);
    EXPECT_EQ(cameras[0]->ReadCameraInfo(), 0);
    EXPECT_EQ(cameras[0]->GetModel(), 18);
    EXPECT_EQ(cameras[0]->CloseCamera(), 0);
}

} // namespace
} // namespace zerix::test
