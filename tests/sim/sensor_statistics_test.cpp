// What a laboratory measures of a sensor: photon transfer, read noise, dark current,
// multiplication, binning, gain, clipping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/sim/sensor_fixture.h"

namespace zerix::sim {
namespace {

struct Moments {
    double mean;
    double variance;
};

Moments MomentsOf(const std::vector<uint16_t> &pixels)
{
    double sum = 0;
    for (const uint16_t pixel : pixels)
        sum += pixel;
    const double mean = sum / static_cast<double>(pixels.size());
    double squares = 0;
    for (const uint16_t pixel : pixels)
        squares += (pixel - mean) * (pixel - mean);
    return {.mean = mean, .variance = squares / static_cast<double>(pixels.size())};
}

// Of two frames: what is fixed in the picture is in both, and goes.
Moments TemporalMoments(const std::vector<uint16_t> &a, const std::vector<uint16_t> &b)
{
    double sum = 0;
    double squares = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += 0.5 * (a[i] + b[i]);
        squares += 0.5 * (a[i] - b[i]) * (a[i] - b[i]);
    }
    const auto count = static_cast<double>(a.size());
    return {.mean = sum / count, .variance = squares / count};
}

TEST(SensorStatistics, MeanFollowsLightPitchAndEfficiency)
{
    SensorBench bench(kIcx285, "flat:10000");
    const Moments moments = MomentsOf(bench.Frame(InElectrons(20000000)));
    const double expected = ExpectedElectrons(10000, 6.45, 0.62, 0.020);
    EXPECT_NEAR(expected, 4470.88, 0.01);
    EXPECT_NEAR(moments.mean - 200, expected, 0.002 * expected);
}

TEST(SensorStatistics, PhotonTransferSlopeIsTheConversionGain)
{
    SensorBench bench(kIcx285, "flat:10000");
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    constexpr int kLevels = 8;
    for (int level = 1; level <= kLevels; ++level) {
        const ExposureSettings settings{.exposureNanoseconds =
                                            static_cast<uint64_t>(level) * 8000000,
                                        .width = 500,
                                        .height = 400,
                                        .offsetCounts = 50,
                                        .electronsPerCount = 4.5};
        const Moments point =
            TemporalMoments(bench.Frame(settings, 2 * static_cast<uint32_t>(level)),
                            bench.Frame(settings, 2 * static_cast<uint32_t>(level) + 1));
        sumX += point.mean;
        sumY += point.variance;
        sumXX += point.mean * point.mean;
        sumXY += point.mean * point.variance;
    }
    const double slope = (kLevels * sumXY - sumX * sumY) / (kLevels * sumXX - sumX * sumX);
    EXPECT_NEAR(slope, 1 / 4.5, 0.03 / 4.5);
}

TEST(SensorStatistics, VarianceOfManyElectronsIsTheirMean)
{
    SensorBench bench(kIcx285, "flat:10000");
    ExposureSettings settings = InElectrons(80000000);
    settings.width = 1392;
    settings.height = 500;
    const Moments moments = TemporalMoments(bench.Frame(settings, 0), bench.Frame(settings, 1));
    const double electrons = moments.mean - 200;
    EXPECT_NEAR(moments.variance - 81, electrons, 0.01 * electrons);
}

// Around the mean from which on counting gives way to the normal approximation.
TEST(SensorStatistics, VarianceOfFewElectronsIsTheirMean)
{
    SensorBench bench(kIcx285, "flat:100");
    for (const uint64_t milliseconds : {1U, 9U, 10U, 11U, 12U, 20U}) {
        ExposureSettings settings = InElectrons(milliseconds * 1000000);
        settings.megahertz = 2.5F;
        settings.electronsPerCount = 0.05;
        settings.offsetCounts = 2000;
        const Moments moments = MomentsOf(bench.Frame(settings));
        const double expected =
            ExpectedElectrons(100, 6.45, 0.62, static_cast<double>(milliseconds) * 1e-3);
        EXPECT_NEAR((moments.mean - 2000) * 0.05, expected, 0.05) << milliseconds;
        EXPECT_NEAR(moments.variance * 0.0025 - 25, expected, 0.02 * (25 + expected))
            << milliseconds;
    }
}

TEST(SensorStatistics, ReadNoiseGoesByThePixelRate)
{
    SensorBench bench(kIcx285, "flat:0");
    const struct {
        float megahertz;
        double electrons;
    } kRates[] = {{2.5F, 5}, {5, 6},   {10, 7}, {20, 9}, {25, 10.5},
                  {30, 12},  {40, 16}, {1, 5},  {80, 16}};
    for (const auto &rate : kRates) {
        EXPECT_DOUBLE_EQ(ReadNoiseElectrons(rate.megahertz), rate.electrons);
        ExposureSettings settings = InElectrons(0);
        settings.megahertz = rate.megahertz;
        const Moments moments = MomentsOf(bench.Frame(settings));
        EXPECT_NEAR(moments.mean, 200, 0.2);
        EXPECT_NEAR(std::sqrt(moments.variance), rate.electrons, 0.02 * rate.electrons)
            << rate.megahertz;
    }
}

TEST(SensorStatistics, DarkCurrentDoublesInSevenKelvin)
{
    SensorBench bench(kIcx285, "flat:0");
    for (const auto &[celsius, electrons] : {std::pair{20.0, 60.0}, {27.0, 120.0}, {6.0, 15.0}}) {
        ExposureSettings settings = InElectrons(400000000000);
        settings.celsius = celsius;
        std::vector<uint16_t> pixels = bench.Frame(settings);
        EXPECT_NEAR(MomentsOf(pixels).mean - 200, electrons, 0.1 * electrons) << celsius;
        std::nth_element(pixels.begin(), pixels.begin() + 60000, pixels.end());
        EXPECT_NEAR(pixels[60000] - 200, electrons, 0.03 * electrons) << celsius;
    }
    EXPECT_NEAR(DarkElectronsPerSecond(*FindSensorType(kIcx285), -8.0), 0.15 / 16, 1e-9);
}

std::vector<size_t> HotPixels(const std::string &serial)
{
    SensorBench bench(kIcx285, "flat:0", serial);
    ExposureSettings settings = InElectrons(100000000000);
    settings.width = 1392;
    settings.height = 1040;
    settings.noise = false;
    const std::vector<uint16_t> pixels = bench.Frame(settings);
    std::vector<size_t> hot;
    for (size_t i = 0; i < pixels.size(); ++i) {
        if (pixels[i] > 300)
            hot.push_back(i);
    }
    return hot;
}

TEST(SensorStatistics, HotPixelsBelongToTheSerialNumber)
{
    const std::vector<size_t> ofOne = HotPixels("one");
    EXPECT_GT(ofOne.size(), 200U);
    EXPECT_LT(ofOne.size(), 400U);
    EXPECT_EQ(HotPixels("one"), ofOne);
    EXPECT_NE(HotPixels("other"), ofOne);
}

TEST(SensorStatistics, MultiplicationDoublesTheVarianceOfShotNoise)
{
    for (const char *scene : {"flat:20", "flat:300"}) {
        SensorBench bench(kMultiplying, scene);
        ExposureSettings settings = InElectrons(1000000);
        settings.celsius = -60;
        settings.electronMultiplication = 300;
        settings.electronsPerCount = 10;
        const Moments moments = MomentsOf(bench.Frame(settings));
        const double electrons = (moments.mean - 200) / 30;
        const double photons = scene[5] == '2' ? 20 : 300;
        EXPECT_NEAR(electrons, ExpectedElectrons(photons, 16, 0.92, 0.001), 0.01 * electrons)
            << scene;
        const double excess = (moments.variance - 0.81) / (30 * 30) / electrons;
        EXPECT_NEAR(excess, 2.0, 0.06) << scene;
    }
}

// Probability of more charge than so many mean gains, from a Poisson number of electrons of which
// each becomes an exponential pulse.
double ProbabilityAbove(double gains, double electrons)
{
    double all = 0;
    double poisson = std::exp(-electrons);
    for (int count = 1; count < 30; ++count) {
        poisson *= electrons / count;
        double term = std::exp(-gains);
        double above = 0; // of a sum of `count` pulses
        for (int k = 0; k < count; ++k) {
            above += term;
            term *= gains / (k + 1);
        }
        all += poisson * above;
    }
    return all;
}

// Of four frames with 10 electrons a count, which leaves a read noise of 0.9 counts.
double SeenAbove(double gains, uint64_t exposureNanoseconds)
{
    SensorBench bench(kMultiplying, "flat:20");
    ExposureSettings settings = InElectrons(exposureNanoseconds);
    settings.width = 512;
    settings.height = 512;
    settings.celsius = -60;
    settings.electronMultiplication = 20000;
    settings.electronsPerCount = 10;
    double seen = 0;
    for (uint32_t frame = 0; frame < 4; ++frame) {
        for (const uint16_t pixel : bench.Frame(settings, frame))
            seen += pixel > 200 + 2000 * gains ? 1 : 0;
    }
    return seen / (4 * 512 * 512);
}

// 0.3 electrons in a pixel: mostly single ones, whose pulses are often very small.
TEST(SensorStatistics, OneElectronBecomesAnExponentialPulse)
{
    for (const double gains : {0.02, 0.1, 1.0, 2.0, 4.0}) {
        const double expected = ProbabilityAbove(gains, 0.3);
        EXPECT_NEAR(SeenAbove(gains, 73487), expected, 0.0005 + 0.003 * expected) << gains;
    }
}

TEST(SensorStatistics, SeveralElectronsBecomeTheSumOfTheirPulses)
{
    for (const double gains : {0.5, 1.0, 2.0, 4.0, 7.0}) {
        const double expected = ProbabilityAbove(gains, 2.0);
        EXPECT_NEAR(SeenAbove(gains, 489914), expected, 0.0015) << gains;
    }
}

TEST(SensorStatistics, AnIntensifierMultipliesLightButNotReadNoise)
{
    SensorBench bench(kIcx285, "flat:100");
    ExposureSettings settings = InElectrons(20000000); // 44.7 electrons
    const Moments plain = MomentsOf(bench.Frame(settings));
    settings.intensification = 10;
    const Moments bright = MomentsOf(bench.Frame(settings));
    EXPECT_NEAR(bright.mean - 200, 10 * (plain.mean - 200), 0.1 * (plain.mean - 200));
    settings.exposureNanoseconds = 0;
    EXPECT_NEAR(std::sqrt(MomentsOf(bench.Frame(settings)).variance), 9, 0.2);
}

// Each electron of the photocathode becomes an exponential pulse: twice the variance of the light's
// own, in multiplied electrons.
TEST(SensorStatistics, AnIntensifierDoublesTheVarianceOfLight)
{
    SensorBench bench(kIcx285, "flat:100");
    ExposureSettings settings = InElectrons(20000000); // 44.7 electrons
    settings.intensification = 20;
    const Moments moments = TemporalMoments(bench.Frame(settings, 0), bench.Frame(settings, 1));
    const double electrons = ExpectedElectrons(100, 6.45, 0.62, 0.020);
    EXPECT_NEAR(moments.mean - 200, 20 * electrons, 0.01 * 20 * electrons);
    EXPECT_NEAR(moments.variance - 81, (2 * 400 - 20) * electrons, 0.03 * 780 * electrons);
}

// The intensifier is before the sensor: 10 electrons a second of the KAF1400 stay what they are.
TEST(SensorStatistics, AnIntensifierDoesNotMultiplyDarkCharges)
{
    SensorBench bench(0, "flat:0");
    ExposureSettings settings = InElectrons(10'000'000'000);
    settings.intensification = 500;
    const auto first = bench.Frame(settings, 0);
    const auto second = bench.Frame(settings, 1);
    std::vector<uint16_t> sorted = first;
    std::nth_element(sorted.begin(),
                     sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2), sorted.end());
    EXPECT_NEAR(sorted[sorted.size() / 2], 300, 1); // hot pixels don't move the median
    std::vector<uint16_t> coldFirst;
    std::vector<uint16_t> coldSecond;
    for (size_t i = 0; i < first.size(); ++i) {
        if (first[i] < 400) {
            coldFirst.push_back(first[i]);
            coldSecond.push_back(second[i]);
        }
    }
    EXPECT_NEAR(TemporalMoments(coldFirst, coldSecond).variance, 100 + 81, 4);
    settings.noise = false;
    const auto still = bench.Frame(settings);
    EXPECT_GT(std::count(still.begin(), still.end(), 300), 119000);
}

TEST(SensorStatistics, OrdinarySensorsDoNotMultiply)
{
    SensorBench bench(kIcx285, "flat:1000");
    ExposureSettings settings = InElectrons(16384000);
    const auto plain = bench.Frame(settings);
    settings.electronMultiplication = 100;
    EXPECT_EQ(bench.Frame(settings), plain);
}

TEST(SensorStatistics, BinningSumsChargeAndReadsOnce)
{
    SensorBench bench(kIcx285, "flat:1000");
    ExposureSettings settings = InElectrons(20000000);
    settings.horizontalBinning = 4;
    settings.verticalBinning = 2;
    settings.width = 348;
    settings.height = 260;
    const Moments moments = MomentsOf(bench.Frame(settings));
    const double expected = 8 * ExpectedElectrons(1000, 6.45, 0.62, 0.020);
    EXPECT_NEAR(moments.mean - 200, expected, 0.003 * expected);
    EXPECT_NEAR(moments.variance, expected + 81, 0.03 * expected);
}

TEST(SensorStatistics, SixDecibelsDouble)
{
    SensorBench bench(kIcx285, "flat:10000");
    ExposureSettings settings = InElectrons(16384000);
    settings.noise = false;
    settings.offsetCounts = 0;
    const uint16_t plain = bench.Frame(settings)[0];
    settings.gaindB = 20 * std::log10(2.0);
    EXPECT_NEAR(bench.Frame(settings)[0], 2 * plain, 1);
    settings.gaindB = -settings.gaindB;
    EXPECT_NEAR(bench.Frame(settings)[0], plain / 2, 1);
}

TEST(SensorStatistics, ExposuresOfHoursFillTheWellAndOfNothingStayDark)
{
    SensorBench bench(kIcx285, "cells");
    ExposureSettings settings{
        .exposureNanoseconds = 7200000000000, .width = 64, .height = 64, .electronsPerCount = 10};
    settings.noise = false;
    for (const uint16_t pixel : bench.Frame(settings))
        ASSERT_EQ(pixel, 2200); // 22,000 electrons of the well
    settings.electronsPerCount = 0;
    settings.noise = true;
    settings.offsetCounts = 500;
    for (const uint16_t pixel : bench.Frame(settings))
        ASSERT_EQ(pixel, 4095);
    settings.exposureNanoseconds = ~0ULL;
    EXPECT_EQ(bench.Frame(settings)[17], 4095);
    settings.exposureNanoseconds = 0;
    settings.noise = false;
    for (const uint16_t pixel : bench.Frame(settings))
        ASSERT_EQ(pixel, 500);
}

TEST(SensorStatistics, DarkestCountIsZero)
{
    SensorBench bench(kIcx285, "flat:0");
    ExposureSettings settings = InElectrons(0);
    settings.offsetCounts = -100;
    for (const uint16_t pixel : bench.Frame(settings))
        ASSERT_EQ(pixel, 0);
}

} // namespace
} // namespace zerix::sim
