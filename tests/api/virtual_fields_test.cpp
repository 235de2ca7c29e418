// What a picture shows of each field of the registers: the application sets it, and sees a camera
// that obeys.
#include <algorithm>
#include <chrono>
#include <thread>

#include "tests/api/virtual_sending_fixture.h"

namespace zerix::api {
namespace {

// The sensor of few lines: 1024 x 58 pixels of 24 micrometres, 300,000 electrons, peak 0.9. Behind
// 12 bits a count is 73.242 electrons, and black is at 32 counts.
constexpr const char *kSensor = "sensor = 11\nserial = \"F-1\"\nnoise = false\n";
constexpr const char *kWarm = "cooler = false\nregulated-cooling = false\n";
// 2000 photons for 16.384 ms: 2000 / 3 * 2.6 * 24 * 24 * 0.9 * 0.016384 = 14,722 electrons, 201.0
// counts. The dark current of 25 degrees is 0.04 counts, and the number is rounded: 233.
constexpr const char *kFlat = "scene = \"flat:2000\"\n";
constexpr uint16_t kUsual = 233;
constexpr uint32_t kWidth = 1024;
constexpr uint32_t kHeight = 58;

class VirtualFields : public VirtualSendingTest {
protected:
    void OpenCamera(const std::string &lines)
    {
        const bool isCooled = lines.find("cooler") != std::string::npos;
        Open("[[camera]]\n" + std::string(kSensor) + (isCooled ? "" : kWarm) + lines);
        EXPECT_EQ(ZerixSim_GiveCreditPerStream(0, 1), 0u);
        Set(zprmImageFormat, zfmtMono16);
    }

    void Set64(uint32_t key, uint64_t value) { tables::SetSlot64(&settings, key, value); }

    // The next picture, after the settings were sent.
    const std::vector<uint16_t> &Picture()
    {
        Send();
        return NextPicture();
    }

    const std::vector<uint16_t> &NextPicture()
    {
        pixels.assign(size_t{kWidth} * kHeight, 0xA5A5);
        frame = {};
        frame.pBuffer = reinterpret_cast<uint8_t *>(pixels.data());
        frame.bufferSize = static_cast<uint32_t>(pixels.size() * 2);
        EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        EXPECT_EQ(frame.errorCode, 0u);
        return pixels;
    }

    // A camera of model 18 under even light, with one capability.
    void OpenWith(const std::string &capability, const std::string &lines = "")
    {
        OpenCamera("model = 18\ncapabilities = [\"" + capability + "\"]\n" + kFlat + lines);
    }

    ZX::TolvaneFWCamera &Camera() const
    {
        return dynamic_cast<ZX::TolvaneFWCamera &>(*CameraOf(handle));
    }

    // How long the SyncB output is active for the next picture.
    uint64_t SyncOfAPicture()
    {
        Send();
        const uint64_t before = Sync();
        NextPicture();
        return Sync() - before;
    }

    static uint32_t Pulses()
    {
        uint32_t pulses = 0;
        uint64_t nanoseconds = 0;
        EXPECT_EQ(ZerixSim_GetSyncB(0, &pulses, &nanoseconds), 0u);
        return pulses;
    }

    // False if they don't come in time.
    static bool AwaitPulses(uint32_t count)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (Pulses() < count && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        return Pulses() >= count;
    }

    static uint64_t Sync()
    {
        uint32_t pulses = 0;
        uint64_t nanoseconds = 0;
        EXPECT_EQ(ZerixSim_GetSyncB(0, &pulses, &nanoseconds), 0u);
        return nanoseconds;
    }

    // The factory's word: a selector from 1 on, and a value.
    void Tweak(uint32_t selector, uint32_t value)
    {
        Set(zprmTweekingRegister, selector << 28 | value);
    }

    // Hot pixels don't move it.
    static uint16_t Median(std::vector<uint16_t> values)
    {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    std::vector<uint16_t> pixels;
    Zerix_Frame frame = {};
};

// 200 photons for 16.384 ms: 200 / 3 * 2.6 * 24 * 24 * 0.9 * 0.016384 = 1472.2 electrons. A hundred
// times is sent as 412 counts of 0.015765398 dB above 33.5092631 dB, which is 100.05 times: 147,298
// electrons, 2011 counts above black.
TEST_F(VirtualFields, AnIntensifierMultipliesByTheFactorThatIsAskedFor)
{
    OpenCamera("model = 9\nscene = \"flat:200\"\n");
    Set64(zprm64NormIntensGain, 100'000'000);
    EXPECT_NEAR(Median(Picture()), 2043, 2);
}

TEST_F(VirtualFields, HighSensitivityDoublesTheSignal)
{
    OpenWith("high-sensitivity");
    EXPECT_EQ(Median(Picture()), kUsual);
    Set(zprmHighSensitivityMode, 1);
    EXPECT_EQ(Median(Picture()), 434); // twice 201.05 above 32.5
    Set(zprmHighSensitivityMode, 0);
    EXPECT_EQ(Median(Picture()), kUsual);
}

TEST_F(VirtualFields, BlackoutKeepsTheLightOut)
{
    OpenWith("blackout");
    Set(zprmBlackoutMode, 1);
    EXPECT_EQ(Median(Picture()), 32);
    Set(zprmBlackoutMode, 0);
    EXPECT_EQ(Median(Picture()), kUsual);
}

// The level is 233.55 with its rounding half: one count more where half a count up or down takes
// it beyond 234, which is in 4.7 of 100 pixels.
TEST_F(VirtualFields, DitherSpreadsALevelOverItsTwoCounts)
{
    OpenWith("dither");
    const auto partAt = [this](uint16_t count) {
        const auto found = std::count(pixels.begin(), pixels.end(), count);
        return static_cast<double>(found) / static_cast<double>(pixels.size());
    };
    Picture();
    EXPECT_LT(partAt(234), 0.001); // but for hot pixels
    Set(zprmDither, 1);
    Picture();
    EXPECT_NEAR(partAt(234), 0.0467, 0.004);
    EXPECT_NEAR(partAt(233), 0.9533, 0.004);
}

// The camera comes up with it, and a send switches it off. In bytes: 836 and 233 over 16.
TEST_F(VirtualFields, HighGainIsFourfoldUntilTheFirstSend)
{
    OpenWith("high-gain", "high-gain = true\n");
    EXPECT_TRUE(Camera().GetHighGainModeDefault());
    Set(zprmImageFormat, zfmtMono8);
    const auto firstByte = [this] { return pixels[pixels.size() / 4] & 0xFF; };
    NextPicture();
    EXPECT_EQ(firstByte(), 52);
    Picture();
    EXPECT_EQ(firstByte(), 14);
}

// 1024 * 58 pixels at 20 MHz are 2,969,600 ns.
TEST_F(VirtualFields, SyncBShowsTheExposureOrTheWholeFrame)
{
    OpenWith("blackout");
    Set(zprmSyncb, 1);
    EXPECT_EQ(SyncOfAPicture(), 16'384'000u);
    Set(zprmSyncb, 0);
    EXPECT_EQ(SyncOfAPicture(), 16'384'000u + 2'969'600u);
    uint32_t pulses = 0;
    uint64_t nanoseconds = 0;
    EXPECT_EQ(ZerixSim_GetSyncB(0, &pulses, &nanoseconds), 0u);
    EXPECT_EQ(pulses, 2u);
}

// The line going up exposes with type 1, going down with type 2, and the other edge doesn't.
TEST_F(VirtualFields, TheTriggersPolarityIsTheEdgeThatExposes)
{
    OpenWith("blackout");
    EXPECT_EQ(ZerixSim_GiveCreditPerStream(0, 4), 0u);
    for (const bool falls : {false, true}) {
        SCOPED_TRACE(falls);
        const uint32_t exposing = falls ? 0 : 1;
        EXPECT_EQ(ZerixSim_SetTriggerLine(0, 1 - exposing), 0u);
        Set(zprmTriggerType, falls ? 2 : 1);
        Send();
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        const uint32_t before = Pulses();
        EXPECT_EQ(ZerixSim_SetTriggerLine(0, exposing), 0u);
        ASSERT_TRUE(AwaitPulses(before + 1));
        EXPECT_EQ(ZerixSim_SetTriggerLine(0, 1 - exposing), 0u);
        EXPECT_EQ(ZerixSim_SetTriggerLine(0, exposing), 0u);
        ASSERT_TRUE(AwaitPulses(before + 2));
        EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
        EXPECT_EQ(Pulses(), before + 2);
    }
}

// A send switches the double shot on, and the trigger type that is sent then has its code.
TEST_F(VirtualFields, ADoubleShotIsTwoExposuresOfOneTrigger)
{
    for (const uint32_t shots : {1u, 2u}) {
        SCOPED_TRACE(shots);
        OpenWith(shots == 2 ? "double-shot" : "blackout");
        EXPECT_EQ(ZerixSim_GiveCreditPerStream(0, 4), 0u);
        Send();
        Set(zprmTriggerType, 1);
        Send();
        ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
        const uint32_t before = Pulses();
        for (uint32_t trigger = 1; trigger <= 2; ++trigger) {
            EXPECT_EQ(ZerixSim_FireTrigger(0), 0u);
            EXPECT_TRUE(AwaitPulses(before + trigger * shots));
        }
        EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
        EXPECT_EQ(Pulses(), before + 2 * shots);
        Zerix_ReleaseDriver();
    }
}

// Each of the 58 rows is moved in 5,000 ns instead of 1,000.
TEST_F(VirtualFields, ASlowVerticalClockMakesTheReadoutLonger)
{
    OpenWith("vertical-clock");
    Set(zprmSyncb, 0);
    const uint64_t usual = SyncOfAPicture();
    Set(zprmVClockPeriod, 5'000);
    EXPECT_EQ(SyncOfAPicture(), usual + 58 * 4'000u);
    Set(zprmVClockPeriod, 500);
    EXPECT_EQ(SyncOfAPicture(), usual - 58 * 500u);
}

TEST_F(VirtualFields, TheReadoutWaitsForTheShutterToClose)
{
    OpenWith("shutter-delay");
    Set(zprmSyncb, 0);
    const uint64_t usual = SyncOfAPicture(); // with 3,200 microseconds
    ASSERT_EQ(Camera().SetShutterCloseDelay(6'400), 0u);
    EXPECT_EQ(SyncOfAPicture(), usual + 3'200'000u);
}

TEST_F(VirtualFields, AMetrolsShutterDelaysItsExposure)
{
    OpenCamera("model = 1002\ninformation = \"1.2\"\ncontrol = \"1.2\"\nstream-format = 0\n"
               "bit-depth = 12\n" +
               std::string(kFlat));
    Set(zprmSyncb, 0);
    Set(zprmMetrolShutterDelay, 1'000);
    const uint64_t usual = SyncOfAPicture();
    Set(zprmMetrolShutterDelay, 5'000);
    EXPECT_EQ(SyncOfAPicture(), usual + 4'000'000u);
}

struct VoltageCase {
    uint32_t selector;
    uint32_t value;
    uint16_t count;
    uint32_t byDefault;
};

// The reset level moves black by a quarter of a count for each of its own. A clock's level loses a
// ten-thousandth of the charge for each: 1000, 980, 960 and 940 here.
TEST_F(VirtualFields, VoltagesOffTheirDefaultsMoveBlackAndLoseCharge)
{
    OpenWith("blackout");
    for (const VoltageCase &row : {VoltageCase{3, 2500, 333, 2100}, VoltageCase{4, 2500, 213, 1500},
                                   VoltageCase{5, 2500, 213, 1520}, VoltageCase{6, 2500, 214, 1540},
                                   VoltageCase{7, 2500, 214, 1560}}) {
        SCOPED_TRACE(row.selector);
        Tweak(row.selector, row.value);
        EXPECT_EQ(Median(Picture()), row.count);
        Tweak(row.selector, row.byDefault);
        EXPECT_EQ(Median(Picture()), kUsual);
    }
}

// The selector takes thousands: 9000 instead of 1800 leaves 7200 electrons, 98.3 counts.
TEST_F(VirtualFields, ASubstratePulseThatIsOffLeavesCharge)
{
    OpenWith("blackout");
    Tweak(1, 9);
    EXPECT_EQ(Median(Picture()), 331);
}

// Half of 300,000 electrons are 2048 counts, and black is at 32.
TEST_F(VirtualFields, TwiceTheSubstrateVoltageHalvesTheWell)
{
    OpenWith("blackout");
    Set64(zprm64Exposure, 1'000'000'000);
    EXPECT_EQ(Median(Picture()), 4095);
    Tweak(2, 3700);
    EXPECT_EQ(Median(Picture()), 2080);
}

// Four columns and rows of the far edges for each. The camera has the new size after the commit,
// the region has not: that one commit leaves the sensor.
TEST_F(VirtualFields, TheMiscellaneousWordChangesTheSizeThatIsReadOut)
{
    OpenWith("blackout");
    Tweak(8, 3);
    Send();
    ZerixSimMistakes mistakes = {};
    EXPECT_EQ(ZerixSim_TakeMistakes(&mistakes), 0u);
    EXPECT_EQ(mistakes.regionsOutside, 1u);
    EXPECT_EQ(Camera().GetCCDWidth(), 1012);
    EXPECT_EQ(Camera().GetCCDHeight(), 46);
    Zerix_Settings fresh = {};
    Zerix_CreateCameraSettingsStruct(&fresh);
    EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &fresh), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    settings = fresh;
    EXPECT_EQ(Median(Picture()), kUsual);
    EXPECT_EQ(frame.width, 1012u);
    EXPECT_EQ(frame.height, 46u);
}

// The set-up writes the default, commits it, and reads the sizes again before it sets the region.
TEST_F(VirtualFields, AMiscellaneousWordByDefaultIsReloadedBeforeTheRegionIsSet)
{
    OpenWith("blackout", "misc-control = 2\n");
    EXPECT_EQ(Camera().GetMiscCtrlDefAd(), 2u);
    EXPECT_EQ(Camera().GetCCDWidth(), 1016);
    EXPECT_EQ(Camera().GetCCDHeight(), 50);
    EXPECT_EQ(ControlWord(0xA4), 2u);
    EXPECT_EQ(ControlWord(0x0C), 1016u << 16 | 50u);
    Picture();
    EXPECT_EQ(frame.width, 1016u);
    EXPECT_EQ(frame.height, 50u);
}

// 255 is 127 of 1024 above the usual 128: 201.05 counts become 225.98.
TEST_F(VirtualFields, TheCalibrationIsOfTheRightHalf)
{
    OpenWith("dual-channel", "hardware = 2\n");
    Send();
    ASSERT_EQ(Camera().SetChan1CalibrationGain(255), 0u);
    ASSERT_EQ(Camera().UpdateSettingsOnCamera(), 0u);
    NextPicture();
    const auto row = pixels.begin() + 20 * kWidth;
    EXPECT_EQ(Median({row, row + 512}), kUsual);
    EXPECT_EQ(Median({row + 512, row + 1024}), 258);
    EXPECT_EQ(row[500], kUsual);
    EXPECT_EQ(row[520], 258);
}

TEST_F(VirtualFields, CompressionDropsTheLowestBits)
{
    OpenWith("blackout");
    Send();
    ASSERT_EQ(Camera().SetCompression(4), 0u);
    ASSERT_EQ(Camera().UpdateSettingsOnCamera(), 0u);
    EXPECT_EQ(Median(NextPicture()), 224); // 233 without its lowest four bits
}

// With the fan at low speed the cooler reaches 0.7 of 55 degrees below the room's 25.
TEST_F(VirtualFields, ASlowFanKeepsTheSensorFromItsTemperature)
{
    OpenCamera("model = 18\ncapabilities = [\"fan\"]\nscene = \"flat:0\"\ncooler = true\n");
    tables::SetSlotS32(&settings, zprmS32RegulatedCoolingTemp, -30);
    Set(zprmCoolerActive, 1);
    Set64(zprm64Exposure, 600'000'000'000); // twenty of the cooler's time constants
    for (const auto &[fan, millicelsius, isLocked] :
         {std::tuple<uint32_t, int32_t, bool>{1, -13'500, false},
          {2, -19'000, false},
          {3, -24'500, false},
          {4, -30'032, true}}) {
        SCOPED_TRACE(fan);
        Set(zprmFan, fan);
        Picture();
        int32_t found = 0;
        EXPECT_EQ(ZerixSim_GetSensorTemperature(0, &found), 0u);
        EXPECT_NEAR(found, millicelsius, 1);
        EXPECT_EQ(Camera().GetRegulatedCoolingTemperatureLock(), isLocked);
    }
}

} // namespace
} // namespace zerix::api
