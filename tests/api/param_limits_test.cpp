// The smallest and the largest value of every parameter key.
#include <cstdint>
#include <numeric>

#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

class ParamLimits : public ParamTest {
protected:
    void SetUp() override
    {
        ParamTest::SetUp();
        FakeCamera &fake = *camera;
        fake.getGainMin = 100;
        fake.getGainMax = 4000;
        fake.getOffsetMin = 101;
        fake.getOffsetMax = 4001;
        fake.getMinExposure = 102'999;
        fake.getMaxExposure = 4'002'999;
        fake.getSymmetricalBinningModes = {1, 2, 8};
        fake.getHorizontalBinningModes = {2, 3, 4};
        fake.getVerticalBinningModes = {5};
        fake.getReadoutFrequencyModes = {10.0f, 20.0f, 5.0f};
        fake.getTriggerModes = {3, 1, 9};
        fake.getMaxBitDepth = 14;
        fake.getCCDImageFormat = 1;
        fake.getCCDWidth = 1392;
        fake.getCCDHeight = 1040;
        fake.getSyncBModes = {6, 5, 4};
        fake.getIntensifierGainMin = 122;
        fake.getIntensifierGainMax = 4022;
        fake.getTriggerDelayMin = 123;
        fake.getTriggerDelayMax = 4023;
        fake.getNormalizedGainMin = 0.000251; // 251 only if rounded
        fake.getNormalizedGainMax = 31.62;
        fake.getEMGainMin = 137;
        fake.getEMGainMax = 4037;
        fake.getShutterCloseDelayMin = 139;
        fake.getShutterCloseDelayMax = 4039;
        fake.getVClockPeriodMin = 144;
        fake.getVClockPeriodMax = 4044;
        fake.getFrameBufferLengthMin = 2;
        fake.getFrameBufferLengthMax = 250;
        fake.getNormalizedGaindBMin = -20;
        fake.getNormalizedGaindBMax = 30'000'000;
        fake.getAbsoluteOffsetMin = -21;
        fake.getAbsoluteOffsetMax = 4021;
        fake.getMinRegulatedCoolingTemp = -40;
        fake.getMaxRegulatedCoolingTemp = 10;
        fake.getNormalizedIntensifierGainMin = 0x100000001u;
        fake.getNormalizedIntensifierGainMax = 0x200000002u;
    }
};

struct Limits {
    uint32_t key;
    uint32_t minimum;
    uint32_t maximum;
};

const Limits kLimits[] = {
    {0, 100, 4000},
    {1, 101, 4001},
    {2, 102, 4002},
    {3, 1, 8},
    {4, 2, 4},
    {5, 5, 5},
    {6, 0, 1}, // the first of the frequencies, which are told
               // from the fastest
    {7, 3, 9}, // first and last of the list, in its order
    {8, 0, 3},
    {9, 0, 1},
    {10, 102, 4002},
    {11, 102, 4002},
    {12, 0, 12},
    {13, 0, 1391},
    {14, 0, 1039},
    {15, 1, 1392},
    {16, 1, 1040},
    {19, 0, 1},
    {20, 6, 4},
    {21, 0, 1'000'000},
    {22, 122, 4022},
    {23, 123, 4023},
    {24, 0, 1},
    {25, 251, 31'620'000},
    {26, 122, 4022},
    {28, 10, 100'000},
    {29, 10, 100'000},
    {30, 10, 100'000},
    {31, 1, 4},
    {32, 0, 12},
    {33, 1, 4},
    {36, 1, 1},
    {37, 137, 4037},
    {39, 139, 4039},
    {42, 0, 1},
    {43, 0, 1},
    {44, 144, 4044},
    {52, 2, 250},
};

// Never supported, or without limits: 34 and 35 call themselves ranges and have none.
const uint32_t kWithout[] = {17, 18, 27, 34, 35, 38, 40, 41,   45,
                             46, 47, 48, 49, 50, 51, 53, 1000, 0xFFFFFFFFu};

TEST_F(ParamLimits, OfEachKey)
{
    TracedAndNot([&] {
        for (Zerix_Settings *const settings : Both()) {
            for (const Limits &row : kLimits) {
                SCOPED_TRACE(row.key);
                const bool isKnown = IsCurrent(settings) || row.key < 47;
                uint32_t value = 77;
                EXPECT_EQ(Zerix_GetParamMin(settings, row.key, &value), isKnown ? 0u : 1u);
                EXPECT_EQ(value, isKnown ? row.minimum : 77);
                value = 77;
                EXPECT_EQ(Zerix_GetParamMax(settings, row.key, &value), isKnown ? 0u : 1u);
                EXPECT_EQ(value, isKnown ? row.maximum : 77);
            }
            for (const uint32_t key : kWithout) {
                SCOPED_TRACE(key);
                uint32_t value = 77;
                EXPECT_EQ(Zerix_GetParamMin(settings, key, &value), 1u);
                EXPECT_EQ(Zerix_GetParamMax(settings, key, &value), 1u);
                EXPECT_EQ(value, 77u);
            }
        }
        EXPECT_EQ(std::size(kLimits) + std::size(kWithout) - 3, 53u);
    });
}

TEST_F(ParamLimits, OfTheWiderKeys)
{
    constexpr int32_t kSigned[3][2] = {{-20, 30'000'000}, {-21, 4021}, {-40, 10}};
    constexpr uint64_t kWide[4][2] = {{102'999, 4'002'999},
                                      {102'999, 4'002'999},
                                      {102'999, 4'002'999},
                                      {0x100000001u, 0x200000002u}};
    for (Zerix_Settings *const settings : Both()) {
        for (uint32_t key = 0; key < 3; ++key) {
            int32_t value = 77;
            EXPECT_EQ(Zerix_GetParamS32Min(settings, key, &value), 0u);
            EXPECT_EQ(value, kSigned[key][0]) << key;
            EXPECT_EQ(Zerix_GetParamS32Max(settings, key, &value), 0u);
            EXPECT_EQ(value, kSigned[key][1]) << key;
        }
        for (uint32_t key = 0; key < 4; ++key) {
            uint64_t value = 77;
            EXPECT_EQ(Zerix_GetParam64Min(settings, key, &value), 0u);
            EXPECT_EQ(value, kWide[key][0]) << key;
            EXPECT_EQ(Zerix_GetParam64Max(settings, key, &value), 0u);
            EXPECT_EQ(value, kWide[key][1]) << key;
        }
        int32_t valueS32 = 77;
        EXPECT_EQ(Zerix_GetParamS32Min(settings, 3, &valueS32), 1u);
        EXPECT_EQ(Zerix_GetParamS32Max(settings, 3, &valueS32), 1u);
        EXPECT_EQ(valueS32, 77);
        uint64_t value64 = 77;
        EXPECT_EQ(Zerix_GetParam64Min(settings, 4, &value64), 1u);
        EXPECT_EQ(Zerix_GetParam64Max(settings, 4, &value64), 1u);
        EXPECT_EQ(value64, 77u);
    }
}

TEST_F(ParamLimits, AreRefusedForWhatTheCameraLacks)
{
    TracedAndNot([&] {
        SetEveryCapability(*camera, false);
        for (const Limits &row : kLimits) {
            uint32_t value = 77;
            const uint32_t supported = Zerix_IsParamSupported(HandleOf(*camera), row.key);
            EXPECT_EQ(Zerix_GetParamMin(&current, row.key, &value), supported) << row.key;
            EXPECT_EQ(Zerix_GetParamMax(&current, row.key, &value), supported) << row.key;
        }
        int32_t valueS32 = 77;
        EXPECT_EQ(Zerix_GetParamS32Min(&current, 2, &valueS32), 1u);
        uint64_t value64 = 77;
        EXPECT_EQ(Zerix_GetParam64Max(&current, 1, &value64), 1u);
        EXPECT_EQ(Zerix_GetParam64Max(&current, 3, &value64), 1u);
    });
}

TEST_F(ParamLimits, InMicrosecondsAreNeverZeroAndEndAtAllOnes)
{
    camera->getMinExposure = 0;
    camera->getMaxExposure = 5'000'000'000'000'000;
    for (const uint32_t key : {2u, 10u, 11u}) {
        uint32_t value = 0;
        EXPECT_EQ(Zerix_GetParamMin(&current, key, &value), 0u);
        EXPECT_EQ(value, 1u);
        EXPECT_EQ(Zerix_GetParamMax(&current, key, &value), 0u);
        EXPECT_EQ(value, 0xFFFFFFFFu);
    }
}

// The post-processing format has its list alone: 3 is the last for a sensor without colour.
TEST_F(ParamLimits, OfAListAreItsEnds)
{
    TracedAndNot([&] {
        camera->isRGBFilterSupported = false;
        uint32_t value = 0;
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmPostProcessImageFormat, &value), 0u);
        EXPECT_EQ(value, 3u);
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmImageFormat, &value), 0u);
        EXPECT_EQ(value, 5u);
    });
}

// As far as there is room for 100 entries.
TEST_F(ParamLimits, OfALongListEndAtItsHundredthEntry)
{
    TracedAndNot([&] {
        camera->getSymmetricalBinningModes.resize(101);
        std::iota(camera->getSymmetricalBinningModes.begin(),
                  camera->getSymmetricalBinningModes.end(), uint16_t{1});
        uint32_t value = 0;
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmBinning, &value), 0u);
        EXPECT_EQ(value, 100u);
        EXPECT_EQ(Zerix_GetParamMin(&current, zprmBinning, &value), 0u);
        EXPECT_EQ(value, 1u);
    });
}

TEST_F(ParamLimits, OfAnEmptyListAreNone)
{
    TracedAndNot([&] {
        camera->getSymmetricalBinningModes.clear();
        camera->getReadoutFrequencyModes.clear();
        camera->getSyncBModes.clear();
        uint32_t value = 77;
        EXPECT_EQ(Zerix_GetParamMin(&current, zprmBinning, &value), 1u);
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmBinning, &value), 1u);
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmReadoutSpeed, &value), 1u);
        EXPECT_EQ(Zerix_GetParamMin(&current, zprmSyncb, &value), 1u);
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmSyncb, &value), 1u);
        EXPECT_EQ(value, 77u);
    });
}

TEST_F(ParamLimits, OfTheReadoutEndAtTheIndexOfTheFirstFrequency)
{
    for (const auto &[megahertz, index] : {std::pair{2.5f, 3u},
                                           {5.0f, 2u},
                                           {10.0f, 1u},
                                           {20.0f, 0u},
                                           {30.0f, 8u},
                                           {40.0f, 7u},
                                           {24.0f, 9u}}) {
        camera->getReadoutFrequencyModes = {megahertz, 20.0f};
        uint32_t value = 77;
        EXPECT_EQ(Zerix_GetParamMax(&current, zprmReadoutSpeed, &value), 0u);
        EXPECT_EQ(value, index);
    }
}

TEST_F(ParamLimits, AskForTheClassInTheLog)
{
    ShowNestedCalls();
    uint32_t value = 0;
    Zerix_GetParamMax(&current, zprmGain, &value);
    EXPECT_EQ(Take(), (Lines{
                          "Zerix_GetParamMax start (zprmGain)",
                          "Zerix_IsParamSupported start (zprmGain)",
                          "Zerix_IsParamSupported end (error code 0)\n",
                          "Zerix_IsSparseTable start (zprmGain)",
                          "Zerix_IsParamSupported start (zprmGain)",
                          "Zerix_IsParamSupported end (error code 0)\n",
                          "Zerix_IsSparseTable ending because the function is not supported for "
                          "this device. (error 1)",
                          "Gain: 4000",
                          "Zerix_GetParamMax end (error code 0)\n\n",
                      }));
    uint64_t value64 = 0;
    Zerix_GetParam64Min(&current, 0, &value64);
    EXPECT_EQ(Take(), (Lines{
                          "Zerix_GetParam64Min start (zprm64Exposure)",
                          "Zerix_IsParam64Supported start (zprm64Exposure)",
                          "Zerix_IsParam64Supported end (error code 0)\n",
                          "Exposure (64-bit): 102999 ns (0.1 ms)",
                          "Zerix_GetParam64Min end (error code 0)\n\n",
                      }));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
