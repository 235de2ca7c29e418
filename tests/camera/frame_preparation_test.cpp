// What the camera does for the hardware layer when a frame begins: what it prepares, from which
// settings, and when it prepares none; and which frames are good when they end.
#include <gtest/gtest.h>

#include "image/z_ex_image.h"
#include "platform/frame_buffer_pool.h"
#include "tests/camera/frame_camera.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::test {
namespace {

// Preparing a frame ------------------------------------------------------------------------------

TEST(FramePreparation, TakesTheSettingsOfTheMoment)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.SetControl(0x08, 1); // binning 2
    camera.SetInformation(0x10, 6 << 16 | 4);
    camera.SetInformation(0x14, 6 << 16 | 4);
    camera.SetControl(0x18, 1); // exposure, upper half
    camera.SetControl(0x3C, 2);
    camera.SetControl(0x30, 3 << 8); // start colour
    tStFrameInfo *const frame = camera.PrepareFinished();
    ASSERT_NE(frame, nullptr);
    EXPECT_NE(frame->data, nullptr);
    EXPECT_EQ(frame->size, 24u);
    EXPECT_EQ(frame->expected, 24u);
    EXPECT_EQ(frame->psn, 0x33);
    EXPECT_EQ(frame->outputFormat, 0u);
    EXPECT_FALSE(frame->interlaced);
    EXPECT_EQ(frame->lineBytes, 6);
    EXPECT_EQ(frame->status, 0u);
    EXPECT_EQ(frame->binning, 2u);
    EXPECT_EQ(frame->width, 6u);
    EXPECT_EQ(frame->height, 4u);
    EXPECT_EQ(frame->bitDepth, 8u);
    EXPECT_EQ(frame->exposure, 0x100000002u);
    EXPECT_EQ(frame->normalizedGain, 1000000.0);
    EXPECT_EQ(frame->startColour, 3);
    EXPECT_TRUE(frame->valid);
    EXPECT_EQ(camera.frameInfoQueue.Count(), 1u);
    EXPECT_EQ(camera.PrivateGetNewFrame(), frame);
    EXPECT_EQ(camera.frameInfoQueue.Count(), 1u) << "is not taken from the queue";
}

TEST(FramePreparation, TakesTwoBytesForEveryDepthThatIsNoMultipleOfEight)
{
    struct {
        uint32_t modeWord;
        uint32_t depth;
        uint32_t size;
        uint16_t lineBytes;
    } const cases[] = {
        {0x00, 8, 24, 6}, {0x08, 16, 48, 12}, {0x10, 12, 48, 12}, {0x18, 14, 48, 12}};
    for (const auto &c : cases) {
        FrameCamera camera;
        camera.streaming = true;
        camera.SetInformation(0x20, 15); // the greatest depth, minus 1
        camera.SetControl(0x04, c.modeWord);
        const tStFrameInfo *const frame = camera.PrepareFinished();
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->bitDepth, c.depth);
        EXPECT_EQ(frame->size, c.size);
        EXPECT_EQ(frame->lineBytes, c.lineBytes);
    }
}

TEST(FramePreparation, WaitsForHalfTheBytesOfAnInterlacedFrame)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.isInterlaced = true;
    const tStFrameInfo *const frame = camera.PrepareFinished();
    ASSERT_NE(frame, nullptr);
    EXPECT_TRUE(frame->interlaced);
    EXPECT_EQ(frame->size, 24u);
    EXPECT_EQ(frame->expected, 12u);
    EXPECT_EQ(frame->lineBytes, 6);
}

TEST(FramePreparation, PreparesNothingWithoutAStream)
{
    FrameCamera camera;
    camera.abortPending = true;
    EXPECT_EQ(camera.Prepare(), nullptr);
    EXPECT_FALSE(camera.abortPending);
    EXPECT_EQ(camera.PrivateGetNewFrame(), nullptr);
}

TEST(FramePreparation, LeavesOutOneFrameAfterAnAbort)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.abortPending = true;
    EXPECT_EQ(camera.Prepare(), nullptr);
    EXPECT_NE(camera.PrepareFinished(), nullptr);
}

TEST(FramePreparation, LosesTheNewestFrameOfAFullQueue)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.frameBufferLength = 3;
    tStFrameInfo *const first = camera.PrepareFinished();
    tStFrameInfo *const second = camera.PrepareFinished();
    tStFrameInfo *const third = camera.PrepareFinished();
    second->headerWord = 2;
    third->headerWord = 3;
    tStFrameInfo *const fourth = camera.PrepareFinished();
    ASSERT_NE(fourth, nullptr);
    EXPECT_EQ(fourth, third) << "its record and its data have been given back";
    EXPECT_EQ(fourth->headerWord, 0);
    fourth->headerWord = 4;
    EXPECT_EQ(camera.frameInfoQueue.Count(), 3u);
    EXPECT_EQ(camera.frameInfoQueue.Front(), fourth);
    camera.PrepareFinished()->headerWord = 5;
    ASSERT_EQ(camera.frameInfoQueue.Count(), 3u);
    EXPECT_EQ(camera.frameInfoQueue.TakeOldestFinished(), first);
    EXPECT_EQ(camera.frameInfoQueue.TakeOldestFinished(), second);
    EXPECT_EQ(second->headerWord, 2);
    tStFrameInfo *const last = camera.frameInfoQueue.TakeOldestFinished();
    EXPECT_EQ(last->headerWord, 5);
    for (tStFrameInfo *frame : {first, second, last}) {
        ZX::ZExImage::ReleaseBuffer(frame->data);
        delete &RecordOf(*frame);
    }
}

TEST(FramePreparation, TakesTheApplicationsBuffersInTheirOrder)
{
    FrameCamera camera;
    uint8_t buffers[2][24] = {};
    EXPECT_EQ(camera.AddExternalImageBuffer(buffers[0]), 1);
    camera.takesExternalBuffers = true;
    EXPECT_EQ(camera.AddExternalImageBuffer(buffers[0]), 0);
    EXPECT_EQ(camera.AddExternalImageBuffer(buffers[1]), 0);
    camera.streaming = true;
    camera.isExternalBuffered = true;
    const tStFrameInfo *const first = camera.PrepareFinished();
    const tStFrameInfo *const second = camera.PrepareFinished();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(first->data, buffers[0]);
    EXPECT_EQ(second->data, buffers[1]);
    EXPECT_EQ(camera.Prepare(), nullptr) << "no buffer is left";
    const uint32_t idle = FrameBuffers().IdleCount();
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(camera.frameInfoQueue.Count(), 0u);
    EXPECT_EQ(FrameBuffers().IdleCount(), idle)
        << "the application's buffers stay the application's";
}

TEST(FramePreparation, LosesTheFrameWithoutMemory)
{
    FrameCamera camera;
    camera.streaming = true;
    const DebugOutputCapture debug;
    FrameBuffers().Trim();
    FrameBuffers().SetLargestForTest(23);
    EXPECT_EQ(camera.Prepare(), nullptr);
    FrameBuffers().SetLargestForTest(0xFFFFFFFF);
    EXPECT_EQ(debug.Text(),
              "TolvaneFWCamera::PrivatePeekNewFrame - call to malloc with size 24 failed\n");
    EXPECT_EQ(camera.frameInfoQueue.Count(), 0u);
    EXPECT_NE(camera.PrepareFinished(), nullptr);
}

TEST(FramePreparation, TellsOfTheExposureOnlyWhoAskedForIt)
{
    FrameCamera camera;
    camera.streaming = true;
    camera.PrepareFinished();
    EXPECT_FALSE(camera.HasSignalled(camera.exposeDoneCondition));
    camera.exposeDoneCallback = [](void *) {};
    camera.PrepareFinished();
    EXPECT_TRUE(camera.HasSignalled(camera.exposeDoneCondition));
    camera.abortPending = true;
    camera.Prepare();
    EXPECT_FALSE(camera.HasSignalled(camera.exposeDoneCondition));
}

TEST(FramePreparation, FreesWhatIsQueuedAtTheStop)
{
    FrameCamera camera;
    camera.streaming = true;
    FrameBuffers().Trim();
    camera.PrepareFinished();
    camera.PrepareFinished();
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(camera.frameInfoQueue.Count(), 0u);
    EXPECT_EQ(FrameBuffers().IdleCount(), 2u);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(FrameBuffers().IdleCount(), 2u) << "a camera that is stopped has nothing to free";
}

// Whether a frame is good ------------------------------------------------------------------------

TEST(FrameValidity, NeedsTheMarkTheSizeOfTheSettingsAndATag)
{
    FrameCamera camera;
    camera.streaming = true;
    tStFrameInfo &frame = *camera.PrepareFinished();
    for (uint32_t status = 0; status <= 4; ++status) {
        frame.status = status;
        EXPECT_TRUE(camera.IsFrameValid(frame)) << status;
    }
    frame.status = 5;
    for (uint32_t mode = 0; mode <= 7; ++mode) {
        camera.triggerMode = mode;
        EXPECT_EQ(camera.IsFrameValid(frame), mode != 0) << mode;
    }
    frame.status = 0;
    frame.valid = false;
    EXPECT_FALSE(camera.IsFrameValid(frame));
    frame.valid = true;
    camera.SetControl(0x0C, 6 << 16 | 5);
    EXPECT_FALSE(camera.IsFrameValid(frame));
    camera.SetControl(0x0C, 4 << 16 | 6);
    EXPECT_TRUE(camera.IsFrameValid(frame)) << "only the size is compared";
    camera.SetControl(0x04, 0x33000014); // 12 bits
    EXPECT_FALSE(camera.IsFrameValid(frame));
}

TEST(FrameValidity, EndsForAllThatIsQueued)
{
    FrameCamera camera;
    camera.streaming = true;
    const tStFrameInfo &finished = *camera.PrepareFinished();
    tStFrameInfo &inWork = *camera.Prepare();
    camera.IgnoreFrameInfoVector();
    EXPECT_FALSE(finished.valid);
    EXPECT_FALSE(inWork.valid);
    EXPECT_TRUE(camera.PrepareFinished()->valid);
    inWork.finished = true;
}

TEST(NextFrame, IsIgnoredThroughAnotherTag)
{
    FrameCamera camera;
    EXPECT_EQ(camera.IgnoreNextFrame(), 0);
    EXPECT_EQ(camera.GetPSN(), 0x34);
    camera.SetControl(0x04, 0xFF000004);
    camera.TakeSent();
    EXPECT_EQ(camera.IgnoreNextFrame(), 0);
    EXPECT_EQ(camera.GetPSN(), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0x00000004)}));
}

} // namespace
} // namespace zerix::test
