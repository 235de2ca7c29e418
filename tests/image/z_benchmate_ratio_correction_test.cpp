// The ratio correction, against literal rows and against a plain second form.
#include "image/z_benchmate_ratio_correction.h"

#include <gtest/gtest.h>

#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

class Ratio : public testing::Test {
protected:
    Ratio()
    {
        camera.getModel = 8;
        camera.getCCDWidth = 1392;
    }

    int16_t Run(const Bytes &bytes, uint32_t width, uint32_t height, uint32_t depth,
                uint32_t binning, bool isLive, uint32_t pattern = 5)
    {
        const ExactBuffer input(bytes);
        ZInImageBufferStruct in{.pBuffer = input.Data(),
                                .size = input.Size(),
                                .width = width,
                                .height = height,
                                .bitDepth = depth,
                                .colourPattern = pattern,
                                .imageFormat = depth == 8 ? 4u : 5u,
                                .symmetricalBinningMode = binning,
                                .lvwFlag = isLive,
                                .camera = &camera};
        const ExactBuffer output(bytes.size() * 2);
        out = {.pBuffer = output.Data()};
        const int16_t status = filter.Process(&in, &out);
        result = output.Bytes();
        result.resize(out.size);
        afterwards = input.Bytes();
        return status;
    }

    FilterCamera camera;
    ZBenchmateRatioCorrection filter{0};
    ZOutImageBufferStruct out;
    Bytes result;
    Bytes afterwards; // the input's own buffer
};

// The plain second form: one list of rows for each step.
std::vector<Words> Reduced(const std::vector<Words> &rows, uint32_t factor)
{
    std::vector<Words> reduced;
    for (const Words &row : rows) {
        Words shorter;
        for (size_t group = 0; group + 2 * factor <= row.size(); group += 2 * factor)
            for (size_t parity = 0; parity < 2; ++parity) {
                uint32_t sum = 0;
                for (size_t cell = 0; cell < factor; ++cell)
                    sum += row[group + 2 * cell + parity];
                shorter.push_back(static_cast<uint16_t>(sum / factor));
            }
        reduced.push_back(shorter);
    }
    return reduced;
}

// Where an exposed row goes, and what stands in the rows between.
std::vector<Words> Stretched(const std::vector<Words> &rows)
{
    const size_t height = rows.size() * 2;
    std::vector<Words> high(height);
    for (size_t row = 0; row < rows.size(); ++row)
        high[row % 2 == 0 ? 2 * row : 2 * row + 1] = rows[row];
    for (size_t row = 0; row < height; ++row) {
        if (row % 4 == 0 || row % 4 == 3)
            continue;
        const bool hasAbove = row >= 2;
        const bool hasBelow = row + 2 < height;
        const Words &above = high[hasAbove ? row - 2 : row + 2];
        const Words &below = high[hasBelow ? row + 2 : row - 2];
        Words mixed;
        for (size_t column = 0; column < above.size(); ++column) {
            const uint32_t twice = row % 4 == 2 ? above[column] : below[column];
            const uint32_t once = row % 4 == 2 ? below[column] : above[column];
            mixed.push_back(static_cast<uint16_t>((2 * twice + once + 2) / 3));
        }
        high[row] = mixed;
    }
    return high;
}

Words Flat(const std::vector<Words> &rows)
{
    Words flat;
    for (const Words &row : rows)
        flat.insert(flat.end(), row.begin(), row.end());
    return flat;
}

std::vector<Words> Noise(uint32_t width, uint32_t height, uint32_t top)
{
    uint32_t state = width * 7919 + height;
    std::vector<Words> rows(height, Words(width));
    for (Words &row : rows)
        for (uint16_t &pixel : row) {
            state = state * 1664525 + 1013904223;
            pixel = static_cast<uint16_t>((state >> 8) % (top + 1));
        }
    return rows;
}

Bytes BytesAt(const Words &words, uint32_t depth)
{
    return depth == 8 ? Bytes(words.begin(), words.end()) : BytesOfWords(words);
}

TEST_F(Ratio, AnotherCameraGets31)
{
    for (const uint16_t model : {uint16_t{0}, uint16_t{7}, uint16_t{9}, uint16_t{18}}) {
        camera.getModel = model;
        EXPECT_EQ(Run({1, 2, 3, 4}, 4, 1, 8, 2, false), 31);
        EXPECT_EQ(Run({1, 2, 3, 4}, 4, 1, 8, 1, true), 31);
        EXPECT_EQ(afterwards, (Bytes{1, 2, 3, 4}));
        EXPECT_EQ(out.size, 0u);
    }
}

TEST_F(Ratio, AWholeFrameGets31)
{
    for (const uint32_t binning : {1u, 0u}) {
        EXPECT_EQ(Run({1, 2, 3, 4}, 4, 1, 8, binning, false), 31);
        EXPECT_EQ(out.size, 0u);
    }
}

TEST_F(Ratio, BinningByTwoKeepsTheOrderOfTheColours)
{
    EXPECT_EQ(Run({1, 2, 3, 4}, 4, 1, 8, 2, false), 0);
    EXPECT_EQ(result, (Bytes{2, 3}));
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 1u);
    EXPECT_EQ(out.size, 2u);
    EXPECT_EQ(out.imageFormat, 4u);
    EXPECT_EQ(afterwards, (Bytes{1, 2, 3, 4}));
}

TEST_F(Ratio, MeansAreCut)
{
    EXPECT_EQ(Run({10, 200, 20, 255, 31, 255}, 6, 1, 8, 3, false), 0);
    EXPECT_EQ(result, (Bytes{20, 236})); // 61 / 3, 710 / 3
    EXPECT_EQ(Run({1, 255, 1, 255, 1, 255, 0, 254}, 8, 1, 8, 4, false), 0);
    EXPECT_EQ(result, (Bytes{0, 254})); // 3 / 4, 1019 / 4
    EXPECT_EQ(Run(BytesOfWords({65535, 1, 65535, 2}), 4, 1, 12, 2, false), 0);
    EXPECT_EQ(WordsOfBytes(result), (Words{65535, 1}));
    EXPECT_EQ(out.size, 4u);
    EXPECT_EQ(out.imageFormat, 5u);
}

TEST_F(Ratio, ColumnsThatFillNoGroupAreLeftOut)
{
    EXPECT_EQ(Run({1, 2, 3, 4, 5, 6, 7, 8, 99, 99}, 10, 1, 8, 2, false), 0);
    EXPECT_EQ(out.width, 4u);
    EXPECT_EQ(result, (Bytes{2, 3, 6, 7}));
}

TEST_F(Ratio, AnyOtherBinningTellsTheSizesAndWritesNoPixel)
{
    const ExactBuffer input(Bytes(20, 7));
    const ExactBuffer output(20);
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t size = 0;
    for (const uint32_t binning : {5u, 8u, 1u, 0u}) {
        filter.CorrectHorizontalRatio(input.Data(), 20, 1, 8, binning, output.Data(), &width,
                                      &height, &size);
        EXPECT_EQ(width, binning == 5 ? 4u : binning == 8 ? 2u : 20u);
        EXPECT_EQ(height, 1u);
        EXPECT_EQ(size, width);
        EXPECT_EQ(output.Bytes(), Bytes(20, 0xEE));
    }
}

TEST_F(Ratio, BinningAgreesWithThePlainForm)
{
    for (const uint32_t depth : {8u, 14u})
        for (uint32_t binning = 2; binning <= 4; ++binning)
            for (uint32_t width = 1; width <= 33; ++width) {
                const auto rows = Noise(width, 3, depth == 8 ? 255 : 65535);
                EXPECT_EQ(Run(BytesAt(Flat(rows), depth), width, 3, depth, binning, false), 0);
                EXPECT_EQ(result, BytesAt(Flat(Reduced(rows, binning)), depth))
                    << depth << " " << binning << " " << width;
            }
}

// The eightfold binning isn't listed, and a kept frame may have any.
TEST_F(Ratio, AFrameOfAnUnlistedBinningIsReducedAlike)
{
    EXPECT_EQ(Run({8, 1, 9, 1, 9, 1, 9, 1, 9, 1, 9, 1, 9, 1, 9, 8}, 16, 1, 8, 8, false), 0);
    EXPECT_EQ(result, (Bytes{8, 1})); // 71 / 8, 15 / 8
    for (const uint32_t depth : {8u, 14u})
        for (const uint32_t binning : {5u, 8u, 9u})
            for (uint32_t width = 1; width <= 40; ++width) {
                const auto rows = Noise(width, 3, depth == 8 ? 255 : 65535);
                EXPECT_EQ(Run(BytesAt(Flat(rows), depth), width, 3, depth, binning, false), 0);
                EXPECT_EQ(result, BytesAt(Flat(Reduced(rows, binning)), depth))
                    << depth << " " << binning << " " << width;
            }
    for (const uint32_t binning : {0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Run({1, 2, 3, 4}, 4, 1, 8, binning, false), 0);
        EXPECT_EQ(out.width, 0u);
        EXPECT_EQ(out.size, 0u);
    }
}

TEST_F(Ratio, LiveModeReducesByTheSensorsWidth)
{
    const Bytes row{1, 2, 3, 4, 5, 6, 7, 8};
    camera.getCCDWidth = 2048;
    EXPECT_EQ(Run(row, 8, 1, 8, 1, true), 0);
    EXPECT_EQ(result, (Bytes{3, 4, 3, 4})); // one group of 6, twice
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 2u);
    camera.getCCDWidth = 2560;
    EXPECT_EQ(Run(row, 8, 1, 8, 1, true), 0);
    EXPECT_EQ(result, (Bytes{4, 5, 4, 5}));
    camera.getCCDWidth = 1392;
    EXPECT_EQ(Run(row, 8, 1, 8, 1, true), 0);
    EXPECT_EQ(out.width, 8u);
    EXPECT_EQ(result, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 5, 6, 7, 8}));
}

// Worked by hand: rows of one value, six columns, 10 20 40 80 exposed.
TEST_F(Ratio, LiveModeMixesTheRowsBetween)
{
    Bytes rows;
    for (const uint8_t value : {uint8_t{10}, uint8_t{20}, uint8_t{40}, uint8_t{80}})
        rows.insert(rows.end(), 6, value);
    EXPECT_EQ(Run(rows, 6, 4, 8, 1, true), 0);
    // Rows 0, 3, 4, 7 are exposed. 1: only 3 has its colours. 2: (2 x 10 + 40 + 2) / 3.
    // 5: (20 + 2 x 80 + 2) / 3. 6: only 4 has its colours.
    Bytes expected;
    for (const uint8_t value : {uint8_t{10}, uint8_t{20}, uint8_t{20}, uint8_t{20}, uint8_t{40},
                                uint8_t{60}, uint8_t{40}, uint8_t{80}})
        expected.insert(expected.end(), 6, value);
    EXPECT_EQ(result, expected);
    EXPECT_EQ(out.height, 8u);
    EXPECT_EQ(out.size, 48u);
}

// Up to 4 columns or 5 rows are doubled alone.
TEST_F(Ratio, LiveModeLeavesSmallFramesDoubled)
{
    EXPECT_EQ(Run({1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3}, 4, 3, 8, 1, true), 0);
    EXPECT_EQ(result,
              (Bytes{1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3}));
    EXPECT_EQ(Run({1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2}, 6, 2, 8, 1, true), 0);
    EXPECT_EQ(result,
              (Bytes{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2}));
}

TEST_F(Ratio, LiveModeAgreesWithThePlainForm)
{
    for (const uint32_t sensor : {2048u, 2560u, 1000u})
        for (const uint32_t depth : {8u, 12u})
            for (uint32_t height = 3; height <= 12; ++height)
                for (const uint32_t width : {40u, 41u, 47u, 55u})
                    for (uint32_t pattern = 4; pattern <= 9; ++pattern) {
                        camera.getCCDWidth = sensor;
                        const uint32_t factor = sensor == 2048 ? 3 : sensor == 2560 ? 4 : 1;
                        const auto rows = Noise(width, height, depth == 8 ? 255 : 65535);
                        EXPECT_EQ(
                            Run(BytesAt(Flat(rows), depth), width, height, depth, 1, true, pattern),
                            0);
                        EXPECT_EQ(result, BytesAt(Flat(Stretched(Reduced(rows, factor))), depth))
                            << sensor << " " << depth << " " << width << " x " << height;
                    }
}

TEST_F(Ratio, LiveModeReducesInTheImagesOwnBuffer)
{
    camera.getCCDWidth = 2048;
    EXPECT_EQ(Run({1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16}, 6, 2, 8, 1, true), 0);
    EXPECT_EQ(afterwards, (Bytes{3, 4, 13, 14, 5, 6, 11, 12, 13, 14, 15, 16}));
}

// A size that tells of fewer rows than the height is believed.
TEST_F(Ratio, ReadsNothingBehindTheInput)
{
    EXPECT_EQ(Run(Bytes(16, 9), 4, 100, 8, 2, false), 0);
    EXPECT_EQ(out.height, 4u);
    EXPECT_EQ(result, Bytes(8, 9));
}

} // namespace
} // namespace ZX
