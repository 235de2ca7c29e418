// The queue over a streaming virtual camera: order, settings between frames, callbacks that queue,
// and ends at any moment.
#include <algorithm>
#include <numeric>
#include <thread>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/virtual_queue_fixture.h"

namespace zerix::api {
namespace {

using VirtualQueue = VirtualQueueTest;

double MeanOf(const uint8_t *first, std::size_t count)
{
    return std::accumulate(first, first + count, 0.0) / static_cast<double>(count);
}

TEST_F(VirtualQueue, FillsItsFramesInTheirOrder)
{
    OpenQuick();
    for (uint32_t number = 0; number < 20; ++number)
        ASSERT_EQ(QueueFrame(NewSlot(), number, 3), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, 20);
    ASSERT_TRUE(AwaitCalls(40));
    ASSERT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    std::vector<uint32_t> exposed;
    std::vector<uint32_t> done;
    for (const Told &call : TakeTold()) {
        EXPECT_EQ(call.error, 0u);
        (call.flags == 2 ? exposed : done).push_back(call.userData);
        // No frame is done before it was told to be exposed.
        if (call.flags == 1) {
            EXPECT_EQ(exposed.size() >= done.size(), true);
        }
    }
    std::vector<uint32_t> all(20);
    std::iota(all.begin(), all.end(), 0u);
    EXPECT_EQ(done, all);
    EXPECT_EQ(exposed, all);
    for (uint32_t number = 0; number < 20; ++number) {
        EXPECT_EQ(slots[number].frame.filled, 1u);
        EXPECT_EQ(slots[number].frame.frameNumber, number);
        EXPECT_EQ(slots[number].frame.size, kLineSize);
    }
}

TEST_F(VirtualQueue, TriggersByCommand)
{
    OpenQuick();
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    EXPECT_EQ(Zerix_Trigger(handle), 24u);
    Zerix_Settings &settings = NewRecord();
    tables::SetSlot32(&settings, zprmTriggerType, 5);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    for (uint32_t number = 0; number < 3; ++number) {
        ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
        ASSERT_EQ(Zerix_Trigger(handle), 0u);
        ASSERT_TRUE(AwaitCalls(number + 1));
    }
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{0, 0, 1}, {1, 0, 1}, {2, 0, 1}}));
}

// A thousand frames, and settings behind every tenth: each frame is exposed as the settings before
// it say, by its pixels and by the camera's own clock. The camera begins a frame when what stands
// before it in the queue is done: what it had sent ahead would still be of the earlier settings.
TEST_F(VirtualQueue, ChangesSettingsBetweenTwoExactFrames)
{
    constexpr uint32_t kFrames = 1000;
    constexpr uint64_t kExposures[] = {2'000'000, 6'000'000, 18'000'000};
    OpenQuick();
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &NewRecord()), 0u);
    uint32_t next = 0;
    std::vector<Zerix_Settings *> changes;
    for (uint32_t phase = 0; phase <= kFrames / 10; ++phase) {
        Zerix_Settings &settings = NewRecord();
        tables::SetSlot64(&settings, zprm64Exposure, kExposures[phase % 3]);
        changes.push_back(&settings);
    }
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, changes[0]), 0u);
    for (uint32_t number = 0; number < kFrames; ++number)
        NewSlot();
    std::vector<uint64_t> began(kFrames);
    // A frame, and the settings behind it; the user data of settings begins at 10,000.
    const auto queueNext = [&] {
        const uint32_t number = next++;
        EXPECT_EQ(QueueFrame(slots[number], number), 0u);
        if (number % 10 == 9) {
            EXPECT_EQ(Zerix_QueueSettings(handle, changes[number / 10 + 1], Tell, 1, this,
                                          10'000 + number / 10),
                      0u);
        }
    };
    inCallBack = [&](const Told &call) {
        if (call.userData >= 10'000) {
            ZerixSim_GiveCredit(0, 1);
            return;
        }
        EXPECT_EQ(
            ZerixSim_GetFrameTime(0, slots[call.userData].frame.frameNumber, &began[call.userData]),
            0u);
        if (next < kFrames)
            queueNext();
        if (call.userData % 10 != 9)
            ZerixSim_GiveCredit(0, 1);
    };
    while (next < 80)
        queueNext();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, 1);
    // The last settings stand last and stay.
    ASSERT_TRUE(AwaitCalls(kFrames + kFrames / 10 - 1));
    ASSERT_EQ(Zerix_Abort(handle), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    std::vector<uint32_t> expected;
    for (uint32_t number = 0; number < kFrames; ++number) {
        expected.push_back(number);
        if (number % 10 == 9 && number + 1 < kFrames)
            expected.push_back(10'000 + number / 10);
    }
    std::vector<uint32_t> order;
    for (const Told &call : TakeTold()) {
        EXPECT_EQ(call.error, 0u);
        order.push_back(call.userData);
    }
    EXPECT_EQ(order, expected);
    double lowest[3] = {255, 255, 255};
    double highest[3] = {0, 0, 0};
    for (uint32_t number = 0; number < kFrames; ++number) {
        const uint32_t phase = number / 10 % 3;
        const uint8_t *const pixels = slots[number].pixels.data();
        // First and last lines alike: no frame is of two settings.
        for (const uint8_t *part : {pixels, pixels + kLineSize - 10 * 1024}) {
            lowest[phase] = std::min(lowest[phase], MeanOf(part, 10 * 1024));
            highest[phase] = std::max(highest[phase], MeanOf(part, 10 * 1024));
        }
        // Frames don't overlap: the next one begins when this one has been exposed and read out.
        if (number % 10 != 9) {
            const uint64_t took = began[number + 1] - began[number];
            EXPECT_GE(took, kExposures[phase]) << number;
            EXPECT_LT(took, kExposures[phase] + 8'000'000) << number;
        }
    }
    EXPECT_LT(highest[0] * 1.5, lowest[1]);
    EXPECT_LT(highest[1] * 1.5, lowest[2]);
}

TEST_F(VirtualQueue, IsAbortedFromAnotherThreadWhileFramesCome)
{
    OpenQuick();
    uint32_t next = 0;
    for (uint32_t number = 0; number < 150; ++number)
        NewSlot();
    std::mutex nextMutex;
    const auto queueNext = [&] {
        const std::lock_guard lock(nextMutex);
        if (QueueFrame(slots[next % 150], next) == 0)
            ++next;
    };
    inCallBack = [&](const Told &) { queueNext(); };
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    for (int round = 0; round < 10; ++round) {
        for (int frame = 0; frame < 30; ++frame)
            queueNext();
        ASSERT_TRUE(AwaitCalls(10));
        std::thread([&] { EXPECT_EQ(Zerix_Abort(handle), 0u); }).join();
        TakeTold();
    }
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(VirtualQueue, IsClosedWithFullQueueWhileStreaming)
{
    OpenQuick();
    for (uint32_t number = 0; number < 100; ++number)
        ASSERT_EQ(QueueFrame(NewSlot(), number, 3), 0u);
    EXPECT_EQ(QueueFrame(NewSlot(), 100), 22u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, 5);
    ASSERT_TRUE(AwaitCalls(10));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(VirtualQueue, WaitsForASlowCallbackWhenItCloses)
{
    OpenQuick();
    Moment isInside;
    Moment mayLeave;
    inCallBack = [&](const Told &) {
        isInside.Come();
        EXPECT_TRUE(mayLeave.Await());
    };
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ASSERT_TRUE(isInside.Await());
    // The stream's own end doesn't wait for the application.
    ASSERT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    std::thread closer([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    mayLeave.Come();
    closer.join();
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}}));
}

// After an abort the frames are the application's again, so it waits for the one that is being
// given; the others are never told of.
TEST_F(VirtualQueue, WaitsForASlowCallbackWhenItIsAborted)
{
    Configure("outputEnabled = 1\noutputNestedCalls = 1\n"); // the abort's first line is waited for
    OpenQuick();
    Moment isInside;
    Moment mayLeave;
    inCallBack = [&](const Told &) {
        isInside.Come();
        EXPECT_TRUE(mayLeave.Await());
    };
    for (uint32_t number = 1; number <= 3; ++number)
        ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ASSERT_TRUE(isInside.Await());
    std::size_t toldBefore = 0;
    std::thread aborter([&] {
        EXPECT_EQ(Zerix_Abort(handle), 0u);
        toldBefore = TakeTold().size();
    });
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (capture.Text().find("Zerix_Abort start") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    mayLeave.Come();
    aborter.join();
    EXPECT_GE(toldBefore, 1u);
    EXPECT_EQ(ContextOf(*CameraOf(handle))->queueCount.load(), 0u);
    EXPECT_TRUE(CameraOf(handle)->IsCameraStreaming());
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(VirtualQueue, TellsAQueuedFrameOfALostCamera)
{
    OpenQuick();
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 2), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, 1);
    ASSERT_TRUE(AwaitCalls(1));
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    ASSERT_TRUE(AwaitCalls(2));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}, {2, 28, 1}}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(VirtualQueue, EndsAWaitingGrabWhenTheCameraIsClosed)
{
    OpenQuick();
    Slot &slot = NewSlot();
    uint32_t result = 0;
    std::thread grabber([&] { result = Zerix_GrabFrame(handle, &slot.frame); });
    while (WhatIsHeld().back() == 0) // the camera's own thread, once it streams
        std::this_thread::yield();
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    grabber.join();
    EXPECT_EQ(result, 16u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

} // namespace
} // namespace zerix::api
