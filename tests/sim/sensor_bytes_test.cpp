// The bytes of rendered frames, one configuration after the other: every build, on every platform
// and at every optimisation level, makes the same.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {
namespace {

uint64_t Checksum(const std::vector<uint8_t> &bytes)
{
    uint64_t sum = 0xCBF29CE484222325ULL;
    for (const uint8_t byte : bytes)
        sum = (sum ^ byte) * 0x100000001B3ULL;
    return sum;
}

struct Configuration {
    const char *name;
    const char *scene;
    uint16_t ccdModel;
    ExposureSettings settings;
    uint64_t checksum;
};

void PrintTo(const Configuration &configuration, std::ostream *stream)
{
    *stream << configuration.name;
}

std::vector<uint8_t> Render(const Configuration &configuration)
{
    std::string error;
    const auto scene = MakeScene(configuration.scene, 12345, &error);
    EXPECT_NE(scene, nullptr) << error;
    Sensor sensor(*FindSensorType(configuration.ccdModel), 67890, "ZV-TEST-1");
    sensor.SetScene(scene);
    std::vector<uint8_t> bytes(Sensor::FrameBytes(configuration.settings));
    sensor.Expose(configuration.settings, {.commits = 3, .framesSinceCommit = 7}, bytes.data());
    return bytes;
}

class SensorBytes : public testing::TestWithParam<Configuration> {};

TEST_P(SensorBytes, AreTheSameInEveryBuild)
{
    EXPECT_EQ(Checksum(Render(GetParam())), GetParam().checksum);
}

constexpr uint64_t kUsual = 16384000;

const Configuration kConfigurations[] = {
    {"CellsWhole",
     "cells",
     6,
     {.exposureNanoseconds = kUsual, .width = 1392, .height = 1040, .offsetCounts = 40},
     0xFAD2D1BC0F6F6AF0ULL},
    {"CellsBehindTheBlueFilter",
     "cells",
     6,
     {.exposureNanoseconds = kUsual,
      .x = 300,
      .y = 200,
      .width = 400,
      .height = 300,
      .offsetCounts = 40,
      .filterColour = 3},
     0x0EA9A457B6EA4D4AULL},
    {"CellsMultiplied",
     "cells",
     78,
     {.exposureNanoseconds = 30000,
      .width = 512,
      .height = 512,
      .converterBits = 14,
      .megahertz = 10,
      .offsetCounts = 100,
      .electronMultiplication = 250,
      .celsius = -40},
     0x522FE14B16E74171ULL},
    {"StarsBinnedEightBits",
     "stars",
     8,
     {.exposureNanoseconds = 4 * kUsual,
      .width = 696,
      .height = 520,
      .horizontalBinning = 2,
      .verticalBinning = 2,
      .outputBits = 8,
      .gaindB = 6.5,
      .offsetCounts = 64},
     0x54EE678ABFF2E7FEULL},
    {"StarsOfTwoFieldColour",
     "stars",
     12,
     {.exposureNanoseconds = kUsual,
      .x = 1000,
      .y = 1000,
      .width = 640,
      .height = 480,
      .offsetCounts = 30},
     0x2264F305B2DF0EC9ULL},
    {"ResolutionChartTurned",
     "resolution-chart",
     4,
     {.exposureNanoseconds = kUsual,
      .x = 11,
      .y = 13,
      .width = 1000,
      .height = 700,
      .fromFarCorner = true,
      .gaindB = -3.25},
     0x526FE4652E39B4AFULL},
    {"ColourChartBigEndian",
     "colour-chart",
     53,
     {.exposureNanoseconds = kUsual,
      .width = 1600,
      .height = 1200,
      .converterBits = 14,
      .outputBits = 14,
      .bigEndian = true,
      .megahertz = 40,
      .gaindB = 2.75,
      .offsetCounts = 200},
     0xF0F107DAEA61FB5AULL},
    {"GradientUnevenlyBinned",
     "gradient",
     76,
     {.exposureNanoseconds = kUsual / 8,
      .width = 728,
      .height = 184,
      .horizontalBinning = 3,
      .verticalBinning = 8,
      .converterBits = 16,
      .outputBits = 16,
      .electronsPerCount = 2.5},
     0x4E960BA64F244971ULL},
    {"FewElectrons",
     "flat:20",
     6,
     {.exposureNanoseconds = kUsual,
      .width = 256,
      .height = 256,
      .converterBits = 16,
      .outputBits = 16,
      .megahertz = 2.5F,
      .offsetCounts = 500,
      .electronsPerCount = 0.25},
     0x0CE678FE1D3D1B9DULL},
    {"LongDark",
     "flat:0",
     0,
     {.exposureNanoseconds = 60000000000,
      .width = 512,
      .height = 512,
      .offsetCounts = 20,
      .celsius = 3.14159},
     0xFBF2F1871AF36384ULL},
    {"Position", "position", 20, {.width = 300, .height = 300}, 0xE355A5FB2998DEB8ULL},
};

INSTANTIATE_TEST_SUITE_P(Configurations, SensorBytes, testing::ValuesIn(kConfigurations),
                         [](const auto &parameter) { return std::string(parameter.param.name); });

TEST(SensorBytesOfAPicture, AreTheSameInEveryBuild)
{
    const std::string file = testing::TempDir() + "zerix_sensor_bytes.pgm";
    {
        std::ofstream picture(file, std::ios::binary);
        picture << "P5\n16 12\n255\n";
        for (int i = 0; i < 16 * 12; ++i)
            picture.put(static_cast<char>(static_cast<unsigned char>(i * 37 % 256)));
    }
    const std::string scene = "picture:" + file;
    const Configuration configuration{
        .name = "Picture",
        .scene = scene.c_str(),
        .ccdModel = 13,
        .settings = {.exposureNanoseconds = kUsual, .width = 768, .height = 494},
        .checksum = 0};
    EXPECT_EQ(Checksum(Render(configuration)), 0x60146BB583087BC4ULL);
    std::remove(file.c_str());
}

} // namespace
} // namespace zerix::sim
