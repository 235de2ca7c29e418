// The Bayer filter: literal images, and every method, pattern, format and size against a plain
// second form, through the pipeline's way and through the planes.
#include "image/z_bayer_interpolation.h"

#include <array>
#include <gtest/gtest.h>

#include "image/z_image_pipeline.h"
#include "tests/image/filter_camera.h"
#include "tests/image/plain_bayer.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

constexpr uint32_t kByteFormats[] = {8, 9, 11, 12, 13};

plain::Mosaic Noise(uint32_t width, uint32_t height, uint32_t pattern, uint32_t top)
{
    plain::Mosaic mosaic{width, height, pattern, plain::Plane(width * height)};
    uint32_t state = width * 31 + height * 17 + pattern;
    for (uint32_t &pixel : mosaic.pixels) {
        state = state * 1664525 + 1013904223;
        pixel = (state >> 12) % (top + 1);
        if (state >> 29 == 0) // steep edges, for what overshoots
            pixel = state >> 28 & 1 ? top : 0;
    }
    return mosaic;
}

Bytes BytesAt(const plain::Plane &samples, bool isWide)
{
    return isWide ? BytesOfWords(Words(samples.begin(), samples.end()))
                  : Bytes(samples.begin(), samples.end());
}

class Bayer : public testing::Test {
protected:
    Bayer() { filter.Init(8, 8); }

    int16_t Run(const Bytes &bytes, uint32_t width, uint32_t height, uint32_t pattern,
                uint32_t format, uint16_t algorithm, uint32_t inputFormat = 4)
    {
        const ExactBuffer input(bytes);
        ZInImageBufferStruct in{.pBuffer = input.Data(),
                                .size = input.Size(),
                                .width = width,
                                .height = height,
                                .bitDepth = inputFormat == 4 ? 8u : 12u,
                                .colourPattern = pattern,
                                .imageFormat = inputFormat};
        filter.SetOutputFormat(format);
        filter.SetAlgorithm(algorithm);
        const uint32_t bytesOfPixel = ZExImage::ImageFormatByteSize(format);
        const ExactBuffer output(size_t{width} * height * bytesOfPixel);
        out = {.pBuffer = output.Data()};
        const int16_t status = filter.Process(&in, &out);
        result = output.Bytes();
        EXPECT_EQ(input.Bytes(), bytes);
        return status;
    }

    ZBayerInterpolation filter{4, 12};
    ZOutImageBufferStruct out;
    Bytes result;
};

TEST_F(Bayer, WhatIsNoMosaicGets31)
{
    for (const uint32_t format : {0u, 1u, 2u, 3u, 6u, 7u, 8u, 12u, 13u, 14u}) {
        EXPECT_EQ(Run({1, 2, 3, 4}, 2, 2, 5, 12, 2, format), 31) << format;
        EXPECT_EQ(out.size, 0u);
        EXPECT_EQ(result, Bytes(12, 0xEE));
    }
    for (const uint32_t format : {0u, 2u, 5u, 14u, 99u})
        EXPECT_EQ(Run({1, 2, 3, 4}, 2, 2, 5, format, 2), 31) << format;
}

TEST_F(Bayer, PlanarFormatsGet5)
{
    EXPECT_EQ(Run({1, 2, 3, 4}, 2, 2, 5, 6, 2), 5);
    EXPECT_EQ(Run({1, 2, 3, 4}, 2, 2, 5, 7, 2), 5);
    EXPECT_EQ(out.size, 0u);
}

TEST_F(Bayer, Gets28BeforeInit)
{
    ZBayerInterpolation fresh(2, 12);
    Bytes pixels{1, 2, 3, 4};
    Bytes rgb(12);
    ZInImageBufferStruct in{
        .pBuffer = pixels.data(), .size = 4, .width = 2, .height = 2, .imageFormat = 4};
    out = {.pBuffer = rgb.data()};
    EXPECT_EQ(fresh.Process(&in, &out), 28);
    fresh.SetOutputFormat(6);
    EXPECT_EQ(fresh.Process(&in, &out), 28); // before the format's 5
    fresh.SetOutputFormat(2);
    EXPECT_EQ(fresh.Process(&in, &out), 31);
    fresh.SetOutputFormat(12);
    EXPECT_EQ(fresh.Init(2, 2), 0);
    EXPECT_EQ(fresh.Process(&in, &out), 0);
}

// One cell of R 10, G 21, G 31, B 40; the greens are halved apart: 10 + 15.
TEST_F(Bayer, OneCellInEveryFormatAndPattern)
{
    const Bytes cells[] = {{10, 21, 31, 40}, {21, 10, 40, 31}, {21, 40, 10, 31}, {40, 21, 31, 10}};
    for (uint32_t pattern = 5; pattern <= 8; ++pattern) {
        const Bytes &cell = cells[pattern - 5];
        const auto four = [](const Bytes &pixel) {
            Bytes image;
            for (int count = 0; count < 4; ++count)
                image.insert(image.end(), pixel.begin(), pixel.end());
            return image;
        };
        EXPECT_EQ(Run(cell, 2, 2, pattern, 8, 2), 0);
        EXPECT_EQ(result, four({40, 25, 10}));
        EXPECT_EQ(Run(cell, 2, 2, pattern, 9, 2), 0);
        EXPECT_EQ(result, four({255, 10, 25, 40}));
        EXPECT_EQ(Run(cell, 2, 2, pattern, 11, 2), 0);
        EXPECT_EQ(result, four({40, 25, 10, 255}));
        EXPECT_EQ(Run(cell, 2, 2, pattern, 12, 2), 0);
        EXPECT_EQ(result, four({10, 25, 40}));
        EXPECT_EQ(Run(cell, 2, 2, pattern, 13, 2), 0);
        EXPECT_EQ(result, four({10, 25, 40, 255}));
        EXPECT_EQ(out.size, 16u);
        EXPECT_EQ(out.width, 2u);
        EXPECT_EQ(out.height, 2u);
        EXPECT_EQ(out.imageFormat, 13u);
        EXPECT_EQ(Run(BytesOfWords(Words(cell.begin(), cell.end())), 2, 2, pattern, 10, 2, 5), 0);
        EXPECT_EQ(WordsOfBytes(result), (Words{10, 25, 40, 10, 25, 40, 10, 25, 40, 10, 25, 40}));
        EXPECT_EQ(out.size, 24u);
    }
}

TEST_F(Bayer, GreensLoseTheirLowBits)
{
    EXPECT_EQ(Run({0, 255, 255, 0}, 2, 2, 5, 12, 2), 0);
    EXPECT_EQ(result[1], 254);
    EXPECT_EQ(Run({0, 1, 1, 0}, 2, 2, 5, 12, 2), 0);
    EXPECT_EQ(result[1], 0);
    EXPECT_EQ(Run(BytesOfWords({0, 65535, 65535, 0}), 2, 2, 5, 10, 2, 5), 0);
    EXPECT_EQ(WordsOfBytes(result)[1], 65534);
}

// Two cells a row, two rows of them: reds 0 90 / 30 240. Linear positions are 0, 1/3, 2/3, 1.
TEST_F(Bayer, LinearByHand)
{
    Bytes mosaic(16, 0);
    mosaic[0] = 0;
    mosaic[2] = 90;
    mosaic[8] = 30;
    mosaic[10] = 240;
    EXPECT_EQ(Run(mosaic, 4, 4, 5, 12, 1), 0);
    Bytes reds;
    for (size_t pixel = 0; pixel < 16; ++pixel)
        reds.push_back(result[pixel * 3]);
    // Rows at the top 0 30 60 90 and at the bottom 30 100 170 240, and thirds between.
    EXPECT_EQ(reds, (Bytes{0, 30, 60, 90, 10, 53, 97, 140, 20, 77, 133, 190, 30, 100, 170, 240}));
}

TEST_F(Bayer, EveryAlgorithmSelectsItsMethod)
{
    const plain::Mosaic mosaic = Noise(12, 10, 6, 255);
    const Bytes pixels = BytesAt(mosaic.pixels, false);
    const uint32_t methods[] = {2, 2, 1, 2, 4, 2, 2};
    for (uint16_t algorithm = 0; algorithm < std::size(methods); ++algorithm) {
        EXPECT_EQ(Run(pixels, 12, 10, 6, 12, algorithm), 0);
        EXPECT_EQ(
            result,
            BytesAt(plain::Arranged(plain::Colours(mosaic, methods[algorithm], 255), 12), false))
            << algorithm;
    }
    EXPECT_EQ(Run(pixels, 12, 10, 6, 12, 3), 0);
    const Bytes bicubic = result;
    EXPECT_EQ(Run(pixels, 12, 10, 6, 12, 1), 0);
    EXPECT_EQ(bicubic, result);
}

TEST_F(Bayer, AnUnknownPatternIsRedFirst)
{
    const plain::Mosaic mosaic = Noise(6, 6, 5, 255);
    EXPECT_EQ(Run(BytesAt(mosaic.pixels, false), 6, 6, 5, 12, 2), 0);
    const Bytes redFirst = result;
    for (const uint32_t pattern : {0u, 1u, 4u, 9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Run(BytesAt(mosaic.pixels, false), 6, 6, pattern, 12, 2), 0);
        EXPECT_EQ(result, redFirst) << pattern;
    }
}

// The planes are enlarged one like the other, not each from its own place in the cell: an edge that
// runs through cells leaves them coloured, here blue, as only their blue lies beyond it.
TEST_F(Bayer, AnEdgeThroughACellHasFringes)
{
    Bytes mosaic; // R G / G B; black, white from the fourth column on
    for (int row = 0; row < 8; ++row)
        mosaic.insert(mosaic.end(), {0, 0, 0, 240, 240, 240, 240, 240});
    EXPECT_EQ(Run(mosaic, 8, 8, 5, 12, 2), 0);
    const auto rowOf = [this](size_t channel) {
        Bytes levels;
        for (size_t column = 0; column < 8; ++column)
            levels.push_back(result[(3 * 8 + column) * 3 + channel]);
        return levels;
    };
    EXPECT_EQ(rowOf(0), (Bytes{0, 0, 0, 0, 240, 240, 240, 240}));
    EXPECT_EQ(rowOf(1), (Bytes{0, 0, 120, 120, 240, 240, 240, 240}));
    EXPECT_EQ(rowOf(2), (Bytes{0, 0, 240, 240, 240, 240, 240, 240}));
    EXPECT_EQ(Run(mosaic, 8, 8, 5, 12, 1), 0);
    // Steps of 3/7 cell: 0, 3/7, 6/7, 1 2/7, 1 5/7, 2 1/7, 2 4/7, 3.
    EXPECT_EQ(rowOf(0), (Bytes{0, 0, 0, 69, 171, 240, 240, 240}));
    EXPECT_EQ(rowOf(1), (Bytes{0, 51, 103, 154, 206, 240, 240, 240}));
    EXPECT_EQ(rowOf(2), (Bytes{0, 103, 206, 240, 240, 240, 240, 240}));
}

class BayerSizes : public Bayer, public testing::WithParamInterface<uint16_t> {
protected:
    // Through the pipeline's way and through planes of exact size.
    void Compare(uint32_t width, uint32_t height, uint32_t pattern, uint32_t format)
    {
        const uint16_t algorithm = GetParam();
        const uint32_t method = algorithm == 2 ? 1 : algorithm == 4 ? 4 : 2;
        const bool isWide = format == 10 || format == 7;
        const uint32_t top = isWide ? 65535 : 255;
        const plain::Mosaic mosaic = Noise(width, height, pattern, top);
        const Bytes pixels = BytesAt(mosaic.pixels, isWide);
        const Bytes expected =
            BytesAt(plain::Arranged(plain::Colours(mosaic, method, top), format), isWide);
        if (format != 6 && format != 7) {
            ASSERT_EQ(Run(pixels, width, height, pattern, format, algorithm, isWide ? 5 : 4), 0);
            ASSERT_EQ(result, expected)
                << width << " x " << height << " pattern " << pattern << " format " << format;
            EXPECT_EQ(out.size, result.size());
        }
        const ExactBuffer image(pixels);
        std::vector<ExactBuffer> full;
        std::vector<ExactBuffer> quarter;
        std::array<uint8_t *, 4> fullPlanes{};
        std::array<uint8_t *, 4> quarterPlanes{};
        for (size_t plane = 0; plane < 4; ++plane) {
            full.emplace_back(pixels.size());
            quarter.emplace_back(pixels.size() / 4);
            fullPlanes[plane] = full[plane].Data();
            quarterPlanes[plane] = quarter[plane].Data();
        }
        const ExactBuffer output(expected.size());
        uint32_t size = 0;
        const int16_t status =
            isWide ? filter.Private_Bayer16BitUsingSSE(
                         image.Data(), width, height, pattern, output.Data(), format, &size,
                         fullPlanes.data(), quarterPlanes.data(), static_cast<int32_t>(method))
                   : filter.Private_Bayer8BitUsingSSE(
                         image.Data(), width, height, pattern, output.Data(), format, &size,
                         fullPlanes.data(), quarterPlanes.data(), static_cast<int32_t>(method));
        ASSERT_EQ(status, 0);
        ASSERT_EQ(output.Bytes(), expected)
            << "planes of " << width << " x " << height << " format " << format;
        EXPECT_EQ(size, expected.size());
    }
};

TEST_P(BayerSizes, SmallOnesOfEveryShape)
{
    for (uint32_t width = 1; width <= 18; ++width)
        for (uint32_t height = 1; height <= 12; ++height) {
            Compare(width, height, 5 + (width + height) % 4, 12);
            Compare(width, height, 5 + (width + height) % 4, 10);
        }
}

TEST_P(BayerSizes, EveryFormatAndPattern)
{
    for (uint32_t pattern = 5; pattern <= 8; ++pattern)
        for (uint32_t format = 6; format <= 13; ++format) {
            Compare(46, 12, pattern, format);
            Compare(21, 9, pattern, format);
        }
}

// Around the widths of every register, and beyond the strips and maxima.
TEST_P(BayerSizes, WideOnes)
{
    for (const uint32_t width : {62u, 63u, 64u, 65u, 66u, 126u, 128u, 130u, 131u, 190u, 192u, 194u,
                                 254u, 256u, 258u, 259u, 1030u, 1601u, 2184u})
        for (const uint32_t format : {8u, 10u, 11u, 12u})
            Compare(width, 10, 5 + width % 4, format);
}

TEST_P(BayerSizes, TallOnes)
{
    for (const uint32_t height : {255u, 256u, 700u})
        for (const uint32_t format : {12u, 10u})
            Compare(10, height, 6, format);
}

INSTANTIATE_TEST_SUITE_P(Algorithms, BayerSizes,
                         testing::Values(uint16_t{1}, uint16_t{2}, uint16_t{4}));

TEST_F(Bayer, DirectCallsChooseByTheFormat)
{
    const Bytes image(4, 7);
    Bytes planes[8];
    std::array<uint8_t *, 4> full{};
    std::array<uint8_t *, 4> quarter{};
    for (size_t plane = 0; plane < 4; ++plane) {
        planes[plane].resize(8);
        planes[plane + 4].resize(2);
        full[plane] = planes[plane].data();
        quarter[plane] = planes[plane + 4].data();
    }
    Bytes output(24, 0xEE);
    for (uint32_t format = 0; format <= 14; ++format) {
        uint32_t size = 0;
        const Bytes wide = BytesOfWords({7, 7, 7, 7});
        const bool isMade = (format >= 8 && format <= 13);
        EXPECT_EQ(filter.BayerUsingSSE(format == 10 ? wide.data() : image.data(), 2, 2, 5,
                                       output.data(), format, &size, full.data(), quarter.data(),
                                       1),
                  isMade ? 0 : 5)
            << format;
        EXPECT_EQ(size, !isMade                       ? 0u
                        : format == 10                ? 24u
                        : format == 8 || format == 12 ? 12u
                                                      : 16u);
        if (format != 7) {
            EXPECT_EQ(filter.Private_Bayer16BitUsingSSE(wide.data(), 2, 2, 5, output.data(), format,
                                                        &size, full.data(), quarter.data(), 1),
                      format == 10 ? 0 : 29)
                << format;
        }
        if (format == 7 || format == 10 || format < 6 || format > 13) {
            EXPECT_EQ(filter.Private_Bayer8BitUsingSSE(image.data(), 2, 2, 5, output.data(), format,
                                                       &size, full.data(), quarter.data(), 1),
                      29)
                << format;
        }
    }
}

// The quarter planes hold the split, the greens mixed in the second.
TEST_F(Bayer, DirectCallsLeaveThePlanes)
{
    const Bytes image{10, 21, 31, 40};
    Bytes planes[8];
    std::array<uint8_t *, 4> full{};
    std::array<uint8_t *, 4> quarter{};
    for (size_t plane = 0; plane < 4; ++plane) {
        planes[plane].resize(4);
        planes[plane + 4].resize(1);
        full[plane] = planes[plane].data();
        quarter[plane] = planes[plane + 4].data();
    }
    Bytes output(12);
    uint32_t size = 0;
    EXPECT_EQ(filter.Private_Bayer8BitUsingSSE(image.data(), 2, 2, 5, output.data(), 12, &size,
                                               full.data(), quarter.data(), 1),
              0);
    EXPECT_EQ(planes[4][0], 10);
    EXPECT_EQ(planes[5][0], 25);
    EXPECT_EQ(planes[6][0], 15);
    EXPECT_EQ(planes[7][0], 40);
    EXPECT_EQ(planes[0], Bytes(4, 10));
    EXPECT_EQ(planes[1], Bytes(4, 25));
    EXPECT_EQ(planes[2], Bytes(4, 40));
}

// Words are made of what is there; the rest of the mosaic is black.
TEST_F(Bayer, AByteMosaicUnderAWordFormatReadsNothingBehindIt)
{
    EXPECT_EQ(Run(Bytes(16, 1), 4, 4, 5, 10, 2, 4), 0);
    Words expected(48, 0);
    for (size_t sample = 0; sample < 24; ++sample)
        expected[sample] = sample % 3 == 1 ? 0x0080 + 0x0080 : 0x0101;
    EXPECT_EQ(WordsOfBytes(result), expected);
}

TEST_F(Bayer, AMosaicThatEndsInARowIsBlackFromThere)
{
    EXPECT_EQ(Run(Bytes(14, 200), 4, 4, 5, 12, 2), 0); // and nothing of this shows
    const Bytes cut(10, 8);                            // two rows and a half of four
    EXPECT_EQ(Run(cut, 4, 4, 5, 12, 2), 0);
    Bytes expected;
    for (size_t pixel = 0; pixel < 16; ++pixel) {
        const bool isWhole = pixel < 8;
        const bool isHalf = pixel % 4 < 2; // of the third row: red and the first green
        if (isWhole)
            expected.insert(expected.end(), {8, 8, 8});
        else if (isHalf)
            expected.insert(expected.end(), {8, 4, 0});
        else
            expected.insert(expected.end(), {0, 0, 0});
    }
    EXPECT_EQ(result, expected);
}

TEST_F(Bayer, SettingsOfOneImageDontShowInTheNext)
{
    const plain::Mosaic large = Noise(40, 20, 7, 255);
    const plain::Mosaic small = Noise(12, 8, 8, 255);
    for (const uint16_t algorithm : {uint16_t{4}, uint16_t{1}, uint16_t{2}, uint16_t{4}}) {
        const uint32_t method = algorithm == 2 ? 1 : algorithm == 4 ? 4 : 2;
        for (const plain::Mosaic *mosaic : {&large, &small, &large})
            for (const uint32_t format : kByteFormats) {
                EXPECT_EQ(Run(BytesAt(mosaic->pixels, false), mosaic->width, mosaic->height,
                              mosaic->pattern, format, algorithm),
                          0);
                EXPECT_EQ(
                    result,
                    BytesAt(plain::Arranged(plain::Colours(*mosaic, method, 255), format), false));
            }
    }
}

TEST_F(Bayer, InAPipelineAnImageBecomesColour)
{
    ZImagePipeline pipeline;
    pipeline.Setup(6, 4);
    filter.SetOutputFormat(11);
    filter.SetAlgorithm(1);
    pipeline.AddFilter(&filter);
    const plain::Mosaic mosaic = Noise(6, 4, 8, 255);
    auto image = MakeImage(BytesAt(mosaic.pixels, false), 6, 4, 4, 8);
    bool isDone = false;
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &isDone), 0);
    EXPECT_TRUE(isDone);
    EXPECT_EQ(image->GetImageFormat(), 11u);
    EXPECT_EQ(image->GetImageSize(), 96u);
    EXPECT_EQ(BytesOf(*image), BytesAt(plain::Arranged(plain::Colours(mosaic, 2, 255), 11), false));
}

} // namespace
} // namespace ZX
