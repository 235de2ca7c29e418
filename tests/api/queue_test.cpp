// The queue of frames and settings over a camera without hardware: the calls, and what the two
// streaming callbacks make of the queue, step by step.
#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "api/entry_queue.h"
#include "api/stream_callbacks.h"
#include "image/z_ex_image.h"
#include "tests/api/sending_fixture.h"

namespace zerix::api {
namespace {

constexpr uint32_t kImageBytes = 12;

// One call of the application's callback: user data, error, flags.
using CallBack = std::tuple<uint32_t, uint32_t, uint32_t>;
using CallBacks = std::vector<CallBack>;

class Queue : public SendingTest {
protected:
    struct Slot {
        std::array<uint8_t, kImageBytes> pixels = {};
        Zerix_Frame frame = {};
    };

    void SetUp() override
    {
        SendingTest::SetUp();
        ResetScanPositionForTest();
        camera->getImageSize = kImageBytes;
        for (Slot &slot : slots) {
            slot.frame.pBuffer = slot.pixels.data();
            slot.frame.bufferSize = kImageBytes;
        }
    }

    static void Note(void *test, uint32_t userData, uint32_t error, uint32_t flags)
    {
        auto &self = *static_cast<Queue *>(test);
        self.callBacks.emplace_back(userData, error, flags);
        if (self.inCallBack)
            self.inCallBack(flags);
    }

    uint32_t QueueFrame(uint32_t number, uint32_t flags = 1)
    {
        return Zerix_QueueFrame(HandleOf(*camera), &slots[number].frame, Note, flags, this, number);
    }

    uint32_t QueueSettings(uint32_t number, uint32_t flags = 1)
    {
        return Zerix_QueueSettings(HandleOf(*camera), &current, Note, flags, this, number);
    }

    uint32_t Count() { return ContextOf(*camera)->queueCount.load(); }

    // The camera has finished an image, of twelve equal bytes.
    void Receive(uint8_t value, uint16_t imageError = 0)
    {
        uint8_t *const data = ZX::ZExImage::AllocateBuffer(kImageBytes);
        std::memset(data, value, kImageBytes);
        ZX::ZImageReceivedCallbackStruct record = {
            new ZX::ZExImage(data, kImageBytes, 4, 3, 8, 5'000, 1.5, 2, 1, 5, 3, false, 5, 0, 1,
                             false, 1, imageError, HandleOf(*camera), true, 777),
            HandleOf(*camera), imageError};
        ImageReceived(&record);
    }

    void Lose()
    {
        ZX::ZImageReceivedCallbackStruct record = {nullptr, HandleOf(*camera), 26};
        ImageReceived(&record);
    }

    void Expose() { ExposeDone(HandleOf(*camera)); }

    CallBacks TakeCallBacks() { return std::exchange(callBacks, {}); }

    std::array<Slot, 101> slots;
    CallBacks callBacks;
    std::function<void(uint32_t flags)> inCallBack;
};

TEST_F(Queue, ChecksInItsOrder)
{
    FakeCamera &closed = AddCamera();
    EXPECT_EQ(Zerix_QueueFrame(nullptr, nullptr, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(closed), nullptr, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(*camera), nullptr, nullptr, 0, nullptr, 0), 2u);
    EXPECT_EQ(Zerix_QueueSettings(nullptr, nullptr, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(closed), &current, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(*camera), nullptr, nullptr, 0, nullptr, 0), 3u);
    tables::SetMagic(&current, 1);
    EXPECT_EQ(QueueSettings(0), 3u);
    EXPECT_EQ(Zerix_Abort(nullptr), 9u);
    EXPECT_EQ(Zerix_Abort(HandleOf(closed)), 9u);
    closed.isHeldByAnother = true;
    closed.OpenCamera();
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(closed), nullptr, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(closed), &current, nullptr, 0, nullptr, 0), 9u);
    EXPECT_EQ(Zerix_Abort(HandleOf(closed)), 9u);
    slots[0].frame.bufferSize = kImageBytes - 1;
    EXPECT_EQ(QueueFrame(0), 18u);
    EXPECT_EQ(Count(), 0u);
}

TEST_F(Queue, HoldsAHundredEntries)
{
    for (uint32_t number = 0; number < 100; ++number)
        EXPECT_EQ(QueueFrame(number), 0u);
    EXPECT_EQ(QueueFrame(100), 22u);
    slots[100].frame.bufferSize = 0; // the room is asked for first
    EXPECT_EQ(QueueFrame(100), 22u);
    EXPECT_EQ(QueueSettings(100), 22u);
    EXPECT_EQ(Count(), 100u);
    Zerix_Frame frame = {};
    EXPECT_EQ(Zerix_GrabFrame(HandleOf(*camera), &frame), 21u);
    for (uint8_t number = 0; number < 100; ++number)
        Receive(number);
    EXPECT_EQ(Count(), 0u);
    for (uint32_t number = 0; number < 100; ++number) {
        EXPECT_EQ(callBacks[number], CallBack(number, 0, 1));
        EXPECT_EQ(slots[number].pixels[0], number);
    }
}

TEST_F(Queue, IsTracedWithTheFrames)
{
    EXPECT_EQ(QueueFrame(0), 0u);
    EXPECT_EQ(Take(), Lines{});
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    diag::ZLogOpen();
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_QueueFrame start",
                             "Zerix_QueueFrame - Queued up frame (array size = 2)",
                             EndLine("Zerix_QueueFrame")}));
    EXPECT_EQ(QueueSettings(2), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_QueueSettings start",
                             "Zerix_QueueSettings - Queued up settings (array size = 3)",
                             EndLine("Zerix_QueueSettings")}));
}

TEST_F(Queue, TellsTheCameraOfBuffersThatItCanFill)
{
    EXPECT_EQ(QueueFrame(0), 0u);
    EXPECT_EQ(camera->lastExternalBuffer, nullptr);
    camera->doesSupportExternalBuffers = true;
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(camera->lastExternalBuffer, slots[1].pixels.data());
}

TEST_F(Queue, AppliesSettingsAtOnceWhileItIsEmpty)
{
    camera->calls.clear();
    EXPECT_EQ(QueueSettings(7, 3), 0u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{7, 0, 3}}));
    EXPECT_TRUE(WasCalled("SetTriggerMode 0"));
    EXPECT_EQ(Remarks("Zerix_QueueSettings"),
              Lines{"Queue was empty, so settings change applied immediately"});
    EXPECT_EQ(QueueSettings(7, 2), 0u); // not asked to be told
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(*camera), &current, nullptr, 1, nullptr, 0), 0u);
    camera->statusOf = {{"SetTriggerMode", 9}};
    EXPECT_EQ(QueueSettings(8), 16u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{8, 16, 1}}));
    EXPECT_EQ(Count(), 0u);
}

// The speed's index stands where its megahertz would.
TEST_F(Queue, RefusesSettingsThatNeedLargerPacketsOnce)
{
    Set(&current, zprmHorizontalBinning, 2);
    Set(&current, zprmReadoutSpeed, 3);
    camera->SetCurrentFireWirePacketSize(1000);
    camera->requiredPacketSize = 1001;
    camera->calls.clear();
    EXPECT_EQ(QueueSettings(1), 3u);
    EXPECT_EQ(camera->calls, Lines{"CalculateRequiredPacketSize 2 14 3"});
    EXPECT_EQ(camera->GetCurrentFireWirePacketSize(), 1001);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(QueueSettings(1), 0u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}}));
}

TEST_F(Queue, GivesTheOldestFrameTheImage)
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

TEST_F(Queue, ThrowsAnImageAwayThatNobodyWants)
{
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
}

TEST_F(Queue, PassesTheImagesErrorOn)
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

TEST_F(Queue, TellsAFrameThatTheCameraIsLost)
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

TEST_F(Queue, NeverCopiesPastTheFramesBuffer)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    slots[1].frame.bufferSize = 11;
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 18, 1}}));
    EXPECT_EQ(slots[1].pixels[0], 0);
}

TEST_F(Queue, FillsAFrameThatNobodyIsToldOf)
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
TEST_F(Queue, KeepsItsOrderWithinAFrame)
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

TEST_F(Queue, TellsAFailedSendToTheSettingsCallback)
{
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(QueueSettings(2), 0u);
    EXPECT_EQ(QueueFrame(3), 0u);
    camera->statusOf = {{"SetTriggerMode", 9}};
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}, {2, 16, 1}}));
}

TEST_F(Queue, LeavesSettingsAloneThatStandLast)
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

TEST_F(Queue, SendsSettingsInTheirOrderWhereSeveralStandTogether)
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

TEST_F(Queue, TellsTheEndOfAnExposureOnce)
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

TEST_F(Queue, TellsNoExposureWhereNobodyAsked)
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
TEST_F(Queue, ScansForTheExposedFrameFromWhereItStopped)
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

TEST_F(Queue, HasNoContextToTellAnExposureTo)
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

TEST_F(Queue, IsEmptiedByAnAbort)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    EXPECT_EQ(QueueSettings(2), 0u);
    Take();
    camera->calls.clear();
    EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_Abort start", EndLine("Zerix_Abort")}));
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(camera->calls, Lines{"Abort"});
    EXPECT_TRUE(ContextOf(*camera)->isAborted.load());
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    // Only a successful call clears the flag.
    slots[2].frame.bufferSize = 0;
    EXPECT_EQ(QueueFrame(2), 18u);
    EXPECT_TRUE(ContextOf(*camera)->isAborted.load());
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    EXPECT_FALSE(ContextOf(*camera)->isAborted.load());
    ContextOf(*camera)->isAborted = true;
    Take();
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(slots[1].frame.filled, 1u);
    EXPECT_EQ(Remarks("ImageReceived"),
              (Lines{"Received a frame but the expose done callback wasn't called.  Calling it "
                     "now before returning the frame.",
                     "Not calling expose done callback because Zerix_Abort was called",
                     "Not calling framedone callback because Zerix_Abort was called"}));
}

TEST_F(Queue, TakesMoreFromWithinEveryCallback)
{
    uint32_t next = 10;
    inCallBack = [&](uint32_t) {
        if (next < 20) {
            EXPECT_EQ(QueueFrame(next++, 3), 0u);
        }
    };
    EXPECT_EQ(QueueSettings(0), 0u); // applied at once
    EXPECT_EQ(Count(), 1u);
    Expose();
    EXPECT_EQ(Count(), 2u);
    Receive(5);
    EXPECT_EQ(Count(), 2u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{0, 0, 1}, {10, 0, 2}, {10, 0, 1}}));
    next = 20;
    inCallBack = [&](uint32_t) {
        inCallBack = nullptr;
        EXPECT_EQ(QueueSettings(30), 0u);
    };
    Receive(6);
    EXPECT_EQ(Count(), 2u); // the late expose-done queued it behind the others
}

// The thread holds the callback semaphore by then.
TEST_F(Queue, CanBeAbortedFromWithinAFrameCallback)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    EXPECT_EQ(QueueFrame(2, 3), 0u);
    inCallBack = [&](uint32_t flags) {
        if (flags == 2) {
            EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u);
        }
    };
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}}));
    EXPECT_EQ(slots[1].frame.filled, 0u);
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u); // the semaphore is free
}

TEST_F(Queue, IsSentToWithoutTheSemaphoreAfterAFailedSend)
{
    camera->statusOf = {{"SetTriggerMode", 9}};
    EXPECT_EQ(Send(&current), 16u);
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    // Whoever holds the semaphore doesn't keep the handler from its work.
    const SemaphoreHold queue(*ContextOf(*camera)->queueSemaphore);
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}}));
}

TEST_F(Queue, IsClosedWithTheCamera)
{
    for (uint32_t number = 0; number < 100; ++number)
        EXPECT_EQ(QueueFrame(number), 0u);
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
    EXPECT_EQ(ContextOf(*camera), nullptr);
    Receive(5); // one that was on its way
    EXPECT_EQ(TakeCallBacks(), CallBacks{});
}

// A handler that is at work when the camera closes keeps what it works with.
TEST_F(Queue, MayCloseUnderAHandler)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    inCallBack = [&](uint32_t flags) {
        if (flags == 2) {
            EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
        }
    };
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}}));
    EXPECT_EQ(ContextOf(*camera), nullptr);
}

// Streaming and trigger ---------------------------------------------------------------------------

using Stream = Queue;

TEST_F(Stream, IsSwitchedOnAndOff)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->doesSupportExternalBuffers = true;
    Take();
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is already off"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 7), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is now on"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is already on"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is now off"});
    EXPECT_EQ(camera->calls, (Lines{"StartStreamingImages 1", "StopStreamingImages"}));
    EXPECT_EQ(camera->imageReceived, &ImageReceived);
    EXPECT_EQ(camera->exposeDone, &ExposeDone);
    EXPECT_EQ(camera->streamUserData, handle);
}

TEST_F(Stream, PassesTheCamerasStatusOn)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->statusOf = {{"StartStreamingImages", 7}, {"StopStreamingImages", 25}};
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 30u);
    camera->isCameraStreaming = true;
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 15u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{});
}

TEST_F(Stream, AnswersItsChecks)
{
    FakeCamera &other = AddCamera();
    EXPECT_EQ(Zerix_SetStreaming(nullptr, 1), 9u);
    EXPECT_EQ(Zerix_SetStreaming(HandleOf(other), 1), 9u);
    EXPECT_EQ(Zerix_Trigger(nullptr), 9u);
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 9u);
    other.isHeldByAnother = true;
    other.OpenCamera();
    EXPECT_EQ(Zerix_SetStreaming(HandleOf(other), 1), 9u);
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 24u); // asked before who holds the camera
    other.isCameraStreaming = true;
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 9u);
}

TEST_F(Stream, IsTriggeredInTheSoftwareTriggersModeAlone)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->isCameraStreaming = true;
    for (uint32_t mode = 0; mode < 9; ++mode) {
        camera->getTriggerMode = mode;
        EXPECT_EQ(Zerix_Trigger(handle), mode == 5 ? 0u : 1u) << mode;
    }
    EXPECT_EQ(camera->calls, Lines{"SoftwareTrigger"});
    camera->getTriggerMode = 5;
    camera->statusOf = {{"SoftwareTrigger", 17}};
    EXPECT_EQ(Zerix_Trigger(handle), 16u);
}

} // namespace
} // namespace zerix::api
