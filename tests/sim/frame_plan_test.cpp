// What the control words of a camera mean for its frames.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "sim/camera_traits.h"
#include "sim/frame_plan.h"

namespace zerix::sim {
namespace {

// 43 control words of a camera with a region of 64 x 48, and more for the test.
struct Word {
    uint32_t offset;
    uint32_t value;
};

FramePlan Plan(const CameraDescription &camera, std::initializer_list<Word> more)
{
    std::vector<uint32_t> words(43);
    words[0x0C / 4] = 64u << 16 | 48u;
    for (const Word &word : more)
        words[word.offset / 4] = word.value;
    return PlanFrame(camera, *FindSensorType(camera.ccdModel), words, 0);
}

// The register holds how far the gain is below the most, 3200; 2048 counts are a hundredfold.
TEST(FramePlan, TheMultiplicationRegisterRunsDownwards)
{
    const CameraDescription camera{.model = 25, .ccdModel = 78};
    const struct {
        uint32_t word;
        double factor;
    } kGains[] = {
        {3200, 1.0}, {3200 - 1024, 10.0}, {3200 - 2048, 100.0}, {0, 1333.5214}, {9999, 1}};
    for (const auto &gain : kGains)
        EXPECT_NEAR(Plan(camera, {{0x60, gain.word}}).exposure.electronMultiplication, gain.factor,
                    1e-4)
            << gain.word;
}

TEST(FramePlan, OnlyMultiplyingSensorsAndLongEnoughBlocksMultiply)
{
    EXPECT_EQ(Plan({.model = 18, .ccdModel = 6}, {{0x60, 0}}).exposure.electronMultiplication, 1.0);
    std::vector<uint32_t> words(24); // control 2.5 ends before the register
    EXPECT_EQ(PlanFrame({.model = 25, .ccdModel = 78}, *FindSensorType(78), words, 0)
                  .exposure.electronMultiplication,
              1.0);
}

TEST(FramePlan, ARackCanTurnNoiseOff)
{
    EXPECT_TRUE(Plan({.model = 18, .ccdModel = 6}, {}).exposure.noise);
    EXPECT_FALSE(Plan({.model = 18, .ccdModel = 6, .noise = false}, {}).exposure.noise);
}

// 33.5092631 dB at 0, a factor of 10^(33.5092631 / 20) = 47.366, and 0.015765398 dB a count: 20 dB,
// a factor of 10, are 1268.6 counts.
TEST(FramePlan, TheIntensifierGainIsInDecibelsAndBeginsFarAboveNone)
{
    const CameraDescription camera{.model = 9, .ccdModel = 6};
    EXPECT_NEAR(Plan(camera, {}).exposure.intensification, 47.3656, 1e-3);
    EXPECT_NEAR(Plan(camera, {{0x48, 1269u << 4}}).exposure.intensification, 473.999, 1e-2);
    EXPECT_NEAR(Plan(camera, {{0x48, 4095u << 4}}).exposure.intensification, 80062.4, 1);
    EXPECT_EQ(Plan({.model = 18, .ccdModel = 6}, {{0x48, 4095u << 4}}).exposure.intensification,
              1.0);
}

TEST(FramePlan, MetrolBinsItsColumnsAndRowsApart)
{
    const CameraDescription camera{.model = 1002, .ccdModel = 6};
    const FramePlan plan =
        Plan(camera, {{0x08, 2u << 16 | 63u << 8}, {0x0C, 1392u << 16 | 1040u}, {0x04, 0}});
    EXPECT_EQ(plan.exposure.horizontalBinning, 3U);
    EXPECT_EQ(plan.exposure.verticalBinning, 64U);
    EXPECT_EQ(plan.exposure.width, 464U);
    EXPECT_EQ(plan.exposure.height, 16U);
    EXPECT_EQ(plan.layout.lineBytes, 928U); // words, whatever the depth code
}

// Its register counts from the far corner of the 1392 columns and 1040 rows, whatever the binning:
// 1392 - 10 - 64 and 1040 - 20 - 48. The plan counts from the far corner, in binned pixels.
TEST(FramePlan, OnlyAnAstrelE1IsToldItsPlaceFromTheFarCorner)
{
    const CameraDescription camera{.model = 15, .ccdModel = 6, .streamingVersion = 2};
    const struct {
        uint32_t code, columns, rows;
    } kBinnings[] = {{0, 1392, 1040}, {1, 696, 520}, {2, 174, 130}, {3, 348, 260}};
    for (const auto &binning : kBinnings) {
        SCOPED_TRACE(binning.code);
        const Word code = {0x08, binning.code};
        const auto turned = Plan(camera, {code, {0x10, 1318u << 16 | 972u}}).exposure;
        EXPECT_EQ(turned.x, binning.columns - 10 - 64);
        EXPECT_EQ(turned.y, binning.rows - 20 - 48);
        // Beyond the binned sensor is its far corner, as after a change of the binning.
        const auto farCorner = Plan(camera, {code, {0x10, 0}}).exposure;
        EXPECT_EQ(farCorner.x, 0U);
        EXPECT_EQ(farCorner.y, 0U);
        // Beyond the sensor is its near one.
        const auto nearCorner = Plan(camera, {code, {0x10, 4095u << 16 | 4095u}}).exposure;
        EXPECT_EQ(nearCorner.x, binning.columns - 64);
        EXPECT_EQ(nearCorner.y, binning.rows - 48);
        const auto other = Plan({.model = 18, .ccdModel = 6, .streamingVersion = 2},
                                {code, {0x10, 10u << 16 | 20u}})
                               .exposure;
        EXPECT_EQ(other.x, binning.columns - 10 - 64);
        EXPECT_EQ(other.y, binning.rows - 20 - 48);
    }
}

// At red, where cameras come up, it is out of the light. Its frames are plain ones, exposed for the
// camera's own time.
TEST(FramePlan, AWheelThatStandsStillLetsGreenOrBlueThrough)
{
    const struct {
        uint32_t start;
        uint8_t filter;
    } kPlaces[] = {{0, 0xFF}, {1, 1}, {2, 0xFF}, {3, 3}};
    for (const auto &place : kPlaces) {
        const FramePlan plan = Plan({.model = 18, .ccdModel = 6}, {{0x30, 0x10 | place.start << 8},
                                                                   {0x3C, 1'000'000},
                                                                   {0x40, 2'000'000},
                                                                   {0x44, 4'000'000}});
        EXPECT_EQ(plan.exposure.filterColour, place.filter) << place.start;
        EXPECT_EQ(plan.exposure.exposureNanoseconds, 1'000'000u) << place.start;
        EXPECT_EQ(plan.layout.colourCode, 0) << place.start;
        EXPECT_EQ(plan.leadNanoseconds, 0u) << place.start;
    }
}

TEST(FramePlan, ColourSensorsAndTwoModelsHaveNoWheel)
{
    const auto colourOf = [](uint32_t modelNumber, uint16_t ccdModel) {
        return Plan({.model = modelNumber, .ccdModel = ccdModel}, {{0x30, 0x11}})
            .exposure.filterColour;
    };
    EXPECT_EQ(colourOf(18, 6), 0);
    EXPECT_EQ(colourOf(11, 6), 0);
    EXPECT_EQ(colourOf(18, 7), 0xFF);
    EXPECT_EQ(colourOf(10, 13), 0xFF); // Sparrow IR
    EXPECT_EQ(colourOf(14, 6), 0xFF);  // NoctisA1
    EXPECT_EQ(Plan({.model = 18, .ccdModel = 6}, {{0x30, 0x10}}).exposure.filterColour, 0xFF);
}

TEST(FramePlan, TheThirdBinningCodeIsEightOnNewerCameras)
{
    for (const auto &[version, factor] :
         {std::pair{BlockVersion{2, 2}, 8U}, {BlockVersion{2, 1}, 3U}, {BlockVersion{1, 2}, 3U}}) {
        const CameraDescription camera{.model = 18, .ccdModel = 6, .information = version};
        const FramePlan plan = Plan(camera, {{0x08, 2}, {0x0C, 4095u << 16 | 4095u}});
        EXPECT_EQ(plan.exposure.horizontalBinning, factor);
        EXPECT_EQ(plan.exposure.verticalBinning, factor);
        EXPECT_EQ(plan.exposure.width, 1392 / factor);
        EXPECT_EQ(plan.exposure.height, 1040 / factor);
    }
}

TEST(FramePlan, ABinnedColourSensorHasNoMosaicToTell)
{
    const CameraDescription camera{.model = 19, .ccdModel = 53};
    EXPECT_EQ(Plan(camera, {}).layout.colourCode, 6);
    for (const uint32_t code : {1U, 2U, 3U})
        EXPECT_EQ(Plan(camera, {{0x08, code}}).layout.colourCode, 0) << code;
}

TEST(FramePlan, TheTriggerDelayComesBeforeATriggeredExposure)
{
    const CameraDescription camera{.model = 18, .ccdModel = 6};
    EXPECT_EQ(Plan(camera, {{0x2C, 0}, {0x4C, 70000}}).leadNanoseconds, 0U);
    for (const uint32_t code : {1U, 2U, 3U, 4U, 5U})
        EXPECT_EQ(Plan(camera, {{0x2C, code}, {0x4C, 70000}}).leadNanoseconds, 70000U) << code;
}

TEST(FramePlan, ExposuresAreMicrosecondsInTheFirstControlBlock)
{
    const CameraDescription old{.model = 12, .ccdModel = 6, .control = {1, 2}};
    EXPECT_EQ(Plan(old, {{0x18, 5}, {0x3C, 9}}).exposure.exposureNanoseconds, 5000U);
    const CameraDescription newer{.model = 12, .ccdModel = 6, .control = {2, 1}};
    EXPECT_EQ(Plan(newer, {{0x18, 5}, {0x3C, 9}}).exposure.exposureNanoseconds, 21474836489U);
}

// Codes 0 to 7; what a camera doesn't know is 10 MHz.
TEST(FramePlan, ReadoutRatesAreTheirCodes)
{
    const CameraDescription camera{.model = 18, .ccdModel = 6};
    constexpr float kRates[] = {20, 10, 5, 2.5F, 25, 30, 35, 40, 10, 10, 10, 10, 10, 10, 10, 10};
    for (uint32_t code = 0; code < 16; ++code)
        EXPECT_EQ(Plan(camera, {{0x04, code << 8}}).exposure.megahertz, kRates[code]) << code;
}

// The gain curves in decibels, relative to the default of 600 counts.
TEST(CameraTraits, BoardsOfTheFirstKindHaveABentGain)
{
    const CameraDescription straight{.model = 18};
    EXPECT_NEAR(GainDecibels(straight, 4095), 3495 * 34.1516 / 4096, 1e-9);
    EXPECT_EQ(GainDecibels(straight, 600), 0.0);
    const CameraDescription bent{.model = 12, .firmwareVersion = 99};
    EXPECT_EQ(GainDecibels(bent, 600), 0.0);
    const double base = 100 * 0.007517812 + 0.003759;
    EXPECT_NEAR(GainDecibels(bent, 500), 500 * 7.518e-06 - base, 1e-12);
    EXPECT_NEAR(GainDecibels(bent, 3500), 3000 * 0.007517812 + 0.003759 - base, 1e-12);
    EXPECT_NEAR(GainDecibels(bent, 4000), 500 * 0.016678944 + 22.557195 - base, 1e-12);
    EXPECT_NEAR(GainDecibels(bent, 4095), 95 * 7.518e-06 + 30.896667 - base, 1e-12);
    for (const uint32_t model : {8U, 1001U})
        EXPECT_TRUE(HasPiecewiseGain({.model = model, .firmwareVersion = 200}));
    for (const uint32_t model : {5U, 7U, 12U, 13U, 14U}) {
        EXPECT_TRUE(HasPiecewiseGain({.model = model, .firmwareVersion = 99}));
        EXPECT_FALSE(HasPiecewiseGain({.model = model, .firmwareVersion = 100}));
    }
    EXPECT_TRUE(HasPiecewiseGain({.model = 6, .firmwareVersion = 5}));
    EXPECT_FALSE(HasPiecewiseGain({.model = 6, .firmwareVersion = 6}));
}

} // namespace
} // namespace zerix::sim
