// After a camera has been unplugged while it streamed: whatever waits for an image is told, and so
// is whatever begins to wait later, until a stream has been started again.
#include <future>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "api/status.h"
#include "camera/stream_owner.h"
#include "image/z_ex_image.h"
#include "tables/settings_accessors.h"
#include "tests/api/virtual_queue_fixture.h"
#include "tests/concurrency/watchdog.h"

namespace zerix::concurrency {
namespace {

constexpr auto kAtOnce = std::chrono::seconds(3); // beside other programs

class LostCamera : public api::VirtualQueueTest {
protected:
    void SetUp() override
    {
        VirtualQueueTest::SetUp();
        OpenQuick();
    }

    // One frame comes; then the camera is gone.
    void StreamAndUnplug()
    {
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
        ASSERT_TRUE(AwaitCalls(1));
        ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    }

    // Under the eyes of a watchdog, as it may wait for an image.
    uint32_t Grab()
    {
        CallInProgress call;
        const Watchdog watchdog("a grab from a lost camera", {&call});
        call.Begin("Zerix_GrabFrame");
        const uint32_t code = Zerix_GrabFrame(handle, &NewSlot().frame);
        call.End();
        return code;
    }
};

TEST_F(LostCamera, GivesBackEveryQueuedFrameInOrder)
{
    for (uint32_t number = 1; number <= 20; ++number)
        ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    ASSERT_TRUE(AwaitCalls(20));
    std::vector<Told> expected = {{1, 0, 1}};
    for (uint32_t number = 2; number <= 20; ++number)
        expected.push_back({number, 28, 1});
    EXPECT_EQ(TakeTold(), expected);
    EXPECT_EQ(slots[19].frame.errorCode, 28u);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(LostCamera, GivesBackAFrameThatIsQueuedLaterOnTheThreadOfTheOthers)
{
    std::set<std::thread::id> threads;
    inCallBack = [&](const Told &) { threads.insert(std::this_thread::get_id()); };
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    for (uint32_t number = 2; number <= 4; ++number) {
        ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
        ASSERT_TRUE(AwaitCalls(number)) << number;
    }
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}, {2, 28, 1}, {3, 28, 1}, {4, 28, 1}}));
    EXPECT_EQ(threads.size(), 1u);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(LostCamera, GivesBackNoMoreThanAHundredFramesASecond)
{
    constexpr uint32_t kFrames = 50;
    std::vector<std::chrono::steady_clock::time_point> times;
    inCallBack = [&](const Told &call) {
        if (call.error == 28)
            times.push_back(std::chrono::steady_clock::now());
        // 9 once the camera is being closed.
        const uint32_t code = QueueFrame(slots[0], call.userData);
        EXPECT_TRUE(code == 0 || code == 9) << code;
    };
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    ASSERT_TRUE(AwaitCalls(kFrames + 2));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    // From the first to the last of 50 that are 10 ms apart.
    EXPECT_GE(times[kFrames - 1] - times[0], std::chrono::milliseconds((kFrames - 1) * 10 - 20));
}

TEST_F(LostCamera, SendsQueuedSettingsInTheirTurn)
{
    Zerix_Settings &settings = NewRecord();
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u); // enlarges the packets
    tables::SetSlot64(&settings, zprm64Exposure, 7'000'000);
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 2), 0u);
    ASSERT_EQ(Zerix_QueueSettings(handle, &settings, Tell, 1, this, 3), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 4), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    ASSERT_TRUE(AwaitCalls(4));
    // The settings are refused by the bus.
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}, {2, 28, 1}, {3, 16, 1}, {4, 28, 1}}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(LostCamera, EndsAGrabThatWaitsAndEveryLaterOneAtOnce)
{
    auto waiting = std::async(std::launch::async, [&] { return Grab(); });
    while (WhatIsHeld().back() == 0) // the camera's own thread, once it streams
        std::this_thread::yield();
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    EXPECT_EQ(waiting.get(), 16u);
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(Grab(), 16u);
    EXPECT_EQ(Grab(), 16u);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, kAtOnce);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(LostCamera, EndsGrabsOnTheApplicationsStreamAtOnce)
{
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(Grab(), 16u);
    EXPECT_EQ(Grab(), 16u);
    ZX::ZExImage *image = nullptr;
    EXPECT_EQ(api::CameraOf(handle)->GetOneImage(&image), 21u);
    EXPECT_EQ(image, nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, kAtOnce);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

// While it waits, the images would come to the grab.
TEST_F(LostCamera, GivesBackFramesThatWereQueuedBesideAWaitingGrab)
{
    auto waiting = std::async(std::launch::async, [&] { return Grab(); });
    while (WhatIsHeld().back() == 0) // the camera's own thread, once it streams
        std::this_thread::yield();
    for (uint32_t number = 1; number <= 3; ++number)
        ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    EXPECT_EQ(waiting.get(), 16u);
    ASSERT_TRUE(AwaitCalls(3));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 28, 1}, {2, 28, 1}, {3, 28, 1}}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

// A callback finds the camera lost, and switches the stream off before anybody was told.
TEST_F(LostCamera, GivesBackFramesThoughACallbackStopsTheStream)
{
    for (const bool isSend : {true, false}) {
        SCOPED_TRACE(isSend);
        Zerix_Settings &settings = NewRecord();
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        uint32_t ended = 99;
        inCallBack = [&](const Told &call) {
            if (call.error != 0)
                return;
            EXPECT_EQ(ZerixSim_Unplug(0), 0u);
            while (!api::CameraOf(handle)->Stream().IsLost())
                std::this_thread::yield();
            tables::SetSlot32(&settings, zprmRoiWidth, 512);
            ended =
                isSend ? Zerix_SendSettingsToCam(handle, &settings) : Zerix_SetStreaming(handle, 0);
        };
        for (uint32_t number = 1; number <= 3; ++number)
            ASSERT_EQ(QueueFrame(NewSlot(), number), 0u);
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
        ASSERT_TRUE(AwaitCalls(3));
        EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}, {2, 28, 1}, {3, 28, 1}}));
        EXPECT_EQ(ended, 16u);
        EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
        ASSERT_EQ(ZerixSim_Plug(0), 0u);
        ASSERT_EQ(List(), 1u);
        handle = OpenListed(0);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 0), 0u);
    }
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

// The device is still there: its driver did not take a buffer again. Opened anew, it is not lost.
TEST_F(LostCamera, IsNoMoreLostOnceItIsOpenedAgain)
{
    tap.FailRequest(kernel::kControlQueueBuffer, kernel::kErrorNoSystemResources,
                    kernel::kReceiveBuffers);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 2), 0u);
    while (!api::CameraOf(handle)->Stream().IsLost())
        std::this_thread::yield();
    ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
    handle = OpenListed(0);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_TRUE(AwaitCalls(1));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{1, 0, 1}}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(LostCamera, TakesPicturesAgainWhenItIsPluggedAndListed)
{
    ASSERT_EQ(QueueFrame(NewSlot(), 1), 0u);
    ASSERT_NO_FATAL_FAILURE(StreamAndUnplug());
    EXPECT_EQ(Grab(), 16u);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(List(), 0u);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    ASSERT_EQ(List(), 1u);
    handle = OpenListed(0);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
    EXPECT_EQ(Grab(), 0u);
    TakeTold();
    ASSERT_EQ(QueueFrame(NewSlot(), 5), 0u);
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
    ASSERT_TRUE(AwaitCalls(1));
    EXPECT_EQ(TakeTold(), (std::vector<Told>{{5, 0, 1}}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

} // namespace
} // namespace zerix::concurrency
