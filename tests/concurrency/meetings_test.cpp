// What applications did from several threads before starts and stops had one owner, and still do:
// sends that need no restart, aborts, queueing next to sending, a thread for each camera.
#include <array>
#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/concurrency_fixture.h"
#include "tests/concurrency/requeued_frames.h"

namespace zerix::concurrency {
namespace {

constexpr uint32_t kRounds = 200;

class Meetings : public ConcurrencyTest {
protected:
    void OpenWithWorkers()
    {
        ASSERT_NO_FATAL_FAILURE(OpenQuick());
        main = std::make_unique<Worker>(handle);
        other = std::make_unique<Worker>(handle);
        Watch({&main->call, &other->call});
    }

    void Watch(std::vector<const CallInProgress *> calls)
    {
        m_watchdog = std::make_unique<Watchdog>(
            testing::UnitTest::GetInstance()->current_test_info()->name(), std::move(calls));
    }

    void EndWatch() { m_watchdog.reset(); }

    void TearDown() override
    {
        EndWatch();
        ConcurrencyTest::TearDown();
    }

    static uint32_t SendExposure(Worker &worker)
    {
        ++worker.round;
        tables::SetSlot64(&worker.settings, zprm64Exposure,
                          worker.round % 2 != 0 ? 1'000'000 : 3'000'000);
        return worker.Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, worker.camera,
                           &worker.settings);
    }

    static void CountInto(void *counter, uint32_t, uint32_t, uint32_t)
    {
        ++*static_cast<std::atomic<uint32_t> *>(counter);
    }

    static uint32_t Grab(Worker &worker)
    {
        return worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, worker.camera, &worker.frame.frame);
    }

    static uint32_t Stream(Worker &worker, uint32_t on)
    {
        return worker.Call("Zerix_SetStreaming", Zerix_SetStreaming, worker.camera, on);
    }

    std::unique_ptr<Worker> main;
    std::unique_ptr<Worker> other;

private:
    std::unique_ptr<Watchdog> m_watchdog;
};

TEST_F(Meetings, SendsWithoutARestartNextToGrabs)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    std::atomic<bool> goesOn{true};
    std::thread grabber([&] {
        while (goesOn)
            EXPECT_EQ(Grab(*other), 0u);
    });
    // Each send begins the exposure anew, so that hardly a grab ends before the last one.
    for (uint32_t round = 0; round < kRounds; ++round)
        EXPECT_EQ(SendExposure(*main), 0u) << round;
    goesOn = false;
    grabber.join();
    ExpectGoodCamera();
}

TEST_F(Meetings, AnAbortBeforeEachStop)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    RequeuedFrames frames(handle);
    for (uint32_t round = 0; round < kRounds; ++round) {
        const uint32_t before = frames.Count();
        ASSERT_EQ(frames.Queue(), 0u) << round;
        ASSERT_EQ(Stream(*main, 1), 0u) << round;
        ASSERT_TRUE(frames.Await(before + 2)) << round;
        ASSERT_EQ(main->Call("Zerix_Abort", Zerix_Abort, handle), 0u) << round;
        ASSERT_EQ(Stream(*main, 0), 0u) << round;
    }
    EXPECT_EQ(frames.Errors().size(), 1u);
    EXPECT_EQ(frames.Errors().begin()->first, 0u);
    ExpectGoodCamera();
}

// No lock is held while a callback runs: it waits for what another thread does with the stream.
TEST_F(Meetings, ACallbackAwaitsASendAndAStopOfAnotherThread)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    std::promise<void> isCalled;
    std::promise<void> isStopped;
    auto stopped = isStopped.get_future();
    auto waited = std::future_status::deferred;
    RequeuedFrames frames(handle, [&](uint32_t number) {
        if (number != 2)
            return;
        isCalled.set_value();
        waited = stopped.wait_for(std::chrono::seconds(30));
    });
    ASSERT_EQ(frames.Queue(), 0u);
    ASSERT_EQ(Stream(*main, 1), 0u);
    isCalled.get_future().wait();
    tables::SetSlot32(&main->settings, zprmRoiWidth, 512);
    EXPECT_EQ(
        main->Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, handle, &main->settings),
        0u);
    EXPECT_EQ(Stream(*main, 0), 0u);
    EXPECT_EQ(Stream(*main, 1), 0u);
    EXPECT_EQ(Stream(*main, 0), 0u);
    isStopped.set_value();
    EXPECT_EQ(main->Call("Zerix_Abort", Zerix_Abort, handle), 0u); // after the callback
    EXPECT_EQ(waited, std::future_status::ready);
    ExpectGoodCamera();
}

TEST_F(Meetings, QueueingAndSendingFromTwoThreads)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    ASSERT_EQ(Stream(*main, 1), 0u);
    std::atomic<bool> goesOn{true};
    std::atomic<uint32_t> done{0};
    std::thread queuer([&] {
        while (goesOn) {
            ++other->round;
            const uint32_t code = other->Call(
                "Zerix_QueueFrame", Zerix_QueueFrame, handle, &other->NextQueuedFrame().frame,
                ZerixAsyncCallback{CountInto}, 1u, static_cast<void *>(&done), 0u);
            EXPECT_TRUE(code == 0 || code == 22) << code;
            if (code == 22)
                std::this_thread::yield();
        }
    });
    for (uint32_t round = 0; round < kRounds; ++round)
        EXPECT_EQ(SendExposure(*main), 0u) << round;
    const uint32_t before = done;
    while (done == before)
        std::this_thread::yield();
    goesOn = false;
    queuer.join();
    EXPECT_EQ(main->Call("Zerix_Abort", Zerix_Abort, handle), 0u);
    ExpectGoodCamera();
}

// Sends, grabs and streams, each thread on a camera of its own.
TEST_F(Meetings, OneThreadForEachCamera)
{
    constexpr uint32_t kCameras = 3;
    std::string rack;
    for (uint32_t id = 0; id < kCameras; ++id)
        rack += "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:15000\"\nserial = \"M-" +
                std::to_string(id) + "\"\nunique-id = " + std::to_string(id + 1) + "\n";
    UseRack(rack);
    Load();
    ASSERT_EQ(List(), kCameras);
    std::array<std::unique_ptr<Worker>, kCameras> workers;
    std::vector<const CallInProgress *> calls;
    for (uint32_t id = 0; id < kCameras; ++id) {
        workers[id] = std::make_unique<Worker>(OpenListed(id));
        calls.push_back(&workers[id]->call);
    }
    Watch(std::move(calls));
    const auto work = [](Worker &worker) {
        RequeuedFrames frames(worker.camera);
        for (uint32_t round = 0; round < kRounds / 10; ++round) {
            EXPECT_EQ(SendExposure(worker), 0u);
            EXPECT_EQ(Grab(worker), 0u);
            const uint32_t before = frames.Count();
            EXPECT_EQ(frames.Queue(), 0u);
            EXPECT_EQ(Stream(worker, 1), 0u);
            EXPECT_TRUE(frames.Await(before + 3));
            EXPECT_EQ(Stream(worker, 0), 0u);
            EXPECT_EQ(worker.Call("Zerix_Abort", Zerix_Abort, worker.camera), 0u);
        }
        EXPECT_EQ(worker.Call("Zerix_CloseCamera", Zerix_CloseCamera, worker.camera), 0u);
    };
    std::vector<std::thread> threads;
    for (auto &worker : workers)
        threads.emplace_back([&work, &worker] { work(*worker); });
    for (std::thread &thread : threads)
        thread.join();
    EndWatch(); // before the workers are gone
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

// Callbacks queue their frames again while another thread aborts, and the application queues them
// anew.
TEST_F(Meetings, CallbacksThatRequeueNextToAborts)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    RequeuedFrames frames(handle);
    ASSERT_EQ(Stream(*main, 1), 0u);
    for (uint32_t round = 0; round < kRounds; ++round) {
        const uint32_t before = frames.Count();
        ASSERT_EQ(frames.Queue(), 0u) << round;
        ASSERT_TRUE(frames.Await(before + 2)) << round;
        std::thread aborter(
            [&] { EXPECT_EQ(other->Call("Zerix_Abort", Zerix_Abort, handle), 0u); });
        aborter.join();
    }
    ExpectGoodCamera();
}

// A second open of a camera that is open changes nothing, so that nobody finds it closed meanwhile.
TEST_F(Meetings, OpensOfAnOpenCameraNextToItsCalls)
{
    ASSERT_NO_FATAL_FAILURE(OpenWithWorkers());
    std::atomic<bool> goesOn{true};
    std::thread opener([&] {
        ZerixHandle same = nullptr;
        do
            EXPECT_EQ(other->Call("Zerix_OpenCamera", Zerix_OpenCamera, 0u, &same), 11u);
        while (goesOn);
        EXPECT_EQ(same, handle);
    });
    uint32_t value = 0;
    for (uint32_t round = 0; round < kRounds * 10; ++round)
        main->Call("Zerix_GetInfo", Zerix_GetInfo, handle, uint32_t{zinfImageSize}, &value);
    goesOn = false;
    opener.join();
    EXPECT_EQ(main->codes, (decltype(main->codes){{{"Zerix_GetInfo", 0}, kRounds * 10}}));
    ExpectGoodCamera();
}

} // namespace
} // namespace zerix::concurrency
