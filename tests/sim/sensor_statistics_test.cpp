// What a laboratory measures of a sensor: photon transfer, read noise, dark current,
// multiplication, binning, gain, clipping; and that regions, orders and extremes are as asked.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {
namespace {

constexpr uint16_t kIcx285 = 6;
constexpr uint16_t kMultiplying = 78;

std::vector<uint16_t> Words(const std::vector<uint8_t> &bytes)
{
    std::vector<uint16_t> words(bytes.size() / 2);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return words;
}

class Bench {
public:
    explicit Bench(uint16_t ccdModel, const std::string &scene, const std::string &serial = "S1")
        : m_sensor(*FindSensorType(ccdModel), 99, serial)
    {
        std::string error;
        const auto made = MakeScene(scene, 5, &error);
        EXPECT_NE(made, nullptr) << error;
        m_sensor.SetScene(made);
    }

    std::vector<uint8_t> Bytes(const ExposureSettings &settings, uint32_t frame = 0)
    {
        std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
        m_sensor.Expose(settings, {.commits = 1, .framesSinceCommit = frame}, bytes.data());
        return bytes;
    }

    std::vector<uint16_t> Frame(const ExposureSettings &settings, uint32_t frame = 0)
    {
        return Words(Bytes(settings, frame));
    }

private:
    Sensor m_sensor;
};

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

// 16 bits and an electron a count, so that counts are electrons.
ExposureSettings InElectrons(uint64_t exposureNanoseconds)
{
    return {.exposureNanoseconds = exposureNanoseconds,
            .width = 400,
            .height = 300,
            .converterBits = 16,
            .outputBits = 16,
            .offsetCounts = 200,
            .electronsPerCount = 1.0};
}

// Electrons of white light on a monochrome sensor: a third of the photons in each of red, green and
// blue, whose relative efficiencies are 0.85, 1 and 0.75.
double ExpectedElectrons(double photons, double pitch, double peakEfficiency, double seconds)
{
    return photons / 3 * (0.85 + 1.0 + 0.75) * pitch * pitch * peakEfficiency * seconds;
}

TEST(SensorStatistics, MeanFollowsLightPitchAndEfficiency)
{
    Bench bench(kIcx285, "flat:10000");
    const Moments moments = MomentsOf(bench.Frame(InElectrons(20000000)));
    const double expected = ExpectedElectrons(10000, 6.45, 0.62, 0.020);
    EXPECT_NEAR(expected, 4470.88, 0.01);
    EXPECT_NEAR(moments.mean - 200, expected, 0.002 * expected);
}

TEST(SensorStatistics, PhotonTransferSlopeIsTheConversionGain)
{
    Bench bench(kIcx285, "flat:10000");
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
    Bench bench(kIcx285, "flat:10000");
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
    Bench bench(kIcx285, "flat:100");
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
    Bench bench(kIcx285, "flat:0");
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
    Bench bench(kIcx285, "flat:0");
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
    Bench bench(kIcx285, "flat:0", serial);
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
        Bench bench(kMultiplying, scene);
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

TEST(SensorStatistics, OrdinarySensorsDoNotMultiply)
{
    Bench bench(kIcx285, "flat:1000");
    ExposureSettings settings = InElectrons(16384000);
    const auto plain = bench.Frame(settings);
    settings.electronMultiplication = 100;
    EXPECT_EQ(bench.Frame(settings), plain);
}

TEST(SensorStatistics, BinningSumsChargeAndReadsOnce)
{
    Bench bench(kIcx285, "flat:1000");
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
    Bench bench(kIcx285, "flat:10000");
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
    Bench bench(kIcx285, "cells");
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
    Bench bench(kIcx285, "flat:0");
    ExposureSettings settings = InElectrons(0);
    settings.offsetCounts = -100;
    for (const uint16_t pixel : bench.Frame(settings))
        ASSERT_EQ(pixel, 0);
}

// Layout ------------------------------------------------------------------------------------------

constexpr ExposureSettings kWhole{
    .exposureNanoseconds = 16384000, .width = 1392, .height = 1040, .offsetCounts = 30};

TEST(SensorLayout, ARegionIsACutOfTheWhole)
{
    Bench bench(kIcx285, "cells");
    const auto whole = bench.Frame(kWhole);
    ExposureSettings settings = kWhole;
    settings.x = 700;
    settings.y = 333;
    settings.width = 601;
    settings.height = 5;
    const auto region = bench.Frame(settings);
    for (size_t y = 0; y < 5; ++y) {
        for (size_t x = 0; x < 601; ++x)
            ASSERT_EQ(region[y * 601 + x], whole[(y + 333) * 1392 + x + 700]);
    }
}

TEST(SensorLayout, FromTheFarCornerIsTurnedAndTheRegionCountsFromThere)
{
    Bench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.noise = false;
    const auto upright = bench.Frame(settings);
    settings.fromFarCorner = true;
    auto turned = bench.Frame(settings);
    settings.x = 3;
    settings.y = 2;
    settings.width = 100;
    settings.height = 50;
    EXPECT_EQ(bench.Frame(settings)[1 * 100 + 4], turned[(1 + 2) * 1392 + 4 + 3]);
    std::reverse(turned.begin(), turned.end());
    EXPECT_EQ(turned, upright);
}

TEST(SensorLayout, EightBitsAreTheTopBits)
{
    Bench bench(kIcx285, "cells");
    const auto words = bench.Frame(kWhole);
    ExposureSettings settings = kWhole;
    settings.outputBits = 8;
    const auto bytes = bench.Bytes(settings);
    ASSERT_EQ(bytes.size(), words.size());
    for (size_t i = 0; i < words.size(); ++i)
        ASSERT_EQ(bytes[i], words[i] >> 4);
}

TEST(SensorLayout, BigEndianSwapsTheBytes)
{
    Bench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.height = 3;
    const auto little = bench.Bytes(settings);
    settings.bigEndian = true;
    const auto big = bench.Bytes(settings);
    for (size_t i = 0; i < little.size(); ++i)
        ASSERT_EQ(big[i], little[i ^ 1U]);
}

TEST(SensorLayout, NothingIsWrittenForASizeOfZero)
{
    Bench bench(kIcx285, "flat");
    ExposureSettings settings = kWhole;
    settings.width = 0;
    EXPECT_EQ(Sensor::FrameBytes(settings), 0U);
    EXPECT_TRUE(bench.Bytes(settings).empty());
    settings.width = 10;
    settings.height = 0;
    EXPECT_TRUE(bench.Bytes(settings).empty());
    settings.width = 0xFFFFFFFF;
    settings.height = 0xFFFFFFFF;
    EXPECT_EQ(Sensor::FrameBytes(settings), 0U);
}

TEST(SensorLayout, BeyondTheSensorItIsDark)
{
    Bench bench(kIcx285, "flat:10000");
    ExposureSettings settings = kWhole;
    settings.noise = false;
    settings.x = 1390;
    settings.y = 1039;
    settings.width = 4;
    settings.height = 2;
    const auto pixels = bench.Frame(settings);
    EXPECT_GT(pixels[0], 500);
    EXPECT_EQ(pixels[1], pixels[0]);
    for (const size_t beyond : {2U, 3U, 4U, 5U, 6U, 7U})
        EXPECT_EQ(pixels[beyond], 30) << beyond;
    settings.x = 0xFFFFFFF0;
    settings.y = 0xFFFFFFF0;
    settings.horizontalBinning = 0xFFFFFFFF;
    settings.verticalBinning = 0xFFFFFFFF;
    for (const uint16_t pixel : bench.Frame(settings))
        EXPECT_EQ(pixel, 30);
}

TEST(SensorLayout, ABinningOfZeroIsNone)
{
    Bench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.height = 20;
    const auto unbinned = bench.Frame(settings);
    settings.horizontalBinning = 0;
    settings.verticalBinning = 0;
    EXPECT_EQ(bench.Frame(settings), unbinned);
}

TEST(SensorLayout, ABinAtTheEdgeSumsWhatThereIs)
{
    Bench bench(kIcx285, "flat:1000");
    ExposureSettings settings = InElectrons(20000000);
    settings.noise = false;
    settings.offsetCounts = 0;
    settings.celsius = -60;
    settings.horizontalBinning = 3; // 1392 is a multiple of 3; 1040 leaves 2 of 3 rows
    settings.verticalBinning = 3;
    settings.width = 464;
    settings.height = 348;
    const auto pixels = bench.Frame(settings);
    const double one = ExpectedElectrons(1000, 6.45, 0.62, 0.020);
    EXPECT_NEAR(pixels[0], 9 * one, 1);
    EXPECT_NEAR(pixels[346 * 464], 6 * one, 1);
    EXPECT_EQ(pixels[347 * 464], 0);
}

TEST(SensorLayout, EveryFrameHasNoiseOfItsOwnWhateverWasBefore)
{
    Bench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.height = 100;
    const auto first = bench.Frame(settings, 1);
    EXPECT_NE(bench.Frame(settings, 2), first);
    settings.exposureNanoseconds /= 2;
    EXPECT_NE(bench.Frame(settings, 1), first);
    settings.exposureNanoseconds *= 2;
    EXPECT_EQ(bench.Frame(settings, 1), first);
    Bench another(kIcx285, "cells", "S2");
    EXPECT_NE(another.Frame(settings, 1), first);
}

TEST(SensorLayout, AMosaicSeesEachColourAtItsPlace)
{
    // On the colour chart's red patch; where red is in two by two pixels.
    const struct {
        uint16_t ccdModel;
        size_t red;
    } kMosaics[] = {{7, 0}, {53, 1}};
    for (const auto &mosaic : kMosaics) {
        Bench bench(mosaic.ccdModel, "colour-chart");
        const SensorType &type = *FindSensorType(mosaic.ccdModel);
        ExposureSettings settings{
            .exposureNanoseconds = 4000000, .width = 2, .height = 2, .noise = false};
        settings.x =
            (type.columns / 2 - type.columns / 14) & ~1U; // third patch of the third row: red
        settings.y = (type.rows / 2 + type.rows / 8) & ~1U;
        const auto pixels = bench.Frame(settings);
        for (size_t i = 0; i < 4; ++i) {
            if (i != mosaic.red) {
                EXPECT_GT(pixels[mosaic.red], 3 * pixels[i]) << mosaic.ccdModel << " " << i;
            }
        }
    }
}

TEST(SensorLayout, TheWheelsFilterLetsItsColourThrough)
{
    Bench bench(kIcx285, "flat:30000");
    ExposureSettings settings{
        .exposureNanoseconds = 16384000, .width = 1, .height = 1, .noise = false};
    const uint16_t clear = bench.Frame(settings)[0];
    uint16_t all = 0;
    for (const uint8_t colour : {uint8_t{0}, uint8_t{1}, uint8_t{3}}) {
        settings.filterColour = colour;
        const uint16_t pixel = bench.Frame(settings)[0];
        EXPECT_GT(pixel, clear / 5);
        all = static_cast<uint16_t>(all + pixel);
    }
    EXPECT_NEAR(all, 0.94 * clear, 0.02 * clear);
    settings.filterColour = 2;
    EXPECT_EQ(bench.Frame(settings)[0], 0);
}

TEST(SensorTypes, EveryCcdModelHasASensor)
{
    for (uint16_t ccdModel = 0; ccdModel <= 78; ++ccdModel)
        ASSERT_NE(FindSensorType(ccdModel), nullptr) << ccdModel;
    EXPECT_EQ(FindSensorType(79), nullptr);
    EXPECT_EQ(FindSensorType(0xFFFF), nullptr);
    EXPECT_EQ(FindSensorType(53)->mosaic, Mosaic::kGrbg);
    EXPECT_EQ(FindSensorType(46)->mosaic, Mosaic::kNone);
    EXPECT_EQ(FindSensorType(9)->mosaic, Mosaic::kRggb);
    EXPECT_TRUE(FindSensorType(10)->twoFields);
    EXPECT_EQ(FindSensorType(11)->rows, 58U);
    EXPECT_EQ(FindSensorType(14)->rows, 250U);
    EXPECT_EQ(FindSensorType(78)->fullWellElectrons, 160000U);
    EXPECT_EQ(FindSensorType(3)->columns, 2048U);
    EXPECT_EQ(FindSensorType(23)->name, "KAI-4020CM AR Glass");
}

} // namespace
} // namespace zerix::sim
