// The receive path over the test driver: buffers queued, filled, cancelled and lost.
#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <thread>
#include <windows.h>

#include "camera/assembler/frame_info.h"
#include "hal_camera.h"
#include "platform/os.h"

namespace zerix::test {
namespace {

constexpr uint32_t kRead = 0x22207A;
constexpr uint32_t kQueueBuffer = 0x22A0BA;
constexpr uint32_t kDetachBuffers = 0x22A0BC;
constexpr uint32_t kListen = 0x22A0C0;
constexpr uint32_t kStopListen = 0x22A0C4;
constexpr uint32_t kTagRegister = 0xD0002004;
constexpr uint8_t kTag = 0x21;
constexpr uint32_t kDeadline = 20000;

constexpr std::array<uint8_t, 8> kPicture = {11, 12, 13, 14, 15, 16, 17, 18};

// A camera of one frame of eight bytes, handed out again and again.
struct EightBytes {
    tStFrameInfo frame{};
    uint8_t data[8] = {};
    uint32_t wholeFrames = 0; // of the receive thread, until it has ended
    uint32_t brokenFrames = 0;
    int threadPriority = 0; // in the callback
    uint32_t processClass = 0;
    std::unique_ptr<os::Semaphore> done = os::Semaphore::Create(0, 1000000);
    std::unique_ptr<os::Semaphore> timedOut = os::Semaphore::Create(0, 10);

    static EightBytes &Of(void *context) { return *static_cast<EightBytes *>(context); }
    static tStFrameInfo *Peek(void *context)
    {
        EightBytes &camera = Of(context);
        camera.frame.data = camera.data;
        camera.frame.size = sizeof camera.data;
        camera.frame.expected = sizeof camera.data;
        camera.frame.psn = kTag;
        return &camera.frame;
    }
    static tStFrameInfo *Get(void *context) { return &Of(context).frame; }
    static void Done(void *context)
    {
        EightBytes &camera = Of(context);
        const bool isWhole =
            camera.frame.status == 0 && std::equal(camera.data, camera.data + 8, kPicture.begin());
        ++(isWhole ? camera.wholeFrames : camera.brokenFrames);
        camera.threadPriority = GetThreadPriority(GetCurrentThread());
        camera.processClass = GetPriorityClass(GetCurrentProcess());
        camera.done->Signal();
    }
    static void Overrun(void *) {}
    static void TimedOut(void *context) { Of(context).timedOut->Signal(); }
};

// Eight bytes in two packets of stream format 1; headers are swapped in 16-bit words on the wire.
const DriverControl::Recording kRecording = {
    .streamRegister = kStreamRegister,
    .tagRegister = kTagRegister,
    .idleSlots = 5,
    .packets = {
        {.bytes = {0x02, 0x01, 0x00, 1,    0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                   0,    0x00, 0x00, 0x00, 0x00, 0x00, 0x07, 0x01, 0x00, 0x00,
                   11,   12,   13,   14,   15,   0xAA, 0xAA, 0xAA, 0xAA},
         .tagOffset = 10},
        {.bytes = {0x00, 0x01, 0x00, 1, 0x00, 0x00, 0x00, 5, 16, 17, 18, 0xAA, 0xAA, 0xAA, 0xAA},
         .tagOffset = 0}}};

class WindowsStreaming : public HalDriverTest {
protected:
    void SetUp() override
    {
        HalDriverTest::SetUp();
        driver.SetRegister(0, kStreamRegister, 0);
        driver.SetRegister(0, kTagRegister, uint32_t{kTag} << 24);
        driver.SetRecording(0, kRecording);
        ASSERT_EQ(0u, List());
        ASSERT_EQ(0u, Reconnect());
        said.Clear();
    }

    void TearDown() override
    {
        if (count > 0)
            HAL_CameraDisconnect(&Camera(0));
        HalDriverTest::TearDown();
    }

    uint32_t Reconnect()
    {
        return HAL_CameraConnect(&Camera(0), 100, EightBytes::Get, EightBytes::Peek,
                                 EightBytes::Done, EightBytes::Overrun, EightBytes::TimedOut,
                                 &camera);
    }

    uint32_t Start() { return HAL_CameraStartStreaming(Camera(0), kStreamRegister, 1, &camera); }
    uint32_t Stop() { return HAL_CameraStopStreaming(Camera(0), kStreamRegister); }
    bool AwaitFrame() { return camera.done->Wait(kDeadline) == os::WaitResult::kSignalled; }
    bool AwaitTimedOut() { return camera.timedOut->Wait(kDeadline) == os::WaitResult::kSignalled; }

    EightBytes camera;
};

TEST_F(WindowsStreaming, BringsFrames)
{
    ASSERT_EQ(0u, Start());
    EXPECT_EQ(0x00000001u, driver.Register(0, kStreamRegister)); // channel 0, on
    // More than the 60 buffers that were queued at the start hold: they come round again.
    for (int i = 0; i < 400; ++i)
        ASSERT_TRUE(AwaitFrame()) << i;
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(0u, driver.Register(0, kStreamRegister));
    EXPECT_GE(camera.wholeFrames, 400u);
    EXPECT_EQ(0u, camera.brokenFrames);
    EXPECT_GT(driver.State(0).buffersFilled, 60u);
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
    EXPECT_EQ("", said.Text());
}

TEST_F(WindowsStreaming, IsUrgentWhileABufferIsParsedAndNoLonger)
{
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(15, camera.threadPriority);
    EXPECT_EQ(0x100u, camera.processClass);
    EXPECT_EQ(0x20u, GetPriorityClass(GetCurrentProcess()));
}

TEST_F(WindowsStreaming, BeginsAndEndsAgainAndAgain)
{
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(0u, Start());
        ASSERT_TRUE(AwaitFrame());
        ASSERT_EQ(0u, Stop());
        ASSERT_EQ(0u, driver.State(0).queuedBuffers);
    }
    EXPECT_GE(driver.State(0).requests[14], 300u); // sixty buffers each time
}

// The system ends the requests of a thread with the thread. An application may begin its stream on
// one that does nothing else.
TEST_F(WindowsStreaming, GoesOnWhenTheThreadThatBeganItHasEnded)
{
    driver.SetSilent(0, true); // every buffer is still queued by then
    std::thread([this] { EXPECT_EQ(0u, Start()); }).join();
    EXPECT_EQ(60u, driver.State(0).queuedBuffers);
    driver.SetSilent(0, false);
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(AwaitFrame()) << i;
    EXPECT_EQ(os::WaitResult::kTimedOut, camera.timedOut->Wait(0));
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(0u, camera.brokenFrames);
}

TEST_F(WindowsStreaming, ListensLaterWhereTheDriverTakesItsTime)
{
    driver.AddFault({0, kListen, kTestPendAndDo, 0, 0, 1});
    ASSERT_EQ(0u, Start());
    EXPECT_TRUE(AwaitFrame());
    EXPECT_EQ(0u, Stop());
}

// Whatever a driver may leave pending, it is waited for: from the list to the end of the stream.
TEST_F(WindowsStreaming, WorksWhereEveryRequestTakesItsTime)
{
    ASSERT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
    for (const uint32_t code :
         {0x22207Au, 0x22A07Cu, 0x222096u, 0x22A084u, 0x22A08Cu, 0x22A090u, 0x22A0A0u, 0x22A0A4u,
          0x22A0A8u, 0x22A0ACu, 0x22A0B0u, 0x22A0B4u, 0x22A0BCu, 0x22A0C0u, 0x22A0C4u})
        driver.AddFault({0, code, kTestPendAndDo, 0, 0, 1000});
    ASSERT_EQ(0u, List());
    EXPECT_EQ(0x00120000u, Camera(0).modelWord);
    ASSERT_EQ(0u, Reconnect());
    ASSERT_EQ(0u, Start());
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(AwaitFrame()) << i;
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(0u, camera.brokenFrames);
    EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
    EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Held());
    ASSERT_EQ(0u, Reconnect());
}

// Nobody waits for that request while the stream goes on, and the stop ends it.
TEST_F(WindowsStreaming, StopsAtOnceWhereTheStreamsBeginIsNeverAnswered)
{
    driver.AddFault({0, 0x22A084, kTestHang, 0, 0, 1});
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    EXPECT_EQ(1u, driver.State(0).pendingRequests);
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(0u, Stop());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4));
    EXPECT_EQ("", said.Text());
    EXPECT_EQ(0u, driver.State(0).pendingRequests);
}

TEST_F(WindowsStreaming, FailsWhereTheDriverDoesNotListen)
{
    for (const uint32_t action : {kTestFail, kTestPendAndFail}) {
        driver.AddFault({0, kListen, action, kStatusUnsuccessful, 0, 1});
        EXPECT_EQ(18u, Start());
        EXPECT_EQ(0u, HAL_CameraDisconnect(&Camera(0)));
        EXPECT_EQ(0u, driver.State(0).queuedBuffers);
        EXPECT_EQ(0u, Reconnect());
    }
}

// A stop ends an access that hangs, so that nobody waits for it for ever.
TEST_F(WindowsStreaming, EndsAHangingAccessWithTheStream)
{
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    driver.AddFault({0, kRead, kTestHang, 0, 0, 1});
    uint32_t error = 0;
    uint32_t systemError = 0;
    std::thread reader([&] {
        uint32_t word = 0;
        error = HAL_CameraReadData(Camera(0), kTagRegister, &word, 1);
        systemError = os::LastError();
    });
    while (driver.State(0).pendingRequests == 0)
        std::this_thread::yield();
    EXPECT_EQ(0u, Stop());
    reader.join();
    EXPECT_EQ(18u, error);
    EXPECT_EQ(995u, systemError);
}

TEST_F(WindowsStreaming, TellsThatTheDeviceIsLost)
{
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    driver.Unplug(0);
    EXPECT_TRUE(AwaitTimedOut());
    EXPECT_EQ(19u, Stop()); // the camera can't be told
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
}

TEST_F(WindowsStreaming, EndsWhereABufferIsRefusedLater)
{
    // The sixty of the start and twenty more, so that frames come before it.
    driver.Fail(0, kQueueBuffer, kStatusInsufficientResources, 80);
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
}

TEST_F(WindowsStreaming, TellsOfAStopThatTheDriverRefuses)
{
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    driver.Fail(0, kStopListen, kStatusUnsuccessful);
    EXPECT_EQ(31u, Stop());
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
    ASSERT_EQ(0u, Start());
    ASSERT_TRUE(AwaitFrame());
    driver.Fail(0, kDetachBuffers, kStatusUnsuccessful);
    EXPECT_EQ(29u, Stop());
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
}

// The thread looks up when a buffer is full. Where none ever is, it is ended after five seconds by
// cancelling what it waits for.
TEST_F(WindowsStreaming, StopsInFiveSecondsWherePacketsCeased)
{
    driver.SetSilent(0, true);
    ASSERT_EQ(0u, Start());
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(0u, Stop());
    const auto took = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(took, std::chrono::milliseconds(4900));
    EXPECT_LT(took, std::chrono::seconds(15));
    EXPECT_EQ("FWCameraIsochStopThreads:Thread Stop timed out!!!\n", said.Text());
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
}

// A slot of 9056 bytes makes a buffer of 272 kB, the largest that there is.
TEST_F(WindowsStreaming, FillsTheLargestBuffers)
{
    ASSERT_EQ(0u, HAL_CameraReallocateBandwidth(&Camera(0), 9044, 1));
    ASSERT_EQ(0u, Start());
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(AwaitFrame()) << i;
    EXPECT_EQ(0u, Stop());
    EXPECT_EQ(0u, camera.brokenFrames);
}

} // namespace
} // namespace zerix::test
