// What the two streaming callbacks make of the queue, step by step.
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "tests/api/marking_filter.h"
#include "tests/api/queue_fixture.h"

namespace zerix::api {
namespace {

using StreamCallbacks = QueueTest;

TEST_F(StreamCallbacks, GivesTheOldestFrameTheImage)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(QueueFrame(2), 0u);
    Take();
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}}));
    EXPECT_EQ(slots[1].pixels[11], 5);
    EXPECT_EQ(slots[1].frame.filled, 1u);
    EXPECT_EQ(slots[1].frame.timeStamp, 777u);
    EXPECT_EQ(slots[2].frame.filled, 0u);
    EXPECT_EQ(Count(), 1u);
    EXPECT_EQ(Take(), (Lines{"ImageReceived start", EndLine("ImageReceived")}));
}

TEST_F(StreamCallbacks, ThrowsAnImageAwayThatNobodyWants)
{
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
}

TEST_F(StreamCallbacks, PassesTheImagesErrorOn)
{
    constexpr std::array<std::array<uint16_t, 2>, 5> kErrors = {
        {{18, 26}, {19, 25}, {20, 18}, {21, 23}, {22, 0}}};
    for (const auto &[imageError, frameError] : kErrors) {
        EXPECT_EQ(QueueFrame(1), 0u);
        Receive(5, imageError);
        EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, frameError, 1}}));
        EXPECT_EQ(slots[1].frame.errorCode, frameError);
    }
}

TEST_F(StreamCallbacks, TellsAFrameThatTheCameraIsLost)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    Lose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 28, 1}}));
    EXPECT_EQ(slots[1].frame.filled, 0u);
    // An image that comes all the same overwrites it.
    EXPECT_EQ(QueueFrame(1), 0u);
    Receive(6, 26);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}}));
}

TEST_F(StreamCallbacks, NeverCopiesPastTheFramesBuffer)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    slots[1].frame.bufferSize = 11;
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 18, 1}}));
    EXPECT_EQ(slots[1].pixels[0], 0);
}

TEST_F(StreamCallbacks, LogsTheFrameThatItGives)
{
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    diag::ZLogOpen();
    EXPECT_EQ(QueueFrame(1), 0u);
    Take();
    Receive(5);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 14u);
    EXPECT_EQ(lines[0], "ImageReceived start");
    EXPECT_EQ(lines[1], "Zerix_Frame structure:");
    EXPECT_EQ(lines[3], "Buffer size: 12");
    EXPECT_EQ(lines[12], "Time Stamp: 777");
    EXPECT_EQ(lines[13], EndLine("ImageReceived"));
    // One that nobody is told of isn't shown.
    EXPECT_EQ(QueueFrame(2, 0), 0u);
    Take();
    Receive(5);
    EXPECT_EQ(Take().size(), 3u);
}

// Where it is on and the format isn't raw; and never the image of a lost camera.
TEST_F(StreamCallbacks, PostProcessesTheImageOfAQueuedFrame)
{
    ZerixContext &context = *ContextOf(*camera);
    MarkingFilter filter;
    context.postProcessingPipeline->Setup(4, 3);
    context.postProcessingPipeline->AddFilter(&filter);
    constexpr struct {
        bool isOn;
        uint32_t format;
        uint16_t status;
        uint8_t pixel;
    } kRows[] = {{false, 2, 0, 7}, {true, 0, 0, 7},   {true, 1, 0, 7},
                 {true, 2, 0, 99}, {true, 3, 18, 99}, {true, 2, 26, 7}};
    for (const auto &row : kRows) {
        context.isPostProcessingOn = row.isOn;
        Set(&context.cachedSettings, zprmImageFormat, row.format);
        EXPECT_EQ(QueueFrame(1), 0u);
        Receive(7, row.status);
        EXPECT_EQ(slots[1].pixels[11], row.pixel) << row.format << ' ' << row.status;
    }
    context.postProcessingPipeline->RemoveFilter(&filter);
}

TEST_F(StreamCallbacks, FillsAFrameThatNobodyIsToldOf)
{
    EXPECT_EQ(QueueFrame(1, 0), 0u);
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(slots[1].frame.filled, 1u);
    EXPECT_EQ(Remarks("ImageReceived"),
              Lines{"Not calling framedone callback the user doesn't want framedone callbacks"});
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(*camera), &slots[2].frame, nullptr, 3, nullptr, 0), 0u);
    Receive(5);
    EXPECT_EQ(Remarks("ImageReceived"),
              (Lines{"Received a frame but the expose done callback wasn't called.  Calling it "
                     "now before returning the frame.",
                     "Not calling expose done callback because it is null",
                     "Not calling framedone callback because the callback in null"}));
}

// Expose done, frame done, then the settings directly behind with their callback.
TEST_F(StreamCallbacks, KeepsItsOrderWithinAFrame)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    EXPECT_EQ(QueueSettings(2, 5), 0u);
    EXPECT_EQ(QueueFrame(3, 3), 0u);
    Set(&current, zprmTriggerType, 4);
    camera->calls.clear();
    inCallBack = [&](uint32_t flags) { camera->calls.push_back("flags " + std::to_string(flags)); };
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}, {1, 0, 1}, {2, 0, 5}}));
    EXPECT_EQ(camera->calls[0], "flags 2");
    EXPECT_EQ(camera->calls[1], "flags 1");
    EXPECT_TRUE(WasCalled("SetTriggerMode 4"));
    EXPECT_EQ(camera->calls.back(), "flags 5");
    EXPECT_EQ(Count(), 1u);
}

TEST_F(StreamCallbacks, TellsAFailedSendToTheSettingsCallback)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(QueueSettings(2), 0u);
    EXPECT_EQ(QueueFrame(3), 0u);
    camera->statusOf = {{"SetTriggerMode", 9}};
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}, {2, 16, 1}}));
}

TEST_F(StreamCallbacks, LeavesSettingsAloneThatStandLast)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(QueueSettings(2), 0u);
    camera->calls.clear();
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}}));
    EXPECT_EQ(Count(), 1u);
    Receive(6);
    EXPECT_EQ(Count(), 1u);
    EXPECT_EQ(camera->calls, Lines{});
    // With a frame behind them they are sent, and the frame gets an image of afterwards.
    EXPECT_EQ(QueueFrame(3), 0u);
    Receive(7);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{2, 0, 1}}));
    EXPECT_EQ(Count(), 1u);
    Receive(8);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{3, 0, 1}}));
    EXPECT_EQ(slots[3].pixels[0], 8);
}

TEST_F(StreamCallbacks, SendsSettingsInTheirOrderWhereSeveralStandTogether)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    for (const uint32_t number : {2u, 3u, 4u})
        EXPECT_EQ(QueueSettings(number), 0u);
    EXPECT_EQ(QueueFrame(5), 0u);
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}, {2, 0, 1}}));
    Receive(6);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{3, 0, 1}, {4, 0, 1}}));
    Receive(7);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{5, 0, 1}}));
}

TEST_F(StreamCallbacks, TellsTheEndOfAnExposureOnce)
{
    EXPECT_EQ(QueueFrame(41, 3), 0u);
    EXPECT_EQ(QueueFrame(42, 3), 0u);
    Take();
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{41, 0, 2}}));
    EXPECT_EQ(Take(), (Lines{"ExposeDone start",
                             "ExposeDone - Called expose done callback for frame number 41",
                             EndLine("ExposeDone")}));
    Expose(); // it looks at the one entry only
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(Remarks("ExposeDone"), Lines{"Not calling expose done callback  for frame 41 because "
                                           "it's already been called for this frame"});
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{41, 0, 1}}));
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{42, 0, 2}}));
}

TEST_F(StreamCallbacks, TellsNoExposureWhereNobodyAsked)
{
    const Lines empty = {
        "Not calling expose done callback because the queue is empty or abort was called"};
    Expose();
    EXPECT_EQ(Remarks("ExposeDone"), empty);
    EXPECT_EQ(QueueFrame(1, 1), 0u);
    Expose();
    EXPECT_EQ(Remarks("ExposeDone"), Lines{});
    EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u);
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(*camera), &slots[2].frame, nullptr, 2, nullptr, 0), 0u);
    Expose();
    EXPECT_EQ(Remarks("ExposeDone"), Lines{"Not calling expose done callback because it is null"});
    ContextOf(*camera)->isAborted = true;
    Expose();
    EXPECT_EQ(Remarks("ExposeDone"), empty);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
}

// One position serves for good. Settings that were told already are passed over.
TEST_F(StreamCallbacks, ScansForTheExposedFrameFromWhereItStopped)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    EXPECT_EQ(QueueSettings(2), 0u);
    EXPECT_EQ(QueueFrame(3, 3), 0u);
    TakeOldest(*ContextOf(*camera), OldestEntry(*ContextOf(*camera)));
    Expose(); // settings at the position end the scan
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    OldestEntry(*ContextOf(*camera))->isExposeCalled = true;
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{3, 0, 2}}));
    // The position stays at 1, where nothing stands now.
    EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u);
    EXPECT_EQ(QueueFrame(4, 3), 0u);
    Expose();
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(QueueFrame(5, 3), 0u);
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{5, 0, 2}}));
}

TEST_F(StreamCallbacks, HasNoContextToTellAnExposureTo)
{
    FakeCamera &other = AddCamera();
    other.OpenCamera();
    ExposeDone(HandleOf(other));
    EXPECT_EQ(Take(),
              (Lines{"ExposeDone start",
                     EndingLine("ExposeDone", "one of the parameters used is not valid.", 2),
                     EndLine("ExposeDone")}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
