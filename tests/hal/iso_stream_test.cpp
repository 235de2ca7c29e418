// Starting and stopping the stream, and the receive thread.
#include <chrono>

#include "hal/camera_connection.h"
#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using hal::StreamEnd;
using IsoStream = StreamTest;

const Calls kStopCalls = {"22A0C4", "22A0BC", "22A07C"};
const Bytes kFrame = {1, 2, 3, 4, 5, 6, 7, 8};

TEST_F(IsoStream, QueuesListensAndTurnsTheCameraOn)
{
    ASSERT_EQ(Start(), 0u);
    Calls expected(60, "22A0BA");
    expected.insert(expected.end(), {"22A0C0", "22A07C"});
    EXPECT_EQ(OwnersCalls(), expected);
    for (const SentRequest &queued : driver.Requests(kernel::kControlQueueBuffer)) {
        EXPECT_EQ(queued.inSize, 3360u);
        EXPECT_EQ(queued.outSize, 3360u);
        EXPECT_TRUE(queued.isOverlapped);
    }
    const auto listen = driver.Requests(kernel::kControlListen).at(0);
    EXPECT_EQ(listen.in, (Bytes{0x01, 0x00, 0x50, 0x4E, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(listen.outSize, 12u);
    EXPECT_TRUE(listen.isOverlapped);
    const auto write = driver.Requests(kernel::kControlAsyncWrite).at(0);
    EXPECT_EQ(write.Words()[4], kEnableRegister);
    EXPECT_EQ(Bytes(write.in.begin() + 36, write.in.begin() + 40), (Bytes{5, 0, 0, 1}));
    ASSERT_TRUE(driver.Await(kernel::kControlStreamBegin, 1));
    const auto begin = driver.Requests(kernel::kControlStreamBegin).at(0);
    EXPECT_EQ(begin.inSize, 4u);
    EXPECT_EQ(begin.outSize, 4u);
    EXPECT_TRUE(begin.isOverlapped);
    EXPECT_EQ(Stop(), 0u);
}

// The thread that begins a stream may end long before the stream does, and Windows ends its
// requests with it.
TEST_F(IsoStream, QueuesFromTheReceiveThreadAlone)
{
    BeStreamingUnforgotten();
    const auto thread = driver.Requests(kernel::kControlStreamBegin).at(0).sender;
    EXPECT_NE(thread, std::this_thread::get_id());
    const auto queued = driver.Requests(kernel::kControlQueueBuffer);
    EXPECT_EQ(queued.size(), 60u);
    for (const SentRequest &request : queued)
        EXPECT_EQ(request.sender, thread);
    EXPECT_EQ(driver.Requests(kernel::kControlListen).at(0).sender, std::this_thread::get_id());
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, StartsOnce)
{
    BeStreaming();
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, StopsInOrder)
{
    BeStreaming();
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(driver.Calls(), (Calls{"22A090", "22A0C4", "22A0BC", "22A07C"}));
    EXPECT_EQ(driver.Requests(kernel::kControlStopListen).at(0).in,
              (Bytes{0x01, 0x00, 0x50, 0x4E, 0, 0, 0, 0}));
    EXPECT_EQ(driver.Requests(kernel::kControlDetachBuffers).at(0).in,
              (Bytes{0x01, 0x00, 0x50, 0x4E}));
    const auto write = driver.Requests(kernel::kControlAsyncWrite).at(0);
    EXPECT_EQ(write.Words()[4], kEnableRegister);
    EXPECT_EQ(Bytes(write.in.begin() + 36, write.in.begin() + 40), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(Device().ring, nullptr);
    EXPECT_EQ(Said(), "");
    EXPECT_EQ(sink.timedOutCount, 0u);
}

TEST_F(IsoStream, StopsNothingThatDoesNotStream)
{
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(IsoStream, CanBeStartedAgain)
{
    for (int i = 0; i < 3; ++i) {
        BeStreaming();
        EXPECT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
        EXPECT_TRUE(sink.AwaitFrame());
        EXPECT_EQ(Stop(), 0u);
    }
    EXPECT_EQ(sink.doneCount, 3u);
}

TEST_F(IsoStream, DeliversAFrame)
{
    BeStreaming();
    ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
    ASSERT_TRUE(sink.AwaitFrame());
    EXPECT_FALSE(sink.frame.isDropped);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.data, kFrame);
}

TEST_F(IsoStream, TakesTheBuffersInTurnAndQueuesThemAgain)
{
    BeStreaming();
    for (uint8_t i = 0; i < 130; ++i) {
        ASSERT_TRUE(driver.Fill({{}, BeginningPacket(Bytes(kFrameBytes, i))}));
        ASSERT_TRUE(sink.AwaitFrame());
        ASSERT_EQ(sink.data[7], i);
        ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61u + i));
    }
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.doneCount, 130u);
}

TEST_F(IsoStream, ReadsAllThirtySlots)
{
    BeStreaming();
    std::vector<Bytes> payloads;
    for (uint8_t i = 0; i < 30; ++i)
        payloads.push_back(BeginningPacket(kFrame));
    ASSERT_TRUE(driver.Fill(payloads));
    for (int i = 0; i < 30; ++i)
        ASSERT_TRUE(sink.AwaitFrame());
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, WritesNothingToAFrameAfterTheStop)
{
    BeStreaming();
    const Bytes half = {1, 2, 3, 4};
    ASSERT_TRUE(driver.Fill({BeginningPacket(half)}));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61));
    EXPECT_EQ(Stop(), 0u);
    BeStreaming();
    ASSERT_TRUE(driver.Fill({ContinuingPacket({5, 6, 7, 8})}));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 122));
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.data, (Bytes{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(sink.doneCount, 0u);
}

// A frame that begins after the stop has begun must be dropped too.
TEST_F(IsoStream, DropsAFrameThatBeginsWhileItStops)
{
    BeStreaming();
    const auto hasBegun = os::Event::Create(os::ResetMode::kManual);
    sink.duringPeek = [&] {
        hasBegun->Signal();
        while (Device().isStreaming.load())
            std::this_thread::yield();
    };
    ASSERT_TRUE(driver.Fill({BeginningPacket({1, 2, 3, 4}), ContinuingPacket({9, 9})}));
    ASSERT_EQ(hasBegun->Wait(20000), os::WaitResult::kSignalled);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.data, (Bytes{1, 2, 3, 4, 0, 0, 0, 0})) << "it had begun";
    EXPECT_TRUE(sink.frame.isDropped);
    EXPECT_EQ(sink.doneCount, 0u);
    sink.duringPeek = {};
    BeStreaming();
    ASSERT_TRUE(driver.Fill({ContinuingPacket({5, 6, 7, 8})}));
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.data, (Bytes{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(sink.doneCount, 0u);
}

TEST_F(IsoStream, AllocatesNothingWhileItReceives)
{
    BeStreaming();
    driver.isRecording = false;
    for (uint8_t i = 0; i < 200; ++i) {
        ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
        ASSERT_TRUE(sink.AwaitFrame());
    }
    EXPECT_EQ(sink.allocationsAtLastFrame, sink.allocationsAtFirstFrame);
    driver.isRecording = true;
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, StopWithoutPacketsTakesFiveSecondsAndEndsTheThread)
{
    BeStreaming();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_GE(took, std::chrono::milliseconds(4990));
    EXPECT_LT(took, std::chrono::milliseconds(9000));
    EXPECT_EQ(Said(), "FWCameraIsochStopThreads:Thread Stop timed out!!!\n");
    EXPECT_EQ(driver.Calls(), (Calls{"cancel", "22A090", "22A0C4", "22A0BC", "22A07C"}));
    EXPECT_EQ(sink.timedOutCount, 0u) << "a stop is no loss";
    EXPECT_EQ(Device().receiveThread, nullptr);
}

TEST_F(IsoStream, TellsOfADeviceThatIsLost)
{
    BeStreaming();
    driver.Unplug();
    ASSERT_TRUE(sink.AwaitTimedOut());
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 31u);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
    EXPECT_EQ(os::LastError(), 1167u);
    EXPECT_EQ(driver.Calls(), (Calls{"22A090", "22A0C4", "cancel"}));
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 29u);
    EXPECT_EQ(sink.timedOutCount, 1u);
    EXPECT_EQ(Said(), "");
}

TEST_F(IsoStream, TellsOfALossThatShowsWhenABufferIsQueued)
{
    for (const uint32_t error : {2u, 6u, 55u, 433u, 1167u, 1617u}) {
        BeStreaming();
        driver.Next(kernel::kControlQueueBuffer, Fails(error));
        ASSERT_TRUE(driver.Fill({}));
        ASSERT_TRUE(sink.AwaitTimedOut()) << error;
        EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    }
    EXPECT_EQ(sink.timedOutCount, 6u);
}

TEST_F(IsoStream, TellsOfALossThatShowsInABuffer)
{
    for (const uint32_t error : {2u, 6u, 55u, 433u, 1167u, 1617u}) {
        BeStreaming();
        ASSERT_TRUE(driver.FailBuffer(error));
        ASSERT_TRUE(sink.AwaitTimedOut()) << error;
        EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
        EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    }
    EXPECT_EQ(sink.timedOutCount, 6u);
}

// A bus reset fails buffers of a device that is still there.
TEST_F(IsoStream, PassesOverAFailedBufferAndQueuesItAgain)
{
    BeStreaming();
    uint32_t queued = 60;
    for (const uint32_t error : {31u, 1117u, 121u, 995u}) {
        ASSERT_TRUE(driver.FailBuffer(error));
        ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, ++queued)) << error;
        ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
        ASSERT_TRUE(sink.AwaitFrame()) << error;
        ++queued;
    }
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.timedOutCount, 0u);
    EXPECT_EQ(sink.doneCount, 4u);
}

// What the memory of a failed buffer holds is old.
TEST_F(IsoStream, ParsesNothingOfAFailedBuffer)
{
    BeStreaming();
    for (uint32_t i = 0; i < 60; ++i)
        ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
    for (uint32_t i = 0; i < 60; ++i)
        ASSERT_TRUE(sink.AwaitFrame());
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 120));
    ASSERT_TRUE(driver.FailBuffer(31));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 121));
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.doneCount, 60u);
}

TEST_F(IsoStream, SixtyFailedBuffersInARowAreALoss)
{
    BeStreaming();
    for (int i = 0; i < 59; ++i)
        ASSERT_TRUE(driver.FailBuffer(31));
    ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
    ASSERT_TRUE(sink.AwaitFrame());
    for (int i = 0; i < 59; ++i)
        ASSERT_TRUE(driver.FailBuffer(31));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 60 + 59 + 1 + 59));
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    ASSERT_TRUE(driver.FailBuffer(31));
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(sink.timedOutCount, 1u);
}

TEST_F(IsoStream, ReceivesUntilTheLostDeviceIsStoppedByItsOwnCallback)
{
    BeStreaming();
    sink.stopFromCallback = &camera;
    driver.Unplug();
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_EQ(sink.stopResult, 31u);
    EXPECT_EQ(Device().ring, nullptr);
}

TEST_F(IsoStream, EndsTheThreadWhenABufferCannotBeQueuedAgain)
{
    BeStreaming();
    driver.Next(kernel::kControlQueueBuffer, Fails(kernel::kErrorNoSystemResources));
    ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
    ASSERT_TRUE(sink.AwaitFrame());
    ASSERT_TRUE(driver.Await(kernel::kControlStreamEnd, 1));
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
    Calls calls = OwnersCalls();
    std::erase(calls, "22A0BA");
    EXPECT_EQ(calls, kStopCalls);
    EXPECT_EQ(sink.timedOutCount, 0u);
    EXPECT_EQ(Said(), "");
}

TEST_F(IsoStream, SaysWhyItBringsNoMoreFramesUntilTheNextStart)
{
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kStopped);
    BeStreaming();
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kStopped);

    BeStreaming();
    driver.Next(kernel::kControlQueueBuffer, Fails(kernel::kErrorNoSystemResources));
    ASSERT_TRUE(driver.Fill({}));
    ASSERT_TRUE(driver.Await(kernel::kControlStreamEnd, 2));
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRequeueRefused);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRequeueRefused);

    BeStreaming();
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    driver.Next(kernel::kControlQueueBuffer, Fails(kernel::kErrorDeviceNotConnected));
    ASSERT_TRUE(driver.Fill({}));
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
    camera.kind = 1;
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kStopped);
    camera.kind = 0;
}

TEST_F(IsoStream, QueuesABufferAtItsTurnThatWasRefusedAtTheStart)
{
    driver.Next(kernel::kControlQueueBuffer, Fails(kernel::kErrorNoSystemResources));
    BeStreaming();
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61));
    EXPECT_EQ(driver.Pending(), 60u);
    ASSERT_TRUE(driver.Fill({BeginningPacket(kFrame)}));
    ASSERT_TRUE(sink.AwaitFrame());
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, TakesABufferThatIsFullAtOnce)
{
    driver.Next(kernel::kControlQueueBuffer, {});
    BeStreaming();
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61));
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, FailsToStartWhenTheDriverDoesNotListen)
{
    driver.Next(kernel::kControlListen, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(Start(), 18u);
    EXPECT_EQ(os::LastError(), 31u);
    EXPECT_EQ(driver.Count(kernel::kControlAsyncWrite), 0u);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u) << "what was begun is stopped";
    driver.Next(kernel::kControlListen, PendsAndFails(kernel::kErrorGenFailure));
    EXPECT_EQ(Start(), 18u);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4))
        << "no packet can come, and none is waited for";
    EXPECT_EQ(Said(), "");
    driver.Next(kernel::kControlListen, Pends({}));
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, GivesTheErrorOfTheRegisterWrite)
{
    driver.Next(kernel::kControlAsyncWrite, Fails(kernel::kErrorGenFailure));
    EXPECT_EQ(Start(), 19u);
    driver.Next(kernel::kControlAsyncWrite, Fails(kernel::kErrorNoSystemResources));
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 40u);
    EXPECT_EQ(Device().ring, nullptr);
    EXPECT_EQ(os::LastError(), 1450u);
}

TEST_F(IsoStream, FreesEverythingWhenTheDriverDoesNotStop)
{
    struct Failure {
        uint32_t code;
        uint32_t error;
        Calls calls;
    };
    const Failure failures[] = {
        {kernel::kControlStopListen, 31, {"22A0C4", "cancel"}},
        {kernel::kControlDetachBuffers, 29, {"22A0C4", "22A0BC", "cancel"}},
    };
    for (const Failure &failure : failures) {
        BeStreaming();
        driver.Next(failure.code, Fails(kernel::kErrorGenFailure));
        EXPECT_EQ(Stop(), failure.error);
        EXPECT_EQ(os::LastError(), 31u);
        EXPECT_EQ(OwnersCalls(), failure.calls);
        EXPECT_EQ(driver.Pending(), 0u);
        EXPECT_EQ(Device().ring, nullptr);
        EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    }
}

// Given back first, the resources take the buffers along, which looks like a loss.
TEST_F(IsoStream, ADisconnectStopsTheStreamFirst)
{
    BeStreaming();
    const uint32_t error = WithAnIdleBuffer([this] { return HAL_CameraDisconnect(&camera); });
    EXPECT_EQ(error, 0u);
    EXPECT_EQ(OwnersCalls(), (Calls{"22A0C4", "22A0BC", "22A07C", "22A0B4", "22A0AC", "22A0A4",
                                    "22A08C", "close"}));
    EXPECT_EQ(driver.Requests(kernel::kControlAsyncWrite).at(0).Words()[4], kEnableRegister);
    EXPECT_EQ(driver.Count(kernel::kControlStreamEnd), 1u);
    EXPECT_EQ(Device().ring, nullptr);
    EXPECT_EQ(sink.timedOutCount, 0u);
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kStopped);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
}

TEST_F(IsoStream, AChangeOfThePacketSizeStopsTheStreamFirst)
{
    BeStreaming();
    const uint32_t error =
        WithAnIdleBuffer([this] { return HAL_CameraReallocateBandwidth(&camera, 2000, 1); });
    EXPECT_EQ(error, 0u);
    EXPECT_EQ(OwnersCalls(), (Calls{"22A0C4", "22A0BC", "22A07C", "22A0B4", "22A0AC", "22A0A4",
                                    "22A0A0", "22A0A8", "22A0B0"}));
    EXPECT_EQ(sink.timedOutCount, 0u);
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kStopped);
    BeStreaming();
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(IsoStream, ReleaseEndsAStreamThatNobodyStopped)
{
    BeStreaming();
    EXPECT_EQ(HAL_CameraRelease(&camera), 0u);
    EXPECT_EQ(OwnersCalls(), (Calls{"cancel", "close"}));
    EXPECT_EQ(sink.timedOutCount, 0u);
}

TEST_F(IsoStream, NeedsAnOpenDevice)
{
    ASSERT_EQ(HAL_CameraDisconnect(&camera), 0u);
    driver.Forget();
    EXPECT_EQ(Start(), 18u);
    EXPECT_EQ(os::LastError(), 6u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(IsoStream, OtherKindsHaveFixedAnswers)
{
    camera.kind = 1;
    EXPECT_EQ(Start(), 30u);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u);
    EXPECT_EQ(HAL_CameraStopWaitingForFrame(camera), 0u);
    camera.kind = 2;
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
    camera.kind = 0;
}

} // namespace
