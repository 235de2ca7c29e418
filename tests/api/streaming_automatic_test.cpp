// Automatic exposure and white balance on a stream that is on. The camera exposes all the time, and
// what it exposed before a commit is still on its way after it: only later images are measured.
#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "tests/api/virtual_automatic_fixture.h"

namespace zerix::api {
namespace {

constexpr uint32_t kSoftwareTrigger = 5;

class StreamingAutomatic : public VirtualAutomatic {
protected:
    void Stream(uint32_t on) { ASSERT_EQ(Zerix_SetStreaming(camera, on), 0u); }

    // The answer of the search on an idle camera, and the one on a stream, from the same exposure.
    std::pair<uint64_t, uint64_t> ExposuresFoundFrom(uint64_t start, uint32_t width,
                                                     uint32_t height)
    {
        uint64_t found[2] = {};
        for (uint32_t isOn = 0; isOn < 2; ++isOn) {
            Expose(start);
            EXPECT_EQ(Zerix_SendSettingsToCam(camera, &settings), 0u);
            EXPECT_EQ(Zerix_SetStreaming(camera, isOn), 0u);
            EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, width, height), 0u);
            found[isOn] = Exposure();
        }
        EXPECT_EQ(Zerix_SetStreaming(camera, 0), 0u);
        return {found[0], found[1]};
    }

    static void ExpectNear(const std::pair<uint64_t, uint64_t> &exposures)
    {
        const auto idle = static_cast<double>(exposures.first);
        EXPECT_NEAR(static_cast<double>(exposures.second), idle, idle * 0.02);
    }

    bool IsAwaited() const
    {
        auto &owner = CameraOf(camera)->Stream();
        const StreamHold hold(owner);
        return owner.IsAwaited();
    }

    template <typename Condition>
    static bool Await(const Condition &condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }
};

TEST_F(StreamingAutomatic, FindsTheExposureOfAnIdleCamera)
{
    OpenWith(kMosaicRack);
    Set(zprmImageFormat, zfmtBayer8);
    for (const uint64_t start : {uint64_t{20'000}, uint64_t{5'000'000'000}}) {
        SCOPED_TRACE(start);
        ExpectNear(ExposuresFoundFrom(start, 320, 240));
    }
}

// On the real clock, with the whole sensor: the next exposure goes on while the one before is read
// out and measured.
TEST_F(StreamingAutomatic, FindsTheExposureOfAnIdleCameraOnTheRealClock)
{
    OpenWith(("clock = \"real\"\n" + std::string(kMosaicRack)).c_str());
    Set(zprmImageFormat, zfmtBayer8);
    ExpectNear(ExposuresFoundFrom(5'000'000, 320, 240));
}

TEST_F(StreamingAutomatic, FindsAWheelsExposures)
{
    OpenWith(kWheelRack);
    Set(zprmImageFormat, zfmtRgb24);
    Set(zprmPostProcessImageFormat, zfmtRgb24);
    for (const uint64_t start : {uint64_t{500'000}, uint64_t{800'000'000}}) {
        SCOPED_TRACE(start);
        ExpectNear(ExposuresFoundFrom(start, 1024, 58));
    }
}

TEST_F(StreamingAutomatic, MakesAWheelsPictureGrey)
{
    OpenAWheelUnderWarmLight();
    Stream(1);
    EXPECT_EQ(Zerix_WhiteBalance(&settings, 0, 0, 1024, 58), 0u);
    Stream(0);
    ExpectGrey(MeansOf(Take(zfmtRgb24)));
}

// Much too long, and everything is white: the balance of such an image would be none at all.
TEST_F(StreamingAutomatic, BalancesTheExposureThatWasSentLast)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    Set(zprmImageFormat, zfmtBayer8);
    Set(zprmPostProcessImageFormat, zfmtRgb24);
    Send();
    EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 0u);
    const uint64_t good = Exposure() * 3 / 4;
    Expose(good * 20);
    Set(zprmPostProcessGainRed, 1000);
    Set(zprmPostProcessGainBlue, 1000);
    Send();
    Stream(1);
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        Expose(good * 20);
        Send();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Expose(good);
        Send();
        EXPECT_EQ(Zerix_WhiteBalance(&settings, 0, 0, 320, 240), 0u);
        uint32_t red = 0;
        EXPECT_EQ(Zerix_GetParam(&settings, zprmPostProcessGainRed, &red), 0u);
        EXPECT_LT(red, 900u); // the light is warm
    }
    Stream(0);
    ExpectGrey(MeansOf(Take(zfmtRgb24)));
}

// Each image that is measured takes one trigger, and none is lost to an image that is passed over.
TEST_F(StreamingAutomatic, SpendsOneTriggerOnEachImage)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    Set(zprmImageFormat, zfmtBayer8);
    Set(zprmTriggerType, kSoftwareTrigger);
    Expose(20'000);
    Send();
    Stream(1);
    std::atomic<bool> isOver{false};
    uint32_t triggers = 0;
    std::thread triggering([&] {
        uint32_t writesOfNext = 0;
        const auto waitsForNext = [&] {
            return isOver ||
                   (IsAwaited() && tap.CountOf(kernel::kControlAsyncWrite) >= writesOfNext);
        };
        while (Await(waitsForNext) && !isOver) {
            // The trigger's own, and one at least of the commit that follows the image.
            writesOfNext = tap.CountOf(kernel::kControlAsyncWrite) + 2;
            EXPECT_EQ(Zerix_Trigger(camera), 0u);
            ++triggers;
        }
        if (!isOver) {
            ADD_FAILURE() << "trigger " << triggers << " brought no image";
            EXPECT_EQ(Zerix_Abort(camera), 0u);
        }
    });
    EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 0u);
    isOver = true;
    triggering.join();
    Stream(0);
    EXPECT_GE(triggers, 3u);
    EXPECT_LE(triggers, 10u);
    const uint64_t triggered = Exposure();
    Set(zprmTriggerType, 0);
    ExpectNear({ExposuresFoundFrom(20'000, 320, 240).first, triggered});
}

// One write of the search fails after the other. It ends all the same, and the stream goes on.
TEST_F(StreamingAutomatic, OutlivesACommitThatFails)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    Set(zprmImageFormat, zfmtBayer8);
    Send();
    Stream(1);
    for (uint32_t n = 1; n <= 12; ++n) {
        SCOPED_TRACE(n);
        ASSERT_EQ(ZerixSim_InjectFault(0, ("write error 31 at write " + std::to_string(n)).c_str()),
                  0u)
            << ZerixSim_LastErrorText();
        EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 0u);
        std::vector<uint8_t> pixels(size_t{320} * 240 * 6);
        Zerix_Frame frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = static_cast<uint32_t>(pixels.size());
        EXPECT_EQ(Zerix_GrabFrame(camera, &frame), 0u);
        EXPECT_EQ(frame.errorCode, 0u);
    }
    Stream(0);
}

// One thread at a time takes images.
TEST_F(StreamingAutomatic, IsBusyWhileAnotherThreadTakesAnImage)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    Set(zprmImageFormat, zfmtBayer8);
    Set(zprmPostProcessImageFormat, zfmtRgb24);
    Set(zprmTriggerType, kSoftwareTrigger);
    Send();
    const uint64_t exposure = Exposure();
    std::vector<uint8_t> pixels(size_t{320} * 240 * 6);
    Zerix_Frame frame = {};
    frame.pBuffer = pixels.data();
    frame.bufferSize = static_cast<uint32_t>(pixels.size());
    uint32_t grabbed = 99;
    std::thread grabbing([&] { grabbed = Zerix_GrabFrame(camera, &frame); });
    ASSERT_TRUE(Await([&] { return IsAwaited(); }));
    EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 21u);
    EXPECT_EQ(Zerix_WhiteBalance(&settings, 0, 0, 320, 240), 21u);
    EXPECT_EQ(Exposure(), exposure);
    EXPECT_EQ(Zerix_Trigger(camera), 0u);
    grabbing.join();
    EXPECT_EQ(grabbed, 0u);
}

} // namespace
} // namespace zerix::api
