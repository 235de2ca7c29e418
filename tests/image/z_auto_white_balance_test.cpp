// The gain tables on images of every layout, against literal bytes and a plain second form.
#include "image/z_auto_white_balance.h"

#include <gtest/gtest.h>

#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

class Gains : public testing::Test {
protected:
    Gains() : filter(std::make_unique<ZAutoWhiteBalance>(false))
    {
        camera.getImageFormat = 2;
        filter->SetRedScale(1.5f);
        filter->SetGreenScale(0.5f);
        filter->SetBlueScale(2.0f);
    }

    // The image stands in the output, where the pipeline leaves it.
    int16_t Run(const Bytes &bytes, uint32_t width, uint32_t height, uint32_t format,
                uint32_t depth = 8)
    {
        const ExactBuffer image(bytes);
        ZInImageBufferStruct in{.size = image.Size(),
                                .width = width,
                                .height = height,
                                .bitDepth = depth,
                                .imageFormat = format,
                                .camera = &camera};
        out = {.pBuffer = image.Data(), .imageFormat = format};
        const int16_t status = filter->Process(&in, &out);
        result = image.Bytes();
        return status;
    }

    FilterCamera camera;
    std::unique_ptr<ZAutoWhiteBalance> filter;
    ZOutImageBufferStruct out;
    Bytes result;
};

TEST_F(Gains, EightBitLayouts)
{
    // Two pixels: red 100 200, green 100 254, blue 100 127.
    EXPECT_EQ(Run({100, 200, 100, 254, 100, 127}, 2, 1, 6), 0);
    EXPECT_EQ(result, (Bytes{150, 255, 50, 127, 200, 254}));
    EXPECT_EQ(Run({100, 100, 100, 127, 254, 200}, 2, 1, 8), 0);
    EXPECT_EQ(result, (Bytes{200, 50, 150, 254, 127, 255}));
    EXPECT_EQ(Run({77, 100, 100, 100, 78, 200, 254, 127}, 2, 1, 9), 0);
    EXPECT_EQ(result, (Bytes{77, 150, 50, 200, 78, 255, 127, 254}));
    EXPECT_EQ(Run({100, 100, 100, 77, 127, 254, 200, 78}, 2, 1, 11), 0);
    EXPECT_EQ(result, (Bytes{200, 50, 150, 77, 254, 127, 255, 78}));
    EXPECT_EQ(Run({100, 100, 100, 200, 254, 127}, 2, 1, 12), 0);
    EXPECT_EQ(result, (Bytes{150, 50, 200, 255, 127, 254}));
    EXPECT_EQ(Run({100, 100, 100, 77, 200, 254, 127, 78}, 2, 1, 13), 0);
    EXPECT_EQ(result, (Bytes{150, 50, 200, 77, 255, 127, 254, 78}));
    EXPECT_EQ(out.size, 8u);
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 1u);
    EXPECT_EQ(out.imageFormat, 13u);
}

TEST_F(Gains, SixteenBitLayouts)
{
    EXPECT_EQ(Run(BytesOfWords({100, 50000, 100, 65534, 100, 32767}), 2, 1, 7, 16), 0);
    EXPECT_EQ(WordsOfBytes(result), (Words{150, 65535, 50, 32767, 200, 65534}));
    EXPECT_EQ(Run(BytesOfWords({100, 100, 100, 50000, 65534, 32767}), 2, 1, 10, 12), 0);
    EXPECT_EQ(WordsOfBytes(result), (Words{150, 50, 200, 65535, 32767, 65534}));
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(out.imageFormat, 10u);
}

TEST_F(Gains, TheTopLevelStays)
{
    EXPECT_EQ(Run({255, 255, 255, 254, 254, 254}, 2, 1, 12), 0);
    EXPECT_EQ(result, (Bytes{255, 255, 255, 255, 127, 255}));
    EXPECT_EQ(Run(BytesOfWords({65535, 65535, 65535}), 1, 1, 10, 16), 0);
    EXPECT_EQ(WordsOfBytes(result), (Words{65535, 65535, 65535}));
}

TEST_F(Gains, AMonochromeCameraGets31)
{
    camera.getImageFormat = 1;
    EXPECT_EQ(Run({1, 2, 3}, 1, 1, 12), 31);
    EXPECT_EQ(result, (Bytes{1, 2, 3}));
    EXPECT_EQ(out.size, 0u);
    camera.getImageFormat = 3; // a wheel is colour
    EXPECT_EQ(Run({10, 20, 30}, 1, 1, 12), 0);
    EXPECT_EQ(result, (Bytes{15, 10, 60}));
}

TEST_F(Gains, WhatIsNoColourImageGets31)
{
    for (const uint32_t format : {0u, 1u, 2u, 3u, 4u, 5u, 14u}) {
        EXPECT_EQ(Run({1, 2, 3, 4, 5, 6}, 1, 1, format), 31) << format;
        EXPECT_EQ(result, (Bytes{1, 2, 3, 4, 5, 6}));
    }
}

// Whether there is colour is asked of the output, where it lies of the input.
TEST_F(Gains, TheOutputsFormatDecidesAndTheInputsIsTheLayout)
{
    const auto run = [this](uint32_t inputFormat, uint32_t outputFormat) {
        const ExactBuffer image(Bytes{10, 20, 30});
        ZInImageBufferStruct in{.size = 3,
                                .width = 1,
                                .height = 1,
                                .bitDepth = 8,
                                .imageFormat = inputFormat,
                                .camera = &camera};
        out = {.pBuffer = image.Data(), .imageFormat = outputFormat};
        const int16_t status = filter->Process(&in, &out);
        result = image.Bytes();
        return status;
    };
    EXPECT_EQ(run(12, 4), 31);
    EXPECT_EQ(run(4, 12), 29);
    EXPECT_EQ(result, (Bytes{10, 20, 30}));
    EXPECT_EQ(run(8, 12), 0);
    EXPECT_EQ(result, (Bytes{20, 10, 45})); // blue, green, red
    EXPECT_EQ(out.imageFormat, 8u);
}

TEST_F(Gains, AFormatThatDoesNotSuitTheDepthGets29)
{
    for (const uint32_t format : {7u, 10u})
        EXPECT_EQ(Run({1, 2, 3, 4, 5, 6}, 1, 1, format, 8), 29) << format;
    for (const uint32_t format : {6u, 8u, 9u, 11u, 12u, 13u})
        for (const uint32_t depth : {7u, 9u, 12u, 16u})
            EXPECT_EQ(Run({1, 2, 3, 4, 5, 6}, 1, 1, format, depth), 29) << format;
    EXPECT_EQ(result, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST_F(Gains, AnImageWithoutPixelsGets5)
{
    EXPECT_EQ(Run({}, 0, 4, 12), 5);
    EXPECT_EQ(Run({}, 4, 0, 10, 16), 5);
}

// Every level of each channel, by the rule.
TEST_F(Gains, EveryLevelFollowsTheTable)
{
    const auto expected = [](uint32_t level, double scale, uint32_t top) {
        const double scaled = std::min(level * scale, static_cast<double>(top));
        return level == top ? top : static_cast<uint32_t>(scaled);
    };
    filter->SetRedScale(1.16f);
    filter->SetGreenScale(0.73f);
    filter->SetBlueScale(1.88f);
    const double scales[] = {static_cast<double>(1.16f), static_cast<double>(0.73f),
                             static_cast<double>(1.88f)};
    Bytes bytes;
    Bytes bytesExpected;
    for (uint32_t level = 0; level < 256; ++level)
        for (const double scale : scales) {
            bytes.push_back(static_cast<uint8_t>(level));
            bytesExpected.push_back(static_cast<uint8_t>(expected(level, scale, 255)));
        }
    EXPECT_EQ(Run(bytes, 16, 16, 12), 0);
    EXPECT_EQ(result, bytesExpected);
    Words words;
    Words wordsExpected;
    for (uint32_t level = 0; level < 65536; ++level)
        for (const double scale : scales) {
            words.push_back(static_cast<uint16_t>(level));
            wordsExpected.push_back(static_cast<uint16_t>(expected(level, scale, 65535)));
        }
    EXPECT_EQ(Run(BytesOfWords(words), 256, 256, 10, 16), 0);
    EXPECT_EQ(WordsOfBytes(result), wordsExpected);
}

TEST_F(Gains, GreyWorldTakesItsChannelsWhereTheyAre)
{
    Bytes image{10, 20, 99, 30, 40, 99, 50, 60};
    EXPECT_EQ(filter->GreyWorld(image.data(), &image[0], &image[3], &image[6], 2, 1, 2, 1, 6), 0);
    EXPECT_EQ(image, (Bytes{15, 30, 99, 15, 20, 99, 100, 120}));
    Words words{10, 20, 99, 30, 40, 99, 50, 60};
    EXPECT_EQ(filter->GreyWorld_16Bit(words.data(), &words[0], &words[3], &words[6], 2, 1, 2, 1, 7),
              0);
    EXPECT_EQ(words, (Words{15, 30, 99, 15, 20, 99, 100, 120}));
    EXPECT_EQ(
        filter->GreyWorld_16Bit(words.data(), &words[0], &words[1], &words[2], 2, 1, 2, 3, 10), 0);
    EXPECT_EQ(words, (Words{22, 15, 198, 22, 10, 198, 100, 120}));
    EXPECT_EQ(
        filter->GreyWorld_16Bit(words.data(), &words[0], &words[1], &words[2], 1, 1, 1, 4, 10), 5);
    EXPECT_EQ(filter->GreyWorld(image.data(), &image[0], &image[1], &image[2], 0, 1, 0, 3, 12), 5);
}

} // namespace
} // namespace ZX
