// The sweep's processor levels and its ways to write give the same bytes, within the output.
#include "image/bayer_sweep.h"

#include <gtest/gtest.h>

#include "tests/image/filter_camera.h"

namespace zerix {
namespace {

using Bytes = std::vector<uint8_t>;
using ZX::ExactBuffer;

Bytes Noise(size_t size)
{
    Bytes bytes(size);
    uint32_t state = 7;
    for (uint8_t &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

// With so many bytes before the image, and a guard at either end.
Bytes Sweep(BayerSweep &sweep, BayerJob job, const Bytes &mosaic, size_t pixelBytes, size_t offset)
{
    const ExactBuffer input(mosaic);
    const size_t size = size_t{job.width} * job.height * pixelBytes;
    const ExactBuffer output(offset + size + 8);
    job.mosaic = input.Data();
    job.mosaicBytes = input.Size();
    job.output = output.Data() + offset;
    EXPECT_TRUE(sweep.Reserve(job.width));
    sweep.Run(job);
    const Bytes all = output.Bytes();
    EXPECT_EQ(Bytes(all.begin(), all.begin() + static_cast<ptrdiff_t>(offset)),
              Bytes(offset, 0xEE));
    EXPECT_EQ(Bytes(all.end() - 8, all.end()), Bytes(8, 0xEE));
    return {all.begin() + static_cast<ptrdiff_t>(offset), all.end() - 8};
}

TEST(BayerSweep, EveryLevelAndWayToWriteGivesTheSameBytes)
{
    struct Format {
        uint32_t number;
        size_t pixelBytes;
        size_t sampleBytes;
    };
    constexpr Format kFormats[] = {{8, 3, 1}, {9, 4, 1}, {10, 6, 2}, {11, 4, 1}, {12, 3, 1}};
    BayerSweep plain(SimdLevel::kScalar);
    BayerSweep cached(ChosenSimdLevel());
    BayerSweep streamed(ChosenSimdLevel(), 0);
    for (const Format &format : kFormats)
        for (const int32_t method : {1, 2, 4})
            for (const uint32_t width : {2u, 8u, 9u, 32u, 64u, 66u, 95u, 128u, 322u, 514u, 1099u})
                for (const uint32_t height : {2u, 9u, 16u}) {
                    const Bytes mosaic = Noise(size_t{width} * height * format.sampleBytes);
                    const BayerJob job = {.mosaic = nullptr,
                                          .mosaicBytes = 0,
                                          .width = width,
                                          .height = height,
                                          .pattern = 5 + width % 4,
                                          .output = nullptr,
                                          .format = format.number,
                                          .method = method};
                    const Bytes expected = Sweep(plain, job, mosaic, format.pixelBytes, 0);
                    for (const size_t offset : {size_t{0}, size_t{1}, size_t{32}}) {
                        EXPECT_TRUE(Sweep(cached, job, mosaic, format.pixelBytes, offset) ==
                                    expected)
                            << format.number << " " << method << " " << width << " x " << height;
                        EXPECT_TRUE(Sweep(streamed, job, mosaic, format.pixelBytes, offset) ==
                                    expected)
                            << format.number << " " << method << " " << width << " x " << height;
                    }
                }
}

TEST(BayerSweep, SixteenBitsOfEveryKind)
{
    BayerSweep plain(SimdLevel::kScalar);
    BayerSweep wide(ChosenSimdLevel());
    for (const uint8_t level : {uint8_t{0}, uint8_t{255}}) {
        Bytes mosaic(64 * 16 * 2, level); // the ends of the range, with one step
        for (size_t index = 0; index < mosaic.size() / 2; ++index)
            mosaic[index] = static_cast<uint8_t>(255 - level);
        for (const int32_t method : {1, 2, 4}) {
            const BayerJob job = {.mosaic = nullptr,
                                  .mosaicBytes = 0,
                                  .width = 64,
                                  .height = 16,
                                  .pattern = 5,
                                  .output = nullptr,
                                  .format = 10,
                                  .method = method};
            EXPECT_TRUE(Sweep(wide, job, mosaic, 6, 0) == Sweep(plain, job, mosaic, 6, 0))
                << method;
        }
    }
}

} // namespace
} // namespace zerix
