// Tables that multiply are recognised, with exactly their own results; others are not.
#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/dispatch.h"
#include "image/kernels/proportion.h"
#include "tests/kernels/canvas.h"

namespace zerix::test {
namespace {

// The table of a channel's gain: the top level stays.
template <typename Pixel>
std::vector<Pixel> GainMap(float scale)
{
    const size_t levels = size_t{1} << sizeof(Pixel) * 8;
    const double top = static_cast<double>(levels - 1);
    std::vector<Pixel> map(levels);
    for (size_t level = 0; level < levels - 1; ++level)
        map[level] = static_cast<Pixel>(
            std::min(static_cast<double>(level) * static_cast<double>(scale), top));
    map[levels - 1] = static_cast<Pixel>(levels - 1);
    return map;
}

template <typename Pixel, typename Table>
void ExpectFound(const Table &kernels, float scale)
{
    const std::vector<Pixel> map = GainMap<Pixel>(scale);
    const auto proportion = FindProportion(map.data(), kernels);
    ASSERT_TRUE(proportion.has_value()) << scale;
    std::vector<Pixel> pixels(map.size());
    std::iota(pixels.begin(), pixels.end(), Pixel{0});
    kernels.scale(reinterpret_cast<uint8_t *>(pixels.data()), pixels.size(), 1, &*proportion);
    ASSERT_EQ(pixels, map) << scale;
}

TEST(Proportion, IsFoundForEveryGainOfBytes)
{
    Random random(1);
    for (SimdLevel level : SupportedLevels()) {
        const Kernels kernels = KernelsOfLevel(level);
        for (float scale : {0.0f, 0.5f, 1.0f, 1.16f, 1.88f, 2.0f, 3.0f, 100.0f, 0.003f, 0.999999f,
                            1.0000001f, 1.0f / 3.0f})
            ExpectFound<uint8_t>(kernels.bytes, scale);
        for (int i = 0; i < 3000; ++i)
            ExpectFound<uint8_t>(kernels.bytes, static_cast<float>(random()) / 1e9f);
    }
}

TEST(Proportion, IsFoundForGainsOfWords)
{
    Random random(2);
    for (SimdLevel level : SupportedLevels()) {
        const Kernels kernels = KernelsOfLevel(level);
        for (float scale :
             {0.0f, 0.5f, 1.0f, 1.16f, 1.88f, 2.0f, 3.0f, 0.3f, 0.999999f, 1.0000001f, 1.0f / 3.0f})
            ExpectFound<uint16_t>(kernels.words, scale);
        for (int i = 0; i < 100; ++i)
            ExpectFound<uint16_t>(kernels.words, static_cast<float>(random()) / 1e9f);
    }
}

TEST(Proportion, IsNotFoundWhereOneLevelDiffers)
{
    const Kernels &kernels = ChosenKernels();
    std::vector<uint8_t> bytes = GainMap<uint8_t>(1.5f);
    for (size_t level = 0; level < 256; ++level) {
        std::vector<uint8_t> map = bytes;
        map[level] = static_cast<uint8_t>(map[level] ^ 0x40);
        EXPECT_FALSE(FindProportion(map.data(), kernels.bytes).has_value()) << level;
    }
    std::vector<uint16_t> words = GainMap<uint16_t>(1.5f);
    for (size_t level : {0u, 1u, 2u, 1000u, 2047u, 2048u, 43000u, 65534u, 65535u}) {
        std::vector<uint16_t> map = words;
        map[level] = static_cast<uint16_t>(map[level] ^ 0x4000);
        EXPECT_FALSE(FindProportion(map.data(), kernels.words).has_value()) << level;
    }
    // Another table altogether, and one whose top level changes.
    std::vector<uint8_t> falling(256);
    std::iota(falling.rbegin(), falling.rend(), uint8_t{0});
    EXPECT_FALSE(FindProportion(falling.data(), kernels.bytes).has_value());
    EXPECT_FALSE(FindProportion(std::vector<uint8_t>(256, 0).data(), kernels.bytes).has_value());
}

} // namespace
} // namespace zerix::test
