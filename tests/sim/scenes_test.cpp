// The scenes: that each is what its name says, follows its seed, and fits any sensor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "sim/picture_file.h"
#include "sim/scene.h"
#include "sim/sensor.h"
#include "tests/support/temporary_folder.h"

namespace zerix::sim {
namespace {

using namespace std::string_view_literals;

std::shared_ptr<const Scene> Make(const std::string &text, uint64_t seed = 1)
{
    std::string error;
    auto scene = MakeScene(text, seed, &error);
    EXPECT_NE(scene, nullptr) << error;
    return scene;
}

std::vector<Light> Sampled(const std::string &text, uint32_t width, uint32_t height,
                           float pitch = 6.45F, uint64_t seed = 1)
{
    std::vector<Light> light;
    Make(text, seed)->Sample(width, height, pitch, light);
    return light;
}

bool Same(const std::vector<Light> &a, const std::vector<Light> &b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](const Light &x, const Light &y) {
               return x.red == y.red && x.green == y.green && x.blue == y.blue;
           });
}

double Total(const Light &light)
{
    return static_cast<double>(light.red) + static_cast<double>(light.green) +
           static_cast<double>(light.blue);
}

constexpr const char *kDrawn[] = {"cells",    "stars", "resolution-chart", "colour-chart",
                                  "gradient", "flat",  "position",         "positions"};

TEST(Scenes, AreKnownByTheirNames)
{
    std::set<std::string> names;
    for (const SceneDescription &scene : KnownScenes()) {
        EXPECT_TRUE(scene.usage.starts_with(scene.name));
        EXPECT_FALSE(scene.meaning.empty());
        names.insert(std::string(scene.name));
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"cells", "stars", "resolution-chart", "colour-chart",
                                     "gradient", "flat", "picture", "position", "positions"}));
}

TEST(Scenes, AnUnknownOneGivesTheKnownOnes)
{
    const std::string known =
        "; the scenes are cells, stars, resolution-chart, colour-chart, gradient, "
        "flat[:PHOTONS], picture:FILE, position, positions.";
    for (const char *text : {"", "moon", "cells:3", "picture", "picture:", "flat:", ":", "Cells"}) {
        std::string error;
        EXPECT_EQ(MakeScene(text, 1, &error), nullptr) << text;
        EXPECT_EQ(error, "scene \"" + std::string(text) + "\" is unknown" + known);
    }
    EXPECT_EQ(MakeScene("moon", 1, nullptr), nullptr);
}

TEST(Scenes, AFlatOfNoNumberSaysSo)
{
    for (const char *number : {"bright", "-1", "12x", "1e13", "nan", "inf"}) {
        std::string error;
        EXPECT_EQ(MakeScene("flat:" + std::string(number), 1, &error), nullptr);
        EXPECT_EQ(error, "scene \"flat:" + std::string(number) +
                             "\": expected photons a second and square micrometre, from 0 to 1e12, "
                             "behind the colon.");
    }
}

TEST(Scenes, FitAnySizeAndStayFiniteAndPositive)
{
    const std::pair<uint32_t, uint32_t> kSizes[] = {{0, 0},   {0, 5},   {5, 0},  {1, 1},
                                                    {7, 300}, {300, 7}, {64, 48}};
    for (const char *text : kDrawn) {
        for (const auto &[width, height] : kSizes) {
            for (const float pitch : {3.4F, 24.0F}) {
                const auto light = Sampled(text, width, height, pitch);
                ASSERT_EQ(light.size(), static_cast<size_t>(width) * height) << text;
                for (const Light &pixel : light) {
                    for (const float part : {pixel.red, pixel.green, pixel.blue})
                        ASSERT_TRUE(part >= -0.1F && part < 1e6F) << text << " " << part;
                }
            }
        }
    }
}

TEST(Scenes, FollowTheirSeed)
{
    for (const char *text : {"cells", "stars"}) {
        const auto first = Sampled(text, 300, 200);
        EXPECT_TRUE(Same(Sampled(text, 300, 200), first)) << text;
        EXPECT_FALSE(Same(Sampled(text, 300, 200, 6.45F, 2), first)) << text;
    }
}

// A larger sensor sees more of the same specimen, not another one.
TEST(Scenes, AreTheSamePlaceOnALargerSensor)
{
    const auto small = Sampled("stars", 100, 80);
    const auto large = Sampled("stars", 200, 160);
    for (size_t y = 0; y < 80; ++y) {
        for (size_t x = 0; x < 100; ++x) {
            const double one = Total(small[y * 100 + x]);
            ASSERT_NEAR(Total(large[(y + 40) * 200 + x + 50]), one, 0.01 * one + 0.1);
        }
    }
}

TEST(Scenes, FlatIsThePhotonsThatWereAskedFor)
{
    for (const Light &pixel : Sampled("flat:1234.5", 8, 8)) {
        EXPECT_NEAR(Total(pixel), 1234.5, 0.01);
        EXPECT_EQ(pixel.red, pixel.blue);
    }
    EXPECT_NEAR(Total(Sampled("flat", 1, 1)[0]), 30000, 0.1);
}

TEST(Scenes, GradientGrowsFromLeftToRight)
{
    const auto light = Sampled("gradient", 160, 16);
    for (size_t x = 1; x < 160; ++x)
        ASSERT_GT(light[x].green, light[x - 1].green);
    std::set<float> steps;
    for (size_t x = 0; x < 160; ++x)
        steps.insert(light[15 * 160 + x].green);
    EXPECT_EQ(steps.size(), 16U);
    EXPECT_EQ(*steps.begin(), 0.0F);
}

TEST(Scenes, PositionCountsColumnsAndRows)
{
    const auto scene = Make("position");
    EXPECT_TRUE(scene->IsInCounts());
    EXPECT_EQ(scene->Count(0, 0), 0U);
    EXPECT_EQ(scene->Count(5, 3), 188U);
    EXPECT_EQ(scene->Count(1391, 1039), 64770U);
    EXPECT_FALSE(Make("cells")->IsInCounts());
}

TEST(Scenes, PositionsHaveLevels)
{
    const auto scene = Make("positions");
    EXPECT_TRUE(scene->IsInLevels());
    EXPECT_FALSE(scene->IsInCounts());
    EXPECT_EQ(scene->Level(0, 0, 0xFF), 0U);
    EXPECT_EQ(scene->Level(5, 3, 0xFF), 6322U);
    EXPECT_EQ(scene->Level(1391, 1039, 0xFF), 3284U); // 1,838,292 modulo 65536
    EXPECT_EQ(scene->Level(5, 3, 0), 22706U);
    EXPECT_EQ(scene->Level(5, 3, 1), 39090U);
    EXPECT_EQ(scene->Level(5, 3, 3), 55474U);
    EXPECT_EQ(scene->Level(5, 3, 2), 0U);
    EXPECT_FALSE(Make("cells")->IsInLevels());
}

std::vector<uint16_t> PatternFrame(const std::string &scene, const ExposureSettings &settings,
                                   uint16_t ccdModel = 6)
{
    Sensor sensor(*FindSensorType(ccdModel), 1, "S");
    sensor.SetScene(Make(scene));
    std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
    sensor.Expose(settings, {.commits = 1, .framesSinceCommit = 0}, bytes.data());
    std::vector<uint16_t> counts;
    if (settings.outputBits <= 8)
        return {bytes.begin(), bytes.end()};
    for (size_t i = 0; i < bytes.size(); i += 2)
        counts.push_back(static_cast<uint16_t>(bytes[i] | bytes[i + 1] << 8));
    return counts;
}

TEST(Scenes, PositionReachesTheConverterAsItIs)
{
    ExposureSettings settings{.exposureNanoseconds = 5,
                              .x = 100,
                              .y = 200,
                              .width = 30,
                              .height = 20,
                              .gaindB = 12,
                              .offsetCounts = 77};
    const auto counts = PatternFrame("position", settings);
    settings.outputBits = 8;
    const auto top = PatternFrame("position", settings);
    for (size_t y = 0; y < 20; ++y) {
        for (size_t x = 0; x < 30; ++x) {
            const size_t expected = (100 + x + 61 * (200 + y)) % 4096;
            ASSERT_EQ(counts[y * 30 + x], expected);
            ASSERT_EQ(top[y * 30 + x], expected / 16);
        }
    }
    settings.outputBits = 12;
    settings.horizontalBinning = 4;
    settings.verticalBinning = 2;
    EXPECT_EQ(PatternFrame("position", settings)[3 * 30 + 7],
              ((100 + 7) * 4 + 61 * (200 + 3) * 2) % 4096);
    settings.fromFarCorner = true;
    EXPECT_EQ(PatternFrame("position", settings)[3 * 30 + 7],
              (1391 - 107 * 4 + 61 * (1039 - 203 * 2)) % 4096);
    settings.x = 348;
    EXPECT_EQ(PatternFrame("position", settings)[0], 0);
}

TEST(Scenes, PositionsAreTheTopBitsOfTheirLevel)
{
    ExposureSettings settings{.exposureNanoseconds = 5,
                              .x = 100,
                              .y = 200,
                              .width = 30,
                              .height = 20,
                              .gaindB = 12,
                              .offsetCounts = 77};
    const auto levelAt = [](size_t x, size_t y) {
        return (1031 * (100 + x) + 389 * (200 + y)) % 65536;
    };
    for (const uint16_t bits : std::initializer_list<uint16_t>{10, 12, 14, 16}) {
        settings.converterBits = bits;
        settings.outputBits = bits;
        const auto counts = PatternFrame("positions", settings);
        settings.outputBits = 8;
        const auto top = PatternFrame("positions", settings);
        for (size_t y = 0; y < 20; ++y) {
            for (size_t x = 0; x < 30; ++x) {
                ASSERT_EQ(counts[y * 30 + x], levelAt(x, y) >> (16 - bits));
                ASSERT_EQ(top[y * 30 + x], levelAt(x, y) / 256);
            }
        }
    }
}

// Columns 100 to 103 and rows 200 and 201, none of which goes past 65535 within the bin: the mean
// of 1031 * 101.5 + 389 * 200.5 = 182,641 is 51,569 modulo 65536 and 12,892 in 14 bits.
TEST(Scenes, PositionsOfABinAreItsMean)
{
    ExposureSettings settings{.x = 25,
                              .y = 100,
                              .width = 30,
                              .height = 20,
                              .horizontalBinning = 4,
                              .verticalBinning = 2,
                              .converterBits = 14,
                              .outputBits = 14};
    EXPECT_EQ(PatternFrame("positions", settings)[0], 12892);
    // From the far corner of 1392 x 1040: columns 1291 down to 1288, rows 839 and 838. Their mean
    // 1031 * 1289.5 + 389 * 838.5 = 1,655,651 is 17,251 modulo 65536 and 4,312 in 14 bits.
    settings.fromFarCorner = true;
    EXPECT_EQ(PatternFrame("positions", settings)[0], 4312);
    settings.x = 348; // beyond the sensor
    EXPECT_EQ(PatternFrame("positions", settings)[0], 0);
}

TEST(Scenes, PositionsTellTheFiltersOfTheWheelApart)
{
    ExposureSettings settings{.width = 4, .height = 4, .converterBits = 16, .outputBits = 16};
    const struct {
        uint8_t filter;
        uint16_t level; // of column 2, row 1
    } kFilters[] = {{0xFF, 2451}, {0, 18835}, {1, 35219}, {2, 0}, {3, 51603}};
    for (const auto &[filter, level] : kFilters) {
        settings.filterColour = filter;
        EXPECT_EQ(PatternFrame("positions", settings)[6], level) << int{filter};
        EXPECT_EQ(PatternFrame("positions", settings, 7)[6], 2451) << "behind a mosaic";
    }
}

TEST(Scenes, BrightnessMultipliesTheirLight)
{
    ExposureSettings settings{
        .exposureNanoseconds = 16384000, .width = 20, .height = 20, .celsius = -50, .noise = false};
    const auto countAt = [&](float brightness) {
        Sensor sensor(*FindSensorType(6), 1, "S");
        sensor.SetScene(Make("flat"), brightness);
        std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
        sensor.Expose(settings, {.commits = 1, .framesSinceCommit = 0}, bytes.data());
        return bytes[0] | bytes[1] << 8;
    };
    // 30,000 photons give 10,987 electrons, of 22,000 for 4096 counts.
    EXPECT_EQ(countAt(1), 2046);
    EXPECT_EQ(countAt(0.5F), 1023);
    EXPECT_EQ(countAt(0), 0);
    EXPECT_EQ(countAt(1.9F), 3887);
}

// Warm light on a mosaic of red, green, green and blue. Without a colour a green pixel collects
// (0.07 * 0.85 + 0.90 * 1.0 + 0.09 * 0.75) of the light, and each colour adds its own part.
TEST(Scenes, LightMayHaveAColour)
{
    ExposureSettings settings{
        .exposureNanoseconds = 16384000, .width = 2, .height = 2, .celsius = -50, .noise = false};
    const auto countsIn = [&](const Light &colour) {
        Sensor sensor(*FindSensorType(53), 1, "S");
        sensor.SetScene(Make("flat:60000"), 1, colour);
        std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
        sensor.Expose(settings, {.commits = 1, .framesSinceCommit = 0}, bytes.data());
        std::vector<double> counts;
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            counts.push_back(bytes[i] | bytes[i + 1] << 8);
        return counts;
    };
    const auto white = countsIn({1, 1, 1});
    const auto warm = countsIn({1.5F, 1, 0.5F});
    ASSERT_EQ(white.size(), 4U);
    // The mosaic begins green, red. Parts of red, green and blue light behind each dye.
    EXPECT_NEAR(warm[0] / white[0], (1.5 * 0.0595 + 0.90 + 0.5 * 0.0675) / 1.027, 0.01);
    EXPECT_NEAR(warm[1] / white[1], (1.5 * 0.765 + 0.06 + 0.5 * 0.015) / 0.84, 0.01);
    EXPECT_NEAR(warm[2] / white[2], (1.5 * 0.017 + 0.10 + 0.5 * 0.645) / 0.762, 0.01);
    EXPECT_NEAR(warm[3] / white[3], (1.5 * 0.0595 + 0.90 + 0.5 * 0.0675) / 1.027, 0.01);
}

// At the exposure that cameras come up with, a picture fills the converter without being cut off.
TEST(Scenes, AreWellExposedAtTheDefaultExposure)
{
    const struct {
        const char *scene;
        uint16_t ccdModel;
        double lowest; // of the brightest thousandth, as parts of the converter's range
        double highest;
    } kExpected[] = {{"cells", 6, 0.40, 0.80},         {"resolution-chart", 6, 0.55, 0.80},
                     {"gradient", 6, 0.60, 0.80},      {"flat", 6, 0.45, 0.55},
                     {"colour-chart", 53, 0.50, 0.80}, {"stars", 6, 0.03, 0.80}};
    for (const auto &expected : kExpected) {
        const SensorType &type = *FindSensorType(expected.ccdModel);
        Sensor sensor(type, 20070314, "S");
        sensor.SetScene(Make(expected.scene, 20070314));
        const ExposureSettings settings{
            .exposureNanoseconds = 16384000, .width = type.columns, .height = type.rows};
        std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
        sensor.Expose(settings, {.commits = 1, .framesSinceCommit = 0}, bytes.data());
        std::vector<int> counts;
        for (size_t i = 0; i < bytes.size(); i += 2)
            counts.push_back(bytes[i] | bytes[i + 1] << 8);
        const auto place =
            counts.begin() + static_cast<std::ptrdiff_t>(counts.size() - counts.size() / 1000);
        std::nth_element(counts.begin(), place, counts.end());
        EXPECT_GE(*place, expected.lowest * 4096) << expected.scene;
        EXPECT_LE(*place, expected.highest * 4096) << expected.scene;
    }
}

TEST(Scenes, ResolutionChartIsDarkAndLightAlike)
{
    const auto light = Sampled("resolution-chart", 1320, 1000);
    const auto [darkest, lightest] =
        std::minmax_element(light.begin(), light.end(),
                            [](const Light &a, const Light &b) { return a.green < b.green; });
    EXPECT_NEAR(Total(*darkest), 1500, 10);
    EXPECT_NEAR(Total(*lightest), 38000, 10);
    // The first bar of the coarsest element: 10.5 to 12.7 units from the left, 8 to 19 from the
    // top.
    EXPECT_NEAR(Total(light[130 * 1320 + 115]), 1500, 10);
    EXPECT_NEAR(Total(light[130 * 1320 + 103]), 38000, 10);
    EXPECT_NEAR(Total(light[130 * 1320 + 130]), 38000, 10);
}

TEST(Scenes, ColourChartHasItsPatches)
{
    const auto light = Sampled("colour-chart", 640, 440);
    const auto patch = [&](size_t column, size_t row) {
        return light[(70 + row * 99) * 640 + 70 + column * 99];
    };
    EXPECT_GT(patch(2, 2).red, 4 * patch(2, 2).green);  // red
    EXPECT_GT(patch(0, 2).blue, 4 * patch(0, 2).red);   // blue
    EXPECT_GT(patch(1, 2).green, 2 * patch(1, 2).blue); // green
    for (size_t column = 1; column < 6; ++column)
        EXPECT_LT(patch(column, 3).green, patch(column - 1, 3).green);
}

TEST(Scenes, CellsAndStarsStandOutOfADimBackground)
{
    for (const char *text : {"cells", "stars"}) {
        auto light = Sampled(text, 1392, 1040);
        std::sort(light.begin(), light.end(),
                  [](const Light &a, const Light &b) { return Total(a) < Total(b); });
        const double background = Total(light[light.size() / 2]);
        EXPECT_GT(background, 20) << text;
        EXPECT_LT(background, 2000) << text;
        EXPECT_GT(Total(light[light.size() - 1]), 30 * background) << text;
    }
}

// Pictures ----------------------------------------------------------------------------------------

class PictureFile {
public:
    explicit PictureFile(const std::string &content)
        : m_path(testing::TempDir() + "zerix_scenes_test.ppm"), m_content(content)
    {
        std::ofstream(m_path, std::ios::binary) << content;
    }
    ~PictureFile() { std::remove(m_path.c_str()); }
    PictureFile(const PictureFile &) = delete;
    PictureFile &operator=(const PictureFile &) = delete;

    [[nodiscard]] std::string Scene() const { return "picture:" + m_path; }
    [[nodiscard]] const std::string &Content() const { return m_content; }

private:
    std::string m_path;
    std::string m_content;
};

TEST(ScenePictures, FillTheSensor)
{
    const PictureFile file("P6\n2 1\n255\n" + std::string("\xFF\x00\x00\x00\x00\xFF", 6));
    const auto light = Sampled(file.Scene(), 40, 20);
    EXPECT_NEAR(Total(light[0]), 40000.0 / 3, 1);
    EXPECT_GT(light[0].red, 0.0F);
    EXPECT_EQ(light[0].blue, 0.0F);
    EXPECT_EQ(light[20 * 40 - 1].red, 0.0F);
    EXPECT_NEAR(static_cast<double>(light[10 * 40 + 20].red), 40000.0 / 6, 400);
}

TEST(ScenePictures, LevelsBecomeLinearLight)
{
    const PictureFile file("P5\n1 1\n255\n" +
                           std::string("\xBC", 1)); // half the light on a display
    EXPECT_NEAR(Total(Sampled(file.Scene(), 3, 3)[4]), 20000, 200);
}

TEST(ScenePictures, AFileThatIsNoneSaysSo)
{
    std::string error;
    EXPECT_EQ(MakeScene("picture:/nowhere/at all.png", 1, &error), nullptr);
    EXPECT_EQ(error, "scene \"picture:/nowhere/at all.png\": the file can't be read.");
    for (const char *content :
         {"no picture", "P5\n100 100\n255\nshort", "P6\n1 1\n255\n\1\2", "P5 # x\n1 1\n255\n",
          "P5\n1 1\n65535\n\1\2", "P5\n1 1\n0\n\1", "\x89PNG\r\n\x1A\n", "P5\n0 0\n255\n",
          "P5\n-1 1\n255\n\1", "P5\n4294967296 1\n255\n\1", "P5\n1 1\n255", "P5 1 1 255#\1",
          "\xFF\xD8\xFF\xE0JFIF"}) {
        const PictureFile file(content);
        EXPECT_EQ(MakeScene(file.Scene(), 1, &error), nullptr) << content;
        EXPECT_EQ(error, "scene \"" + file.Scene() + "\": the file is no picture; expected " +
                             std::string(kPictureKinds) +
                             " of at most 32768 pixels a side and 64 million in all.");
    }
}

TEST(ScenePictures, AHeaderMayHaveCommentsAndAHighestLevelOfItsOwn)
{
    const PictureFile file("P5 # a comment\n# another\n1\t1 # and one\n 2\n" + std::string("\x01"));
    DecodedPicture picture;
    ASSERT_TRUE(DecodePnm(file.Content(), &picture));
    EXPECT_EQ(picture.width, 1u);
    EXPECT_EQ(picture.height, 1u);
    EXPECT_EQ(picture.levels, (std::vector<uint8_t>{128, 128, 128})); // half of 255, rounded
}

// The header alone says so, before any memory is asked for.
TEST(ScenePictures, APictureMayHaveSixtyFourMillionPixels)
{
    EXPECT_TRUE(IsDecodable(8192, 8192));
    EXPECT_FALSE(IsDecodable(8192, 8193));
    EXPECT_TRUE(IsDecodable(32768, 1));
    EXPECT_FALSE(IsDecodable(32769, 1));
    EXPECT_FALSE(IsDecodable(1, 32769));
    EXPECT_FALSE(IsDecodable(0, 1));
}

// A sparse file takes no room.
TEST(ScenePictures, AFileMayHaveTwoHundredAndFiftySixMegabytes)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Write("large.pgm", "P5\n1 1\n255\n\xFF");
    std::filesystem::resize_file(path, 0x10000000);
    std::string error;
    EXPECT_NE(MakeScene("picture:" + path, 1, &error), nullptr) << error;
    std::filesystem::resize_file(path, 0x10000001);
    EXPECT_EQ(MakeScene("picture:" + path, 1, &error), nullptr);
    EXPECT_EQ(error, "scene \"picture:" + path + "\": the file has more than 256 megabytes.");
}

#if defined(ZERIX_SIM_HAS_PNG)

constexpr std::string_view kHead = "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"sv;
constexpr std::string_view kTail = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;

std::string Png(std::string_view middle) { return std::string(kHead).append(middle).append(kTail); }

// Red and blue, as colours and as a palette; a grey of 16 bits; a grey that nobody sees through.
TEST(ScenePictures, EveryKindOfPngBecomesColoursOfEightBits)
{
    const std::vector<uint8_t> redAndBlue = {255, 0, 0, 0, 0, 255};
    const std::vector<uint8_t> grey = {0xBC, 0xBC, 0xBC};
    struct {
        std::string_view middle;
        std::vector<uint8_t> levels;
    } const cases[] = {
        {"\0\0\0\2\0\0\0\1\x08\2\0\0\0\x7B\x40\xE8\xDD\0\0\0\x0DIDAT\x78\xDA\x63\xF8\xCF\0\x04\xFF"
         "\x01\x07\0\x01\xFF\x3D\x7D\x8C\x49"sv,
         redAndBlue},
        {"\0\0\0\2\0\0\0\1\1\3\0\0\0\xCE\xEC\xED\xC9\0\0\0\6PLTE\xFF\0\0\0\0\xFF\x6C\xA1\xFD\x8E"
         "\0\0\0\x0AIDAT\x78\xDA\x63\x70\0\0\0\x42\0\x41\x84\xBF\x8E\x62"sv,
         redAndBlue},
        {"\0\0\0\1\0\0\0\1\x10\0\0\0\0\x6A\xEE\x47\x16\0\0\0\x0BIDAT\x78\xDA\x63\xD8\x23\x04\0\x01"
         "\x8D\0\xCF\xEF\xA3\x13\x3C"sv,
         grey},
        {"\0\0\0\1\0\0\0\1\x08\6\0\0\0\x1F\x15\xC4\x89\0\0\0\x0DIDAT\x78\xDA\x63\xD8\xB3\x67\x0F"
         "\x03"
         "\0\x06\xA1\x02\x35\xD3\x34\x9A\x8D"sv,
         grey}};
    for (const auto &[middle, levels] : cases) {
        DecodedPicture picture;
        ASSERT_TRUE(DecodePng(Png(middle), &picture));
        EXPECT_EQ(picture.levels, levels);
        EXPECT_EQ(picture.width * picture.height * 3, levels.size());
    }
}

TEST(ScenePictures, ADamagedPngIsNone)
{
    const std::string good =
        Png("\0\0\0\2\0\0\0\1\x08\2\0\0\0\x7B\x40\xE8\xDD\0\0\0\x0DIDAT\x78\xDA\x63\xF8\xCF\0\x04"
            "\xFF\x01\x07\0\x01\xFF\x3D\x7D\x8C\x49"sv);
    DecodedPicture picture;
    ASSERT_TRUE(DecodePng(good, &picture));
    for (size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(DecodePng(good.substr(0, length), &picture)) << length;
    for (size_t at = 0; at < good.size() - 12; ++at) { // the last chunk's own are passed over
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0x10);
        EXPECT_FALSE(DecodePng(bad, &picture)) << at;
    }
}

#endif

} // namespace
} // namespace zerix::sim
