// The arithmetic of the intensifier's gain.
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "camera/models/intensifier_gain.h"

namespace zerix::test {
namespace {

using ZX::ZIntensifierGain;

TEST(IntensifierGain, BeginsWithTheInstrumentsCalibration)
{
    const ZIntensifierGain gain;
    EXPECT_EQ(gain.significantFigures, 3u);
    EXPECT_EQ(gain.gainDbStep, 20000u);
    EXPECT_EQ(gain.dacMin, 0u);
    EXPECT_EQ(gain.dacMax, 0xFFFu);
    EXPECT_EQ(gain.dbPerCount, 0.015765398);
    EXPECT_EQ(gain.dbAtZero, 33.5092631);
}

TEST(IntensifierGain, TakesARangeThatGrows)
{
    ZIntensifierGain gain;
    EXPECT_TRUE(gain.SetDacRange(100, 200));
    EXPECT_FALSE(gain.SetDacRange(7, 7));
    EXPECT_FALSE(gain.SetDacRange(8, 7));
    EXPECT_EQ(gain.dacMin, 100u);
    EXPECT_EQ(gain.dacMax, 200u);
}

TEST(IntensifierGain, IsLinearInDecibels)
{
    const ZIntensifierGain gain;
    EXPECT_EQ(gain.DacToDb(0), 33'509'263u);
    EXPECT_EQ(gain.DacToDb(412), 40'004'607u);
    EXPECT_EQ(gain.DacToDb(4095), 98'068'567u);
    EXPECT_EQ(gain.DbToDac(40'000'000), 412u); // 411.7 counts
    EXPECT_EQ(gain.DbToDac(33'509'263), 0u);
    EXPECT_EQ(gain.DbToDac(33'517'145), 0u); // 0.49996 counts
    EXPECT_EQ(gain.DbToDac(33'517'146), 1u); // 0.50003 counts
    EXPECT_EQ(gain.DbToDac(0), 0u);
    for (uint32_t dac = 0; dac <= 4095; ++dac)
        EXPECT_EQ(gain.DbToDac(gain.DacToDb(dac)), dac);
}

TEST(IntensifierGain, KeepsThreeFigures)
{
    struct Row {
        uint64_t value, rounded;
    };
    const ZIntensifierGain gain;
    for (const Row &row : std::vector<Row>{{0, 0},
                                           {1, 1},
                                           {999, 999},
                                           {1000, 1000},
                                           {1004, 1000},
                                           {1005, 1010},
                                           {9994, 9990},
                                           {9995, 10000},
                                           {123456, 123000},
                                           {123499, 123000},
                                           {123500, 124000},
                                           {80'062'345'678, 80'100'000'000},
                                           {8'765'432'109'876, 8'770'000'000'000}})
        EXPECT_EQ(gain.RoundToSignificantFigures(row.value), row.rounded) << row.value;
}

TEST(IntensifierGain, KeepsTheFiguresItIsTold)
{
    ZIntensifierGain gain;
    gain.significantFigures = 5;
    EXPECT_EQ(gain.RoundToSignificantFigures(99999), 99999u);
    EXPECT_EQ(gain.RoundToSignificantFigures(1234567), 1234600u);
}

TEST(IntensifierGain, RoundsTheBiggestValueToABigOne)
{
    const ZIntensifierGain gain;
    EXPECT_GT(gain.RoundToSignificantFigures(std::numeric_limits<uint64_t>::max()),
              18'000'000'000'000'000'000u);
}

TEST(IntensifierGain, ComputesItsRange)
{
    ZIntensifierGain gain;
    gain.SetDbStep(2000);
    gain.significantFigures = 7;
    gain.Setup();
    EXPECT_EQ(gain.significantFigures, 3u);
    EXPECT_EQ(gain.gainDbMin, 33'509'263u);
    EXPECT_EQ(gain.gainDbMax, 98'068'567u);
    EXPECT_EQ(gain.gainDbRoundedMin, 33'510'000u);
    EXPECT_EQ(gain.gainDbRoundedMax, 98'068'000u);
    EXPECT_EQ(gain.normalizedMin, 47'400'000u);     // 47.366 times
    EXPECT_EQ(gain.normalizedMax, 80'000'000'000u); // 80062 times, which rounds up beyond
}

TEST(IntensifierGain, ComputesTheRangeOfPartOfTheCounts)
{
    ZIntensifierGain gain;
    ASSERT_TRUE(gain.SetDacRange(100, 200));
    gain.Setup();
    EXPECT_EQ(gain.gainDbMin, 35'085'802u);
    EXPECT_EQ(gain.gainDbMax, 36'662'342u);
    EXPECT_EQ(gain.gainDbRoundedMin, 35'100'000u); // the step is still 20000
    EXPECT_EQ(gain.gainDbRoundedMax, 36'660'000u);
    EXPECT_EQ(gain.normalizedMin, 56'800'000u);
    EXPECT_EQ(gain.normalizedMax, 68'000'000u); // 68.095 times rounds up beyond
    ASSERT_TRUE(gain.SetDacRange(2, 3));
    gain.Setup();
    EXPECT_EQ(gain.normalizedMin, 47'600'000u); // 47.538 times rounds down beyond
}

TEST(IntensifierGain, TakesAnyStep)
{
    ZIntensifierGain gain;
    gain.SetDbStep(0);
    gain.Setup();
    EXPECT_EQ(gain.gainDbRoundedMin, 33'509'263u);
    EXPECT_EQ(gain.gainDbRoundedMax, 98'068'567u);
    gain.SetDbStep(1);
    gain.Setup();
    EXPECT_EQ(gain.gainDbRoundedMin, 33'509'263u);
}

// All values of three figures from 10 to 1,000,000 times.
std::vector<uint64_t> ThreeFigures()
{
    std::vector<uint64_t> values;
    for (uint64_t unit = 100'000; unit <= 1'000'000'000; unit *= 10)
        for (uint64_t figures = 100; figures <= 999; ++figures)
            values.push_back(figures * unit);
    return values;
}

uint32_t Microdecibels(uint64_t value)
{
    return static_cast<uint32_t>(std::log10(static_cast<double>(value) / 1e6) * 20 * 1e6);
}

TEST(IntensifierGain, HasTheLastThreeFiguresInsideItsRangeAsLimits)
{
    const std::vector<uint64_t> values = ThreeFigures();
    for (uint32_t low = 0; low < 2700; low += 13) {
        ZIntensifierGain gain;
        ASSERT_TRUE(gain.SetDacRange(low, 4095 - low / 2));
        gain.Setup();
        uint64_t lowest = 0;
        uint64_t highest = 0;
        for (const uint64_t value : values) {
            if (lowest == 0 && Microdecibels(value) >= gain.gainDbMin)
                lowest = value;
            if (Microdecibels(value) <= gain.gainDbMax)
                highest = value;
        }
        EXPECT_EQ(gain.normalizedMin, lowest) << low;
        EXPECT_EQ(gain.normalizedMax, highest) << low;
    }
}

TEST(IntensifierGain, RoundsAndClampsWhatItConverts)
{
    struct Row {
        uint64_t value, used;
        uint32_t microdecibels;
    };
    ZIntensifierGain gain;
    gain.Setup();
    for (const Row &row :
         std::vector<Row>{{100'000'000, 100'000'000, 40'000'000},
                          {100'499'999, 100'000'000, 40'000'000},
                          {123'456'789, 123'000'000, 41'798'102},
                          {0, 47'400'000, 33'515'566},
                          {1'000'000'000'000, 80'000'000'000, 98'061'799},
                          {std::numeric_limits<uint64_t>::max(), 80'000'000'000, 98'061'799}}) {
        uint64_t value = row.value;
        EXPECT_EQ(gain.NormalizedToDb(value), row.microdecibels) << row.value;
        EXPECT_EQ(value, row.used) << row.value;
    }
}

// No camera tells such a range; it must end all the same.
TEST(IntensifierGain, EndsForARangeBeyondAllGains)
{
    ZIntensifierGain gain;
    ASSERT_TRUE(gain.SetDacRange(0xFFFFFFFE, 0xFFFFFFFF));
    gain.Setup();
    EXPECT_EQ(gain.gainDbMax, 0xFFFFFFFFu);
    EXPECT_EQ(gain.normalizedMin, std::numeric_limits<uint64_t>::max());
}

} // namespace
} // namespace zerix::test
