// Where on the sensor each number of a frame comes from: regions, orders, mosaics, filters, edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/sim/sensor_fixture.h"

namespace zerix::sim {
namespace {

constexpr ExposureSettings kWhole{
    .exposureNanoseconds = 16384000, .width = 1392, .height = 1040, .offsetCounts = 30};

TEST(SensorLayout, ARegionIsACutOfTheWhole)
{
    SensorBench bench(kIcx285, "cells");
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
    SensorBench bench(kIcx285, "cells");
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
    SensorBench bench(kIcx285, "cells");
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
    SensorBench bench(kIcx285, "cells");
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
    SensorBench bench(kIcx285, "flat");
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
    SensorBench bench(kIcx285, "flat:10000");
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
    SensorBench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.height = 20;
    const auto unbinned = bench.Frame(settings);
    settings.horizontalBinning = 0;
    settings.verticalBinning = 0;
    EXPECT_EQ(bench.Frame(settings), unbinned);
}

TEST(SensorLayout, ABinAtTheEdgeSumsWhatThereIs)
{
    SensorBench bench(kIcx285, "flat:1000");
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
    SensorBench bench(kIcx285, "cells");
    ExposureSettings settings = kWhole;
    settings.height = 100;
    const auto first = bench.Frame(settings, 1);
    EXPECT_NE(bench.Frame(settings, 2), first);
    settings.exposureNanoseconds /= 2;
    EXPECT_NE(bench.Frame(settings, 1), first);
    settings.exposureNanoseconds *= 2;
    EXPECT_EQ(bench.Frame(settings, 1), first);
    SensorBench another(kIcx285, "cells", "S2");
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
        SensorBench bench(mosaic.ccdModel, "colour-chart");
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
    SensorBench bench(kIcx285, "flat:30000");
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

} // namespace
} // namespace zerix::sim
