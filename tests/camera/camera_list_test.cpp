// From devices on the bus to camera objects, and how the lists end.
#include <typeinfo>

#include "camera/models/models.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "platform/os.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kModelRegister = 0xE0010038;
constexpr uint32_t kOtherModelRegister = 0xE0001138;
constexpr uint32_t kSystemError = kernel::kErrorGenFailure;

class CameraList : public VirtualBusTest {};

TEST_F(CameraList, StartsTheLayerOnce)
{
    ZX::ZCamera::Shutdown();
    EXPECT_FALSE(ZX::ZCamera::IsInitalized());
    EXPECT_EQ(ZX::ZCamera::Initialize(), 0);
    EXPECT_TRUE(ZX::ZCamera::IsInitalized());
    EXPECT_EQ(ZX::ZCamera::Initialize(), 24);
    EXPECT_TRUE(ZX::ZCamera::IsInitalized());
    EXPECT_EQ(ZX::ZCamera::Shutdown(), 0);
    EXPECT_FALSE(ZX::ZCamera::IsInitalized());
}

TEST_F(CameraList, IsEmptyOnAnEmptyBus)
{
    UseCameras({Describe(18, 6)});
    ASSERT_EQ(ZerixSim_Unplug(0), uint32_t{ZERIX_SIM_OK});
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), 0);
    EXPECT_TRUE(cameras.empty());
}

TEST_F(CameraList, HoldsAClosedObjectOfItsClassForEachDevice)
{
    ListCameras();
    ASSERT_EQ(cameras.size(), 3u);
    EXPECT_EQ(typeid(Camera(0)), typeid(ZX::AstrelC2));
    EXPECT_EQ(typeid(Camera(1)), typeid(ZX::AstrelB2));
    EXPECT_EQ(typeid(Camera(2)), typeid(ZX::AstrelC1));
    for (ZX::ZCamera *camera : cameras) {
        EXPECT_FALSE(camera->IsCameraOpen());
        EXPECT_FALSE(camera->DoWeHaveExclusiveAccess());
        EXPECT_EQ(camera->GetCurrentFireWirePacketSize(), 0);
        EXPECT_EQ(camera->GetRefCon(), nullptr);
    }
    ZerixSimHeld held{};
    ZerixSim_GetHeld(&held);
    EXPECT_EQ(held.openHandles, 0u);
}

TEST_F(CameraList, LeavesOutWhatAnotherProcessHolds)
{
    auto held = Describe(18, 6);
    held.inUse = true;
    UseCameras({held, Describe(19, 53)});
    ListCameras();
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0]->GetModel(), 19);
}

TEST_F(CameraList, MakesAnUnknownOfAnUnknownNumber)
{
    UseCameras({Describe(18, 6)});
    tap.OverrideRegister(kModelRegister, 11u << 16);
    ListCameras();
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(typeid(Camera()), typeid(ZX::Unknown));
    EXPECT_STREQ(Camera().GetModelString(), "Unknown");
}

TEST_F(CameraList, TakesTheModelFromTheOtherRegisterWhereTheFirstIsMissing)
{
    auto description = Describe(19, 53);
    description.registersFromAlternateAddress = true;
    UseCameras({description});
    tap.TakeReads();
    ListCameras();
    EXPECT_EQ(typeid(Camera()), typeid(ZX::AstrelB2));
    const auto reads = tap.TakeReads();
    ASSERT_GE(reads.size(), 2u);
    EXPECT_EQ(reads[0].address, kModelRegister);
    EXPECT_EQ(reads[1].address, kOtherModelRegister);
}

// The Astrel A1 with the sensor of a B1: one object is made and discarded, another kept.
TEST_F(CameraList, KeepsOneObjectOfAMasquerade)
{
    UseCameras({Describe(5, 46)});
    ListCameras();
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(typeid(Camera()), typeid(ZX::AstrelB1));
    EXPECT_EQ(Camera().GetModel(), 13);
    EXPECT_EQ(Camera().GetHalCamera().modelWord, 13u << 16);
    EXPECT_EQ(Camera().OpenCamera(), 0);
    EXPECT_EQ(Camera().CloseCamera(), 0);
    // The listing of the device, twice for each of the two objects but once for the discarded one,
    // and once for the test.
    EXPECT_EQ(tap.CountOf(kernel::kControlAllocateBandwidth), 5u);
}

TEST_F(CameraList, LeavesAnA1WithAnotherSensorAlone)
{
    UseCameras({Describe(5, 47)});
    ListCameras();
    EXPECT_EQ(typeid(Camera()), typeid(ZX::AstrelA1));
    EXPECT_EQ(Camera().GetModel(), 5);
    EXPECT_EQ(tap.CountOf(kernel::kControlAllocateBandwidth), 3u);
}

TEST_F(CameraList, KeepsItsCamerasWhenErased)
{
    ListCameras();
    ZX::ZCameraList owned = cameras;
    EXPECT_EQ(ZX::ZCamera::EraseCameraList(cameras), 0);
    EXPECT_TRUE(cameras.empty());
    ASSERT_EQ(owned.size(), 3u);
    EXPECT_EQ(owned[0]->GetModel(), 18);
    cameras = owned;
}

TEST_F(CameraList, ErasesTheClosedAlone)
{
    ListCameras();
    ZX::ZCamera *const open = cameras[1];
    ASSERT_EQ(open->OpenCamera(), 0);
    EXPECT_EQ(ZX::ZCamera::EraseClosedCamerasFromList(cameras), 0);
    EXPECT_EQ(cameras, ZX::ZCameraList{open});
    // A new listing adds the others behind it: the open one is in use.
    ListCameras();
    ASSERT_EQ(cameras.size(), 3u);
    EXPECT_EQ(cameras[0], open);
    EXPECT_EQ(cameras[1]->GetModel(), 18);
    EXPECT_EQ(cameras[2]->GetModel(), 12);
    EXPECT_EQ(open->CloseCamera(), 0);
}

TEST_F(CameraList, ErasesNothingOfAnEmptyList)
{
    EXPECT_EQ(ZX::ZCamera::EraseClosedCamerasFromList(cameras), 0);
    EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
    EXPECT_TRUE(cameras.empty());
}

TEST_F(CameraList, ClosesWhatItFrees)
{
    ListCameras();
    ASSERT_EQ(cameras[0]->OpenCamera(), 0);
    ASSERT_EQ(cameras[2]->OpenCamera(), 0);
    EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
    EXPECT_TRUE(cameras.empty());
    ZerixSimHeld held{};
    ZerixSim_GetHeld(&held);
    EXPECT_EQ(held.openHandles, 0u);
}

// Failures ----------------------------------------------------------------------------------------

TEST_F(CameraList, PrintsWhyTheBusCannotBeListed)
{
    UseCameras({Describe(18, 6)});
    tap.FailOpen(kSystemError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    EXPECT_TRUE(cameras.empty());
}

// The listing reads 3 model registers, then 13 times from the first camera; the fifth read from the
// second one asks for the version of its streaming block.
TEST_F(CameraList, KeepsWhatWasMadeBeforeAFailure)
{
    UseCameras({Describe(18, 6), Describe(19, 53), Describe(12, 6)});
    tap.FailRequest(kernel::kControlAsyncRead, kSystemError, 3 + 13 + 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0]->GetModel(), 18);
    EXPECT_EQ(tap.TakeReads().back().address, AddressOf(Block::kStreaming, 1));
    ZerixSimHeld held{};
    ZerixSim_GetHeld(&held);
    EXPECT_EQ(held.openHandles, 0u);
}

// What the bandwidth is given to: each device once in the listing itself, and twice as an object.
TEST_F(CameraList, EndsWhereAnObjectCannotBeOpened)
{
    UseCameras({Describe(18, 6), Describe(19, 53)});
    tap.FailRequest(kernel::kControlAllocateBandwidth, kSystemError, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), 7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0]->GetModel(), 18);
}

TEST_F(CameraList, EndsWhereAnObjectCannotBeClosed)
{
    UseCameras({Describe(18, 6)});
    tap.FailRequest(kernel::kControlFreeResources, kSystemError, 1, 3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), 9);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(cameras.empty());
    ZerixSimHeld held{};
    ZerixSim_GetHeld(&held);
    EXPECT_EQ(held.openHandles, 0u);
    EXPECT_EQ(held.resourcesHandles, 0u);
}

// What all cameras share --------------------------------------------------------------------------

TEST_F(CameraList, GivesEachCameraItsPipelines)
{
    ListCameras();
    for (ZX::ZCamera *camera : cameras) {
        ASSERT_NE(camera->GetImagePipeline(), nullptr);
        ASSERT_NE(camera->GetBayerPipeline(), nullptr);
        EXPECT_NE(camera->GetImagePipeline(), camera->GetBayerPipeline());
        EXPECT_EQ(camera->GetBayerFilter()->GetAlgorithm(), 4);
        EXPECT_TRUE(
            camera->GetBayerPipeline()->RemoveFilter(camera->GetBenchmateRatioCorrectionFilter()));
        EXPECT_TRUE(camera->GetBayerPipeline()->RemoveFilter(camera->GetBayerFilter()));
        EXPECT_FALSE(camera->GetBayerPipeline()->RemoveFilter(camera->GetBayerFilter()));
    }
}

class SizeFilter final : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *, ZX::ZOutImageBufferStruct *) override { return 31; }
    int16_t Init(uint32_t newWidth, uint32_t newHeight) override
    {
        width = newWidth;
        height = newHeight;
        return 0;
    }
    int16_t SetOutputFormat(uint32_t) override { return 0; }
    uint32_t width = 0;
    uint32_t height = 0;
};

TEST_F(CameraList, SetsThePipelinesUpForTheSensor)
{
    UseCameras({Describe(18, 15)}); // 1004 x 1002
    ListCameras();
    for (ZX::ZImagePipeline *pipeline :
         {Camera().GetImagePipeline(), Camera().GetBayerPipeline()}) {
        SizeFilter filter;
        pipeline->AddFilter(&filter);
        EXPECT_EQ(filter.width, 1004u);
        EXPECT_EQ(filter.height, 1002u);
        EXPECT_TRUE(pipeline->RemoveFilter(&filter));
    }
}

TEST_F(CameraList, KeepsTheValueOfTheCaller)
{
    ListCameras();
    int value = 0;
    cameras[0]->SetRefCon(&value);
    EXPECT_EQ(cameras[0]->GetRefCon(), &value);
    cameras[0]->SetCurrentFireWirePacketSize(4080);
    EXPECT_EQ(cameras[0]->GetCurrentFireWirePacketSize(), 4080);
}

TEST_F(CameraList, EndsTheTraceOfWritesWithEveryNewCamera)
{
    ZX::ZCamera::SetShouldOutputReads(true);
    ZX::ZCamera::SetShouldOutputWrites(true);
    EXPECT_TRUE(ZX::ZCamera::GetShouldOutputReads());
    EXPECT_TRUE(ZX::ZCamera::GetShouldOutputWrites());
    ListCameras();
    EXPECT_TRUE(ZX::ZCamera::GetShouldOutputReads());
    EXPECT_FALSE(ZX::ZCamera::GetShouldOutputWrites());
    ZX::ZCamera::SetShouldOutputReads(false);
    ZX::ZCamera::SetShouldOutputWrites(false);
    EXPECT_FALSE(ZX::ZCamera::GetShouldOutputReads());
}

TEST_F(CameraList, TracesAsTold)
{
    auto &camera = OpenOne(Describe(18, 6));
    const size_t before = DebugText().size();
    ZX::ZCamera::SetShouldOutputWrites(true);
    EXPECT_EQ(camera.SetTriggerMode(1), 0);
    ZX::ZCamera::SetShouldOutputWrites(false);
    const std::string traced = DebugText().substr(before);
    EXPECT_NE(traced.find("Async write to address 0x"), std::string::npos);
    EXPECT_EQ(camera.SetTriggerMode(0), 0);
    EXPECT_EQ(camera.ReadCameraInfo(), 0);
    EXPECT_EQ(DebugText().substr(before), traced);
    ZX::ZCamera::SetShouldOutputReads(true);
    EXPECT_EQ(camera.ReadCameraInfo(), 0);
    ZX::ZCamera::SetShouldOutputReads(false);
    EXPECT_NE(DebugText().substr(before + traced.size()).find("Async read from address 0xd0000000"),
              std::string::npos);
}

} // namespace
} // namespace zerix::test
