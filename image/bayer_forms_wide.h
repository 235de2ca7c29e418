// The forms in wide registers. A row enlarged along x is kept in two halves, the even and the odd
// columns of the output.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/bayer_forms.h"
#include "image/bayer_rows.h"

namespace zerix::wide {

// Steps of 32 and one more may be written behind the columns of a half.
constexpr size_t HalfLength(size_t cells) { return (cells + 31) / 32 * 32 + 32; }

template <typename Value, typename Byte>
auto HalvesOf(Byte *row, size_t cells)
{
    auto *const even = reinterpret_cast<Value *>(row);
    return BayerHalves<Value>{even, even + HalfLength(cells)};
}

// The cells from whose places on outputs are made, and up to which. The first is a whole step's.
struct Range {
    size_t begin;
    size_t end;
};

// How the weights of an output's own two cells read if they belong to the neighbours of its place.
// At the edges an output reads the pair beside its place, with all the weight on one of them.
template <typename Weight>
Weight AtPlace(const ResizeAxis::LinearTap &tap, uint32_t output, Weight weight, Weight all,
               Weight nothing)
{
    const int64_t place = int64_t{output / 2} - (output % 2 == 0 ? 1 : 0);
    return tap.first == place ? weight : tap.first > place ? all : nothing;
}

struct Linear8 : plain::Bytes {
    static constexpr uint32_t kId = 13;
    using Value = int16_t;
    static constexpr int16_t kWhole = 16384;
    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            uint8_t *const half = i % 2 == 0 ? columns.even[0] : columns.odd[0];
            reinterpret_cast<int16_t *>(half)[i / 2] =
                AtPlace<int16_t>(tap, i, LinearWeightOf(tap.fraction).second, kWhole, 0);
        }
    }
    static void Along(const uint8_t *cells, size_t count, const SweepColumns &columns, uint8_t *out,
                      const Range &range)
    {
        const auto halves = HalvesOf<int16_t>(out, count);
        if (range.begin == 0)
            halves.even[0] = static_cast<int16_t>(cells[0] * 64 + 32);
        LinearAlongBytesAvx2(cells + range.begin,
                             {reinterpret_cast<const int16_t *>(columns.even[0]) + range.begin,
                              reinterpret_cast<const int16_t *>(columns.odd[0]) + range.begin},
                             {halves.even + range.begin, halves.odd + range.begin},
                             range.end - range.begin);
    }
    // The whole way is no fraction: the row there is then taken as where it begins, too.
    struct Rows {
        static constexpr uint32_t kCount = 2;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(row));
            first = tap.first;
            fraction = LinearWeightOf(tap.fraction).second;
        }
        uint32_t first = 0;
        int16_t fraction = 0;
    };
    static void Across(const Rows &one, const Rows &two, BayerValues<Value> values,
                       const BayerTwoRows &out, size_t count)
    {
        const bool isWhole = one.fraction == kWhole;
        if (isWhole)
            values.rows[0] = values.rows[1];
        const int16_t fractions[] = {isWhole ? int16_t{0} : one.fraction,
                                     isWhole ? int16_t{0} : two.fraction};
        LinearAcrossBytesAvx2(values, fractions, out, count);
    }
};

struct Linear16 : plain::Words {
    static constexpr uint32_t kId = 14;
    using Value = float;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            uint8_t *const half = i % 2 == 0 ? columns.even[0] : columns.odd[0];
            reinterpret_cast<float *>(half)[i / 2] =
                AtPlace(tap, i, static_cast<float>(tap.fraction), 1.0f, 0.0f);
        }
    }
    static void Along(const uint8_t *cells, size_t count, const SweepColumns &columns, uint8_t *out,
                      const Range &range)
    {
        const auto halves = HalvesOf<float>(out, count);
        if (range.begin == 0)
            halves.even[0] = static_cast<float>(cells[0] | cells[1] << 8);
        LinearAlongWordsAvx2(cells + 2 * range.begin,
                             {reinterpret_cast<const float *>(columns.even[0]) + range.begin,
                              reinterpret_cast<const float *>(columns.odd[0]) + range.begin},
                             {halves.even + range.begin, halves.odd + range.begin},
                             range.end - range.begin);
    }
    struct Rows {
        static constexpr uint32_t kCount = 2;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(row));
            first = tap.first;
            fraction = static_cast<float>(tap.fraction);
        }
        uint32_t first = 0;
        float fraction = 0;
    };
    static void Across(const Rows &one, const Rows &two, const BayerValues<Value> &values,
                       const BayerTwoRows &out, size_t count)
    {
        const float fractions[] = {one.fraction, two.fraction};
        LinearAcrossWordsAvx2(values, fractions, out, count);
    }
};

template <typename Size, uint32_t id>
struct Cubic : Size {
    static constexpr uint32_t kId = id;
    using Value = float;
    static constexpr bool kIsBytes = sizeof(typename Size::Pixel) == 1;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        plain::CubicForm<Size, 0>::Prepare(axis, count, columns);
        for (uint32_t i = 0; i < count; ++i)
            for (size_t weight = 0; weight < 3; ++weight) {
                uint8_t *const half = i % 2 == 0 ? columns.even[weight] : columns.odd[weight];
                reinterpret_cast<float *>(half)[i / 2] =
                    reinterpret_cast<const float *>(columns.weights[weight])[i];
            }
    }
    static void Along(const uint8_t *cells, size_t count, const SweepColumns &columns, uint8_t *out,
                      const Range &range)
    {
        const auto floats = [&range](const uint8_t *row) {
            return reinterpret_cast<const float *>(row) + range.begin;
        };
        const BayerCubic weights = {
            {floats(columns.even[0]), floats(columns.even[1]), floats(columns.even[2])},
            {floats(columns.odd[0]), floats(columns.odd[1]), floats(columns.odd[2])}};
        const auto halves = HalvesOf<float>(out, count);
        (kIsBytes ? CubicAlongBytesAvx2 : CubicAlongWordsAvx2)(
            cells + range.begin * sizeof(typename Size::Pixel), weights,
            {halves.even + range.begin, halves.odd + range.begin}, range.end - range.begin);
        if (range.begin == 0)
            PutThree(cells, columns, halves, 0);
        if (range.end == count)
            PutThree(cells, columns, halves, 2 * count - 3);
    }
    // Three outputs at either end read cells that lie aside of their places.
    static void PutThree(const uint8_t *cells, const SweepColumns &columns,
                         const BayerHalves<float> &halves, size_t first)
    {
        const auto floats = [first](const uint8_t *row) {
            return reinterpret_cast<const float *>(row) + first;
        };
        const CubicTaps taps = {columns.first + first, floats(columns.weights[0]),
                                floats(columns.weights[1]), floats(columns.weights[2])};
        float three[3];
        if constexpr (kIsBytes)
            kScalarKernels.bytes.cubicRow(cells, 0, taps, three, 3);
        else
            kScalarKernels.words.cubicRow(cells, 0, taps, three, 3);
        for (size_t i = first; i < first + 3; ++i) {
            float *const half = i % 2 == 0 ? halves.even : halves.odd;
            half[i / 2] = three[i - first];
        }
    }
    struct Rows {
        static constexpr uint32_t kCount = 4;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::CubicTap tap = axis.Cubic(static_cast<int32_t>(row));
            const CubicWeights at = CubicWeightsOf(tap.fraction);
            first = tap.first;
            weights[0] = at.linear;
            weights[1] = at.square;
            weights[2] = at.cube;
        }
        uint32_t first = 0;
        float weights[3] = {};
    };
    static void Across(const Rows &one, const Rows &two, const BayerValues<Value> &values,
                       const BayerTwoRows &out, size_t count)
    {
        const float *const weights[] = {one.weights, two.weights};
        if constexpr (kIsBytes)
            CubicAcrossBytesAvx2(values, weights, out, count);
        else
            CubicAcrossWordsAvx2(values, weights, out, count);
    }
};

using Cubic8 = Cubic<plain::Bytes, 15>;
using Cubic16 = Cubic<plain::Words, 16>;

} // namespace zerix::wide
