// Means and maxima of regions in every format, against literal values and a plain second form.
#include "image/image_statistics.h"

#include <array>
#include <gtest/gtest.h>

#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Rgb = std::array<uint32_t, 3>;

constexpr uint32_t kMean = 1;
constexpr uint32_t kMaximum = 2;

// Where sample (x, y) of a channel stands, in samples; channel 0 red, 1 green, 2 blue.
size_t SampleOf(uint32_t format, uint32_t width, uint32_t height, uint32_t x, uint32_t y,
                uint32_t channel)
{
    const size_t pixel = size_t{y} * width + x;
    switch (format) {
    case 6:
    case 7:
        return channel * size_t{width} * height + pixel;
    case 8:
        return pixel * 3 + (2 - channel);
    case 9:
        return pixel * 4 + 1 + channel;
    case 11:
        return pixel * 4 + (2 - channel);
    case 13:
        return pixel * 4 + channel;
    default:
        return pixel * 3 + channel;
    }
}

uint32_t SamplesOf(uint32_t format) { return format == 9 || format == 11 || format == 13 ? 4 : 3; }
bool IsWide(uint32_t format) { return format == 7 || format == 10; }

Rgb Plain(const std::vector<uint16_t> &samples, uint32_t format, uint32_t width, uint32_t height,
          uint32_t x, uint32_t y, uint32_t w, uint32_t h, uint32_t mode, Rgb result)
{
    for (uint32_t channel = 0; channel < 3; ++channel) {
        uint64_t sum = 0;
        uint32_t count = 0;
        uint32_t largest = 0;
        for (uint32_t row = y; row < height && row - y < h; ++row)
            for (uint32_t column = x; column < width && column - x < w; ++column) {
                const uint32_t sample =
                    samples[SampleOf(format, width, height, column, row, channel)];
                sum += sample;
                ++count;
                largest = std::max(largest, sample);
            }
        if (count != 0)
            result[channel] = mode == kMean ? static_cast<uint32_t>(sum / count) : largest;
    }
    return result;
}

TEST(ColourStatistics, AgreeWithThePlainFormInEveryFormat)
{
    constexpr uint32_t kWidth = 7;
    constexpr uint32_t kHeight = 5;
    struct Region {
        uint32_t x, y, width, height;
    };
    constexpr Region kRegions[] = {
        {0, 0, 7, 5},         {2, 1, 3, 2}, {6, 4, 1, 1},
        {5, 3, 10, 10},       {7, 0, 1, 1}, {0, 5, 1, 1},
        {1, 1, 0, 3},         {1, 1, 3, 0}, {0, 0, 0xFFFFFFFF, 0xFFFFFFFF},
        {0xFFFFFFFF, 2, 5, 5}};
    for (uint32_t format = 6; format <= 13; ++format) {
        std::vector<uint16_t> samples(kWidth * kHeight * SamplesOf(format));
        uint32_t state = format;
        for (uint16_t &sample : samples) {
            state = state * 1664525 + 1013904223;
            sample = static_cast<uint16_t>(IsWide(format) ? state >> 16 : state >> 24);
        }
        const ExactBuffer image(IsWide(format) ? BytesOfWords(samples)
                                               : Bytes(samples.begin(), samples.end()));
        for (const Region &at : kRegions)
            for (const uint32_t mode : {kMean, kMaximum}) {
                Rgb found{77, 78, 79};
                EXPECT_EQ(ZImageColourStatistics(image.Data(), kWidth, kHeight, format, at.x, at.y,
                                                 at.width, at.height, mode, &found[0], &found[1],
                                                 &found[2]),
                          0);
                EXPECT_EQ(found, Plain(samples, format, kWidth, kHeight, at.x, at.y, at.width,
                                       at.height, mode, {77, 78, 79}))
                    << format << " at " << at.x << "," << at.y << " mode " << mode;
            }
    }
}

TEST(ColourStatistics, MeansAreCut)
{
    const Bytes rgb24{10, 20, 30, 11, 21, 31, 11, 22, 33};
    uint32_t red = 0;
    uint32_t green = 0;
    uint32_t blue = 0;
    EXPECT_EQ(
        ZImageColourStatistics(rgb24.data(), 3, 1, 12, 0, 0, 3, 1, kMean, &red, &green, &blue), 0);
    EXPECT_EQ(red, 10u); // 32 / 3
    EXPECT_EQ(green, 21u);
    EXPECT_EQ(blue, 31u); // 94 / 3
}

TEST(ColourStatistics, AreOfColourImagesAlone)
{
    const Bytes pixels(64, 5);
    uint32_t red = 1;
    uint32_t green = 2;
    uint32_t blue = 3;
    for (const uint32_t format : {0u, 1u, 2u, 3u, 4u, 5u, 14u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ZImageColourStatistics(pixels.data(), 2, 2, format, 0, 0, 2, 2, kMean, &red,
                                         &green, &blue),
                  29)
            << format;
        EXPECT_EQ(red + green + blue, 6u);
    }
}

TEST(ColourStatistics, AnUnknownModeMeasuresNothing)
{
    const Bytes pixels(12, 5);
    uint32_t red = 1;
    uint32_t green = 2;
    uint32_t blue = 3;
    for (const uint32_t mode : {0u, 3u})
        EXPECT_EQ(
            ZImageColourStatistics(pixels.data(), 2, 2, 12, 0, 0, 2, 2, mode, &red, &green, &blue),
            0);
    EXPECT_EQ(red + green + blue, 6u);
}

TEST(MonoStatistics, BytesAndWords)
{
    const Bytes bytes{1, 2, 3, 250, 5, 6};
    const Bytes words = BytesOfWords({1, 2, 3, 60000, 5, 6});
    for (const uint32_t format : {0u, 2u, 4u}) {
        uint32_t value = 0;
        EXPECT_EQ(ZImageMonoStatistics(bytes.data(), 3, 2, format, 0, 0, 3, 2, kMaximum, &value),
                  0);
        EXPECT_EQ(value, 250u);
        EXPECT_EQ(ZImageMonoStatistics(bytes.data(), 3, 2, format, 0, 0, 3, 2, kMean, &value), 0);
        EXPECT_EQ(value, 44u); // 267 / 6
        EXPECT_EQ(ZImageMonoStatistics(bytes.data(), 3, 2, format, 1, 1, 9, 9, kMaximum, &value),
                  0);
        EXPECT_EQ(value, 6u);
    }
    for (const uint32_t format : {1u, 3u, 5u}) {
        uint32_t value = 0;
        EXPECT_EQ(ZImageMonoStatistics(words.data(), 3, 2, format, 0, 0, 3, 2, kMaximum, &value),
                  0);
        EXPECT_EQ(value, 60000u);
        EXPECT_EQ(ZImageMonoStatistics(words.data(), 3, 2, format, 1, 0, 1, 2, kMean, &value), 0);
        EXPECT_EQ(value, 3u); // 7 / 2
    }
    uint32_t value = 9;
    for (uint32_t format = 6; format <= 14; ++format)
        EXPECT_EQ(ZImageMonoStatistics(bytes.data(), 1, 1, format, 0, 0, 1, 1, kMean, &value), 29);
    EXPECT_EQ(ZImageMonoStatistics(bytes.data(), 3, 2, 2, 3, 0, 1, 1, kMean, &value), 0);
    EXPECT_EQ(value, 9u);
}

} // namespace
} // namespace ZX
