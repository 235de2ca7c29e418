// A register write that never completes: closing, releasing, unplugging and aborting all end it,
// and end themselves.
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/api/virtual_queue_fixture.h"

namespace zerix::api {
namespace {

using Clock = std::chrono::steady_clock;

class HangingWrite : public VirtualQueueTest {
protected:
    // Its faults go with the rack.
    void TearDown() override
    {
        VirtualQueueTest::TearDown();
        EXPECT_EQ(ZerixSim_ChooseRack(nullptr), 0u);
    }

    // Sends settings on a thread of its own, whose write hangs.
    void SendIntoAHang(const char *fault)
    {
        settings = &NewRecord();
        tables::SetSlot64(settings, zprm64Exposure, 7'000'000);
        SendIntoAHangWith(fault);
    }

    // The last of so many writes.
    void SendIntoAHangAt(uint32_t writes)
    {
        SendIntoAHangWith(("hang at write " + std::to_string(writes)).c_str(), writes);
    }

    void SendIntoAHangWith(const char *fault, uint32_t writes = 1)
    {
        ASSERT_EQ(ZerixSim_InjectFault(0, fault), 0u) << ZerixSim_LastErrorText();
        const uint32_t before = tap.CountOf(kernel::kControlAsyncWrite);
        sender = std::thread([this] { result = Zerix_SendSettingsToCam(handle, settings); });
        const auto deadline = Clock::now() + kDeadline;
        while (tap.CountOf(kernel::kControlAsyncWrite) < before + writes) {
            std::this_thread::yield();
            ASSERT_LT(Clock::now(), deadline);
        }
    }

    // Frames come, and nobody was told of a lost camera.
    void ExpectFrames()
    {
        TakeTold();
        ASSERT_EQ(QueueFrame(NewSlot(), 100), 0u);
        ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
        ASSERT_TRUE(AwaitCalls(1));
        EXPECT_EQ(TakeTold(), (std::vector<Told>{{100, 0, 1}}));
    }

    static void ExpectBounded(const std::function<void()> &end)
    {
        const auto began = Clock::now();
        end();
        EXPECT_LT(Clock::now() - began, std::chrono::seconds(15));
    }

    Zerix_Settings *settings = nullptr;
    std::thread sender;
    uint32_t result = 0xFFFFFFFF;
};

TEST_F(HangingWrite, EndsWhenTheCameraIsClosed)
{
    OpenQuick();
    SendIntoAHang("hang at write 1");
    ExpectBounded([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    sender.join();
    EXPECT_EQ(result, 16u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(HangingWrite, EndsWhenAStreamingCameraIsClosed)
{
    OpenQuick();
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ASSERT_TRUE(AwaitCalls(1));
    SendIntoAHang("hang at write 1 from then on");
    ExpectBounded([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    sender.join();
    EXPECT_EQ(result, 16u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
    // Nobody is told of a lost camera.
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}}));
}

// The commit holds the settings and the frame queue; the exposure's two words go before it.
TEST_F(HangingWrite, EndsInTheMiddleOfACommit)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    Zerix_Settings &before = NewRecord();
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &before), 0u);
    uint32_t count = 0;
    ZerixSim_TakeWrites(0, nullptr, &count);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &before), 0u);
    count = 0;
    ZerixSim_TakeWrites(0, nullptr, &count);
    settings = &before;
    SendIntoAHangAt(count); // the commit
    ExpectBounded([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    sender.join();
    EXPECT_EQ(result, 0u); // nobody asks how the commit went
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(HangingWrite, EndsWhenTheDriverIsReleased)
{
    OpenQuick();
    SendIntoAHang("hang at write 1");
    ExpectBounded([] { Zerix_ReleaseDriver(); });
    sender.join();
    EXPECT_EQ(result, 16u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(HangingWrite, EndsWhenTheCameraIsUnplugged)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    SendIntoAHang("hang at write 1");
    ExpectBounded([&] {
        EXPECT_EQ(ZerixSim_Unplug(0), 0u);
        sender.join();
        EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    });
    EXPECT_EQ(result, 16u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

TEST_F(HangingWrite, EndsWhenTheStreamIsSwitchedOff)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    SendIntoAHang("hang at write 1");
    ExpectBounded([&] { EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u); });
    sender.join();
    EXPECT_EQ(result, 16u);
}

// Only the access that hangs is ended: the stream goes on.
TEST_F(HangingWrite, EndsWhenTheQueueIsAborted)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    SendIntoAHang("hang at write 1");
    ExpectBounded([&] { EXPECT_EQ(Zerix_Abort(handle), 0u); });
    sender.join();
    EXPECT_EQ(result, 16u);
    ExpectFrames();
}

TEST_F(HangingWrite, EndsInTheMiddleOfACommitWhenTheQueueIsAborted)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    settings = &NewRecord();
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, settings), 0u);
    uint32_t count = 0;
    ZerixSim_TakeWrites(0, nullptr, &count);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, settings), 0u);
    count = 0;
    ZerixSim_TakeWrites(0, nullptr, &count);
    SendIntoAHangAt(count);
    ExpectBounded([&] { EXPECT_EQ(Zerix_Abort(handle), 0u); });
    sender.join();
    EXPECT_EQ(result, 0u);
    ExpectFrames();
}

// The run loop's own send holds the callback semaphore, and every write of it hangs.
TEST_F(HangingWrite, OfQueuedSettingsEndsWhenTheQueueIsAborted)
{
    OpenQuick();
    Zerix_Settings &before = NewRecord();
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &before), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    tables::SetSlot64(&before, zprm64Exposure, 7'000'000);
    ASSERT_EQ(Zerix_QueueSettings(handle, &before, Tell, 1, this, 2), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 3), 0u);
    ASSERT_EQ(ZerixSim_InjectFault(0, "hang at write 1 from then on"), 0u);
    const uint32_t writes = tap.CountOf(kernel::kControlAsyncWrite);
    ZerixSim_GiveCredit(0, 1);
    ASSERT_TRUE(AwaitCalls(1));
    const auto deadline = Clock::now() + kDeadline;
    while (tap.CountOf(kernel::kControlAsyncWrite) == writes && Clock::now() < deadline)
        std::this_thread::yield();
    ExpectBounded([&] { EXPECT_EQ(Zerix_Abort(handle), 0u); });
    ASSERT_TRUE(AwaitCalls(2));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}, {2, 16, 1}}));
    ExpectBounded([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

// The write that ends the stream is the closing thread's own.
TEST_F(HangingWrite, OfTheClosingThreadItselfEnds)
{
    OpenQuick();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_EQ(ZerixSim_InjectFault(0, "hang at write 1 from then on"), 0u);
    ExpectBounded([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

} // namespace
} // namespace zerix::api
