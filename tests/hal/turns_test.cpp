// Starts, stops, disconnects and changes of the packet size that meet from different threads.
#include <array>
#include <chrono>
#include <random>

#include "hal/camera_connection.h"
#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using Turns = StreamTest;

TEST_F(Turns, AStopEndsAStartWhoseWriteHangs)
{
    driver.Next(kernel::kControlAsyncWrite, Hangs());
    uint32_t started = 0;
    std::thread starting([&] { started = Start(); });
    ASSERT_TRUE(driver.AwaitHanging(1));
    const uint32_t stopped = HAL_CameraStopStreaming(camera, kEnableRegister);
    starting.join();
    EXPECT_EQ(started, 19u);
    EXPECT_EQ(stopped, 0u);
    EXPECT_EQ(Device().ring, nullptr);
}

TEST_F(Turns, ASecondStartWaitsForTheFirstAndIsDone)
{
    driver.Next(kernel::kControlAsyncWrite, Hangs());
    uint32_t first = 99;
    uint32_t second = 99;
    std::thread starting([&] { first = Start(); });
    ASSERT_TRUE(driver.AwaitHanging(1));
    std::thread again([&] { second = Start(); });
    driver.EndAll(); // with the write the buffers, which are empty
    starting.join();
    again.join();
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(second, 0u);
    EXPECT_EQ(driver.Count(kernel::kControlListen), 1u);
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(Turns, ASecondStopWaitsForTheFirstAndIsDone)
{
    BeStreaming();
    std::array<uint32_t, 2> results{99, 99};
    std::thread other([&] { results[1] = HAL_CameraStopStreaming(camera, kEnableRegister); });
    results[0] = Stop();
    other.join();
    EXPECT_EQ(results, (std::array<uint32_t, 2>{0, 0}));
    EXPECT_EQ(driver.Count(kernel::kControlStopListen), 1u);
}

// The stop waits for the thread's end, and the thread for its turn to stop.
TEST_F(Turns, TheLossCallbackGetsThroughWhileAnotherThreadStops)
{
    BeStreaming();
    const auto isCalled = os::Event::Create(os::ResetMode::kManual);
    uint32_t fromCallback = 99;
    sink.duringTimedOut = [&] {
        isCalled->Signal();
        while (Device().isStreaming.load())
            std::this_thread::yield();
        fromCallback = HAL_CameraStopStreaming(camera, kEnableRegister);
    };
    driver.Unplug();
    ASSERT_EQ(isCalled->Wait(20000), os::WaitResult::kSignalled);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 31u);
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
    EXPECT_EQ(fromCallback, 0u);
}

TEST_F(Turns, TheLossCallbackMayDisconnect)
{
    BeStreaming();
    uint32_t result = 99;
    sink.duringTimedOut = [&] { result = HAL_CameraDisconnect(&camera); };
    driver.Unplug();
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_EQ(result, 29u);
    EXPECT_EQ(driver.OpenHandles(), 0u);
}

// The stream can't end under the thread that is in its loop.
TEST_F(Turns, AFrameCallbackChangesNothing)
{
    BeStreaming();
    std::vector<uint32_t> results;
    std::vector<uint32_t> systemErrors;
    const auto note = [&](uint32_t result) {
        results.push_back(result);
        systemErrors.push_back(os::LastError());
    };
    sink.duringPeek = [&] {
        note(HAL_CameraStopStreaming(camera, kEnableRegister));
        note(HAL_CameraReallocateBandwidth(&camera, 200, 1));
        note(HAL_CameraDisconnect(&camera));
        note(Connect());
        note(Start());
    };
    ASSERT_TRUE(driver.Fill({BeginningPacket({1, 2, 3, 4, 5, 6, 7, 8})}));
    ASSERT_TRUE(sink.AwaitFrame());
    sink.duringPeek = {};
    EXPECT_EQ(results, (std::vector<uint32_t>{31, 29, 29, 17, 0}));
    EXPECT_EQ(systemErrors, (std::vector<uint32_t>{170, 170, 170, 170, 170}));
    EXPECT_EQ(hal::EndOfStream(camera), hal::StreamEnd::kRunning);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 100u);
    EXPECT_EQ(Stop(), 0u);
}

// Whatever meets what: nothing is used that another has freed, nothing waits for ever, and nothing
// is held at the end.
TEST_F(Turns, AnyCallsMeetFromThreeThreads)
{
    driver.isRecording = false;
    std::atomic<bool> isOver{false};
    std::thread hardware([&] {
        while (!isOver) {
            if (driver.Pending() != 0)
                driver.Fill({BeginningPacket({1, 2, 3, 4, 5, 6, 7, 8})});
            std::this_thread::yield();
        }
    });
    const auto work = [this](uint32_t seed) {
        std::minstd_rand random(seed);
        HALCamera mine = camera; // callers pass records of their own
        for (int i = 0; i < 150; ++i) {
            uint32_t word = 0;
            switch (random() % 7) {
            case 0:
            case 1:
                HAL_CameraStartStreaming(mine, kEnableRegister, 1, &sink);
                break;
            case 2:
                HAL_CameraStopStreaming(mine, kEnableRegister);
                break;
            case 3:
                HAL_CameraReallocateBandwidth(&mine, 200, 1);
                break;
            case 4:
                HAL_CameraReadData(mine, 0xD0000000, &word, 1);
                break;
            case 5:
                HAL_CameraWriteData(mine, 0xD0000000, &word, 1);
                break;
            default:
                mine.isConnected = 1;
                HAL_CameraDisconnect(&mine);
                HAL_CameraConnect(&mine, 100, FrameSink::Get, FrameSink::Peek, FrameSink::Done,
                                  FrameSink::Overrun, FrameSink::TimedOut, &sink);
            }
        }
    };
    std::thread first(work, 1);
    std::thread second(work, 2);
    work(3);
    first.join();
    second.join();
    HAL_CameraStopStreaming(camera, kEnableRegister);
    HAL_CameraDisconnect(&camera);
    isOver = true;
    hardware.join();
    driver.isRecording = true;
}

} // namespace
