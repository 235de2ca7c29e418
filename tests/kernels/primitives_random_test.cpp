// Every primitive against its rule in the plainest form, on random pictures of 1 x 1 to 70 x 70, at
// every alignment, with rows closer and wider apart. Whole buffers are compared.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/primitives.h"
#include "tests/kernels/canvas.h"
#include "tests/kernels/plain_resize.h"

namespace zerix::test {
namespace {

constexpr int kRounds = 400;
constexpr int32_t kMostPixels = 70;

template <typename Pixel>
constexpr int32_t kTop = sizeof(Pixel) == 1 ? 255 : 65535;

template <typename Pixel>
Canvas DrawCanvas(Random &random, int32_t channels = 1)
{
    return Canvas::Noise(random, Draw(random, 1, kMostPixels) * channels,
                         Draw(random, 1, kMostPixels), sizeof(Pixel), DrawPadding(random));
}

template <typename Pixel>
Canvas SameSize(Random &random, const Canvas &other, int32_t channels = 1)
{
    return Canvas::Noise(random, other.width * channels, other.height, sizeof(Pixel),
                         DrawPadding(random));
}

template <typename Pixel>
void CompareShift(PrimStatus (*shift)(uint32_t, uint8_t *, int32_t, int32_t, int32_t))
{
    Random random(1);
    for (int round = 0; round < kRounds; ++round) {
        Canvas canvas = DrawCanvas<Pixel>(random);
        Canvas expected = canvas;
        const auto value = static_cast<uint32_t>(Draw(random, 0, 18));
        for (int32_t y = 0; y < canvas.height; ++y)
            for (int32_t x = 0; x < canvas.width; ++x)
                expected.Set<Pixel>(x, y, static_cast<Pixel>(canvas.At<Pixel>(x, y) >> value));
        ASSERT_EQ(shift(value, canvas.Pixels(), canvas.step, canvas.width, canvas.height), kPrimOk);
        ASSERT_EQ(canvas.bytes, expected.bytes) << value;
    }
}

TEST(RandomPictures, AreShifted)
{
    CompareShift<uint8_t>(ZPrimShiftRight8uInPlace);
    CompareShift<uint16_t>(ZPrimShiftRight16uInPlace);
}

template <typename Pixel>
void CompareAdd(PrimStatus (*add)(const uint8_t *, int32_t, uint8_t *, int32_t, int32_t, int32_t,
                                  int32_t))
{
    Random random(2);
    for (int round = 0; round < kRounds; ++round) {
        const Canvas source = DrawCanvas<Pixel>(random);
        Canvas target = SameSize<Pixel>(random, source);
        Canvas expected = target;
        const int32_t scale = Draw(random, 0, 1) == 0 ? 0 : Draw(random, -3, 20);
        for (int32_t y = 0; y < source.height; ++y)
            for (int32_t x = 0; x < source.width; ++x) {
                const int32_t sum = source.At<Pixel>(x, y) + target.At<Pixel>(x, y);
                const double scaled = std::floor(sum / std::pow(2.0, scale));
                expected.Set<Pixel>(x, y,
                                    static_cast<Pixel>(std::min<double>(scaled, kTop<Pixel>)));
            }
        ASSERT_EQ(add(source.Pixels(), source.step, target.Pixels(), target.step, source.width,
                      source.height, scale),
                  kPrimOk);
        ASSERT_EQ(target.bytes, expected.bytes) << scale;
    }
}

TEST(RandomPictures, AreAdded)
{
    CompareAdd<uint8_t>(ZPrimAdd8uInPlace);
    CompareAdd<uint16_t>(ZPrimAdd16uInPlace);
}

template <typename Pixel, size_t kPlanes>
void ComparePack(PrimStatus (*pack)(const uint8_t *const *, int32_t, uint8_t *, int32_t, int32_t,
                                    int32_t))
{
    Random random(3);
    for (int round = 0; round < kRounds; ++round) {
        std::array<Canvas, kPlanes> planes;
        std::array<const uint8_t *, kPlanes> pointers;
        const int32_t width = Draw(random, 1, kMostPixels);
        const int32_t height = Draw(random, 1, kMostPixels);
        const int32_t padding = DrawPadding(random);
        for (size_t plane = 0; plane < kPlanes; ++plane) {
            planes[plane] = Canvas::Noise(random, width, height, sizeof(Pixel), padding);
            pointers[plane] = planes[plane].Pixels();
        }
        Canvas out = SameSize<Pixel>(random, planes[0], kPlanes);
        Canvas expected = out;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < out.width; ++x)
                expected.Set<Pixel>(x, y,
                                    planes[static_cast<size_t>(x) % kPlanes].template At<Pixel>(
                                        x / static_cast<int32_t>(kPlanes), y));
        ASSERT_EQ(pack(pointers.data(), planes[0].step, out.Pixels(), out.step, width, height),
                  kPrimOk);
        ASSERT_EQ(out.bytes, expected.bytes) << width << " x " << height;
    }
}

TEST(RandomPictures, ArePacked)
{
    ComparePack<uint8_t, 3>(ZPrimPack3To8u);
    ComparePack<uint8_t, 4>(ZPrimPack4To8u);
    ComparePack<uint16_t, 3>(ZPrimPack3To16u);
}

struct Table {
    std::vector<int32_t> levels;
    std::vector<int32_t> values;

    // What a level becomes: the last step that holds it counts.
    int32_t Result(int32_t level, int32_t top) const
    {
        int32_t result = level;
        for (size_t k = 0; k + 1 < levels.size(); ++k)
            if (std::clamp(levels[k], 0, top + 1) <= level &&
                level < std::clamp(levels[k + 1], 0, top + 1))
                result = std::clamp(values[k], 0, top);
        return result;
    }
};

// A few uneven steps, all levels with any values, or all levels times a scale.
Table DrawTable(Random &random, int32_t top)
{
    Table table;
    const int32_t kind = Draw(random, 0, 3);
    if (kind == 0) {
        table.levels.resize(static_cast<size_t>(Draw(random, 2, 9)));
        for (int32_t &level : table.levels)
            level = Draw(random, -top / 8, top + top / 8);
        if (Draw(random, 0, 3) != 0)
            std::sort(table.levels.begin(), table.levels.end());
        table.values.resize(table.levels.size());
        for (int32_t &value : table.values)
            value = Draw(random, -50, top + 50);
        return table;
    }
    table.levels.resize(256);
    std::iota(table.levels.begin(), table.levels.end(), 0);
    table.values.resize(256);
    const double scale = Draw(random, 0, 3000) / 1000.0;
    for (int32_t level = 0; level < 256; ++level)
        table.values[static_cast<size_t>(level)] =
            kind == 1 ? Draw(random, -50, top + 50)
                      : static_cast<int32_t>(std::min<double>(level * scale, top));
    return table;
}

template <typename Pixel, size_t kChannels, typename Lookup>
void CompareLookup(Lookup lookup)
{
    Random random(4);
    for (int round = 0; round < kRounds / 5; ++round) {
        Canvas canvas = DrawCanvas<Pixel>(random, kChannels);
        if (sizeof(Pixel) == 2 && Draw(random, 0, 1) == 0)
            for (uint8_t &byte : canvas.bytes)
                byte = byte & 1; // low words
        Canvas expected = canvas;
        std::array<Table, kChannels> tables;
        std::array<const int32_t *, kChannels> levels;
        std::array<const int32_t *, kChannels> values;
        std::array<int32_t, kChannels> counts;
        for (size_t channel = 0; channel < kChannels; ++channel) {
            tables[channel] = DrawTable(random, kTop<Pixel>);
            levels[channel] = tables[channel].levels.data();
            values[channel] = tables[channel].values.data();
            counts[channel] = static_cast<int32_t>(tables[channel].levels.size());
        }
        for (int32_t y = 0; y < canvas.height; ++y)
            for (int32_t x = 0; x < canvas.width; ++x)
                expected.Set<Pixel>(
                    x, y,
                    static_cast<Pixel>(tables[static_cast<size_t>(x) % kChannels].Result(
                        canvas.At<Pixel>(x, y), kTop<Pixel>)));
        ASSERT_EQ(lookup(canvas, values.data(), levels.data(), counts.data()), kPrimOk);
        ASSERT_EQ(canvas.bytes, expected.bytes) << round;
    }
}

template <int32_t kChannels>
auto OnChannels(PrimStatus (*lookup)(uint8_t *, int32_t, int32_t, int32_t, const int32_t *const *,
                                     const int32_t *const *, const int32_t *))
{
    return [lookup](Canvas &canvas, const int32_t *const *values, const int32_t *const *levels,
                    const int32_t *counts) {
        return lookup(canvas.Pixels(), canvas.step, canvas.width / kChannels, canvas.height, values,
                      levels, counts);
    };
}

auto OnOneChannel(PrimStatus (*lookup)(uint8_t *, int32_t, int32_t, int32_t, const int32_t *,
                                       const int32_t *, int32_t))
{
    return [lookup](Canvas &canvas, const int32_t *const *values, const int32_t *const *levels,
                    const int32_t *counts) {
        return lookup(canvas.Pixels(), canvas.step, canvas.width, canvas.height, values[0],
                      levels[0], counts[0]);
    };
}

TEST(RandomPictures, AreLookedUp)
{
    CompareLookup<uint8_t, 1>(OnOneChannel(ZPrimLookup8uInPlace));
    CompareLookup<uint8_t, 3>(OnChannels<3>(ZPrimLookup8uInPlace3));
    CompareLookup<uint8_t, 4>(OnChannels<4>(ZPrimLookup8uInPlace4));
    CompareLookup<uint16_t, 1>(OnOneChannel(ZPrimLookup16uInPlace));
    CompareLookup<uint16_t, 3>(OnChannels<3>(ZPrimLookup16uInPlace3));
}

// One resize of a random part of a random picture.
struct Resizing {
    Canvas source;
    Canvas out;
    PlainRegion region;
    double xFactor;
    double yFactor;
    PlainAxis x;
    PlainAxis y;

    template <typename Resize>
    PrimStatus Run(Resize resize, int32_t method)
    {
        return resize(source.Pixels(), source.width, source.height, source.step, region.x, region.y,
                      region.width, region.height, out.Pixels(), out.step, out.width, out.height,
                      xFactor, yFactor, method);
    }
};

double DrawFactor(Random &random)
{
    constexpr double kUsual[] = {2.0, 2.0, 2.0, 1.0, 0.5, 3.0, 1.5, 1.0 / 3.0};
    const int32_t kind = Draw(random, 0, 11);
    return kind < 8 ? kUsual[kind] : Draw(random, 50, 4000) / 1000.0;
}

Resizing DrawResizing(Random &random, int32_t pixelBytes, int32_t leastSource)
{
    Resizing r;
    r.source =
        Canvas::Noise(random, Draw(random, leastSource, kMostPixels),
                      Draw(random, leastSource, kMostPixels), pixelBytes, DrawPadding(random));
    const bool isWhole = Draw(random, 0, 1) == 0;
    r.region.x = isWhole ? 0 : Draw(random, 0, r.source.width - 1);
    r.region.y = isWhole ? 0 : Draw(random, 0, r.source.height - 1);
    r.region.width = isWhole ? r.source.width : Draw(random, 1, kMostPixels); // may reach outside
    r.region.height = isWhole ? r.source.height : Draw(random, 1, kMostPixels);
    r.xFactor = DrawFactor(random);
    r.yFactor = DrawFactor(random);
    r.x = {r.source.width, r.region.x, std::min(r.region.width, r.source.width - r.region.x),
           r.xFactor};
    r.y = {r.source.height, r.region.y, std::min(r.region.height, r.source.height - r.region.y),
           r.yFactor};
    // Sometimes smaller, sometimes larger than what comes out.
    r.out = Canvas::Noise(random, Draw(random, 1, 2 * kMostPixels),
                          Draw(random, 1, 2 * kMostPixels), pixelBytes, DrawPadding(random));
    return r;
}

template <typename Pixel, typename Resize, typename Rule>
void CompareResize(Resize resize, int32_t method, int32_t leastSource, Rule rule)
{
    Random random(5);
    for (int round = 0; round < kRounds; ++round) {
        Resizing r = DrawResizing(random, sizeof(Pixel), leastSource);
        const int32_t width = r.x.OutputSize(r.out.width);
        const int32_t height = r.y.OutputSize(r.out.height);
        Canvas expected = r.out;
        if (width < 1 || height < 1) {
            ASSERT_EQ(r.Run(resize, method), kPrimNothingToDo);
            ASSERT_EQ(r.out.bytes, expected.bytes);
            continue;
        }
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                expected.Set<Pixel>(x, y, rule(r.source, r.x, r.y, x, y));
        ASSERT_EQ(r.Run(resize, method), kPrimOk);
        ASSERT_EQ(r.out.bytes, expected.bytes)
            << round << ": " << r.region.width << " x " << r.region.height << " by " << r.xFactor
            << " and " << r.yFactor;
    }
}

TEST(RandomPictures, AreResizedByTheNearestPixel)
{
    CompareResize<uint8_t>(ZPrimResize8u, 1, 1, PlainNearest<uint8_t>);
    CompareResize<uint16_t>(ZPrimResize16u, 1, 1, PlainNearest<uint16_t>);
}

TEST(RandomPictures, AreResizedLinearly)
{
    CompareResize<uint8_t>(ZPrimResize8u, 2, 2, PlainLinear8);
}

TEST(RandomPictures, AreResizedByCubics)
{
    CompareResize<uint8_t>(ZPrimResize8u, 4, 4, PlainCubicPixel<uint8_t>);
    CompareResize<uint16_t>(ZPrimResize16u, 4, 4, PlainCubicPixel<uint16_t>);
}

// The 16-bit linear form rounds to the nearest: half a level, and what single precision may miss.
TEST(RandomPictures, OfWordsAreResizedLinearlyToTheNearestLevel)
{
    Random random(6);
    for (int round = 0; round < kRounds; ++round) {
        Resizing r = DrawResizing(random, 2, 2);
        const int32_t width = r.x.OutputSize(r.out.width);
        const int32_t height = r.y.OutputSize(r.out.height);
        if (width < 1 || height < 1)
            continue;
        Canvas expected = r.out;
        ASSERT_EQ(r.Run(ZPrimResize16u, 2), kPrimOk);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) {
                const auto level = r.out.At<uint16_t>(x, y);
                ASSERT_NEAR(level, PlainLinear16(r.source, r.x, r.y, x, y), 0.5 + 0.03);
                expected.Set<uint16_t>(x, y, level);
            }
        ASSERT_EQ(r.out.bytes, expected.bytes);
    }
}

// Sources below 4 and below 2 pixels are too small for the better methods.
template <typename Resize>
void CompareTooSmall(Resize resize, int32_t pixelBytes)
{
    Random random(7);
    for (int round = 0; round < kRounds; ++round) {
        Resizing r = DrawResizing(random, pixelBytes, 1);
        if (r.x.OutputSize(r.out.width) < 1 || r.y.OutputSize(r.out.height) < 1)
            continue;
        const int32_t smaller = std::min(r.source.width, r.source.height);
        const auto asMethod = [&](int32_t method) {
            Resizing copy = r;
            EXPECT_EQ(copy.Run(resize, method), kPrimOk);
            return copy.out.bytes;
        };
        if (smaller < 2) {
            ASSERT_EQ(asMethod(2), asMethod(1));
        }
        if (smaller < 4) {
            ASSERT_EQ(asMethod(4), asMethod(2));
        }
        if (smaller < 8) {
            ASSERT_EQ(asMethod(16), asMethod(4));
        } else {
            ASSERT_EQ(r.Run(resize, 16), kPrimMethodError);
        }
    }
}

TEST(RandomPictures, TooSmallForAMethodAreResizedByASimplerOne)
{
    CompareTooSmall(ZPrimResize8u, 1);
    CompareTooSmall(ZPrimResize16u, 2);
}

// Wider than the strips in which a picture is made.
TEST(RandomPictures, MayBeWide)
{
    Random random(8);
    Resizing r;
    r.source = Canvas::Noise(random, 701, 5, 1, 0);
    r.region = {0, 0, 701, 5};
    r.xFactor = r.yFactor = 2;
    r.x = {701, 0, 701, 2.0};
    r.y = {5, 0, 5, 2.0};
    r.out = Canvas::Noise(random, 1402, 10, 1, 3);
    const auto compare = [&](int32_t method, auto rule) {
        Canvas expected = r.out;
        for (int32_t y = 0; y < 10; ++y)
            for (int32_t x = 0; x < 1402; ++x)
                expected.Set<uint8_t>(x, y, rule(r.source, r.x, r.y, x, y));
        ASSERT_EQ(r.Run(ZPrimResize8u, method), kPrimOk);
        ASSERT_EQ(r.out.bytes, expected.bytes) << method;
    };
    compare(1, PlainNearest<uint8_t>);
    compare(2, PlainLinear8);
    compare(4, PlainCubicPixel<uint8_t>);
}

} // namespace
} // namespace zerix::test
