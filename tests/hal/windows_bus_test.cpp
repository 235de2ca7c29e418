// The hardware layer on the bus of Windows, over system calls that fail as Wine can't show: buffers
// one by one, cancellation refused, a device whose driver goes while its handle is open.
#include <chrono>
#include <thread>

#include "bus/windows/windows_driver.h"
#include "hal/camera_connection.h"
#include "hal/driver_memory.h"
#include "tests/hal/removable_windows.h"
#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using hal::StreamEnd;

class WindowsBus : public HalTest {
protected:
    void SetUp() override
    {
        HalTest::SetUp();
        UseDriver(&windowsDriver);
        BeConnectedToWindows();
    }
    void TearDown() override
    {
        HAL_CameraRelease(&camera);
        hal::FreeWhatIsOver();
        UseDriver(nullptr);
        EXPECT_EQ(windows.OpenHandles(), 0);
        EXPECT_EQ(windows.OpenEvents(), 0);
        HalTest::TearDown();
    }

    void BeConnectedToWindows()
    {
        ASSERT_EQ(HAL_CameraConnect(&camera, 100, FrameSink::Get, FrameSink::Peek, FrameSink::Done,
                                    FrameSink::Overrun, FrameSink::TimedOut, &sink),
                  0u);
    }
    void BeStreaming()
    {
        ASSERT_EQ(HAL_CameraStartStreaming(camera, kEnableRegister, 1, &sink), 0u);
        ASSERT_TRUE(windows.AwaitPending(60));
    }
    uint32_t Stop()
    {
        std::thread hardware([this] {
            while (Device().isStreaming.load())
                std::this_thread::yield();
            windows.FillBuffer({});
        });
        const uint32_t error = HAL_CameraStopStreaming(camera, kEnableRegister);
        hardware.join();
        return error;
    }

    RemovableWindows windows;
    bus::WindowsDriver windowsDriver{windows};
    FrameSink sink;
};

const Bytes kFrame = {1, 2, 3, 4, 5, 6, 7, 8};

TEST_F(WindowsBus, BuffersThatFailOneByOneCostTheirFramesOnly)
{
    BeStreaming();
    for (const uint32_t error : {31u, 1117u, 121u, 995u}) {
        ASSERT_TRUE(windows.FailBuffer(error));
        ASSERT_TRUE(windows.FillBuffer(BeginningPacket(kFrame)));
        ASSERT_TRUE(sink.AwaitFrame()) << error;
    }
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(sink.timedOutCount, 0u);
}

TEST_F(WindowsBus, SixtyBuffersThatFailInARowAreALoss)
{
    BeStreaming();
    for (int i = 0; i < 60; ++i)
        ASSERT_TRUE(windows.FailBuffer(31));
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 0u);
    BeStreaming();
    EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kRunning);
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(WindowsBus, ADeviceThatIsRemovedWhileItStreamsComesBackAfterTheDisconnect)
{
    for (const uint32_t error : {2u, 55u, 433u, 1167u, 1617u}) {
        BeStreaming();
        windows.Remove(error);
        ASSERT_TRUE(sink.AwaitTimedOut()) << error;
        EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost);
        EXPECT_FALSE(windows.Return()) << "its handle is open";
        EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 31u);
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 29u);
        EXPECT_EQ(os::LastError(), error);
        EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
        EXPECT_TRUE(windows.Return());
        EXPECT_EQ(hal::EndOfStream(camera), StreamEnd::kLost) << "until the next start";
        BeConnectedToWindows();
    }
}

TEST_F(WindowsBus, ASmallerBookingSucceedsAfterARefusedOne)
{
    windows.FailRequests(kernel::kControlAllocateChannel, 1450);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 4000, 1), 26u);
    EXPECT_EQ(hal::HeldPacketBytes(camera), 0u);
    windows.FailRequests(kernel::kControlAllocateChannel, 0);
    EXPECT_EQ(HAL_CameraReallocateBandwidth(&camera, 200, 1), 0u);
    BeStreaming();
    EXPECT_EQ(Stop(), 0u);
}

TEST_F(WindowsBus, EverythingEndsWhereCancellationIsRefused)
{
    BeStreaming();
    windows.RefuseCancellation(true);
    windows.FailRequests(kernel::kControlStopListen, 31);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 31u);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(8500));
    EXPECT_EQ(windows.PendingCount(), 60u) << "the system has the buffers still";
    windows.FailRequests(kernel::kControlStopListen, 0);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(windows.PendingCount(), 0u) << "the closed handle ended them";
}

// The write that switches the camera off; its thread, its buffers and its request are given up.
TEST_F(WindowsBus, AStopEndsWhoseLastWriteHangsForEver)
{
    BeStreaming();
    windows.RefuseCancellation(true);
    windows.HangNext(kernel::kControlAsyncWrite);
    const auto before = std::chrono::steady_clock::now();
    HAL_CameraStopStreaming(camera, kEnableRegister);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(12000));
    windows.RefuseCancellation(false);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(windows.PendingCount(), 0u) << "the closed handle ended them";
}

TEST_F(WindowsBus, ADisconnectEndsNextToAWriteThatHangsForEver)
{
    windows.RefuseCancellation(true);
    windows.HangNext(kernel::kControlAsyncWrite);
    uint32_t written = 0;
    std::thread writer([&] {
        const uint32_t word = 1;
        written = HAL_CameraWriteData(camera, 0xD0000000, &word, 1);
    });
    ASSERT_TRUE(windows.AwaitPending(1));
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(5000));
    writer.join();
    EXPECT_EQ(written, 19u);
}

} // namespace
