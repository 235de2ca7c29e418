// Every information key on a camera without hardware, and the two texts.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/api_fixture.h"
#include "tests/support/standard_output_capture.h"

namespace zerix::api {
namespace {

class Information : public ApiTest {
protected:
    static constexpr uint32_t kUntouched = 0xA5A5A5A5u;

    struct Answer {
        uint32_t error;
        uint32_t value;
        bool operator==(const Answer &) const = default;
    };

    static Answer Ask(FakeCamera &camera, uint32_t key)
    {
        uint32_t value = kUntouched;
        const uint32_t error = Zerix_GetInfo(HandleOf(camera), key, &value);
        return {error, value};
    }
};

TEST_F(Information, TellsEveryKey)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    camera.getModel = 5;
    camera.getHardwareVersion = 102;
    camera.getFirmwareVersion = 103;
    camera.getCCDModel = 6;
    camera.getMaxBitDepth = 14;
    camera.isCoolerAvailable = true;
    camera.getROIWidth = 100;
    camera.getROIHeight = 50;
    camera.getImageWidth = 10;
    camera.getImageHeight = 7;
    camera.getBitDepth = 12;
    camera.getImageFormat = 2;
    camera.getCCDWidth = 1392;
    camera.getCCDHeight = 1040;
    camera.getFirmwareBuildNumber = 114;
    camera.getUniqueID = 0x1122334455667788u;
    camera.getIntensifierModel = 117;
    camera.getExposureResolution = 118;
    camera.getTriggerDelayResolution = 119;
    camera.isTriggerDelayAvialable = true;
    camera.isIntensifierAvailable = true;
    camera.getStreamingVersion = 2;
    camera.getNormalizedGainSignificantFigures = 121;
    camera.getNormalizedGaindBResolution = 122;
    camera.getNormalizedIntensifierGainSignificantFigures = 123;
    camera.getNormalizedIntensifierGaindBResolution = 124;
    camera.isRegulatedCoolingAvailable = true;
    camera.getRegulatedCoolingTemperatureLock = true;
    camera.isFanControlAvailable = true;
    camera.isHighSensitivityModeAvailable = true;
    camera.isBlackoutModeAvailable = true;
    camera.isHorizontalBinningSupported = true;
    camera.isVerticalBinningSupported = true;
    camera.isEMGainAvailable = true;
    camera.isShutterCloseDelayAvailable = true;
    camera.isRGBFilterSupported = true;
    camera.isDitherControlAvailable = true;
    camera.isHighGainModeAvailable = true;
    camera.isVClockControlAvailable = true;
    camera.isKeelEmModeSupported = true;
    camera.isLockedGainModeSupported = true;
    ContextOf(camera)->bayerFilter->SetOutputFormat(12);
    constexpr struct {
        uint32_t key;
        uint32_t value;
    } kExpected[] = {
        {0, 5},    {1, 0},           {2, 102},    {3, 103},  {4, 6},    {5, 14},    {6, 1},
        {7, 0},    {8, 100},         {9, 50},     {10, 140}, {11, 1},   {12, 1392}, {13, 1040},
        {14, 114}, {15, 0x55667788}, {16, 1},     {17, 117}, {18, 118}, {19, 119},  {20, 2},
        {21, 121}, {22, 122},        {23, 123},   {24, 124}, {25, 1},   {26, 1},    {29, 1},
        {30, 1},   {31, 1},          {32, 15000}, {33, 1},   {34, 1},   {36, 1},    {37, 1},
        {38, 1},   {39, 1},          {40, 1},     {42, 1},   {43, 1},
    };
    for (const auto &row : kExpected)
        EXPECT_EQ(Ask(camera, row.key), (Answer{0, row.value})) << row.key;
}

// Each capability shows under its own key and no other.
TEST_F(Information, TellsEachCapabilityUnderItsOwnKey)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    constexpr struct {
        uint32_t key;
        bool FakeCameraValues::*capability;
    } kExpected[] = {
        {6, &FakeCameraValues::isCoolerAvailable},
        {25, &FakeCameraValues::isRegulatedCoolingAvailable},
        {26, &FakeCameraValues::getRegulatedCoolingTemperatureLock},
        {29, &FakeCameraValues::isFanControlAvailable},
        {30, &FakeCameraValues::isHighSensitivityModeAvailable},
        {31, &FakeCameraValues::isBlackoutModeAvailable},
        {34, &FakeCameraValues::isEMGainAvailable},
        {36, &FakeCameraValues::isShutterCloseDelayAvailable},
        {37, &FakeCameraValues::isRGBFilterSupported},
        {38, &FakeCameraValues::isDitherControlAvailable},
        {39, &FakeCameraValues::isHighGainModeAvailable},
        {40, &FakeCameraValues::isVClockControlAvailable},
        {42, &FakeCameraValues::isKeelEmModeSupported},
        {43, &FakeCameraValues::isLockedGainModeSupported},
    };
    for (const auto &chosen : kExpected) {
        camera.*chosen.capability = true;
        for (const auto &row : kExpected)
            EXPECT_EQ(Ask(camera, row.key), (Answer{0, row.key == chosen.key ? 1u : 0u}))
                << chosen.key << ' ' << row.key;
        camera.*chosen.capability = false;
    }
}

TEST_F(Information, CallsBinningAsymmetricalOnlyWithBothAxes)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    EXPECT_EQ(Ask(camera, 33), (Answer{0, 0}));
    camera.isHorizontalBinningSupported = true;
    EXPECT_EQ(Ask(camera, 33), (Answer{0, 0}));
    camera.isVerticalBinningSupported = true;
    EXPECT_EQ(Ask(camera, 33), (Answer{0, 1}));
    camera.isHorizontalBinningSupported = false;
    EXPECT_EQ(Ask(camera, 33), (Answer{0, 0}));
}

TEST_F(Information, RefusesTheIntensifierKeysWithoutAnIntensifier)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    for (const uint32_t key : {17u, 23u, 24u})
        EXPECT_EQ(Ask(camera, key), (Answer{1, kUntouched})) << key;
    EXPECT_EQ(Take()[1],
              EndingLine("Zerix_GetInfo", "the function is not supported for this device.", 1));
}

TEST_F(Information, TellsTheTriggerDelayResolutionEvenWhereItIsAnError)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    camera.getTriggerDelayResolution = 50;
    EXPECT_EQ(Ask(camera, 19), (Answer{1, 50}));
}

TEST_F(Information, TellsTheSensorsKindOfTheKindsThatItKnows)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    constexpr struct {
        uint16_t format;
        uint32_t value;
    } kExpected[] = {{0, kUntouched}, {1, 0}, {2, 1}, {3, 0}, {4, kUntouched}};
    for (const auto &row : kExpected) {
        camera.getImageFormat = row.format;
        EXPECT_EQ(Ask(camera, 11), (Answer{0, row.value})) << row.format;
    }
}

TEST_F(Information, CountsTheBytesOfAPixelUpwards)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    camera.getImageWidth = 20;
    camera.getImageHeight = 10;
    constexpr struct {
        uint16_t bitDepth;
        uint32_t size;
    } kExpected[] = {{8, 200}, {9, 400}, {12, 400}, {14, 400}, {16, 400}};
    for (const auto &row : kExpected) {
        camera.getBitDepth = row.bitDepth;
        EXPECT_EQ(Ask(camera, 10), (Answer{0, row.size})) << row.bitDepth;
    }
    // With the wheel turning, an image has the pixels of the wheel's output.
    camera.getRGBFilterCycleMode = true;
    EXPECT_EQ(Ask(camera, 10), (Answer{0, 600}));
    ContextOf(camera)->filterWheel->SetOutputFormat(10);
    EXPECT_EQ(Ask(camera, 10), (Answer{0, 1200}));
}

TEST_F(Information, AnswersTheGapsAndWhatLiesBeyondWithZero)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    const test::StandardOutputCapture output;
    std::string expected;
    for (const uint32_t key : {27u, 28u, 35u, 41u, 44u, 1000u}) {
        EXPECT_EQ(Ask(camera, key), (Answer{1, 0})) << key;
        expected += "Zerix_GetInfo not implemented for key " + std::to_string(key) + "\n";
    }
    EXPECT_EQ(output.Text(), expected);
}

TEST_F(Information, LogsAValueOnlyOnSuccess)
{
    Configure("outputEnabled = 1\noutputGetInfo = 1\n");
    Load();
    FakeCamera &camera = AddOpenCamera();
    camera.getModel = 32;
    Ask(camera, 0);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetInfo start (zinfCameraType)", "Camera Type: 32 (Merid Teal)",
                             EndLine("Zerix_GetInfo")}));
    Ask(camera, 19);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetInfo start (zinfTriggerDelayRes)",
                             EndingLine("Zerix_GetInfo",
                                        "the function is not supported for this device.", 1)}));
}

TEST_F(Information, ChecksInItsOrder)
{
    Load();
    FakeCamera &camera = AddCamera();
    uint32_t value = 7;
    EXPECT_EQ(Zerix_GetInfo(HandleOf(camera), 0, nullptr), 2u);
    EXPECT_EQ(Zerix_GetInfo(HandleOf(camera), 0, &value), 9u);
    // Closed, and so not another process's.
    EXPECT_EQ(Take().size(), 4u);
    camera.isHeldByAnother = true;
    camera.OpenCamera();
    EXPECT_EQ(Zerix_GetInfo(HandleOf(camera), 0, &value), 9u);
    EXPECT_EQ(Take()[1], "Zerix_GetInfo - Another process has this camera open.");
    EXPECT_EQ(value, 7u);
}

struct TextCall {
    const char *name;
    const char *remark;
    uint32_t (*call)(ZerixHandle, char *, uint32_t);
};

const TextCall kTextCalls[] = {
    {"Zerix_GetSerialString", "Serial: TEN-LETTER", Zerix_GetSerialString},
    {"Zerix_GetCameraModelString", "Camera model: TEN-LETTER", Zerix_GetCameraModelString},
};

TEST_F(Information, GivesATextThatFitsWithItsEnd)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    camera.getSerialNumberString = "TEN-LETTER";
    camera.getModelString = "TEN-LETTER";
    for (const TextCall &row : kTextCalls) {
        SCOPED_TRACE(row.name);
        char text[12];
        std::memset(text, 'x', sizeof(text));
        EXPECT_EQ(row.call(HandleOf(camera), text, 10), 2u);
        EXPECT_EQ(std::string(text, sizeof(text)), "xxxxxxxxxxxx");
        Take();
        EXPECT_EQ(row.call(HandleOf(camera), text, 11), 0u);
        EXPECT_EQ(std::string(text, sizeof(text)), std::string("TEN-LETTER\0x", 12));
        EXPECT_EQ(Take(), (Lines{std::string(row.name) + " start",
                                 std::string(row.name) + " - " + row.remark, EndLine(row.name)}));
    }
}

TEST_F(Information, OfTextTestsExclusiveAccessBeforeOpen)
{
    Load();
    FakeCamera &camera = AddCamera();
    for (const TextCall &row : kTextCalls) {
        char text[64];
        EXPECT_EQ(row.call(HandleOf(camera), nullptr, 64), 2u);
        Take();
        EXPECT_EQ(row.call(HandleOf(camera), text, 64), 9u);
        EXPECT_EQ(Take()[1], std::string(row.name) + " - Another process has this camera open.");
    }
}

} // namespace
} // namespace zerix::api
