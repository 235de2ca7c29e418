// Starting, stopping and aborting a stream, waiting for one image, and the traces: what needs no
// bus.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "image/z_ex_image.h"
#include "platform/frame_buffer_pool.h"
#include "tests/camera/frame_camera.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::test {
namespace {

void Ignore(ZX::ZImageReceivedCallbackStruct *) {}
void IgnoreExposure(void *) {}

ZX::ZExImage *MakeImage()
{
    return new ZX::ZExImage(ZX::ZExImage::AllocateBuffer(4), 4, 2, 2, 8, 0, 1.0, 2, 1, 0, 0, false,
                            18, 0, 1, false, 0, 0, nullptr, true, 0);
}

// Abort and trigger ------------------------------------------------------------------------------

TEST(Abort, EndsTheWaitInEveryModeAndSkipsAFrameWhereTheCameraRunsByItself)
{
    const bool isPending[] = {true, false, false, false, false, true, false, false, true, false};
    for (uint32_t mode = 0; mode < 10; ++mode) {
        FrameCamera camera;
        camera.triggerMode = mode;
        camera.abortPending = !isPending[mode];
        EXPECT_EQ(camera.Abort(), 0);
        EXPECT_EQ(camera.abortPending, isPending[mode]) << mode;
        EXPECT_TRUE(camera.HasSignalled(camera.imageCondition)) << mode;
    }
}

TEST(SoftwareTrigger, TakesAnAbortBack)
{
    FrameCamera camera;
    camera.triggerMode = 5;
    camera.abortPending = true;
    EXPECT_EQ(camera.SoftwareTrigger(), 17);
    EXPECT_TRUE(camera.abortPending);
    camera.streaming = true;
    EXPECT_EQ(camera.SoftwareTrigger(), 0);
    EXPECT_FALSE(camera.abortPending);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{{kCommandAddress + 8, 1}}));
    camera.triggerMode = 4;
    EXPECT_EQ(camera.SoftwareTrigger(), 22);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

// Start, stop and the callbacks ------------------------------------------------------------------

TEST(StartOfStreaming, StoresWhoIsToldAndTakesAnAbortBack)
{
    FrameCamera camera;
    camera.abortPending = true;
    int user = 0;
    EXPECT_EQ(camera.StartStreamingImages(Ignore, IgnoreExposure, true, &user), 0);
    EXPECT_TRUE(camera.streaming);
    EXPECT_FALSE(camera.abortPending);
    EXPECT_TRUE(camera.isExternalBuffered);
    EXPECT_TRUE(camera.streamingCallback == Ignore);
    EXPECT_TRUE(camera.exposeDoneCallback == IgnoreExposure);
    EXPECT_EQ(camera.callbackUserData, &user);
    EXPECT_EQ(camera.GetPSN(), 0x34);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0x34000004), SentCommit()}));
    EXPECT_EQ(camera.StartStreamingImages(nullptr, nullptr, false, nullptr), 0);
    EXPECT_TRUE(camera.streamingCallback == Ignore) << "a camera that streams is left as it is";
    EXPECT_EQ(camera.GetPSN(), 0x34);
}

TEST(StartOfStreaming, EndsWithAFailedCommit)
{
    FrameCamera camera(Wire::kBroken);
    camera.SetCurrentFireWirePacketSize(0xFFFF);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.StartStreamingImages(Ignore, nullptr, false, nullptr), 9);
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.streamingCallback == nullptr);
}

TEST(StreamingCallback, ChangesWithItsUserData)
{
    FrameCamera camera;
    int user = 0;
    camera.SetStreamingCallback(Ignore, &user);
    EXPECT_TRUE(camera.streamingCallback == Ignore);
    EXPECT_EQ(camera.callbackUserData, &user);
    EXPECT_EQ(camera.exposeDoneUserData, &user);
}

// By the run loop, and not inside the hardware layer's callback.
TEST(StreamingCallback, IsToldOnceOfALostDevice)
{
    static ZX::ZImageReceivedCallbackStruct got;
    static int calls;
    got = {nullptr, nullptr, 0};
    calls = 0;
    FrameCamera camera;
    camera.streaming = true;
    camera.SetStreamingCallback(
        [](ZX::ZImageReceivedCallbackStruct *record) {
            got = *record;
            ++calls;
        },
        &camera);
    EXPECT_FALSE(camera.TellOfLoss());
    FrameCamera::TimedOutCallback(&camera);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(camera.TellOfLoss());
    EXPECT_FALSE(camera.TellOfLoss());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(got.image, nullptr);
    EXPECT_EQ(got.userData, &camera);
    EXPECT_EQ(got.error, 0x1A);
}

TEST(StopForAChange, HappensOnceAndIsRemembered)
{
    FrameCamera camera;
    EXPECT_EQ(camera.TurnOffStreaming(), 0);
    EXPECT_FALSE(camera.IsRestartMarked());
    camera.streaming = true;
    EXPECT_EQ(camera.TurnOffStreaming(), 0);
    EXPECT_TRUE(camera.IsRestartMarked());
    EXPECT_FALSE(camera.streaming);
    EXPECT_EQ(camera.TurnOffStreaming(), 0);
    EXPECT_TRUE(camera.IsRestartMarked());
}

// One image --------------------------------------------------------------------------------------

TEST(OneImage, IsWaitedForByTheExposure)
{
    FrameCamera camera;
    camera.SetControl(0x3C, 3000);
    EXPECT_EQ(camera.OneImageTimeLimit(), 5000006000u);
    camera.isInterlaced = true;
    EXPECT_EQ(camera.OneImageTimeLimit(), 5000009000u);
    camera.SetControl(0x30, 1); // the wheel turns
    camera.SetControl(0x40, 500);
    camera.SetControl(0x44, 40);
    EXPECT_EQ(camera.OneImageTimeLimit(), 5000003540u);
}

TEST(OneImage, LeavesTheStreamAsItStandsWhenTheWaitFails)
{
    FrameCamera camera;
    const HAL_Condition condition = camera.imageCondition;
    camera.imageCondition = {};
    ZX::ZExImage *image = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.GetOneImage(&image), 9);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(image, nullptr);
    EXPECT_TRUE(camera.streaming);
    EXPECT_TRUE(camera.streamingCallback == FrameCamera::GetOneImageCallback);
    EXPECT_EQ(camera.callbackUserData, &camera);
    EXPECT_FALSE(camera.isExternalBuffered);
    camera.imageCondition = condition;
}

// The one-image callback's user data is the camera: nothing for the application's callback.
TEST(OneImage, LeavesTheExposureCallbackItsUserData)
{
    FrameCamera camera;
    int user = 0;
    ASSERT_EQ(camera.StartStreamingImages(Ignore, IgnoreExposure, false, &user), 0);
    ASSERT_EQ(camera.StopStreamingImages(), 0);
    const HAL_Condition condition = camera.imageCondition;
    camera.imageCondition = {};
    ZX::ZExImage *image = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.GetOneImage(&image), 9);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(camera.callbackUserData, &camera);
    EXPECT_TRUE(camera.exposeDoneCallback == IgnoreExposure);
    EXPECT_EQ(camera.exposeDoneUserData, &user);
    camera.imageCondition = condition;
}

TEST(OneImage, TakesThePlaceOfTheOneBefore)
{
    FrameCamera camera;
    ZX::ZExImage *const second = MakeImage();
    ZX::ZImageReceivedCallbackStruct record{MakeImage(), &camera, 0};
    FrameCamera::GetOneImageCallback(&record);
    EXPECT_TRUE(camera.HasSignalled(camera.imageCondition));
    FrameBuffers().Trim();
    record.image = second;
    FrameCamera::GetOneImageCallback(&record);
    EXPECT_EQ(FrameBuffers().IdleCount(), 1u) << "the first one is freed";
    EXPECT_EQ(camera.oneImage, second);
    EXPECT_TRUE(camera.oneImageReady);
    EXPECT_TRUE(camera.HasSignalled(camera.imageCondition));
}

TEST(OneImage, IsNoneOfAnEarlierStream)
{
    struct {
        uint32_t awaited;
        uint32_t delivered;
        bool isTaken;
    } const cases[] = {{5, 4, false}, {5, 5, true}, {5, 6, true}, {0, 0xFFFFFFFF, false}};
    for (const auto &c : cases) {
        FrameCamera camera;
        camera.oneImageSession = c.awaited;
        camera.delivering.session = c.delivered;
        ZX::ZImageReceivedCallbackStruct record{MakeImage(), &camera, 0};
        FrameCamera::GetOneImageCallback(&record);
        EXPECT_EQ(camera.oneImageReady, c.isTaken) << c.delivered;
        EXPECT_EQ(camera.HasSignalled(camera.imageCondition), c.isTaken) << c.delivered;
    }
}

// On a stream, the run loop may still be about to leave an image for the call before when the next
// one begins to wait.
TEST(OneImage, IsNotMissingBecauseOneWasLeftWhileTheWaitBegan)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.delivering.session = 0; // that of the first stream
    std::atomic<bool> isOver{false};
    std::thread delivering([&] {
        while (!isOver) {
            ZX::ZImageReceivedCallbackStruct record{MakeImage(), &camera, 0};
            FrameCamera::GetOneImageCallback(&record);
        }
    });
    uint32_t missing = 0;
    for (int call = 0; call < 5'000; ++call) {
        ZX::ZExImage *image = nullptr;
        missing += camera.GetOneImage(&image) != 0 || image == nullptr ? 1 : 0;
        ZX::ZCamera::FreeImage(image);
    }
    isOver = true;
    delivering.join();
    EXPECT_EQ(missing, 0u);
}

TEST(OneImage, TellsWhenNobodyCanBeWoken)
{
    FrameCamera camera;
    const HAL_Condition condition = camera.imageCondition;
    camera.imageCondition = {};
    const DebugOutputCapture debug;
    ZX::ZImageReceivedCallbackStruct record{nullptr, &camera, 0x1A};
    FrameCamera::GetOneImageCallback(&record);
    EXPECT_EQ(debug.Text(), "GetOneImageCallback error 33 occurred calling HAL_ConditionSignal\n");
    camera.imageCondition = condition;
}

// Traces -----------------------------------------------------------------------------------------

TEST(OverrunCallback, WritesALine)
{
    const DebugOutputCapture debug;
    FrameCamera::OverrunCallback(nullptr);
    EXPECT_EQ(debug.Text(), "OverrunCB called\n");
}

TEST(AsyncWriteCallback, WritesEveryByteInGroups)
{
    uint8_t data[36];
    for (uint8_t i = 0; i < sizeof data; ++i)
        data[i] = static_cast<uint8_t>(i * 7);
    const DebugOutputCapture debug;
    FrameCamera::CameraAsyncWriteCallback(data, sizeof data);
    EXPECT_EQ(debug.Text(), "CameraAsyncWriteCallback:\n"
                            "00070e15 1c232a31  383f464d 545b6269\n"
                            "70777e85 8c939aa1  a8afb6bd c4cbd2d9\n"
                            "e0e7eef5 ");
}

TEST(AsyncWriteCallback, WritesItsNameForNothing)
{
    const DebugOutputCapture debug;
    FrameCamera::CameraAsyncWriteCallback(nullptr, 0);
    EXPECT_EQ(debug.Text(), "CameraAsyncWriteCallback:\n");
}

} // namespace
} // namespace zerix::test
