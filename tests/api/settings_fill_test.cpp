// What a fill writes into a settings record, key by key and in both layouts, and what it leaves
// alone.
#include <cstring>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/settings_fixture.h"

namespace zerix::api {
namespace {

class SettingsFill : public SettingsTest {};

void GiveEveryGetterAValue(FakeCamera &camera)
{
    camera.getGainDefault = 500;
    camera.getOffsetDefault = 501;
    camera.getDefaultExposure = 100'000'000;
    camera.getReadoutFrequencyDefault = 10.0f;
    camera.isCoolerAvailable = true;
    camera.getCCDImageFormat = 2;
    camera.getBitDepth = 8;
    camera.getCCDWidth = 1392;
    camera.getCCDHeight = 1040;
    camera.isIntensifierAvailable = true;
    camera.getIntensifierGainMin = 526;
    camera.getEMGainDefault = 537;
    camera.getShutterCloseDelayDefault = 539;
    camera.getDitherModeDefault = true;
    camera.getHighGainModeDefault = true;
    camera.getVClockPeriodDefault = 544;
    camera.getKeelEmMode = true;
    camera.getLockedGainMode = true;
    camera.getFrameBufferLengthDefault = 100;
    camera.convertNormGainToNormGaindB = -12;
    camera.getMinRegulatedCoolingTemp = -30;
    camera.getNormalizedIntensifierGainMin = 0x100000001u;
    // The present state.
    camera.convertNormGaindBToGain = 700;
    camera.convertAbsoluteOffsetToOffset = 701;
    camera.getExposure = 5'000;
    camera.getSymmetricalBinningMode = 2;
    camera.getHorizontalBinningMode = 3;
    camera.getVerticalBinningMode = 4;
    camera.getReadoutFrequency = 40.0f;
    camera.getTriggerMode = 5;
    camera.getRGBFilterStartColour = 3;
    camera.getCoolerStatus = true;
    camera.getRGBFilterRedExposure = 7'000;
    camera.getRGBFilterBlueExposure = 9'000;
    camera.getImageFormat = 2;
    camera.getROIX = 713;
    camera.getROIY = 714;
    camera.getROIWidth = 715;
    camera.getROIHeight = 716;
    camera.getDoubleShotMode = true;
    camera.getSyncBMode = 6;
    camera.getMetrolShutterDelay = 721;
    camera.getIntensifierGain = 722;
    camera.getTriggerDelay = 723;
    camera.getLVWMode = true;
    camera.getNormalizedGain = 725;
    camera.getNormalizedIntensifierGaindB = 726;
    camera.getFanSpeed = 2;
    camera.getBlackoutMode = true;
    camera.getHighSensitivityMode = true;
    camera.getReadoutPort = 736;
    camera.getEMGain = 737;
    camera.getShutterCloseDelay = 739;
    camera.getDitherMode = true;
    camera.getHighGainMode = true;
    camera.getVClockPeriod = 744;
    camera.getFrameBufferLength = 52;
    camera.getNormalizedGaindB = -77;
    camera.getAbsoluteOffset = -78;
    camera.getRegulatedCoolingTemperature = -25;
    camera.getNormalizedIntensifierGain = 0x200000002u;
}

TEST_F(SettingsFill, TakesItsDefaults)
{
    GiveEveryGetterAValue(*camera);
    ContextOf(*camera)->isPostProcessingOn = true;
    FillBoth(Zerix_ReadDefaultSettings);
    constexpr uint32_t kNone = kUntouched;
    constexpr uint32_t kExpected[53] = {
        500,   501,   100'000, 1, 1,   1,         1,     0,     0,     1,    // 0
        28100, 34900, 4,       0, 0,   1392,      1040,  kNone, 0,     0,    // 10
        1,     1000,  kNone,   0, 0,   1'000'000, 526,   0,     1160,  1000, // 20
        1880,  4,     12,      4, 0,   0,         1,     537,   kNone, 539,  // 30
        kNone, kNone, 1,       1, 544, kNone,     kNone, 1,     1,     1001, // 40
        1000,  1007,  100};                                                  // 50
    for (std::size_t key = 0; key < 53; ++key)
        EXPECT_EQ(PrivateAt<uint32_t>(4 * key), kExpected[key]) << key;
    for (std::size_t key = 0; key < 47; ++key)
        EXPECT_EQ(LegacyAt<uint32_t>(4 + 4 * key), kExpected[key]) << key;
    EXPECT_EQ(LegacyAt<uint32_t>(4 + 4 * 47), 0u);
    EXPECT_FALSE(ContextOf(*camera)->isPostProcessingOn.load());
}

TEST_F(SettingsFill, ReadsBackThePresentState)
{
    GiveEveryGetterAValue(*camera);
    ZerixContext &context = *ContextOf(*camera);
    context.isPostProcessingOn = true;
    context.whiteBalance->SetRedScale(1.16f);
    context.whiteBalance->SetGreenScale(0.5f);
    context.whiteBalance->SetBlueScale(1.88f);
    context.bayerFilter->SetAlgorithm(2);
    context.bayerFilter->SetOutputFormat(8);
    FillBoth(Zerix_ReadSettingsFromCam);
    constexpr uint32_t kNone = kUntouched;
    constexpr uint32_t kExpected[53] = {
        700,   701,   5,   2,   3,   4,     7,     5,     3,     1,    // 0
        7,     9,     4,   713, 714, 715,   716,   kNone, kNone, 1,    // 10
        6,     721,   722, 723, 1,   725,   726,   1,     1160,  500,  // 20
        1880,  2,     8,   2,   1,   1,     736,   737,   kNone, 739,  // 30
        kNone, kNone, 1,   1,   744, kNone, kNone, 1,     1,     1001, // 40
        1000,  1007,  52};                                             // 50
    for (std::size_t key = 0; key < 53; ++key)
        EXPECT_EQ(PrivateAt<uint32_t>(4 * key), kExpected[key]) << key;
    for (std::size_t key = 0; key < 47; ++key)
        EXPECT_EQ(LegacyAt<uint32_t>(4 + 4 * key), kExpected[key]) << key;
    EXPECT_EQ(LegacyAt<uint32_t>(4 + 4 * 47), 0u);
}

TEST_F(SettingsFill, TakesTheWiderDefaults)
{
    GiveEveryGetterAValue(*camera);
    FillBoth(Zerix_ReadDefaultSettings);
    constexpr int32_t kSigned[3] = {-12, 0, -30};
    constexpr uint64_t kWide[4] = {100'000'000, 28'100'000, 34'900'000, 0x100000001u};
    for (std::size_t key = 0; key < 3; ++key) {
        EXPECT_EQ(PrivateAt<int32_t>(212 + 4 * key), kSigned[key]) << key;
        EXPECT_EQ(LegacyAt<int32_t>(196 + 4 * key), kSigned[key]) << key;
    }
    for (std::size_t key = 0; key < 4; ++key) {
        EXPECT_EQ(PrivateAt<uint64_t>(224 + 8 * key), kWide[key]) << key;
        EXPECT_EQ(LegacyAt<uint64_t>(208 + 8 * key), kWide[key]) << key;
    }
}

TEST_F(SettingsFill, ReadsBackTheWiderValues)
{
    GiveEveryGetterAValue(*camera);
    FillBoth(Zerix_ReadSettingsFromCam);
    constexpr int32_t kSigned[3] = {-77, -78, -25};
    constexpr uint64_t kWide[4] = {5'000, 7'000, 9'000, 0x200000002u};
    for (std::size_t key = 0; key < 3; ++key) {
        EXPECT_EQ(PrivateAt<int32_t>(212 + 4 * key), kSigned[key]) << key;
        EXPECT_EQ(LegacyAt<int32_t>(196 + 4 * key), kSigned[key]) << key;
    }
    for (std::size_t key = 0; key < 4; ++key) {
        EXPECT_EQ(PrivateAt<uint64_t>(224 + 8 * key), kWide[key]) << key;
        EXPECT_EQ(LegacyAt<uint64_t>(208 + 8 * key), kWide[key]) << key;
    }
}

TEST_F(SettingsFill, KeepsTheIntensifiersSlotsWithoutAnIntensifier)
{
    GiveEveryGetterAValue(*camera);
    camera->isIntensifierAvailable = false;
    FillBoth(Zerix_ReadDefaultSettings);
    EXPECT_EQ(PrivateAt<uint32_t>(4 * 22), kUntouched);
    EXPECT_EQ(PrivateAt<uint32_t>(4 * 26), kUntouched);
    EXPECT_EQ(PrivateAt<uint64_t>(224 + 8 * 3), 0xA5A5A5A5A5A5A5A5u);
    EXPECT_EQ(LegacyAt<uint32_t>(4 + 4 * 26), kUntouched);
    EXPECT_EQ(LegacyAt<uint64_t>(208 + 8 * 3), 0xA5A5A5A5A5A5A5A5u);
}

TEST_F(SettingsFill, ReadsTheEmGainsBackOnlyWithTheModeOn)
{
    GiveEveryGetterAValue(*camera);
    camera->getKeelEmMode = false;
    ASSERT_EQ(Zerix_ReadSettingsFromCam(HandleOf(*camera), &current), 0u);
    for (const std::size_t key : {47u, 49u, 50u, 51u})
        EXPECT_EQ(PrivateAt<uint32_t>(4 * key), 0u) << key;
    // The defaults don't mind.
    ASSERT_EQ(Zerix_ReadDefaultSettings(HandleOf(*camera), &current), 0u);
    EXPECT_EQ(PrivateAt<uint32_t>(4 * 49), 1001u);
}

TEST_F(SettingsFill, ChoosesTheImageFormatByKindAndDepth)
{
    struct Case {
        uint16_t kind;
        uint16_t depth;
        uint32_t byDefault;
        uint32_t readBack;
    };
    // 3 is the wheel's picture, in the wheel's output format; the sensor behind it counts as
    // unknown.
    constexpr Case kCases[] = {
        {1, 8, 2, 2},
        {1, 12, 3, 3},
        {2, 8, 4, 4},
        {2, 14, 5, 5},
        {3, 8, kUntouched, 10},
        {0, 8, kUntouched, kUntouched},
        {4, 8, kUntouched, kUntouched},
    };
    ContextOf(*camera)->filterWheel->SetOutputFormat(10);
    for (const Case &row : kCases) {
        camera->getCCDImageFormat = row.kind;
        camera->getImageFormat = row.kind;
        camera->getBitDepth = row.depth;
        std::memset(current.privateBlock, 0xA5, 276);
        Zerix_ReadDefaultSettings(HandleOf(*camera), &current);
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 12), row.byDefault) << row.kind << ' ' << row.depth;
        std::memset(current.privateBlock, 0xA5, 276);
        Zerix_ReadSettingsFromCam(HandleOf(*camera), &current);
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 12), row.readBack) << row.kind << ' ' << row.depth;
    }
}

TEST_F(SettingsFill, TurnsFrequenciesIntoIndices)
{
    constexpr struct {
        float megahertz;
        uint32_t index;
    } kExpected[] = {{2.5f, 3},  {5.0f, 2},  {10.0f, 1}, {20.0f, 0}, {30.0f, 8},
                     {40.0f, 7}, {24.0f, 9}, {1.0f, 9},  {0.0f, 9}};
    for (const auto &row : kExpected) {
        camera->getReadoutFrequency = row.megahertz;
        Zerix_ReadSettingsFromCam(HandleOf(*camera), &current);
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 6), row.index) << row.megahertz;
    }
}

TEST_F(SettingsFill, KeepsA32BitExposureBetweenOneAndAllOnes)
{
    constexpr struct {
        uint64_t nanoseconds;
        uint32_t microseconds;
    } kExpected[] = {{0, 1},
                     {999, 1},
                     {1'999, 1},
                     {2'000, 2},
                     {4'294'967'295'999u, 4'294'967'295u},
                     {4'294'967'296'000u, 4'294'967'295u},
                     {0xFFFFFFFFFFFFFFFFu, 4'294'967'295u}};
    for (const auto &row : kExpected) {
        camera->getExposure = row.nanoseconds;
        Zerix_ReadSettingsFromCam(HandleOf(*camera), &current);
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 2), row.microseconds) << row.nanoseconds;
        EXPECT_EQ(PrivateAt<uint64_t>(224), row.nanoseconds);
    }
}

// Of the library's own copy, a current record refreshes the keys 0 to 16, and a legacy one all but
// the last byte of key 15.
TEST_F(SettingsFill, RefreshesOnlyTheFrontOfTheCachedCopy)
{
    GiveEveryGetterAValue(*camera);
    void *const cached = ContextOf(*camera)->cachedSettings.privateBlock;
    for (const auto fill : {Zerix_ReadDefaultSettings, Zerix_ReadSettingsFromCam}) {
        const auto copied = [&](Zerix_Settings *settings) {
            std::memset(cached, 0x5A, 276);
            fill(HandleOf(*camera), settings);
            const auto *bytes = static_cast<const uint8_t *>(cached);
            return std::vector<uint8_t>(bytes, bytes + 276);
        };
        const std::vector<uint8_t> fromCurrent = copied(&current);
        std::vector<uint8_t> expected(276, 0x5A);
        std::memcpy(expected.data(), current.privateBlock, 68);
        EXPECT_EQ(fromCurrent, expected);
        const std::vector<uint8_t> fromLegacy = copied(Legacy());
        expected.assign(276, 0x5A);
        std::memcpy(expected.data(), legacy.data() + 4, 63);
        EXPECT_EQ(fromLegacy, expected);
    }
}

// The two keys of post-processing that go by the sensor.
TEST_F(SettingsFill, LeavesTheMosaicsKeysOfAnUnknownSensor)
{
    for (const auto &[kind, algorithm, format] : {std::tuple{1u, 1u, 2u},
                                                  {2u, 4u, 12u},
                                                  {0u, kUntouched, kUntouched},
                                                  {3u, kUntouched, kUntouched}}) {
        camera->getCCDImageFormat = static_cast<uint16_t>(kind);
        std::memset(current.privateBlock, 0xA5, 276);
        EXPECT_EQ(Zerix_ReadDefaultSettings(HandleOf(*camera), &current), 0u);
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 31), algorithm) << kind;
        EXPECT_EQ(PrivateAt<uint32_t>(4 * 32), format) << kind;
    }
}

} // namespace
} // namespace zerix::api
