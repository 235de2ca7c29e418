// The mark that a send leaves when it has stopped the stream and is then refused: it switches the
// stream on with the next good send, unless the application has said otherwise since.
#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

#include "hal/kernel_requests.h"
#include "tests/api/virtual_sending_fixture.h"
#include "tests/concurrency/quietly.h"

namespace zerix::concurrency {
namespace {

constexpr uint32_t kExposureLow = 0x3C;     // in the control block
constexpr uint32_t kStreamingSwitch = 0x04; // in the streaming block
constexpr uint32_t kSystemError = 31;

class RestartMark : public api::VirtualSendingTest {
protected:
    void SetUp() override
    {
        VirtualSendingTest::SetUp();
        Open("[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:2000\"\n");
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 0), 0u);
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        ASSERT_NO_FATAL_FAILURE(SendAndBeRefused());
    }

    // Refused at the exposure, when the region has stopped the stream.
    void SendAndBeRefused()
    {
        Set(zprmRoiWidth, 512);
        tables::SetSlot64(&settings, zprm64Exposure, 5'000'000);
        tap.FailAccess(kernel::kControlAsyncWrite, control + kExposureLow, kSystemError);
        ASSERT_EQ(Quietly([&] { return Zerix_SendSettingsToCam(handle, &settings); }), 16u);
        ASSERT_FALSE(IsStreaming());
    }

    void SendRegion(uint32_t width)
    {
        Set(zprmRoiWidth, width);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    }

    uint32_t Grab()
    {
        std::vector<uint8_t> pixels(1024 * 58);
        Zerix_Frame frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = static_cast<uint32_t>(pixels.size());
        return Zerix_GrabFrame(handle, &frame);
    }

    bool IsStreaming() { return Zerix_Trigger(handle) != ZERIX_ERROR_NOT_STREAMING; }

    // What was written to the switch since the writes were last taken: whether on or off.
    std::vector<bool> TakeSwitches()
    {
        std::vector<bool> switches;
        for (const api::Write &write : TakeWrites())
            if (write.block == api::Block::kStreaming && write.offset == kStreamingSwitch)
                switches.push_back((write.value & 1) != 0);
        return switches;
    }
};

TEST_F(RestartMark, SwitchesTheStreamOnWithTheNextGoodSend)
{
    SendRegion(256);
    EXPECT_TRUE(IsStreaming());
}

TEST_F(RestartMark, IsClearedByAnOffThoughTheStreamIsOff)
{
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    SendRegion(256);
    EXPECT_FALSE(IsStreaming());
}

TEST_F(RestartMark, IsClearedByAClose)
{
    ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
    handle = OpenListed(0);
    ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    SendRegion(256);
    EXPECT_FALSE(IsStreaming());
}

// With the mark still set, a send would take the stream for one that it has stopped already.
TEST_F(RestartMark, IsClearedByAnOnSoThatTheNextSendStopsTheStream)
{
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    EXPECT_TRUE(IsStreaming());
    TakeWrites();
    SendRegion(256);
    EXPECT_EQ(TakeSwitches(), (std::vector<bool>{false, true}));
    EXPECT_TRUE(IsStreaming());
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    SendRegion(512);
    EXPECT_FALSE(IsStreaming());
}

TEST_F(RestartMark, OutlastsTheStreamOfAGrab)
{
    ASSERT_EQ(ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED), 0u);
    EXPECT_EQ(Grab(), 0u);
    EXPECT_FALSE(IsStreaming());
    SendRegion(256);
    EXPECT_TRUE(IsStreaming());
}

// The stream is the application's from then on, and not only that of the grab.
TEST_F(RestartMark, IsClearedByAnOnDuringAGrabWhoseStreamStays)
{
    uint32_t grabbed = 99;
    std::thread grabbing([&] { grabbed = Grab(); });
    while (!IsStreaming())
        std::this_thread::yield();
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    EXPECT_EQ(ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED), 0u);
    grabbing.join();
    EXPECT_EQ(grabbed, 0u);
    EXPECT_TRUE(IsStreaming());
}

// Sends whose restart fails -----------------------------------------------------------------------

class FailedRestart : public api::VirtualSendingTest {
protected:
    void SetUp() override
    {
        VirtualSendingTest::SetUp();
        Open("[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:2000\"\n");
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        FailNextStart();
        Set(zprmRoiWidth, 512);
        EXPECT_EQ(Quietly([&] { return Zerix_SendSettingsToCam(handle, &settings); }), 0u);
        EXPECT_EQ(Zerix_Trigger(handle), 24u);
    }

    void FailNextStart() { tap.FailRequest(kernel::kControlListen, kSystemError); }
};

TEST_F(FailedRestart, IsTriedAgainWhenTheStreamIsSwitchedOn)
{
    FailNextStart();
    EXPECT_EQ(Quietly([&] { return Zerix_SetStreaming(handle, 1); }), 16u);
    EXPECT_EQ(Zerix_Trigger(handle), 24u);
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    EXPECT_EQ(Zerix_Trigger(handle), 1u);
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
}

TEST_F(FailedRestart, IsTriedAgainByAGrab)
{
    std::vector<uint8_t> pixels(1024 * 58);
    Zerix_Frame frame = {};
    frame.pBuffer = pixels.data();
    frame.bufferSize = static_cast<uint32_t>(pixels.size());
    FailNextStart();
    EXPECT_EQ(Quietly([&] { return Zerix_GrabFrame(handle, &frame); }), 16u);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.width, 512u);
}

} // namespace
} // namespace zerix::concurrency
