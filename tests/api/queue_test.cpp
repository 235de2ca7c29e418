// Queueing frames and settings over a camera without hardware, and emptying the queue.
#include <string>

#include <gtest/gtest.h>

#include "tests/api/queue_fixture.h"

namespace zerix::api {
namespace {

using Queue = QueueTest;

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

// What is wrong with the record comes first, then the room, then its size or packets.
TEST_F(Queue, ChecksInItsOrderWhileItIsFull)
{
    for (uint32_t number = 0; number < 100; ++number)
        EXPECT_EQ(QueueFrame(number), 0u);
    ContextOf(*camera)->isAborted = true;
    EXPECT_EQ(Zerix_QueueFrame(HandleOf(*camera), nullptr, nullptr, 0, nullptr, 0), 2u);
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(*camera), nullptr, nullptr, 0, nullptr, 0), 3u);
    camera->SetCurrentFireWirePacketSize(1000);
    camera->requiredPacketSize = 1001;
    EXPECT_EQ(QueueSettings(1), 22u);
    EXPECT_EQ(camera->GetCurrentFireWirePacketSize(), 1000);
    tables::SetMagic(&current, 0);
    EXPECT_EQ(QueueSettings(1), 3u);
    EXPECT_EQ(Count(), 100u);
    EXPECT_TRUE(ContextOf(*camera)->isAborted.load()); // nothing was queued
}

TEST_F(Queue, TakesRecordsOfBothLayouts)
{
    const ZerixHandle handle = HandleOf(*camera);
    EXPECT_EQ(QueueFrame(1), 0u);
    EXPECT_EQ(Zerix_QueueSettings(handle, Legacy(), Note, 1, this, 2), 0u);
    EXPECT_EQ(QueueFrame(3), 0u);
    Set(Legacy(), zprmTriggerType, 4);
    camera->calls.clear();
    Receive(5);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 1}, {2, 0, 1}}));
    EXPECT_TRUE(WasCalled("SetTriggerMode 4"));
    tables::SetMagic(Legacy(), 1);
    Take();
    EXPECT_EQ(Zerix_QueueSettings(handle, Legacy(), Note, 1, this, 2), 3u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_QueueSettings start",
                     EndingLine("Zerix_QueueSettings",
                                "the Zerix_Settings structure is corrupted or the size is invalid.",
                                3)}));
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
    ContextOf(*camera)->isAborted = true;
    EXPECT_EQ(QueueSettings(8), 16u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{8, 16, 1}}));
    EXPECT_EQ(Count(), 0u);
    EXPECT_FALSE(ContextOf(*camera)->isAborted.load());
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
            std::thread([&] { EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u); }).join();
        }
    };
    Expose();
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}}));
    EXPECT_EQ(ContextOf(*camera), nullptr);
}

// The close would wait for the very thread that it is called on.
TEST_F(Queue, RefusesACloseInACallbackOfItsCamera)
{
    for (const uint32_t flags : {1u, 2u}) {
        uint32_t closed = 77;
        inCallBack = [&](uint32_t) { closed = Zerix_CloseCamera(HandleOf(*camera)); };
        EXPECT_EQ(QueueFrame(flags, flags), 0u);
        Expose();
        Receive(5);
        EXPECT_EQ(TakeCallBacks(), (CallBacks{{flags, 0, flags}}));
        EXPECT_EQ(closed, 21u);
        EXPECT_TRUE(camera->IsCameraOpen());
    }
}

// Settings that are applied at once are told on the thread of the call.
TEST_F(Queue, IsClosedByTheCallbackOfSettingsThatAreAppliedAtOnce)
{
    uint32_t closed = 77;
    inCallBack = [&](uint32_t) { closed = Zerix_CloseCamera(HandleOf(*camera)); };
    EXPECT_EQ(QueueSettings(1), 0u);
    EXPECT_EQ(closed, 0u);
    EXPECT_EQ(ContextOf(*camera), nullptr);
    EXPECT_EQ(QueueSettings(2), 9u);
}

} // namespace
} // namespace zerix::api
