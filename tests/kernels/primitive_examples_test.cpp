// The rules of the primitives in small numbers, worked by hand.
#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/primitives.h"

namespace zerix::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;
using Table = std::vector<int32_t>;

uint8_t *AsBytes(Words &words) { return reinterpret_cast<uint8_t *>(words.data()); }
const uint8_t *AsBytes(const Words &words)
{
    return reinterpret_cast<const uint8_t *>(words.data());
}

Bytes Shifted8(Bytes pixels, uint32_t value)
{
    const auto count = static_cast<int32_t>(pixels.size());
    EXPECT_EQ(ZPrimShiftRight8uInPlace(value, pixels.data(), count, count, 1), kPrimOk);
    return pixels;
}

Words Shifted16(Words pixels, uint32_t value)
{
    const auto count = static_cast<int32_t>(pixels.size());
    EXPECT_EQ(ZPrimShiftRight16uInPlace(value, AsBytes(pixels), count * 2, count, 1), kPrimOk);
    return pixels;
}

TEST(Shift, IsLogical)
{
    EXPECT_EQ(Shifted8({255, 128, 1, 3}, 1), (Bytes{127, 64, 0, 1}));
    EXPECT_EQ(Shifted8({255, 128, 127, 0}, 7), (Bytes{1, 1, 0, 0}));
    EXPECT_EQ(Shifted16({65535, 0x8000, 1, 0x1234}, 4), (Words{4095, 0x800, 0, 0x123}));
    EXPECT_EQ(Shifted16({65535, 0x8000, 0x7FFF, 0}, 15), (Words{1, 1, 0, 0}));
}

TEST(Shift, ByNothingLeavesAndByTheWholeWidthClears)
{
    EXPECT_EQ(Shifted8({255, 1}, 0), (Bytes{255, 1}));
    EXPECT_EQ(Shifted8({255, 1}, 8), (Bytes{0, 0}));
    EXPECT_EQ(Shifted8({255, 1}, 0xFFFFFFFF), (Bytes{0, 0}));
    EXPECT_EQ(Shifted16({65535, 1}, 0), (Words{65535, 1}));
    EXPECT_EQ(Shifted16({65535, 1}, 16), (Words{0, 0}));
    EXPECT_EQ(Shifted16({65535, 1}, 33), (Words{0, 0}));
}

TEST(Shift, TwiceByOneIsOnceByTwo)
{
    Bytes all(256);
    std::iota(all.begin(), all.end(), uint8_t{0});
    EXPECT_EQ(Shifted8(Shifted8(all, 1), 1), Shifted8(all, 2));
    Words words(65536);
    std::iota(words.begin(), words.end(), uint16_t{0});
    EXPECT_EQ(Shifted16(Shifted16(words, 1), 1), Shifted16(words, 2));
}

Bytes Sum8(const Bytes &source, Bytes target, int32_t scale)
{
    const auto count = static_cast<int32_t>(source.size());
    EXPECT_EQ(ZPrimAdd8uInPlace(source.data(), count, target.data(), count, count, 1, scale),
              kPrimOk);
    return target;
}

Words Sum16(const Words &source, Words target, int32_t scale)
{
    const auto count = static_cast<int32_t>(source.size());
    EXPECT_EQ(
        ZPrimAdd16uInPlace(AsBytes(source), count * 2, AsBytes(target), count * 2, count, 1, scale),
        kPrimOk);
    return target;
}

TEST(Add, SaturatesAtTheTop)
{
    EXPECT_EQ(Sum8({200, 1, 255, 0, 255}, {100, 2, 255, 0, 1}, 0), (Bytes{255, 3, 255, 0, 255}));
    EXPECT_EQ(Sum16({60000, 1, 65535, 0, 255}, {6000, 2, 65535, 0, 1}, 0),
              (Words{65535, 3, 65535, 0, 256}));
}

TEST(Add, DividesByItsScaleBeforeItSaturates)
{
    EXPECT_EQ(Sum8({200, 255, 1}, {100, 255, 0}, 1), (Bytes{150, 255, 0}));
    EXPECT_EQ(Sum8({200, 255}, {100, 255}, 8), (Bytes{1, 1}));
    EXPECT_EQ(Sum16({60000, 65535}, {6000, 65535}, 1), (Words{33000, 65535}));
    EXPECT_EQ(Sum16({65535}, {65535}, 16), (Words{1}));
    EXPECT_EQ(Sum8({3, 100}, {4, 100}, -2), (Bytes{28, 255}));
    EXPECT_EQ(Sum16({3, 40000}, {4, 0}, -1), (Words{14, 65535}));
    EXPECT_EQ(Sum8({0, 1}, {0, 0}, -2000000000), (Bytes{0, 255}));
}

TEST(Add, ClearsWhereNothingIsLeftOfAnySum)
{
    EXPECT_EQ(Sum8({255, 0}, {255, 7}, 10), (Bytes{0, 0}));
    EXPECT_EQ(Sum8({255, 0}, {255, 7}, 1000), (Bytes{0, 0}));
    EXPECT_EQ(Sum16({65535, 0}, {65535, 7}, 18), (Words{0, 0}));
    EXPECT_EQ(Sum16({65535, 0}, {65535, 7}, 1000), (Words{0, 0}));
}

TEST(Pack, InterleavesInTheOrderOfThePlanes)
{
    const Bytes a = {1, 2};
    const Bytes b = {11, 12};
    const Bytes c = {21, 22};
    const Bytes d = {31, 32};
    const uint8_t *const planes[] = {a.data(), b.data(), c.data(), d.data()};
    Bytes three(6);
    EXPECT_EQ(ZPrimPack3To8u(planes, 2, three.data(), 6, 2, 1), kPrimOk);
    EXPECT_EQ(three, (Bytes{1, 11, 21, 2, 12, 22}));
    Bytes four(8);
    EXPECT_EQ(ZPrimPack4To8u(planes, 2, four.data(), 8, 2, 1), kPrimOk);
    EXPECT_EQ(four, (Bytes{1, 11, 21, 31, 2, 12, 22, 32}));
    const Words x = {1, 258};
    const Words y = {11, 12};
    const Words z = {21, 65535};
    const uint8_t *const words[] = {AsBytes(x), AsBytes(y), AsBytes(z)};
    Words out(6);
    EXPECT_EQ(ZPrimPack3To16u(words, 4, AsBytes(out), 12, 2, 1), kPrimOk);
    EXPECT_EQ(out, (Words{1, 11, 21, 258, 12, 65535}));
}

Bytes LookedUp8(Bytes pixels, const Table &levels, const Table &values)
{
    const auto width = static_cast<int32_t>(pixels.size());
    EXPECT_EQ(ZPrimLookup8uInPlace(pixels.data(), width, width, 1, values.data(), levels.data(),
                                   static_cast<int32_t>(levels.size())),
              kPrimOk);
    return pixels;
}

Words LookedUp16(Words pixels, const Table &levels, const Table &values)
{
    const auto width = static_cast<int32_t>(pixels.size());
    EXPECT_EQ(ZPrimLookup16uInPlace(AsBytes(pixels), width * 2, width, 1, values.data(),
                                    levels.data(), static_cast<int32_t>(levels.size())),
              kPrimOk);
    return pixels;
}

TEST(Lookup, MapsFromEachLevelUpToTheNext)
{
    EXPECT_EQ(LookedUp8({9, 10, 19, 20, 39, 40, 255}, {10, 20, 40}, {1, 2, 3}),
              (Bytes{9, 1, 1, 2, 2, 40, 255}));
    EXPECT_EQ(LookedUp16({9, 10, 999, 1000, 39999, 40000, 65535}, {10, 1000, 40000}, {1, 2, 3}),
              (Words{9, 1, 1, 2, 2, 40000, 65535}));
}

TEST(Lookup, ClampsLevelsToTheTypeAndOneMore)
{
    EXPECT_EQ(LookedUp8({0, 2, 3, 254, 255}, {-5, 3, 300}, {7, 8, 9}), (Bytes{7, 7, 8, 8, 8}));
    EXPECT_EQ(LookedUp16({0, 2, 3, 65535}, {-5, 3, 70000}, {7, 8, 9}), (Words{7, 7, 8, 8}));
}

TEST(Lookup, ClampsValuesToTheType)
{
    EXPECT_EQ(LookedUp8({0, 1, 2}, {0, 1, 2, 3}, {300, -1, 77, 0}), (Bytes{255, 0, 77}));
    EXPECT_EQ(LookedUp16({0, 1, 2}, {0, 1, 2, 3}, {70000, -1, 777, 0}), (Words{65535, 0, 777}));
}

// A later step wins, and one that goes back maps nothing.
TEST(Lookup, TakesLevelsInAnyOrder)
{
    EXPECT_EQ(LookedUp8({5, 15, 25}, {0, 20, 10, 30}, {1, 2, 3, 4}), (Bytes{1, 3, 3}));
}

TEST(Lookup, NeverChangesTheTopLevelOfAWholeTable)
{
    Table levels(256);
    std::iota(levels.begin(), levels.end(), 0);
    EXPECT_EQ(LookedUp8({0, 100, 254, 255}, levels, Table(256, 5)), (Bytes{5, 5, 5, 255}));
    Table halves(256);
    for (int32_t level = 0; level < 256; ++level)
        halves[static_cast<size_t>(level)] = level / 2;
    EXPECT_EQ(LookedUp8({1, 200, 254, 255}, levels, halves), (Bytes{0, 100, 127, 255}));
    Table wordLevels(65536);
    std::iota(wordLevels.begin(), wordLevels.end(), 0);
    EXPECT_EQ(LookedUp16({0, 65534, 65535}, wordLevels, Table(65536, 5)), (Words{5, 5, 65535}));
}

// Tables that fall, rise by a gain, and rise with one dent, on all levels.
TEST(Lookup, GivesEveryLevelItsValue)
{
    Table levels(65536);
    std::iota(levels.begin(), levels.end(), 0);
    Words pixels(65536);
    std::iota(pixels.begin(), pixels.end(), uint16_t{0});
    for (int32_t kind = 0; kind < 3; ++kind) {
        Table values(65536);
        for (int32_t level = 0; level < 65536; ++level)
            values[static_cast<size_t>(level)] =
                kind == 0 ? 65535 - level : std::min(65535, level * 3 / 2);
        if (kind == 2)
            values[4711] = 1;
        Words expected(values.begin(), values.end());
        expected[65535] = 65535;
        EXPECT_TRUE(LookedUp16(pixels, levels, values) == expected) << kind;
    }
}

TEST(Lookup, HasTablesOfItsOwnForEachChannel)
{
    const Table levels = {0, 10, 20};
    const Table first = {1, 2, 0};
    const Table second = {3, 4, 0};
    const Table third = {5, 6, 0};
    const Table fourth = {7, 8, 0};
    const int32_t *const values[] = {first.data(), second.data(), third.data(), fourth.data()};
    const int32_t *const levelTables[] = {levels.data(), levels.data(), levels.data(),
                                          levels.data()};
    const int32_t counts[] = {3, 3, 2, 3}; // the third ends at 10
    Bytes three = {0, 0, 0, 15, 15, 15};
    EXPECT_EQ(ZPrimLookup8uInPlace3(three.data(), 6, 2, 1, values, levelTables, counts), kPrimOk);
    EXPECT_EQ(three, (Bytes{1, 3, 5, 2, 4, 15}));
    Bytes four = {0, 0, 0, 0, 15, 15, 15, 15};
    EXPECT_EQ(ZPrimLookup8uInPlace4(four.data(), 8, 2, 1, values, levelTables, counts), kPrimOk);
    EXPECT_EQ(four, (Bytes{1, 3, 5, 7, 2, 4, 15, 8}));
    Words words = {0, 0, 0, 15, 15, 15};
    EXPECT_EQ(ZPrimLookup16uInPlace3(AsBytes(words), 12, 2, 1, values, levelTables, counts),
              kPrimOk);
    EXPECT_EQ(words, (Words{1, 3, 5, 2, 4, 15}));
}

// Rows of equal pixels, so that only the other axis counts.
Bytes Enlarged8(const Bytes &row, int32_t method, double factor, bool isUpright)
{
    const auto count = static_cast<int32_t>(row.size());
    constexpr int32_t kRepeats = 4;
    Bytes source;
    for (int32_t i = 0; i < count * kRepeats; ++i)
        source.push_back(row[static_cast<size_t>(isUpright ? i / kRepeats : i % count)]);
    const int32_t width = isUpright ? kRepeats : count;
    const int32_t height = isUpright ? count : kRepeats;
    const int32_t outWidth = isUpright ? kRepeats : 100;
    const int32_t outHeight = isUpright ? 100 : kRepeats;
    Bytes out(static_cast<size_t>(outWidth) * static_cast<size_t>(outHeight), 0xEE);
    EXPECT_EQ(ZPrimResize8u(source.data(), width, height, width, 0, 0, width, height, out.data(),
                            outWidth, outWidth, outHeight, isUpright ? 1.0 : factor,
                            isUpright ? factor : 1.0, method),
              kPrimOk);
    Bytes line;
    for (size_t i = 0; i < static_cast<size_t>(count * factor); ++i)
        line.push_back(out[isUpright ? i * kRepeats : i]);
    return line;
}

Words Enlarged16(const Words &row, int32_t method, double factor)
{
    const auto count = static_cast<int32_t>(row.size());
    Words source;
    for (int32_t i = 0; i < 4; ++i)
        source.insert(source.end(), row.begin(), row.end());
    Words out(400, 0xEEEE);
    EXPECT_EQ(ZPrimResize16u(AsBytes(source), count, 4, count * 2, 0, 0, count, 4, AsBytes(out),
                             200, 100, 4, factor, 1.0, method),
              kPrimOk);
    out.resize(static_cast<size_t>(count * factor));
    return out;
}

TEST(ResizeNearest, KeepsPixelCentres)
{
    const Bytes row = {10, 20, 30, 40};
    for (bool isUpright : {false, true}) {
        EXPECT_EQ(Enlarged8(row, 1, 2.0, isUpright), (Bytes{10, 10, 20, 20, 30, 30, 40, 40}));
        // Positions 1 and 3.
        EXPECT_EQ(Enlarged8(row, 1, 0.5, isUpright), (Bytes{20, 40}));
        // Positions 1/3, 1, 5/3, 7/3, 3, 11/3.
        EXPECT_EQ(Enlarged8(row, 1, 1.5, isUpright), (Bytes{10, 20, 20, 30, 40, 40}));
    }
    EXPECT_EQ(Enlarged16({1000, 2000}, 1, 2.0), (Words{1000, 1000, 2000, 2000}));
}

// Two pixels enlarged to four lie at 0, 1/3, 2/3 and 1: 5461 and 10922 of 16384. The last is taken
// as the one before with a fraction of 1.
TEST(ResizeLinear, LetsTheEndsCoincide)
{
    for (bool isUpright : {false, true})
        EXPECT_EQ(Enlarged8({0, 240}, 2, 2.0, isUpright), (Bytes{0, 80, 160, 240}));
    EXPECT_EQ(Enlarged8({255, 255}, 2, 2.0, false), (Bytes{255, 255, 255, 255}));
    EXPECT_EQ(Enlarged16({0, 60000}, 2, 2.0), (Words{0, 20000, 40000, 60000}));
    EXPECT_EQ(Enlarged16({65535, 65535}, 2, 2.0), (Words{65535, 65535, 65535, 65535}));
}

// Along the row (5461 + 128) >> 8 = 21 and (10922 + 128) >> 8 = 43 of 64; down the column a half is
// rounded up: 32 would be. Across rows alone, 5461 x 64 and 10922 x 64 of 2^20.
TEST(ResizeLinear, RoundsTwice)
{
    for (bool isUpright : {false, true})
        EXPECT_EQ(Enlarged8({0, 1}, 2, 2.0, isUpright), (Bytes{0, 0, 1, 1}));
    // A fraction of 1/2 exactly: three pixels from two lie at 0, 1/2, 1.
    EXPECT_EQ(Enlarged8({0, 1}, 2, 1.5, false), (Bytes{0, 1, 1}));
    EXPECT_EQ(Enlarged8({0, 1}, 2, 1.5, true), (Bytes{0, 1, 1}));
    EXPECT_EQ(Enlarged16({0, 1}, 2, 1.5), (Words{0, 1, 1}));
}

// Through 0, 1, 4, 9 ... goes one parabola; 16 pixels from 8 lie 7/15 apart.
TEST(ResizeCubic, FollowsAParabola)
{
    const Bytes expected = {0, 0, 1, 2, 3, 5, 8, 11, 14, 18, 22, 26, 31, 37, 43, 49};
    for (bool isUpright : {false, true})
        EXPECT_EQ(Enlarged8({0, 1, 4, 9, 16, 25, 36, 49}, 4, 2.0, isUpright), expected);
}

// One bright pixel among five, ten pixels 4/9 apart. The first three outputs use pixels 0 to 3,
// as the fourth and fifth do; the rest uses pixels 1 to 4. The bright one is the third point
// there, -(t + 1)t(t - 2)/2, and the second here, (t + 1)(t - 1)(t - 2)/2.
TEST(ResizeCubic, UsesTheFourPixelsNearTheEdges)
{
    const Bytes expected = {100, 72, 91, 133, 176, 176, 133, 91, 72, 100};
    for (bool isUpright : {false, true})
        EXPECT_EQ(Enlarged8({100, 100, 190, 100, 100}, 4, 2.0, isUpright), expected);
    // 25700 + 23130 times -460, -152, 540 and 1232 of 1458.
    EXPECT_EQ(Enlarged16({25700, 25700, 48830, 25700, 25700}, 4, 2.0),
              (Words{25700, 18402, 23289, 34267, 45245, 45245, 34267, 23289, 18402, 25700}));
}

TEST(ResizeCubic, ClampsWhatOvershoots)
{
    // As above on black: the overshoots are -28.4 and -9.4.
    EXPECT_EQ(Enlarged8({0, 0, 90, 0, 0}, 4, 2.0, false),
              (Bytes{0, 0, 0, 33, 76, 76, 33, 0, 0, 0}));
    // And downwards from white: 255 + 28.4.
    EXPECT_EQ(Enlarged8({255, 255, 165, 255, 255}, 4, 2.0, false),
              (Bytes{255, 255, 255, 222, 179, 179, 222, 255, 255, 255}));
}

} // namespace
} // namespace zerix::test
