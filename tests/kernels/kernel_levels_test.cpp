// Every processor level gives the plain level's bits: rows of every length, at every alignment,
// with guard bytes in front and behind; one buffer in two ends with its row, so that a sanitizer
// sees one byte too far.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/dispatch.h"
#include "image/kernels/resize_axis.h"
#include "tests/kernels/canvas.h"

namespace zerix::test {
namespace {

using Bytes = std::vector<uint8_t>;

const Kernels kPlain = KernelsOfLevel(SimdLevel::kScalar);

// Noise around the row.
struct Row {
    Bytes bytes;
    size_t offset;

    Row(Random &random, size_t size) : offset(static_cast<size_t>(Draw(random, 0, 70)))
    {
        bytes.resize(offset + size + DrawGuard(random));
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
    }
    uint8_t *Begin() { return bytes.data() + offset; }
    const uint8_t *Begin() const { return bytes.data() + offset; }
};

// Runs a test for each level above the plain one, on every count up to 300 and some larger.
void ForEachLevel(const std::function<void(const Kernels &, size_t, Random &)> &test)
{
    for (SimdLevel level : SupportedLevels()) {
        if (level == SimdLevel::kScalar)
            continue;
        SCOPED_TRACE(SimdLevelName(level));
        const Kernels kernels = KernelsOfLevel(level);
        Random random(1);
        for (size_t count = 0; count < 320; ++count) {
            const size_t length = count < 300 ? count : 300 + random() % 3000;
            SCOPED_TRACE(length);
            test(kernels, length, random);
            if (::testing::Test::HasFailure())
                return;
        }
    }
}

TEST(KernelLevels, ShiftAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        Row row(random, count * 2);
        Row expected = row;
        const auto bits = static_cast<uint32_t>(Draw(random, 1, 7));
        kernels.bytes.shiftRight(row.Begin(), count, bits);
        kPlain.bytes.shiftRight(expected.Begin(), count, bits);
        ASSERT_EQ(row.bytes, expected.bytes);
        const auto wordBits = static_cast<uint32_t>(Draw(random, 1, 15));
        kernels.words.shiftRight(row.Begin(), count, wordBits);
        kPlain.words.shiftRight(expected.Begin(), count, wordBits);
        ASSERT_EQ(row.bytes, expected.bytes);
    });
}

TEST(KernelLevels, AddAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        const Row source(random, count * 2);
        Row row(random, count * 2);
        Row expected = row;
        kernels.bytes.add(source.Begin(), row.Begin(), count);
        kPlain.bytes.add(source.Begin(), expected.Begin(), count);
        ASSERT_EQ(row.bytes, expected.bytes);
        kernels.words.add(source.Begin(), row.Begin(), count);
        kPlain.words.add(source.Begin(), expected.Begin(), count);
        ASSERT_EQ(row.bytes, expected.bytes);
    });
}

TEST(KernelLevels, AddAllPairsOfBytes)
{
    for (SimdLevel level : SupportedLevels()) {
        Bytes source(65536);
        Bytes target(65536);
        for (size_t i = 0; i < 65536; ++i) {
            source[i] = static_cast<uint8_t>(i);
            target[i] = static_cast<uint8_t>(i >> 8);
        }
        KernelsOfLevel(level).bytes.add(source.data(), target.data(), target.size());
        for (size_t i = 0; i < 65536; ++i)
            ASSERT_EQ(target[i], std::min<size_t>(i % 256 + i / 256, 255)) << SimdLevelName(level);
    }
}

TEST(KernelLevels, PackAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        const Row a(random, count * 2);
        const Row b(random, count * 2);
        const Row c(random, count * 2);
        const Row d(random, count);
        const uint8_t *const planes[] = {a.Begin(), b.Begin(), c.Begin(), d.Begin()};
        const auto compare = [&](size_t size, auto pack, auto plain) {
            Row row(random, size);
            Row expected = row;
            pack(planes, row.Begin(), count);
            plain(planes, expected.Begin(), count);
            ASSERT_EQ(row.bytes, expected.bytes);
        };
        compare(count * 3, kernels.bytes.pack3, kPlain.bytes.pack3);
        compare(count * 4, kernels.bytes.pack4, kPlain.bytes.pack4);
        compare(count * 6, kernels.words.pack3, kPlain.words.pack3);
    });
}

// Images that are larger than caches are written another way, from where they are aligned on.
TEST(KernelLevels, PackLargeImagesAlike)
{
    constexpr size_t kSize = size_t{10} << 20;
    Bytes plane(kSize / 3 + 100);
    Random random(1);
    std::generate(plane.begin(), plane.end(), [&] { return static_cast<uint8_t>(random()); });
    const uint8_t *const planes[] = {plane.data(), plane.data() + 7, plane.data() + 31};
    for (SimdLevel level : SupportedLevels()) {
        const Kernels kernels = KernelsOfLevel(level);
        for (size_t offset : {0u, 1u, 6u, 31u})
            for (size_t pixelBytes : {3u, 6u}) {
                const size_t count = kSize / pixelBytes + 17;
                Bytes out(offset + count * pixelBytes);
                Bytes expected = out;
                (pixelBytes == 3 ? kernels.bytes.pack3
                                 : kernels.words.pack3)(planes, out.data() + offset, count);
                (pixelBytes == 3 ? kPlain.bytes.pack3
                                 : kPlain.words.pack3)(planes, expected.data() + offset, count);
                ASSERT_TRUE(out == expected)
                    << SimdLevelName(level) << " " << offset << " " << pixelBytes;
            }
    }
}

template <typename Pixel, size_t kChannels>
struct Maps {
    std::array<std::vector<Pixel>, kChannels> maps;
    std::array<const Pixel *, kChannels> pointers;

    explicit Maps(Random &random)
    {
        for (size_t channel = 0; channel < kChannels; ++channel) {
            maps[channel].resize(size_t{1} << sizeof(Pixel) * 8);
            std::generate(maps[channel].begin(), maps[channel].end(),
                          [&] { return static_cast<Pixel>(random()); });
            pointers[channel] = maps[channel].data();
        }
    }
};

TEST(KernelLevels, LookBytesUpAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        const Maps<uint8_t, 4> maps(random);
        Row row(random, count * 4);
        Row expected = row;
        kernels.bytes.lookup1(row.Begin(), count, maps.pointers[0]);
        kPlain.bytes.lookup1(expected.Begin(), count, maps.pointers[0]);
        ASSERT_EQ(row.bytes, expected.bytes);
        kernels.bytes.lookup3(row.Begin(), count, maps.pointers.data());
        kPlain.bytes.lookup3(expected.Begin(), count, maps.pointers.data());
        ASSERT_EQ(row.bytes, expected.bytes);
        kernels.bytes.lookup4(row.Begin(), count, maps.pointers.data());
        kPlain.bytes.lookup4(expected.Begin(), count, maps.pointers.data());
        ASSERT_EQ(row.bytes, expected.bytes);
    });
}

TEST(KernelLevels, LookWordsUpAlike)
{
    Random tables(2);
    const Maps<uint16_t, 3> maps(tables);
    ForEachLevel([&](const Kernels &kernels, size_t count, Random &random) {
        Row row(random, count * 6);
        Row expected = row;
        kernels.words.lookup1(row.Begin(), count, maps.pointers[0]);
        kPlain.words.lookup1(expected.Begin(), count, maps.pointers[0]);
        ASSERT_EQ(row.bytes, expected.bytes);
        kernels.words.lookup3(row.Begin(), count, maps.pointers.data());
        kPlain.words.lookup3(expected.Begin(), count, maps.pointers.data());
        ASSERT_EQ(row.bytes, expected.bytes);
    });
}

TEST(KernelLevels, ClampValuesAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        std::vector<int32_t> levels(count);
        std::iota(levels.begin(), levels.end(), 0);
        std::vector<int32_t> values(count);
        for (int32_t &value : values)
            value = Draw(random, 0, 9) == 0 ? static_cast<int32_t>(random())
                                            : Draw(random, -1000, 66000);
        for (bool isBroken : {false, true}) {
            if (isBroken && count > 0)
                ++levels[random() % count];
            std::vector<uint16_t> out(count);
            ASSERT_EQ(kernels.words.clampValues(values.data(), levels.data(), count, out.data()),
                      !isBroken || count == 0);
            for (size_t i = 0; i < count; ++i)
                ASSERT_EQ(out[i], std::clamp(values[i], 0, 65535));
        }
    });
}

// Every byte through a map of its own result: whole tables, in each of the channels.
TEST(KernelLevels, LookEveryLevelUp)
{
    Bytes map(256);
    for (size_t level = 0; level < 256; ++level)
        map[level] = static_cast<uint8_t>(level * 167 + 13); // each result once
    for (SimdLevel level : SupportedLevels()) {
        const Kernels kernels = KernelsOfLevel(level);
        for (size_t channels : {1u, 3u, 4u}) {
            Bytes pixels(256 * channels);
            for (size_t i = 0; i < pixels.size(); ++i)
                pixels[i] = static_cast<uint8_t>(i / channels);
            const uint8_t *const maps[] = {map.data(), map.data(), map.data(), map.data()};
            if (channels == 1)
                kernels.bytes.lookup1(pixels.data(), 256, map.data());
            else
                (channels == 3 ? kernels.bytes.lookup3 : kernels.bytes.lookup4)(pixels.data(), 256,
                                                                                maps);
            for (size_t i = 0; i < pixels.size(); ++i)
                ASSERT_EQ(pixels[i], map[i / channels]) << SimdLevelName(level);
        }
    }
}

TEST(KernelLevels, ScaleAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        for (size_t channels : {1u, 3u, 4u}) {
            Proportion8 proportions[4];
            for (Proportion8 &proportion : proportions)
                proportion = {static_cast<uint16_t>(Draw(random, 0, Draw(random, 0, 127))),
                              static_cast<uint16_t>(random())};
            Row row(random, count * channels);
            Row expected = row;
            kernels.bytes.scale(row.Begin(), count, channels, proportions);
            kPlain.bytes.scale(expected.Begin(), count, channels, proportions);
            ASSERT_EQ(row.bytes, expected.bytes) << channels;
        }
        for (size_t channels : {1u, 3u}) {
            Proportion16 proportions[3];
            const int32_t most = count % 2 == 0 ? 1 : 65535; // small ones are scaled another way
            for (Proportion16 &proportion : proportions)
                proportion = {static_cast<uint16_t>(Draw(random, 0, Draw(random, 0, most))),
                              static_cast<uint16_t>(random()), static_cast<uint16_t>(random())};
            Row row(random, count * channels * 2);
            Row expected = row;
            kernels.words.scale(row.Begin(), count, channels, proportions);
            kPlain.words.scale(expected.Begin(), count, channels, proportions);
            ASSERT_EQ(row.bytes, expected.bytes) << channels;
        }
    });
}

// Taps as an axis gives them, for a source row of exactly `readable` pixels.
struct Taps {
    std::vector<uint32_t> nearest;
    std::vector<uint32_t> linear;
    std::vector<LinearWeight8> weights;
    std::vector<float> fractions;
    std::vector<uint32_t> cubic;
    std::vector<float> cubicWeights[3];
    size_t readable;

    Taps(Random &random, size_t count)
    {
        const double factor = Draw(random, 0, 1) == 0 ? 2.0 : Draw(random, 300, 5000) / 1000.0;
        const int32_t size = std::max(4, static_cast<int32_t>(static_cast<double>(count) / factor));
        readable = static_cast<size_t>(size);
        const ResizeAxis axis(size, 0, size, static_cast<int32_t>(count) + 1, factor);
        for (int32_t i = 0; i < std::min(static_cast<int32_t>(count), axis.OutputSize()); ++i) {
            nearest.push_back(axis.Nearest(i));
            const ResizeAxis::LinearTap tap = axis.Linear(i);
            linear.push_back(tap.first);
            weights.push_back(LinearWeightOf(tap.fraction));
            fractions.push_back(static_cast<float>(tap.fraction));
            const ResizeAxis::CubicTap four = axis.Cubic(i);
            cubic.push_back(four.first);
            const CubicWeights weight = CubicWeightsOf(four.fraction);
            cubicWeights[0].push_back(weight.linear);
            cubicWeights[1].push_back(weight.square);
            cubicWeights[2].push_back(weight.cube);
        }
    }
    size_t Count() const { return nearest.size(); }
    CubicTaps Cubic() const
    {
        return {cubic.data(), cubicWeights[0].data(), cubicWeights[1].data(),
                cubicWeights[2].data()};
    }
};

template <typename Value, typename Run>
void CompareRows(size_t count, Run run)
{
    const size_t guard = count % 2 * 70;
    std::vector<Value> row(count + guard, Value{7});
    std::vector<Value> expected = row;
    run(row.data(), true);
    run(expected.data(), false);
    ASSERT_EQ(
        row.empty() ? 0 : std::memcmp(row.data(), expected.data(), row.size() * sizeof(Value)), 0);
}

TEST(KernelLevels, ResizeAlongRowsAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t length, Random &random) {
        const Taps taps(random, length);
        const Row bytes(random, taps.readable);
        const Row words(random, taps.readable * 2);
        const size_t count = taps.Count();
        const auto both = [&](auto &&use) {
            return [&, use](auto *out, bool isLevel) { use(isLevel ? kernels : kPlain, out); };
        };
        CompareRows<uint8_t>(count, both([&](const Kernels &k, uint8_t *out) {
                                 k.bytes.nearestRow(bytes.Begin(), taps.readable,
                                                    taps.nearest.data(), out, count);
                             }));
        CompareRows<int16_t>(count, both([&](const Kernels &k, int16_t *out) {
                                 k.bytes.linearRow(bytes.Begin(), taps.readable,
                                                   {taps.linear.data(), taps.weights.data()}, out,
                                                   count);
                             }));
        CompareRows<float>(count, both([&](const Kernels &k, float *out) {
                               k.bytes.cubicRow(bytes.Begin(), taps.readable, taps.Cubic(), out,
                                                count);
                           }));
        CompareRows<uint16_t>(count, both([&](const Kernels &k, uint16_t *out) {
                                  k.words.nearestRow(words.Begin(), taps.readable,
                                                     taps.nearest.data(),
                                                     reinterpret_cast<uint8_t *>(out), count);
                              }));
        CompareRows<float>(count, both([&](const Kernels &k, float *out) {
                               k.words.linearRow(words.Begin(), taps.readable,
                                                 {taps.linear.data(), taps.fractions.data()}, out,
                                                 count);
                           }));
        CompareRows<float>(count, both([&](const Kernels &k, float *out) {
                               k.words.cubicRow(words.Begin(), taps.readable, taps.Cubic(), out,
                                                count);
                           }));
    });
}

// Rows in between hold what the row kernels can make of pixels.
template <typename Value>
std::vector<Value> DrawValues(Random &random, size_t count, int32_t least, int32_t most)
{
    std::vector<Value> values(count);
    for (Value &value : values)
        value = static_cast<Value>(Draw(random, least, most));
    return values;
}

TEST(KernelLevels, ResizeAcrossRowsAlike)
{
    ForEachLevel([](const Kernels &kernels, size_t count, Random &random) {
        const auto compare = [&](size_t pixelBytes, auto &&use) {
            Row row(random, count * pixelBytes);
            Row expected = row;
            use(kernels, row.Begin());
            use(kPlain, expected.Begin());
            ASSERT_EQ(row.bytes, expected.bytes);
        };
        const auto upper = DrawValues<int16_t>(random, count, 0, 16320);
        const auto lower = DrawValues<int16_t>(random, count, 0, 16320);
        const LinearWeight8 weight = LinearWeightOf(Draw(random, 0, 100) / 100.0);
        compare(1, [&](const Kernels &k, uint8_t *out) {
            k.bytes.linearColumn(upper.data(), lower.data(), weight, out, count);
        });
        const auto fraction = static_cast<float>(Draw(random, 0, 100)) / 100.0f;
        const auto high = DrawValues<float>(random, count, 0, 65535);
        const auto low = DrawValues<float>(random, count, 0, 65535);
        compare(2, [&](const Kernels &k, uint8_t *out) {
            k.words.linearColumn(high.data(), low.data(), fraction, out, count);
        });
        const CubicWeights weights =
            CubicWeightsOf(static_cast<float>(Draw(random, -100, 200)) / 100.0f);
        for (int32_t top : {255, 65535}) {
            std::vector<float> rows[4];
            const float *pointers[4];
            for (size_t i = 0; i < 4; ++i) {
                rows[i] = DrawValues<float>(random, count, -top / 4, top + top / 4);
                for (float &value : rows[i])
                    value *= 0.9876543f; // fractions
                pointers[i] = rows[i].data();
            }
            compare(top == 255 ? 1 : 2, [&](const Kernels &k, uint8_t *out) {
                (top == 255 ? k.bytes.cubicColumn : k.words.cubicColumn)(pointers, weights, out,
                                                                         count);
            });
        }
    });
}

// The constant of the rounding is a little more than a half: 0.4999999 becomes 1, 0.4999997 stays
// 0.
TEST(KernelLevels, RoundCubicsALittleAboveAHalf)
{
    constexpr size_t kCount = 70;
    std::vector<float> values(kCount);
    for (size_t i = 0; i < kCount; ++i)
        values[i] = i % 2 == 0 ? 0.4999999f : 0.4999997f;
    const float *const rows[] = {values.data(), values.data(), values.data(), values.data()};
    for (SimdLevel level : SupportedLevels()) {
        const Kernels kernels = KernelsOfLevel(level);
        Bytes bytes(kCount);
        kernels.bytes.cubicColumn(rows, CubicWeightsOf(0.5f), bytes.data(), kCount);
        std::vector<uint16_t> words(kCount);
        kernels.words.cubicColumn(rows, CubicWeightsOf(0.5f),
                                  reinterpret_cast<uint8_t *>(words.data()), kCount);
        for (size_t i = 0; i < kCount; ++i) {
            ASSERT_EQ(bytes[i], i % 2 == 0 ? 1 : 0) << SimdLevelName(level);
            ASSERT_EQ(words[i], i % 2 == 0 ? 1 : 0) << SimdLevelName(level);
        }
    }
}

} // namespace
} // namespace zerix::test
