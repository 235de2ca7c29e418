// Mosaics that are made twice as high, as live mode's pictures need.
#include <cstring>
#include <memory>

#include "tests/api/post_processing_fixture.h"

namespace zerix::api {
namespace {

class VerticalZoom : public PostProcessing {
protected:
    // Rows of one value each.
    void Expose(const Bytes &values, uint32_t width)
    {
        mosaic.clear();
        for (const uint8_t value : values)
            mosaic.insert(mosaic.end(), width, value);
        in.pBuffer = mosaic.data();
        in.size = static_cast<uint32_t>(mosaic.size());
        in.width = width;
        in.height = static_cast<uint32_t>(values.size());
        in.bitDepth = 8;
    }

    // The first pixel of each row of the result.
    Bytes Zoom(uint32_t height)
    {
        const std::unique_ptr<uint8_t[]> exact(new uint8_t[std::size_t{in.width} * height]);
        std::memset(exact.get(), 0xEE, std::size_t{in.width} * height);
        out.pBuffer = exact.get();
        out.bufferSize = in.width * height;
        out.height = height;
        EXPECT_EQ(Zerix_BayerZoomVert(2, &in, &out), 0u);
        Bytes rows;
        for (uint32_t row = 0; row < height; ++row) {
            rows.push_back(exact[std::size_t{row} * in.width]);
            EXPECT_EQ(exact[std::size_t{row + 1} * in.width - 1], rows.back());
        }
        return rows;
    }
};

TEST_F(VerticalZoom, MixesTheRowsBetween)
{
    Expose({10, 20, 40, 80}, 6);
    // 0, 3, 4, 7 are exposed; 2: (2 x 10 + 40 + 2) / 3; 5: (20 + 2 x 80 + 2) / 3.
    EXPECT_EQ(Zoom(8), (Bytes{10, 20, 20, 20, 40, 60, 40, 80}));
    EXPECT_EQ(out.width, 6u);
    EXPECT_EQ(out.bitDepth, 8);
    Expose({10, 20, 40}, 6);
    EXPECT_EQ(Zoom(6), (Bytes{10, 20, 20, 20, 40, 20}));
}

TEST_F(VerticalZoom, RepeatsRowsWhereThereIsLittle)
{
    Expose({10, 20}, 6);
    EXPECT_EQ(Zoom(4), (Bytes{10, 20, 10, 20}));
    Expose({10, 20, 40, 80}, 4);
    EXPECT_EQ(Zoom(8), (Bytes{10, 20, 10, 20, 40, 80, 40, 80}));
    Expose({10}, 6);
    EXPECT_EQ(Zoom(2), (Bytes{10, 10}));
}

TEST_F(VerticalZoom, StaysInsideTheFrame)
{
    Expose({10, 20, 40, 80}, 6);
    EXPECT_EQ(Zoom(7), (Bytes{10, 20, 20, 20, 40, 20, 40}));
    EXPECT_EQ(Zoom(10), (Bytes{10, 20, 20, 20, 40, 60, 40, 80, 0xEE, 0xEE}));
    in.size = 12; // two rows of the four
    EXPECT_EQ(Zoom(8), (Bytes{10, 20, 10, 20, 0xEE, 0xEE, 0xEE, 0xEE}));
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[30]);
    Expose({10, 20, 40, 80}, 6);
    out.pBuffer = exact.get();
    out.bufferSize = 30;
    out.height = 8;
    EXPECT_EQ(Zerix_BayerZoomVert(2, &in, &out), 0u);
    EXPECT_EQ(exact[29], 40);
}

TEST_F(VerticalZoom, WorksOnWords)
{
    std::vector<uint16_t> words;
    for (const uint16_t value : {uint16_t{1000}, uint16_t{2000}, uint16_t{65535}, uint16_t{8000}})
        words.insert(words.end(), 5, value);
    std::vector<uint16_t> high(40);
    in.pBuffer = words.data();
    in.size = 40;
    in.width = 5;
    in.height = 4;
    in.bitDepth = 12;
    in.format = zfmtBayer16;
    out.pBuffer = high.data();
    out.bufferSize = 80;
    out.height = 8;
    EXPECT_EQ(Zerix_BayerZoomVert(2, &in, &out), 0u);
    std::vector<uint16_t> rows;
    for (std::size_t row = 0; row < 8; ++row)
        rows.push_back(high[row * 5 + 4]);
    EXPECT_EQ(rows, (std::vector<uint16_t>{1000, 2000, 22512, 2000, 65535, 6000, 65535, 8000}));
    EXPECT_EQ(out.bitDepth, 12);
}

TEST_F(VerticalZoom, OtherAlgorithmsAndFormats)
{
    for (const uint8_t algorithm : {uint8_t{0}, uint8_t{1}, uint8_t{3}, uint8_t{255}})
        EXPECT_EQ(Zerix_BayerZoomVert(algorithm, &in, &out), 1u);
    EXPECT_EQ(out.width, 0u);
    EXPECT_EQ(Zerix_BayerZoomVert(2, nullptr, &out), 1u);
    EXPECT_EQ(Zerix_BayerZoomVert(2, &in, nullptr), 1u);
    in.format = zfmtMono8;
    EXPECT_EQ(Zerix_BayerZoomVert(2, &in, &out), 0u);
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.bitDepth, 8);
    EXPECT_EQ(Pixels(1), Bytes{0xEE});
}

} // namespace
} // namespace zerix::api
