// The defaults and the read-back of every parameter key on virtual cameras, in both layouts. The
// expected values follow from the cameras' descriptions: sensor sizes, gain curve, capabilities.
#include <array>
#include <cstring>

#include <gtest/gtest.h>

#include "api/status.h"
#include "tests/api/virtual_bus_session.h"

namespace zerix::api {
namespace {

constexpr uint32_t kNone = kPatternWord; // not written
constexpr uint64_t kNone64 = 0xA5A5A5A5A5A5A5A5u;

struct Expected {
    std::array<uint32_t, 53> values;
    std::array<int32_t, 3> valuesS32;
    std::array<uint64_t, 4> values64;
};

using Fill = uint32_t (*)(ZerixHandle, Zerix_Settings *);

class VirtualSettings : public VirtualBusSession {
protected:
    ~VirtualSettings() override { Zerix_ReleaseCameraSettingsStruct(&current); }

    template <typename T>
    static T At(const void *record, std::size_t offset)
    {
        T value;
        std::memcpy(&value, static_cast<const uint8_t *>(record) + offset, sizeof(value));
        return value;
    }

    // Both layouts, by their byte offsets. The legacy one ends at key 47, which holds 0.
    void ExpectFill(Fill fill, ZerixHandle handle, const Expected &expected)
    {
        Zerix_ReleaseCameraSettingsStruct(&current);
        Zerix_CreateCameraSettingsStruct(&current);
        std::memset(current.privateBlock, 0xA5, 276);
        std::array<uint8_t, 260> legacy;
        legacy.fill(0xA5);
        ASSERT_EQ(fill(handle, &current), 0u);
        ASSERT_EQ(fill(handle, reinterpret_cast<Zerix_Settings *>(legacy.data())), 0u);
        EXPECT_EQ(current.size, 276u);
        EXPECT_EQ(At<uint32_t>(legacy.data(), 0), 260u);
        for (std::size_t key = 0; key < 53; ++key)
            EXPECT_EQ(At<uint32_t>(current.privateBlock, 4 * key), expected.values[key]) << key;
        for (std::size_t key = 0; key < 47; ++key)
            EXPECT_EQ(At<uint32_t>(legacy.data(), 4 + 4 * key), expected.values[key]) << key;
        EXPECT_EQ(At<uint32_t>(legacy.data(), 4 + 4 * 47), 0u);
        for (std::size_t key = 0; key < 3; ++key) {
            EXPECT_EQ(At<int32_t>(current.privateBlock, 212 + 4 * key), expected.valuesS32[key])
                << key;
            EXPECT_EQ(At<int32_t>(legacy.data(), 196 + 4 * key), expected.valuesS32[key]) << key;
        }
        for (std::size_t key = 0; key < 4; ++key) {
            EXPECT_EQ(At<uint64_t>(current.privateBlock, 224 + 8 * key), expected.values64[key])
                << key;
            EXPECT_EQ(At<uint64_t>(legacy.data(), 208 + 8 * key), expected.values64[key]) << key;
        }
        EXPECT_EQ(At<ZerixHandle>(current.privateBlock, 256), handle);
        EXPECT_EQ(At<ZerixHandle>(legacy.data(), 244), handle);
        EXPECT_EQ(At<uint32_t>(current.privateBlock, 264), 0xDEADBEEFu);
        EXPECT_EQ(At<uint32_t>(legacy.data(), 252), 0xDEADBEEFu);
    }

    Zerix_Settings current = {};
};

// A cooled monochrome camera of 1392 x 1040.
const Expected kMonochromeDefaults = {
    {600,   0,     16384, 1, 1, 1,         0,     0,     0,     1,    // 0
     28100, 34900, 2,     0, 0, 1392,      1040,  kNone, 0,     0,    // 10
     1,     1000,  kNone, 0, 0, 1'000'000, kNone, 0,     1160,  1000, // 20
     1880,  1,     2,     4, 0, 0,         1,     0,     kNone, 0,    // 30
     kNone, kNone, 0,     0, 0, kNone,     kNone, 0,     0,     0,    // 40
     0,     0,     100},                                              // 50
    {0, 0, -30},
    {16'384'000, 28'100'000, 34'900'000, kNone64}};

const Expected kMonochromeReadBack = {
    {600,   0,     16384, 1, 1, 1,         0,     0,     0,     1,    // 0
     28100, 34900, 2,     0, 0, 1392,      1040,  kNone, kNone, 0,    // 10
     1,     0,     0,     0, 0, 1'000'000, 0,     0,     1160,  1000, // 20
     1880,  4,     12,    4, 0, 0,         0,     0,     kNone, 0,    // 30
     kNone, kNone, 0,     0, 0, kNone,     kNone, 0,     0,     0,    // 40
     0,     0,     100},                                              // 50
    {0, 0, -30},
    {16'384'000, 28'100'000, 34'900'000, kNone64}};

TEST_F(VirtualSettings, OfACooledMonochromeCamera)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ExpectFill(Zerix_ReadDefaultSettings, handle, kMonochromeDefaults);
    ExpectFill(Zerix_ReadSettingsFromCam, handle, kMonochromeReadBack);
}

TEST_F(VirtualSettings, OfAColourCamera)
{
    const ZerixHandle handle = LoadAndOpen(1);
    Expected defaults = kMonochromeDefaults;
    defaults.values[zprmImageFormat] = 4;
    defaults.values[zprmRoiWidth] = 1600;
    defaults.values[zprmRoiHeight] = 1200;
    defaults.values[zprmPostProcessBayerAlgorithm] = 4;
    defaults.values[zprmPostProcessImageFormat] = 12;
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmImageFormat] = 4;
    readBack.values[zprmRoiWidth] = 1600;
    readBack.values[zprmRoiHeight] = 1200;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
}

TEST_F(VirtualSettings, OfAnOldCameraWithoutACooler)
{
    const ZerixHandle handle = LoadAndOpen(2);
    Expected defaults = kMonochromeDefaults;
    defaults.values[zprmCoolerActive] = 0;
    defaults.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmCoolerActive] = 0;
    readBack.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
}

// 500 counts of 6.4 microseconds; 20 counts at 20 MHz; 2048 multiplies by a hundred at every speed.
TEST_F(VirtualSettings, OfAMultiplyingCamera)
{
    UseRack(kMultiplyingRack);
    const ZerixHandle handle = LoadAndOpen(0);
    Expected defaults = kMonochromeDefaults;
    defaults.values[zprmRoiWidth] = 512;
    defaults.values[zprmRoiHeight] = 512;
    defaults.values[zprmCloseDelay] = 3200;
    defaults.values[zprmVClockPeriod] = 1000;
    defaults.values[zprmKeelEmGainValue10] = 2048;
    defaults.values[zprmKeelEmGainValue20] = 2048;
    defaults.values[zprmKeelEmGainValue40] = 2048;
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmRoiWidth] = 512;
    readBack.values[zprmRoiHeight] = 512;
    readBack.values[zprmCloseDelay] = 3200;
    readBack.values[zprmVClockPeriod] = 1000;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    // With the mode on, the gains are read back too, and the default of the mode follows it.
    ASSERT_EQ(CameraOf(handle)->SetKeelEmMode(true), 0u);
    for (const uint32_t key :
         {zprmKeelEmGainValue10, zprmKeelEmGainValue20, zprmKeelEmGainValue40}) {
        readBack.values[key] = 2048;
    }
    readBack.values[zprmKeelEmMode] = 1;
    defaults.values[zprmKeelEmMode] = 1;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
}

// An intensifier begins at its least gain, 47.4-fold, which is no count of its register. The
// read-back converts that register by the curve of the camera's own gain: no count is -5.00 dB
// there, and the factor of three figures above it is 0.563, which is 2 counts.
TEST_F(VirtualSettings, OfAnIntensifiedCamera)
{
    ASSERT_EQ(ZerixSim_ChooseRack("family-1"), 0u) << ZerixSim_LastErrorText();
    const ZerixHandle handle = LoadAndOpen(6);
    Expected defaults = kMonochromeDefaults;
    defaults.values[zprmNormIntensGaindB] = 0;
    defaults.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
    defaults.values64[zprm64NormIntensGain] = 47'400'000;
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmIntensifierGain] = 2;
    readBack.values[zprmNormIntensGaindB] = 33'509'263;
    readBack.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
    readBack.values64[zprm64NormIntensGain] = 563'000;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
}

// Words always, at 5 MHz, exposed for a tenth of a second.
TEST_F(VirtualSettings, OfACameraThatBinsEachAxisOnItsOwn)
{
    ASSERT_EQ(ZerixSim_ChooseRack("family-3"), 0u) << ZerixSim_LastErrorText();
    const ZerixHandle handle = LoadAndOpen(8);
    const auto change = [](Expected expected) {
        expected.values[zprmExposure] = 100'000;
        expected.values64[zprm64Exposure] = 100'000'000;
        expected.values[zprmReadoutSpeed] = 2;
        expected.values[zprmImageFormat] = 3;
        expected.values[zprmRoiWidth] = 1024;
        expected.values[zprmRoiHeight] = 58;
        expected.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
        return expected;
    };
    ExpectFill(Zerix_ReadDefaultSettings, handle, change(kMonochromeDefaults));
    ExpectFill(Zerix_ReadSettingsFromCam, handle, change(kMonochromeReadBack));
    ZX::ZCamera &camera = *CameraOf(handle);
    ASSERT_EQ(camera.SetHorizontalBinning(2), 0u);
    ASSERT_EQ(camera.SetVerticalBinning(7), 0u);
    ASSERT_EQ(camera.SetMetrolShutterDelay(1), 0u);
    Expected readBack = change(kMonochromeReadBack);
    readBack.values[zprmHorizontalBinning] = 2;
    readBack.values[zprmVerticalBinning] = 7;
    readBack.values[zprmMetrolShutterDelay] = 50;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    ExpectFill(Zerix_ReadDefaultSettings, handle, change(kMonochromeDefaults));
}

// A mosaic with a live mode, without a cooler and without the synchronisation output.
TEST_F(VirtualSettings, OfACameraWithALiveMode)
{
    ASSERT_EQ(ZerixSim_ChooseRack("family-1"), 0u) << ZerixSim_LastErrorText();
    const ZerixHandle handle = LoadAndOpen(4);
    const auto change = [](Expected expected) {
        expected.values[zprmExposure] = 100'000;
        expected.values64[zprm64Exposure] = 100'000'000;
        expected.values[zprmImageFormat] = 4;
        expected.values[zprmCoolerActive] = 0;
        expected.values[zprmRoiWidth] = 2048;
        expected.values[zprmRoiHeight] = 1536;
        expected.valuesS32[zprmS32RegulatedCoolingTemp] = 0;
        return expected;
    };
    Expected defaults = change(kMonochromeDefaults);
    defaults.values[zprmPostProcessBayerAlgorithm] = 4;
    defaults.values[zprmPostProcessImageFormat] = 12;
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
    Expected readBack = change(kMonochromeReadBack);
    readBack.values[zprmSyncb] = 0;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    // One line of six is read; the columns stay.
    ASSERT_EQ(CameraOf(handle)->SetLVWMode(true), 0u);
    readBack.values[zprmCameraMode] = 1;
    readBack.values[zprmRoiHeight] = 256;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
}

// The camera's state shows in a read-back and not in the defaults.
TEST_F(VirtualSettings, ReadBackWhatTheCameraHolds)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ZX::ZCamera &camera = *CameraOf(handle);
    ASSERT_EQ(camera.SetExposure(5'000'000'000'000'000), 0u);
    ASSERT_EQ(camera.SetSymmetricalBinning(2), 0u);
    ASSERT_EQ(camera.SetROI(8, 6, 100, 50), 0u);
    ASSERT_EQ(camera.SetReadoutFrequency(5.0f), 0u);
    ASSERT_EQ(camera.SetBitDepth(14), 0u);
    ASSERT_EQ(camera.SetTriggerMode(5), 0u);
    ASSERT_EQ(camera.SetOffset(123), 0u);
    ASSERT_EQ(camera.SetRegulatedCoolingTemp(-20), 0u);
    ASSERT_EQ(camera.SetCoolerStatus(false), 0u);
    ASSERT_EQ(camera.SetFanSpeed(2), 0u);
    ASSERT_EQ(camera.SetBlackoutMode(true), 0u);
    camera.SetFrameBufferLength(7);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmExposure] = 0xFFFFFFFFu;
    readBack.values64[zprm64Exposure] = 5'000'000'000'000'000;
    readBack.values[zprmBinning] = 2;
    readBack.values[zprmHorizontalBinning] = 2;
    readBack.values[zprmVerticalBinning] = 2;
    readBack.values[zprmRoiX] = 8;
    readBack.values[zprmRoiY] = 6;
    readBack.values[zprmRoiWidth] = 100;
    readBack.values[zprmRoiHeight] = 50;
    readBack.values[zprmReadoutSpeed] = 2;
    readBack.values[zprmImageFormat] = 3;
    readBack.values[zprmTriggerType] = 5;
    readBack.values[zprmOffset] = 123;
    readBack.valuesS32[zprmS32AbsoluteOffset] = 123;
    readBack.valuesS32[zprmS32RegulatedCoolingTemp] = -20;
    readBack.values[zprmCoolerActive] = 0;
    readBack.values[zprmFan] = 2;
    readBack.values[zprmBlackoutMode] = 1;
    readBack.values[zprmFrameBufferLength] = 7;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    Expected defaults = kMonochromeDefaults;
    defaults.values[zprmImageFormat] = 3; // by the bit depth that stands
    ExpectFill(Zerix_ReadDefaultSettings, handle, defaults);
}

// With the wheel turning, pictures come in the wheel's output format.
TEST_F(VirtualSettings, ReadBackTheWheelsFormatWhileItTurns)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ASSERT_EQ(CameraOf(handle)->SetRGBFilterCycle(true), 0u);
    Expected readBack = kMonochromeReadBack;
    readBack.values[zprmImageFormat] = 6;
    ExpectFill(Zerix_ReadSettingsFromCam, handle, readBack);
    uint32_t size = 0;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfImageSize, &size), 0u);
    EXPECT_EQ(size, 4'343'040u); // three planes
}

TEST_F(VirtualSettings, LogTheWholeRecordOfEitherLayout)
{
    Configure("outputEnabled = 1\noutputSettings = 1\n");
    const ZerixHandle handle = LoadAndOpen(0);
    Zerix_CreateCameraSettingsStruct(&current);
    std::array<uint8_t, 260> legacy = {};
    for (Zerix_Settings *record : {&current, reinterpret_cast<Zerix_Settings *>(legacy.data())}) {
        ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, record), 0u);
        const Lines lines = Take();
        ASSERT_EQ(lines.size(), 57u); // start, header, 42 + 5 + 3 + 4 values, end
        EXPECT_EQ(lines[0], "Zerix_ReadSettingsFromCam start");
        EXPECT_EQ(lines[1], "Zerix_Settings structure:");
        EXPECT_EQ(lines[2], "Gain: 600");
        EXPECT_EQ(lines[4], "Exposure: 16384 us (16.4 ms)");
        EXPECT_EQ(lines[8], "Readout Speed: 20.0 MHz");
        EXPECT_EQ(lines[14], "Image Format: 2 (Mono 8-Bit)");
        EXPECT_EQ(lines[19], "ZerixDebugOutputSetting32() - Unknown parameter");
        EXPECT_EQ(lines[34], "Post Processing Image Format: 12 (RGB24)");
        EXPECT_EQ(lines[51], "Regulated Cooling Temp: -30 C");
        EXPECT_EQ(lines[52], "Exposure (64-bit): 16384000 ns (16.4 ms)");
        EXPECT_EQ(lines[54], "Blue Exposure (64-bit): 34900000 ns (34.9 ms)");
        EXPECT_EQ(lines[56], EndLine("Zerix_ReadSettingsFromCam"));
    }
}

} // namespace
} // namespace zerix::api
