// A driver that keeps requests for ever and ignores that they are cancelled: every end comes in
// time all the same, and what the driver may still write to is not freed.
#include <chrono>
#include <functional>
#include <thread>

#include "hal/camera_connection.h"
#include "hal/driver_memory.h"
#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using std::chrono::milliseconds;

class ObstinateDriver : public StreamTest {
protected:
    void SetUp() override
    {
        StreamTest::SetUp();
        driver.ignoresCancel = true;
    }

    // The driver writes to everything that it still has: it must be there.
    void TearDown() override
    {
        driver.EndAll();
        hal::FreeWhatIsOver();
        driver.ignoresCancel = false;
        StreamTest::TearDown();
    }

    // Under a sanitizer and a loaded machine everything takes longer, but nothing for ever.
    static void ExpectWithin(milliseconds limit, const std::function<void()> &work)
    {
        const auto before = std::chrono::steady_clock::now();
        work();
        EXPECT_LT(std::chrono::steady_clock::now() - before, limit);
    }

    // A thread with a register access that hangs.
    std::thread Hanging(uint32_t code, uint32_t *result)
    {
        driver.Next(code, Hangs());
        std::thread thread([this, code, result] {
            uint32_t word = 0;
            *result = code == kernel::kControlAsyncRead
                          ? HAL_CameraReadData(camera, 0xD0000000, &word, 1)
                          : HAL_CameraWriteData(camera, 0xD0000000, &word, 1);
        });
        EXPECT_TRUE(driver.AwaitHanging(1));
        return thread;
    }
};

constexpr const char *kTimedOut = "FWCameraIsochStopThreads:Thread Stop timed out!!!\n";

// Five seconds for a packet, one for the requests that are cancelled, and the thread's way out.
constexpr auto kStopWithoutPackets = milliseconds(8500);

TEST_F(ObstinateDriver, StopEndsWhereTheBuffersAreNotGivenBack)
{
    const struct {
        uint32_t code;
        uint32_t error;
    } rows[] = {{kernel::kControlStopListen, 31}, {kernel::kControlDetachBuffers, 29}};
    for (const auto &row : rows) {
        BeStreaming();
        driver.Next(row.code, Fails(kernel::kErrorGenFailure));
        ExpectWithin(kStopWithoutPackets, [&] {
            EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), row.error);
        });
        EXPECT_EQ(os::LastError(), 31u);
        EXPECT_EQ(Device().receiveThread, nullptr) << "it has left without its buffers";
        EXPECT_EQ(driver.Pending(), 60u);
        driver.EndAll();
    }
    EXPECT_EQ(Said(), std::string(kTimedOut) + kTimedOut);
    EXPECT_EQ(sink.timedOutCount, 0u);
    BeStreaming();
    EXPECT_EQ(Stop(), 0u) << "with buffers of its own";
}

TEST_F(ObstinateDriver, StopEndsWhereItsOwnRequestsHang)
{
    for (const uint32_t code : {kernel::kControlStopListen, kernel::kControlDetachBuffers}) {
        BeStreaming();
        driver.Next(code, Hangs());
        ExpectWithin(milliseconds(4900),
                     [&] { EXPECT_EQ(Stop(), code == kernel::kControlStopListen ? 31u : 29u); });
        driver.EndAll();
    }
    EXPECT_EQ(Said(), "");
}

TEST_F(ObstinateDriver, StopEndsWhereItsLastWriteHangs)
{
    BeStreaming();
    driver.Next(kernel::kControlAsyncWrite, Hangs());
    ExpectWithin(milliseconds(4500), [&] { EXPECT_EQ(Stop(), 19u); });
    EXPECT_EQ(os::LastError(), 995u);
    EXPECT_EQ(driver.Hanging(), 1u);
}

TEST_F(ObstinateDriver, StopEndsNextToWritesThatHang)
{
    BeStreaming();
    uint32_t first = 0;
    uint32_t second = 0;
    std::thread hanging = Hanging(kernel::kControlAsyncWrite, &first);
    driver.Next(kernel::kControlAsyncWrite, Hangs());
    std::thread behind([&] {
        const uint32_t word = 1;
        second = HAL_CameraWriteData(camera, 0xD0000000, &word, 1);
    });
    ExpectWithin(milliseconds(7000), [&] { EXPECT_LE(Stop(), 19u); });
    hanging.join();
    behind.join();
    EXPECT_EQ(first, 19u);
    EXPECT_EQ(second, 19u);
}

// A thread that waits for it five seconds long would be ended by force.
TEST_F(ObstinateDriver, TheRequestsOfAStreamsEndHoldUpNoStop)
{
    for (const uint32_t code : {kernel::kControlStreamEnd, kernel::kControlStreamBegin}) {
        driver.Next(code, Hangs());
        BeStreaming();
        ExpectWithin(milliseconds(4500), [&] { EXPECT_EQ(Stop(), 0u); });
        EXPECT_EQ(Device().receiveThread, nullptr);
        driver.EndAll();
    }
    EXPECT_EQ(Said(), "");
}

TEST_F(ObstinateDriver, DisconnectEndsNextToAnAccessThatHangs)
{
    for (const uint32_t code : {kernel::kControlAsyncWrite, kernel::kControlAsyncRead}) {
        uint32_t result = 0;
        std::thread hanging = Hanging(code, &result);
        ExpectWithin(milliseconds(4000), [&] { EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u); });
        hanging.join();
        EXPECT_EQ(result, code == kernel::kControlAsyncWrite ? 19u : 18u);
        driver.EndAll();
        ASSERT_EQ(Connect(), 0u);
    }
}

TEST_F(ObstinateDriver, DisconnectEndsWhereABookingIsNotGivenBack)
{
    driver.Next(kernel::kControlFreeChannel, Hangs());
    ExpectWithin(milliseconds(4000), [&] { EXPECT_EQ(HAL_CameraDisconnect(&camera), 27u); });
    EXPECT_EQ(os::LastError(), 995u);
    EXPECT_EQ(camera.isConnected, 1u);
    driver.EndAll();
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
}

TEST_F(ObstinateDriver, ReleaseEndsNextToAReadThatHangs)
{
    uint32_t result = 0;
    std::thread hanging = Hanging(kernel::kControlAsyncRead, &result);
    ExpectWithin(milliseconds(5000), [&] { EXPECT_EQ(HAL_CameraRelease(&camera), 0u); });
    hanging.join();
    EXPECT_EQ(result, 18u);
}

TEST_F(ObstinateDriver, ReleaseEndsAStreamWhoseBuffersStayWithTheDriver)
{
    driver.ignoresClose = true;
    BeStreaming();
    ExpectWithin(milliseconds(7000), [&] { EXPECT_EQ(HAL_CameraRelease(&camera), 0u); });
    EXPECT_EQ(driver.Pending(), 60u);
}

TEST_F(ObstinateDriver, AStartWhoseListeningHangsFails)
{
    driver.Next(kernel::kControlListen, Hangs());
    ExpectWithin(milliseconds(14000), [&] { EXPECT_EQ(Start(), 18u); });
    EXPECT_EQ(os::LastError(), 995u);
    EXPECT_EQ(Stop(), 0u);
}

} // namespace
