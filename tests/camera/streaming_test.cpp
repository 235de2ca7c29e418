// Streaming from a virtual camera: start, stop, one image, triggers, abort, faults, and the loss of
// the device.
#include <chrono>
#include <thread>
#include <vector>

#include "hal/fw_camera_device.h"
#include "image/z_image_pipeline.h"
#include "image/z_rgb_filter_wheel.h"
#include "tests/camera/image_receiver.h"
#include "tests/hal/counting_allocator.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr auto kDeadline = std::chrono::seconds(30);

using Receiver = ImageReceiver;

class Streaming : public VirtualBusTest {
protected:
    ZX::TolvaneFWCamera &OpenIt()
    {
        auto &camera = OpenOne(Describe(18, 6));
        ZerixSim_GiveCredit(0, 0);
        return camera;
    }
    static uint16_t Start(ZX::TolvaneFWCamera &camera, Receiver &receiver)
    {
        return camera.StartStreamingImages(Receiver::Received, Receiver::ExposeDone, false,
                                           &receiver);
    }
    static Image Grab(ZX::TolvaneFWCamera &camera)
    {
        ZX::ZExImage *image = nullptr;
        EXPECT_EQ(camera.GetOneImage(&image), 0);
        return Image(image);
    }

    Receiver receiver;
};

TEST_F(Streaming, StartsWithANewTagAndACommit)
{
    auto &camera = OpenIt();
    ASSERT_EQ(camera.GetPSN(), 0);
    EXPECT_EQ(Start(camera, receiver), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.GetPSN(), 1);
    const auto writes = TakeWrites();
    ASSERT_GE(writes.size(), 3u);
    const size_t last = writes.size() - 1;
    EXPECT_EQ(writes[last - 2], ControlWrite(0x04, 0x01000004));
    EXPECT_EQ(writes[last - 1], CommitWrite());
    EXPECT_EQ(writes[last].block, Block::kStreaming);
    EXPECT_EQ(writes[last].offset, 4u);
    EXPECT_EQ(writes[last].value & 0xFFFFFFu, 1u);
    EXPECT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{{Block::kStreaming, 4, 0}}));
}

TEST_F(Streaming, StopsWhenStopped)
{
    auto &camera = OpenIt();
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

TEST_F(Streaming, DeliversImagesInOrder)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 3);
    uint16_t firstNumber = 0;
    for (uint16_t i = 0; i < 3; ++i) {
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr);
        EXPECT_EQ(delivery.error, 0);
        EXPECT_EQ(delivery.image->GetWidth(), 1392u);
        EXPECT_EQ(delivery.image->GetHeight(), 1040u);
        EXPECT_EQ(delivery.image->GetImageSize(), 1447680u);
        EXPECT_EQ(delivery.image->GetBitDepth(), 8);
        EXPECT_EQ(delivery.image->GetExposure(), 16384000u);
        EXPECT_EQ(delivery.image->GetGain(), 1000000.0);
        EXPECT_EQ(delivery.image->GetCamera(), &camera);
        EXPECT_EQ(delivery.image->GetImageFormat(), 2u);
        EXPECT_EQ(delivery.image->GetSymmetricalBinningMode(), 1);
        if (i == 0)
            firstNumber = delivery.image->GetRollingFrameNumber();
        EXPECT_EQ(delivery.image->GetRollingFrameNumber(), firstNumber + i);
    }
    EXPECT_TRUE(receiver.AwaitExposures(1));
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, TellsOfMissingData)
{
    auto &camera = OpenIt();
    ASSERT_EQ(ZerixSim_InjectFault(0, "lose packet at frame 1 packet 5"), 0u)
        << ZerixSim_LastErrorText();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 2);
    EXPECT_EQ(receiver.Take().error, 0x12);
    EXPECT_EQ(receiver.Take().error, 0);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, GivesOneImageAtATime)
{
    auto &camera = OpenIt();
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    for (int i = 0; i < 5; ++i) {
        const Image image = Grab(camera);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->GetErrorCode(), 0);
        EXPECT_FALSE(camera.IsCameraStreaming());
    }
}

TEST_F(Streaming, GoesOnAfterOneImageWithTheOldCallback)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 1);
    ASSERT_NE(receiver.Take().image, nullptr);
    std::thread hardware([] { ZerixSim_GiveCredit(0, 1000000); });
    EXPECT_NE(Grab(camera), nullptr);
    hardware.join();
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_NE(receiver.Take().image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, RefusesATriggerWhereThereIsNone)
{
    auto &camera = OpenIt();
    EXPECT_EQ(camera.SoftwareTrigger(), 17);
    ASSERT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(camera.SoftwareTrigger(), 22);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, ExposesOnASoftwareTrigger)
{
    auto &camera = OpenIt();
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ASSERT_EQ(camera.SetTriggerMode(5), 0);
    ASSERT_EQ(camera.UpdateSettingsOnCamera(), 0);
    ASSERT_EQ(Start(camera, receiver), 0);
    TakeWrites();
    EXPECT_EQ(camera.SoftwareTrigger(), 0);
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{{Block::kCommand, 8, 1}}));
    EXPECT_NE(receiver.Take().image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, EndsAWaitForOneImageWithAnAbort)
{
    auto &camera = OpenIt();
    std::thread other([&] {
        const auto end = std::chrono::steady_clock::now() + kDeadline;
        while (!camera.IsCameraStreaming() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        camera.Abort();
    });
    ZX::ZExImage *image = nullptr;
    EXPECT_EQ(camera.GetOneImage(&image), 21);
    EXPECT_EQ(image, nullptr);
    other.join();
    EXPECT_FALSE(camera.IsCameraStreaming());
}

TEST_F(Streaming, TellsThatTheDeviceIsLost)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_Unplug(0);
    const auto delivery = receiver.Take();
    EXPECT_EQ(delivery.image, nullptr);
    EXPECT_EQ(delivery.error, 0x1A);
    testing::internal::CaptureStdout();
    camera.StopStreamingImages();
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(camera.IsCameraStreaming());
}

// The camera sends nothing before the write that ends the start, so that the start is over by then.
TEST_F(Streaming, EndsAWaitForOneImageWhenTheDeviceIsLost)
{
    auto &camera = OpenIt();
    ZerixSim_GiveCredit(0, 1);
    ASSERT_EQ(ZerixSim_InjectFault(0, "unplug at frame 1 packet 5"), 0u)
        << ZerixSim_LastErrorText();
    ZX::ZExImage *image = nullptr;
    testing::internal::CaptureStdout();
    const uint16_t status = camera.GetOneImage(&image);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 21);
    EXPECT_EQ(image, nullptr);
    EXPECT_FALSE(camera.IsCameraStreaming());
}

// Without the five seconds' wait for packets, which a camera that wasn't switched on can't send.
TEST_F(Streaming, TakesAFailedStartBackAtOnce)
{
    auto &camera = OpenIt();
    const auto before = std::chrono::steady_clock::now();
    tap.FailAccess(kernel::kControlAsyncWrite, AddressOf(Block::kStreaming) + 4, 1450);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Start(camera, receiver), 33);
    testing::internal::GetCapturedStdout();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
    EXPECT_FALSE(camera.IsCameraStreaming());
    ZerixSimHeld held{};
    ASSERT_EQ(ZerixSim_GetHeld(&held), 0u);
    EXPECT_EQ(held.queuedBuffers, 0u);
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 1);
    EXPECT_NE(receiver.Take().image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, DropsAFrameOfAnotherTag)
{
    auto &camera = OpenIt();
    ASSERT_EQ(ZerixSim_InjectFault(0, "wrong tag at frame 1"), 0u) << ZerixSim_LastErrorText();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 2);
    const auto delivery = receiver.Take();
    EXPECT_EQ(delivery.error, 0);
    ASSERT_NE(delivery.image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

// What the bus itself takes from the heap, on the threads that call it, is not the driver
// library's.
class BusAllocations {
public:
    static void Watch(bool isGoingIn)
    {
        if (isGoingIn)
            t_atEntry = AllocationsOfThisThread();
        else
            t_ofBus += AllocationsOfThisThread() - t_atEntry;
    }
    static uint64_t OfThisThread() { return t_ofBus; }

private:
    static inline thread_local uint64_t t_atEntry = 0;
    static inline thread_local uint64_t t_ofBus = 0;
};

// Counts the allocations of the receive thread from the start of one frame to the start of the
// next: the hardware layer, the assembler, and what the camera does for both.
class AllocationWatch : public ZX::TolvaneFWCamera {
public:
    static void Begin(ZX::TolvaneFWCamera &camera)
    {
        s_starts.clear();
        s_starts.reserve(1000);
        static_cast<hal::FWCameraDevice *>(camera.GetHalCamera().device)
            ->sink->SetUp(
                {GetNewFrameCallback, Peek, ImageArrivedCallback, OverrunCallback, &camera});
    }
    static const std::vector<uint64_t> &AtStarts() { return s_starts; }

private:
    static tStFrameInfo *Peek(void *context)
    {
        s_starts.push_back(AllocationsOfThisThread() - BusAllocations::OfThisThread());
        return PeekNewFrameCallback(context);
    }
    static inline std::vector<uint64_t> s_starts;
};

TEST_F(Streaming, AllocatesNothingOnTheReceiveThread)
{
    constexpr size_t kWarmUp = 3;
    constexpr size_t kFrames = 20;
    auto &camera = OpenIt();
    AllocationWatch::Begin(camera);
    tap.WatchPassages(BusAllocations::Watch);
    ASSERT_EQ(Start(camera, receiver), 0);
    for (size_t i = 0; i < kFrames; ++i) {
        ZerixSim_GiveCredit(0, 1);
        ASSERT_NE(receiver.Take().image, nullptr);
    }
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    const auto &starts = AllocationWatch::AtStarts();
    ASSERT_EQ(starts.size(), kFrames);
    EXPECT_GT(starts[1], starts[0]) << "the first frame is made room for";
    EXPECT_EQ(starts[kFrames - 1] - starts[kWarmUp], 0u);
}

TEST_F(Streaming, RestartsWithTheCommitAfterAChange)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(camera.SetBitDepth(12), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    ZerixSim_GiveCredit(0, 1);
    const auto delivery = receiver.Take();
    ASSERT_NE(delivery.image, nullptr);
    EXPECT_EQ(delivery.image->GetBitDepth(), 12);
    EXPECT_EQ(delivery.image->GetImageSize(), 2895360u);
    EXPECT_EQ(delivery.image->GetImageFormat(), 3u);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

// Setters and commits on this thread, while the receive thread prepares frames from the same
// settings and the run loop runs the filter that the commit resets.
TEST_F(Streaming, GoesOnWhileSettingsChange)
{
    ZX::ZRGBFilterWheel wheel(6);
    auto &camera = OpenIt();
    camera.GetImagePipeline()->AddFilter(&wheel);
    ASSERT_EQ(camera.SetROI(0, 0, 200, 100), 0);
    ASSERT_EQ(camera.SetRGBFilterCycle(true), 0);
    ASSERT_EQ(camera.UpdateSettingsOnCamera(), 0);
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    for (uint32_t i = 1; i <= 30; ++i) {
        EXPECT_EQ(camera.SetExposure(1000000 + i * 1000), 0);
        EXPECT_EQ(camera.SetNormalizedGain(1000000 + i * 10000), 0);
        EXPECT_EQ(camera.SetRGBFilterRedExposure(1000000 + i * 1000), 0);
        EXPECT_EQ(camera.SetFrameBufferLength(static_cast<uint8_t>(10 + i)), 0);
        EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
        ASSERT_TRUE(receiver.AwaitExposures(i));
    }
    uint64_t exposure = 0;
    while (exposure != 1030000) {
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr);
        EXPECT_EQ(delivery.image->GetWidth(), 200u);
        exposure = delivery.image->GetExposure();
    }
    EXPECT_EQ(camera.SetBitDepth(12), 0);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    uint16_t depth = 8;
    while (depth != 12) {
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr);
        depth = delivery.image->GetBitDepth();
    }
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    camera.GetImagePipeline()->RemoveFilter(&wheel);
}

TEST_F(Streaming, RefusesExternalBuffers)
{
    auto &camera = OpenIt();
    uint8_t buffer[4] = {};
    EXPECT_EQ(camera.AddExternalImageBuffer(buffer), 1);
}

} // namespace
} // namespace zerix::test
