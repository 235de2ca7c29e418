// Five small applications, as laboratories write them, each of which starts, stops or restarts one
// camera's stream from two places. A thousand rounds on the fast clock, thirty on the real one.
#include <atomic>
#include <ostream>
#include <thread>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/concurrency_fixture.h"
#include "tests/concurrency/quietly.h"
#include "tests/concurrency/requeued_frames.h"

namespace zerix::concurrency {
namespace {

std::string NameOfClock(const testing::TestParamInfo<Clock> &info)
{
    return info.param == Clock::kFast ? "FastClock" : "RealClock";
}

class Programs : public ConcurrencyTest, public testing::WithParamInterface<Clock> {
protected:
    void SetUp() override
    {
        ConcurrencyTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(OpenQuick(GetParam()));
        m_main = std::make_unique<Worker>(handle);
        m_other = std::make_unique<Worker>(handle);
        tables::SetSlot64(&Main().settings, zprm64Exposure, 1'000'000);
        tables::SetSlot64(&Other().settings, zprm64Exposure, 1'000'000);
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &Main().settings), 0u);
        m_watchdog = std::make_unique<Watchdog>(
            testing::UnitTest::GetInstance()->current_test_info()->name(),
            std::vector<const CallInProgress *>{&Main().call, &Other().call});
    }

    void TearDown() override
    {
        m_watchdog.reset();
        ConcurrencyTest::TearDown();
    }

    static uint32_t Rounds() { return GetParam() == Clock::kFast ? 1000 : 30; }

    // The main thread's means, and those of the worker or the callback.
    Worker &Main() { return *m_main; }
    Worker &Other() { return *m_other; }

    uint32_t SendRegion(Worker &worker)
    {
        ++worker.round;
        tables::SetSlot32(&worker.settings, zprmRoiWidth, worker.round % 2 != 0 ? 512 : kWidth);
        return worker.Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, handle,
                           &worker.settings);
    }

    uint32_t Stream(uint32_t on)
    {
        return Main().Call("Zerix_SetStreaming", Zerix_SetStreaming, handle, on);
    }

    uint32_t Grab(Worker &worker)
    {
        return worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, handle, &worker.frame.frame);
    }

    static uint32_t CountOf(const Worker &worker, const char *function, uint32_t code)
    {
        const auto found = worker.codes.find({function, code});
        return found == worker.codes.end() ? 0 : found->second;
    }

private:
    std::unique_ptr<Worker> m_main;
    std::unique_ptr<Worker> m_other;
    std::unique_ptr<Watchdog> m_watchdog;
};

// A frame callback sends a new region with every fifth frame, and the main thread switches the
// stream off and on.
TEST_P(Programs, ACallbackSendsRegionsWhileTheStreamIsPaused)
{
    std::atomic<uint32_t> refused{0};
    RequeuedFrames frames(handle, [&](uint32_t number) {
        if (number % 5 == 0 && SendRegion(Other()) != 0)
            ++refused;
    });
    ASSERT_EQ(frames.Queue(), 0u);
    for (uint32_t round = 0; round < Rounds(); ++round) {
        const uint32_t before = frames.Count();
        ASSERT_EQ(Stream(1), 0u) << round;
        ASSERT_TRUE(frames.Await(before + 3)) << round;
        ASSERT_EQ(Stream(0), 0u) << round;
    }
    EXPECT_EQ(refused.load(), 0u);
    ExpectGoodCamera();
}

// A worker grabs, and the main thread sends regions: a live view with a control panel.
TEST_P(Programs, AWorkerGrabsWhileRegionsAreSent)
{
    std::atomic<bool> goesOn{true};
    std::atomic<uint32_t> grabbed{0};
    std::atomic<uint32_t> refused{0};
    std::thread worker([&] {
        while (goesOn)
            ++(Grab(Other()) == 0 ? grabbed : refused);
    });
    for (uint32_t round = 0; round < Rounds() && refused == 0; ++round) {
        EXPECT_EQ(SendRegion(Main()), 0u) << round;
        // Every other send meets a grab that has begun just now, the rest whatever there is.
        const uint32_t before = grabbed;
        while (round % 2 == 0 && grabbed == before && refused == 0)
            std::this_thread::yield();
        // On the real clock a grab takes so long that all of its phases are to be met.
        if (GetParam() == Clock::kReal)
            std::this_thread::sleep_for(std::chrono::milliseconds(round * 5 % 13));
    }
    goesOn = false;
    worker.join();
    EXPECT_EQ(refused.load(), 0u);
    EXPECT_GE(grabbed.load(), Rounds() / 2);
    ExpectGoodCamera();
}

// A worker grabs until it fails, and the main thread closes the camera.
TEST_P(Programs, AWorkerGrabsUntilTheCameraIsClosed)
{
    for (uint32_t round = 0; round < Rounds(); ++round) {
        std::atomic<uint32_t> grabbed{0};
        uint32_t last = 0;
        std::thread worker([&] {
            while ((last = Grab(Other())) == 0)
                ++grabbed;
        });
        // A close meets a grab that has begun just now, or the first one anywhere.
        while (round % 2 == 0 && grabbed == 0)
            std::this_thread::yield();
        const uint32_t closed = Quietly([&] {
            const uint32_t code = Main().Call("Zerix_CloseCamera", Zerix_CloseCamera, handle);
            worker.join();
            return code;
        });
        ASSERT_EQ(closed, 0u) << round;
        ASSERT_TRUE(last == 16 || last == 9) << last << " in round " << round;
        ASSERT_EQ(WhatIsHeld(), std::vector<uint32_t>(7)) << round;
        ASSERT_EQ(Main().Call("Zerix_OpenCamera", Zerix_OpenCamera, 0u, &handle), 0u) << round;
    }
    ExpectGoodCamera();
}

// One thread queues settings that change the region, and switches the stream off while they may
// just be sent.
TEST_P(Programs, QueuedRegionsAreSentWhileTheStreamIsSwitchedOff)
{
    ASSERT_EQ(Stream(1), 0u); // enlarges the packets
    ASSERT_EQ(Stream(0), 0u);
    RequeuedFrames frames(handle);
    for (uint32_t round = 0; round < Rounds(); ++round) {
        ASSERT_EQ(frames.Queue(), 0u);
        tables::SetSlot32(&Main().settings, zprmRoiWidth, round % 2 != 0 ? 512 : kWidth);
        ASSERT_EQ(Zerix_QueueSettings(handle, &Main().settings, nullptr, 0, nullptr, 0), 0u);
        ASSERT_EQ(frames.Queue(), 0u);
        const uint32_t before = frames.Count();
        ASSERT_EQ(Stream(1), 0u) << round;
        // The settings follow the fourth frame.
        ASSERT_TRUE(frames.Await(before + 4)) << round;
        ASSERT_EQ(Stream(0), 0u) << round;
        ASSERT_EQ(Main().Call("Zerix_Abort", Zerix_Abort, handle), 0u) << round;
    }
    ExpectGoodCamera();
}

// Two threads grab from one camera: one has the image, the other is told that the camera is busy.
TEST_P(Programs, TwoThreadsGrab)
{
    std::atomic<uint32_t> grabbed{0};
    const auto grab = [&](Worker &worker) {
        while (grabbed < Rounds()) {
            const uint32_t code = Grab(worker);
            if (code == 0)
                ++grabbed;
            else if (code == 21)
                std::this_thread::yield();
            else
                break;
        }
    };
    std::thread other([&] { grab(Other()); });
    grab(Main());
    other.join();
    EXPECT_GE(grabbed.load(), Rounds());
    for (Worker *worker : {&Main(), &Other()})
        for (const auto &[call, count] : worker->codes)
            EXPECT_TRUE(call.second == 0 || call.second == 21)
                << call.first << " returned " << call.second << ", " << count << " times";
    ExpectGoodCamera();
}

INSTANTIATE_TEST_SUITE_P(On, Programs, testing::Values(Clock::kFast, Clock::kReal), NameOfClock);

} // namespace
} // namespace zerix::concurrency
