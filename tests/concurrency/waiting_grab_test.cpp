// A grab that waits for an image, and what the other calls do to it and it to them.
#include <atomic>
#include <functional>
#include <future>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/concurrency_fixture.h"
#include "tests/concurrency/requeued_frames.h"

namespace zerix::concurrency {
namespace {

constexpr auto kAtOnce = std::chrono::seconds(3); // beside other programs

class WaitingGrab : public ConcurrencyTest {
protected:
    void SetUp() override
    {
        ConcurrencyTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(OpenQuick());
        main = std::make_unique<Worker>(handle);
        waiting = std::make_unique<Worker>(handle);
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &main->settings), 0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 0), 0u); // no image comes
        m_watchdog = std::make_unique<Watchdog>(
            testing::UnitTest::GetInstance()->current_test_info()->name(),
            std::vector<const CallInProgress *>{&main->call, &waiting->call});
    }

    void TearDown() override
    {
        m_watchdog.reset();
        ConcurrencyTest::TearDown();
    }

    // A grab on a thread of its own, on an idle camera, whose stream it starts.
    std::future<uint32_t> BeginGrab()
    {
        auto code = std::async(std::launch::async, [this] { return Grab(*waiting); });
        while (WhatIsHeld().back() == 0) // the camera's own thread, once it streams
            std::this_thread::yield();
        return code;
    }

    uint32_t Grab(Worker &worker)
    {
        return worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, handle, &worker.frame.frame);
    }

    uint32_t Stream(uint32_t on)
    {
        return main->Call("Zerix_SetStreaming", Zerix_SetStreaming, handle, on);
    }

    bool IsStreaming() { return Zerix_Trigger(handle) != ZERIX_ERROR_NOT_STREAMING; }

    // Calls `end` until the grab has returned, as the grab may just be on its way into its wait.
    // How long that took is held to a limit.
    static uint32_t CodeAfter(std::future<uint32_t> &grab, const std::function<void()> &end)
    {
        const auto begun = std::chrono::steady_clock::now();
        do
            end();
        while (grab.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready);
        EXPECT_LT(std::chrono::steady_clock::now() - begun, kAtOnce);
        return grab.get();
    }

    void ExpectAnOffToEndIt()
    {
        auto grab = BeginGrab();
        EXPECT_EQ(CodeAfter(grab, [&] { EXPECT_EQ(Stream(0), 0u); }), 16u);
        EXPECT_FALSE(IsStreaming());
        ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
        EXPECT_EQ(Grab(*main), 0u);
        ExpectGoodCamera();
    }

    static bool IsOver(std::future<uint32_t> &grab)
    {
        return grab.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    std::unique_ptr<Worker> main;
    std::unique_ptr<Worker> waiting;

private:
    std::unique_ptr<Watchdog> m_watchdog;
};

TEST_F(WaitingGrab, IsNotWaitedForByASendAndBringsThePictureOfItsSettings)
{
    auto grab = BeginGrab();
    for (const uint32_t width : {512u, 1024u, 256u}) {
        tables::SetSlot32(&main->settings, zprmRoiWidth, width);
        EXPECT_EQ(
            main->Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, handle, &main->settings),
            0u);
    }
    EXPECT_FALSE(IsOver(grab));
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    EXPECT_EQ(grab.get(), 0u);
    EXPECT_EQ(waiting->frame.frame.width, 256u);
    EXPECT_FALSE(IsStreaming());
    ExpectGoodCamera();
}

TEST_F(WaitingGrab, LeavesItsStreamOnWhenThatIsSwitchedOnMeanwhile)
{
    auto grab = BeginGrab();
    EXPECT_EQ(Stream(1), 0u);
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    EXPECT_EQ(grab.get(), 0u);
    EXPECT_TRUE(IsStreaming());
    RequeuedFrames frames(handle);
    EXPECT_EQ(frames.Queue(), 0u);
    EXPECT_TRUE(frames.Await(3));
    EXPECT_EQ(Stream(0), 0u);
    EXPECT_FALSE(IsStreaming());
    ExpectGoodCamera();
}

TEST_F(WaitingGrab, MakesASecondOneBusy)
{
    auto grab = BeginGrab();
    EXPECT_EQ(Grab(*main), 21u);
    EXPECT_EQ(Grab(*main), 21u);
    EXPECT_FALSE(IsOver(grab));
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    EXPECT_EQ(grab.get(), 0u);
    EXPECT_EQ(Grab(*main), 0u);
    ExpectGoodCamera();
}

TEST_F(WaitingGrab, EndsWhenItsOwnStreamIsSwitchedOff) { ExpectAnOffToEndIt(); }

TEST_F(WaitingGrab, EndsWhenTheApplicationsStreamIsSwitchedOff)
{
    ASSERT_EQ(Stream(1), 0u);
    ExpectAnOffToEndIt();
}

TEST_F(WaitingGrab, EndsWhenTheCameraIsClosed)
{
    for (const bool isStreamOn : {false, true}) {
        SCOPED_TRACE(isStreamOn);
        if (isStreamOn) {
            ASSERT_EQ(Stream(1), 0u);
        }
        auto grab = BeginGrab();
        const uint32_t code =
            CodeAfter(grab, [&] { main->Call("Zerix_CloseCamera", Zerix_CloseCamera, handle); });
        // On its way in, a grab on the application's stream may meet a camera that is closed.
        EXPECT_TRUE(code == 16 || (isStreamOn && code == 9)) << code;
        EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
        handle = OpenListed(0);
    }
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ExpectGoodCamera();
}

TEST_F(WaitingGrab, EndsWhenItIsAborted)
{
    auto grab = BeginGrab();
    EXPECT_EQ(CodeAfter(grab, [&] { EXPECT_EQ(Zerix_Abort(handle), 0u); }), 16u);
    EXPECT_FALSE(IsStreaming());
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    EXPECT_EQ(Grab(*main), 0u);
    ExpectGoodCamera();
}

} // namespace
} // namespace zerix::concurrency
