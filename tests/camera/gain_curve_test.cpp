// The scales of the analogue gain. The expected values come from the lines' equations, worked with
// a calculator's double precision.
#include "camera/gain_curve.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace zerix::gain {
namespace {

GainRecord Piecewise(uint32_t gainDefault)
{
    return {.curveType = 1,
            .dynamicRangedB = 30.8929,
            .significantFigures = 3,
            .resolution = 10000,
            .normGainMax = 35000000,
            .normGainMin = 1000,
            .dBMax = 30890000,
            .dBMin = -30890000,
            .gainFlag = false,
            .gainMax = 4095,
            .gainMin = 0,
            .gainDACRange = 4096,
            .gainDefault = gainDefault,
            .recordValid = 1};
}

GainRecord LinearIndB(uint32_t gainDefault)
{
    GainRecord record = Piecewise(gainDefault);
    record.curveType = 2;
    record.dynamicRangedB = 34.1516;
    return record;
}

GainRecord Ratio(uint32_t gainDefault)
{
    GainRecord record = Piecewise(gainDefault);
    record.curveType = 3;
    return record;
}

struct Point {
    uint32_t counts;
    int32_t microdecibels;
};

void ExpectdB(const GainRecord &record, const std::vector<Point> &points)
{
    for (const auto &point : points)
        EXPECT_EQ(GainTodB(record, point.counts), point.microdecibels) << point.counts << " counts";
}

void ExpectCounts(const GainRecord &record, const std::vector<Point> &points)
{
    for (const auto &point : points)
        EXPECT_EQ(dBToGain(record, point.microdecibels), point.counts)
            << point.microdecibels << " microdecibels";
}

// Counts to decibels
// -------------------------------------------------------------------------------

TEST(GainCurve, PiecewiseHasFourLinesAndATop)
{
    ExpectdB(Piecewise(0), {{0, 0},
                            {1, 7},
                            {500, 3758},
                            {501, 11276},
                            {1000, 3762664},
                            {3500, 22557194},
                            {3501, 22573873},
                            {4000, 30896667},
                            {4001, 30896674},
                            {4095, 30897381},
                            {4096, 30897381},
                            {9999, 30897381}});
}

TEST(GainCurve, PiecewiseIsRelativeToTheDefaultAndCutTowardsZero)
{
    ExpectdB(Piecewise(500), {{0, -3758}, {1, -3751}, {500, 0}, {501, 7517}, {4095, 30893622}});
    ExpectdB(Piecewise(1000), {{0, -3762664},
                               {500, -3758905},
                               {501, -3751388},
                               {1000, 0},
                               {3500, 18794530},
                               {4000, 27134002},
                               {4095, 27134716}});
}

TEST(GainCurve, ADefaultBeyondTheRegisterCountsAsTheLowKnee)
{
    ExpectdB(Piecewise(4096), {{0, -3759}, {500, 0}, {4095, 30893622}, {4096, 30893622}});
    EXPECT_EQ(dBToGain(Piecewise(4096), 0), 500u);
}

TEST(GainCurve, LinearInDecibelsSpreadsTheRangeOverTheConverter)
{
    ExpectdB(LinearIndB(1000), {{0, -8337792},
                                {999, -8337},
                                {1000, 0},
                                {1001, 8337},
                                {4095, 25805469},
                                {4096, 25813807},
                                {5000, 33351171}});
}

TEST(GainCurve, ARatioHasNoDecibelsOfItsOwn)
{
    EXPECT_EQ(GainTodB(Ratio(200), 100), std::nullopt);
    EXPECT_EQ(dBToGain(Ratio(200), 100), std::nullopt);
    GainRecord unset{};
    EXPECT_EQ(GainTodB(unset, 100), std::nullopt);
    EXPECT_EQ(dBToGain(unset, 100), std::nullopt);
}

// Decibels to counts
// -------------------------------------------------------------------------------

TEST(GainCurve, PiecewiseInverseHasTheSameKnees)
{
    ExpectCounts(Piecewise(0), {{0, 0},
                                {1, 7},
                                {500, 3758},
                                {500, 3759},
                                {500, 3760},
                                {501, 11276},
                                {3500, 22557195},
                                {3500, 22557196},
                                {3501, 22573873},
                                {4000, 30896667},
                                {4000, 30896668},
                                {4001, 30896674},
                                {4095, 30897381},
                                {4095, 30897382},
                                {4095, 40000000},
                                {0, -1000000}});
}

TEST(GainCurve, EveryCountOfThePiecewiseCurveComesBack)
{
    for (const uint32_t gainDefault : {0u, 312u, 500u, 1000u, 3600u, 4095u})
        for (uint32_t counts = 0; counts <= 4095; ++counts)
            ASSERT_EQ(dBToGain(Piecewise(gainDefault), *GainTodB(Piecewise(gainDefault), counts)),
                      counts)
                << "default " << gainDefault;
}

TEST(GainCurve, LinearInverseIsNotLimitedAbove)
{
    ExpectCounts(LinearIndB(1000), {{0, -8337793},
                                    {0, -20000000},
                                    {1000, 0},
                                    {1001, 8337},
                                    {1001, 8338},
                                    {4094, 25800000},
                                    {4095, 25805868},
                                    {5797, 40000000}});
}

TEST(GainCurve, AConverterWithoutARangeGivesNumbers)
{
    GainRecord record = LinearIndB(1000);
    record.gainDACRange = 0;
    record.dynamicRangedB = 0;
    EXPECT_TRUE(GainTodB(record, 100).has_value());
    EXPECT_TRUE(dBToGain(record, 100).has_value());
}

// Factors
// ------------------------------------------------------------------------------------------

TEST(GainCurve, TheStepKeepsOneFigureLessThanTheSizeHas)
{
    struct Row {
        uint32_t normGain, step;
    };
    for (const Row &row : std::vector<Row>{{0, 1},
                                           {1, 1},
                                           {999, 1},
                                           {1000, 10},
                                           {9999, 10},
                                           {10000, 100},
                                           {999999, 1000},
                                           {1000000, 10000},
                                           {10000000, 100000},
                                           {4294967295u, 10000000}})
        EXPECT_EQ(SignificantStep(row.normGain, 3), row.step) << row.normGain;
    EXPECT_EQ(SignificantStep(123456, 6), 1u);
    EXPECT_EQ(SignificantStep(123456, 5), 10u);
    EXPECT_EQ(SignificantStep(4294967295u, 0), 1u); // 10 to the tenth has no room
}

TEST(GainCurve, AFactorIsRoundedClampedAndGivenBack)
{
    struct Row {
        uint32_t asked, kept;
        int32_t microdecibels;
    };
    const GainRecord record = Piecewise(0);
    for (const Row &row : std::vector<Row>{{1000000, 1000000, 0},
                                           {1004999, 1000000, 0},
                                           {1005000, 1010000, 86427},
                                           {500000, 500000, -6020599},
                                           {2000000, 2000000, 6020599},
                                           {10000000, 10000000, 20000000},
                                           {1000, 1000, -60000000},
                                           {10, 1000, -60000000},
                                           {0, 1000, -60000000},
                                           {40000000, 35000000, 30881360},
                                           {4294967295u, 35000000, 30881360}}) {
        uint32_t normGain = row.asked;
        EXPECT_EQ(normGainTodB(record, normGain), row.microdecibels) << row.asked;
        EXPECT_EQ(normGain, row.kept) << row.asked;
    }
}

TEST(GainCurve, FactorsBelowAThousandthCountAsOne)
{
    GainRecord record = Piecewise(0);
    record.normGainMin = 0;
    uint32_t normGain = 10;
    EXPECT_EQ(normGainTodB(record, normGain), -60000000);
    EXPECT_EQ(normGain, 10u);
}

TEST(GainCurve, DecibelsBecomeARoundedFactor)
{
    const GainRecord record = Piecewise(0);
    EXPECT_EQ(dBToNormGain(record, 0), 1000000u);
    EXPECT_EQ(dBToNormGain(record, 10000), 1000000u);
    EXPECT_EQ(dBToNormGain(record, 50000), 1010000u);
    EXPECT_EQ(dBToNormGain(record, -6000000), 501000u);
    EXPECT_EQ(dBToNormGain(record, 6020600), 2000000u);
    EXPECT_EQ(dBToNormGain(record, 20000000), 10000000u);
    EXPECT_EQ(dBToNormGain(record, 50000000), 35000000u);
    EXPECT_EQ(dBToNormGain(record, 2147483647), 35000000u);
    EXPECT_EQ(dBToNormGain(record, -2147483647 - 1), 1000u);
}

// Rounding
// -----------------------------------------------------------------------------------------

TEST(GainCurve, DecibelsRoundToTheResolutionAwayFromZero)
{
    const GainRecord record = Piecewise(0);
    struct Row {
        int32_t asked, rounded;
    };
    for (const Row &row : std::vector<Row>{{0, 0},
                                           {4999, 0},
                                           {5000, 10000},
                                           {14999, 10000},
                                           {15000, 20000},
                                           {-4999, 0},
                                           {-5000, -10000},
                                           {-14999, -10000},
                                           {-15000, -20000},
                                           {30890001, 30890000},
                                           {2147483647, 30890000},
                                           {-2147483647 - 1, -30890000}})
        EXPECT_EQ(RoundNormGaindB(record, row.asked), row.rounded) << row.asked;
}

TEST(GainCurve, WithoutAResolutionDecibelsAreOnlyClamped)
{
    GainRecord record = Piecewise(0);
    record.resolution = 0;
    EXPECT_EQ(RoundNormGaindB(record, 123), 123);
    EXPECT_EQ(RoundNormGaindB(record, 99000000), 30890000);
}

TEST(GainCurve, AResolutionIsWorthFigures)
{
    EXPECT_EQ(SignificantFiguresOf(1), 7u);
    EXPECT_EQ(SignificantFiguresOf(1000), 4u);
    EXPECT_EQ(SignificantFiguresOf(10000), 3u);
    EXPECT_EQ(SignificantFiguresOf(20000), 2u);
    EXPECT_EQ(SignificantFiguresOf(1000000), 1u);
}

// Limits
// -------------------------------------------------------------------------------------------

struct Limits {
    int32_t dBMin, dBMax;
    uint32_t normGainMin, normGainMax;
    bool operator==(const Limits &) const = default;
};

Limits LimitsOf(GainRecord record)
{
    record.significantFigures = 0;
    record.normGainMin = record.normGainMax = 0;
    record.dBMin = record.dBMax = 0;
    EXPECT_TRUE(SetLimits(record));
    EXPECT_EQ(record.significantFigures, 3u);
    return {record.dBMin, record.dBMax, record.normGainMin, record.normGainMax};
}

TEST(GainCurve, LimitsLieInsideTheRegistersRange)
{
    EXPECT_EQ(LimitsOf(Piecewise(0)), (Limits{0, 30890000, 1000000, 35000000}));
    EXPECT_EQ(LimitsOf(Piecewise(1000)), (Limits{-3760000, 27130000, 649000, 22700000}));
    EXPECT_EQ(LimitsOf(LinearIndB(1000)), (Limits{-8330000, 25800000, 384000, 19400000}));
}

TEST(GainCurve, LimitsOfARatioAreItsDecibels)
{
    GainRecord record = Ratio(200);
    record.gainMin = 100;
    record.gainMax = 4000;
    EXPECT_EQ(LimitsOf(record), (Limits{-6020000, 26020000, 501000, 19900000}));
}

TEST(GainCurve, NoFactorInsideTheLimitsLeavesThemInDecibels)
{
    for (uint32_t gainDefault = 1; gainDefault < 4095; gainDefault += 37) {
        GainRecord record = LinearIndB(gainDefault);
        ASSERT_TRUE(SetLimits(record));
        EXPECT_LE(20 * std::log10(record.normGainMax / 1e6) * 1e6, record.dBMax) << gainDefault;
        EXPECT_GT(20 * std::log10(record.normGainMin / 1e6) * 1e6, record.dBMin - 1) << gainDefault;
    }
}

TEST(GainCurve, ARangeThatCannotBeConvertedIsRefused)
{
    GainRecord unset{};
    unset.resolution = 10000;
    EXPECT_FALSE(SetLimits(unset));
    GainRecord record = Ratio(200);
    record.gainMin = 0;
    EXPECT_FALSE(SetLimits(record));
    record.gainMin = 1;
    record.gainMax = 0;
    EXPECT_FALSE(SetLimits(record));
}

TEST(GainCurve, LimitsOfAnAbsurdRangeAreFound)
{
    GainRecord record = Ratio(0);
    record.gainMin = 1;
    EXPECT_TRUE(SetLimits(record));
    record = LinearIndB(1000);
    record.dynamicRangedB = 8796.0;
    EXPECT_TRUE(SetLimits(record));
    record.dynamicRangedB = -8796.0;
    EXPECT_TRUE(SetLimits(record));
}

} // namespace
} // namespace zerix::gain
