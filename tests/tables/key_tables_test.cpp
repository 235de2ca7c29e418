// The key tables: every number, name and log text, written out.
#include <cstring>
#include <iterator>

#include <gtest/gtest.h>

#include "tables/info_keys.h"
#include "tables/param_keys.h"

namespace zerix::tables {
namespace {

struct Expected {
    uint32_t key;
    const char *name;
    const char *logText;
};

constexpr Expected kExpectedParams[] = {
    {0, "zprmGain", "Gain: %lu"},
    {1, "zprmOffset", "Offset: %lu"},
    {2, "zprmExposure", "Exposure: %lu us (%s)"},
    {3, "zprmBinning", "Symmetrical Binning: %lu"},
    {4, "zprmHorizontalBinning", "Horizontal Binning: %lu"},
    {5, "zprmVerticalBinning", "Vertical Binning: %lu"},
    {6, "zprmReadoutSpeed", "Readout Speed: %s"},
    {7, "zprmTriggerType", "Trigger type: %lu"},
    {8, "zprmColorWheel", "Filter wheel start colour: %lu (%s)"},
    {9, "zprmCoolerActive", "Cooler active: %lu"},
    {10, "zprmExposureRed", "Red Exposure: %lu us (%s)"},
    {11, "zprmExposureBlue", "Blue Exposure: %lu us (%s)"},
    {12, "zprmImageFormat", "Image Format: %lu (%s)"},
    {13, "zprmRoiX", "Roi X: %lu"},
    {14, "zprmRoiY", "Roi Y: %lu"},
    {15, "zprmRoiWidth", "Roi Width: %lu"},
    {16, "zprmRoiHeight", "Roi Height: %lu"},
    {17, "zprmReserved17", nullptr},
    {18, "zprmShutterState", "Shutter state: %lu"},
    {19, "zprmDoubleShot", nullptr},
    {20, "zprmSyncb", "SyncB: %lu (%s)"},
    {21, "zprmMetrolShutterDelay", nullptr},
    {22, "zprmIntensifierGain", "Intensifier Gain: %lu"},
    {23, "zprmTriggerDelay", "Trigger Delay: %lu ns (%s)"},
    {24, "zprmCameraMode", "Camera Mode: %lu (%s)"},
    {25, "zprmNormalizedGain", "Normalized Gain: %lu"},
    {26, "zprmNormIntensGaindB", "Normalized Intensifier Gain dB: %lu"},
    {27, "zprmDoPostProcessing", "Post Processing: %lu"},
    {28, "zprmPostProcessGainRed", "Post Processing Red Gain: %lu"},
    {29, "zprmPostProcessGainGreen", "Post Processing Green Gain: %lu"},
    {30, "zprmPostProcessGainBlue", "Post Processing Blue Gain: %lu"},
    {31, "zprmPostProcessBayerAlgorithm", "Post Processing Bayer Algorithm: %lu (%s)"},
    {32, "zprmPostProcessImageFormat", "Post Processing Image Format: %lu (%s)"},
    {33, "zprmFan", "Fan Speed: %lu (%s)"},
    {34, "zprmBlackoutMode", "Blackout Mode: %lu"},
    {35, "zprmHighSensitivityMode", "High Sensitivity Mode: %lu"},
    {36, "zprmReadoutPort", "Readout Port: %lu"},
    {37, "zprmEMGain", "EM Gain: %lu"},
    {38, "zprmOpenDelay", "Open Delay: %lu"},
    {39, "zprmCloseDelay", "Close Delay: %lu"},
    {40, "zprmCCDClearingMode", "CCD Clearing Mode: %lu"},
    {41, "zprmOverSample", "Over Sample Mode: %lu"},
    {42, "zprmDither", nullptr},
    {43, "zprmHighGainMode", nullptr},
    {44, "zprmVClockPeriod", nullptr},
    {45, "zprmReserved45", nullptr},
    {46, "zprmTweekingRegister", nullptr},
    {47, "zprmKeelEmMode", "KeelEM Gain: %lu"},
    {48, "zprmLockedGainMode", "Locked Gain Mode: %lu"},
    {49, "zprmKeelEmGainValue10", "KeelEM Gain Value 10: %lu"},
    {50, "zprmKeelEmGainValue20", "KeelEM Gain Value 20: %lu"},
    {51, "zprmKeelEmGainValue40", "KeelEM Gain Value 40: %lu"},
    {52, "zprmFrameBufferLength", nullptr},
};

constexpr Expected kExpectedParamsS32[] = {
    {0, "zprmS32NormalizedGaindB", "Normalized Gain dB: %d"},
    {1, "zprmS32AbsoluteOffset", "Absolute Offset: %d"},
    {2, "zprmS32RegulatedCoolingTemp", "Regulated Cooling Temp: %d C"},
};

constexpr Expected kExpectedParams64[] = {
    {0, "zprm64Exposure", "Exposure (64-bit): %llu ns (%s)"},
    {1, "zprm64ExposureRed", "Red Exposure (64-bit): %llu ns (%s)"},
    {2, "zprm64ExposureBlue", "Blue Exposure (64-bit): %llu ns (%s)"},
    {3, "zprm64NormIntensGain", "Normalized Intesifier Gain (64-bit): %llu"},
};

constexpr Expected kExpectedInfos[] = {
    {0, "zinfCameraType", "Camera Type: %lu (%s)"},
    {1, "zinfSerialNumber", "Serial Number: %lu"},
    {2, "zinfHardwareVersion", "Hardware Version: %lu"},
    {3, "zinfFirmwareVersion", "Firmware Version: %lu"},
    {4, "zinfCcd", "CCD Model: %lu"},
    {5, "zinfBitDepth", "Maximum Bit Depth: %lu"},
    {6, "zinfCooled", "Cooled: %lu"},
    {7, "zinfReserved7", nullptr},
    {8, "zinfImageWidth", "Image Width: %lu"},
    {9, "zinfImageHeight", "Image Height: %lu"},
    {10, "zinfImageSize", "Image Size: %lu"},
    {11, "zinfCcdType", "CCD Type: %lu (%s)"},
    {12, "zinfCcdWidth", "CCD Width: %lu"},
    {13, "zinfCcdHeight", "CCD Height: %lu"},
    {14, "zinfFirmwareBuild", "Firmware Build: %lu"},
    {15, "zinfUniqueId", "Unique ID: %lu"},
    {16, "zinfIsModelB", "ModelB: %lu"},
    {17, "zinfIntensifierModel", "Intensifier Model: %lu"},
    {18, "zinfExposureRes", "Exposure Resolution: %lu ns"},
    {19, "zinfTriggerDelayRes", "Trigger Delay Resolution: %lu ns"},
    {20, "zinfStreamVersion", "Streaming Version: %lu"},
    {21, "zinfNormGainSigFigs", "Normalized Gain Significant Figures: %lu"},
    {22, "zinfNormGaindBRes", "Normalized Gain dB Resolution: %lu"},
    {23, "zinfNormITGainSigFigs", "Normalized Intensifier Gain Significant Figures: %lu"},
    {24, "zinfNormITGaindBRes", "Normalized Intensifier Gain dB Resolution: %lu"},
    {25, "zinfRegulatedCooling", "Regulated Cooling Available: %lu"},
    {26, "zinfRegulatedCoolingLock", "Regulated Cooling Lock: %lu"},
    {29, "zinfFanControl", "Fan Control Available: %lu"},
    {30, "zinfHighSensitivityMode", "High Sensitivity Mode Available: %lu"},
    {31, "zinfBlackoutMode", "Blackout Mode Available: %lu"},
    {32, "zinfPostProcessImageSize", "Post Processing Image Size: %lu"},
    {33, "zinfAsymmetricalBinning", "Asymmetrical Binning Available: %lu"},
    {34, "zinfEMGain", "EM Gain Available: %lu"},
    {36, "zinfCloseDelay", "Close Delay: %lu"},
    {37, "zinfColorWheelSupported", "RGB Filter Wheel Available: %lu"},
    {38, "zinfReserved2", "Dither Control Available: %lu"},
    {39, "zinfReserved3", "High Gain Mode Available: %lu"},
    {40, "zinfReserved4", "VClock Control Available: %lu"},
    {42, "zinfKeelEmMode", nullptr},
    {43, "zinfLockedGainMode", nullptr},
};

template <typename Rows, std::size_t kCount>
void ExpectSame(const Rows &rows, const Expected (&expected)[kCount])
{
    ASSERT_EQ(rows.size(), kCount);
    for (std::size_t index = 0; index < kCount; ++index) {
        SCOPED_TRACE(expected[index].name);
        EXPECT_EQ(rows[index].key, expected[index].key);
        EXPECT_STREQ(rows[index].name, expected[index].name);
        EXPECT_STREQ(rows[index].logText, expected[index].logText);
    }
}

TEST(KeyTables, HoldEveryUnsignedKey) { ExpectSame(kParams, kExpectedParams); }

TEST(KeyTables, HoldEverySignedKey) { ExpectSame(kParamsS32, kExpectedParamsS32); }

TEST(KeyTables, HoldEvery64BitKey) { ExpectSame(kParams64, kExpectedParams64); }

TEST(KeyTables, HoldEveryInformationKey) { ExpectSame(kInfos, kExpectedInfos); }

TEST(KeyTables, FindNoRowBeyondAFamily)
{
    EXPECT_EQ(FindKey(kParams, 53), nullptr);
    EXPECT_EQ(FindKey(kParamsS32, 3), nullptr);
    EXPECT_EQ(FindKey(kParams64, 4), nullptr);
    EXPECT_EQ(FindKey(kParams, 0xFFFFFFFFu), nullptr);
}

TEST(KeyTables, FindNoRowInTheGapsOfTheInformationKeys)
{
    for (const uint32_t key : {27u, 28u, 35u, 41u, 44u, 0xFFFFFFFFu})
        EXPECT_EQ(FindInfo(key), nullptr) << key;
    for (const Expected &expected : kExpectedInfos) {
        const KeyRow *row = FindInfo(expected.key);
        ASSERT_NE(row, nullptr) << expected.key;
        EXPECT_STREQ(row->name, expected.name);
    }
}

// A text with a second conversion takes a name for it, and no other text does.
TEST(KeyTables, NameAValueExactlyWhereTheTextHasRoomForIt)
{
    const auto expectRule = [](const KeyRow &row) {
        if (row.logText == nullptr)
            return;
        EXPECT_EQ(std::strstr(row.logText, "%s") != nullptr, row.rule != ValueRule::kNumber)
            << row.name;
    };
    for (const KeyRow &row : kParams)
        expectRule(row);
    for (const KeyRow &row : kParamsS32)
        expectRule(row);
    for (const KeyRow &row : kParams64)
        expectRule(row);
    for (const KeyRow &row : kInfos)
        expectRule(row);
}

} // namespace
} // namespace zerix::tables
