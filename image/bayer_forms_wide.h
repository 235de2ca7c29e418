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
    static void Along(const uint8_t *cells, size_t, const SweepColumns &columns, uint8_t *out,
                      size_t count)
    {
        LinearAlongBytesAvx2(cells,
                             {reinterpret_cast<const int16_t *>(columns.even[0]),
                              reinterpret_cast<const int16_t *>(columns.odd[0])},
                             HalvesOf<int16_t>(out, count / 2), count / 2);
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
    static void Across(const Rows &one, const Rows &two, const uint8_t *const *rows,
                       const BayerTwoRows &out, size_t count)
    {
        const bool isWhole = one.fraction == kWhole;
        const BayerHalves<const int16_t> from[] = {
            HalvesOf<const int16_t>(rows[isWhole ? 1 : 0], count / 2),
            HalvesOf<const int16_t>(rows[1], count / 2)};
        const int16_t fractions[] = {isWhole ? int16_t{0} : one.fraction,
                                     isWhole ? int16_t{0} : two.fraction};
        LinearAcrossBytesAvx2(from, fractions, out, count / 2);
    }
};

struct Linear16 : plain::Words {
    static constexpr uint32_t kId = 14;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            uint8_t *const half = i % 2 == 0 ? columns.even[0] : columns.odd[0];
            reinterpret_cast<float *>(half)[i / 2] =
                AtPlace(tap, i, static_cast<float>(tap.fraction), 1.0f, 0.0f);
        }
    }
    static void Along(const uint8_t *cells, size_t, const SweepColumns &columns, uint8_t *out,
                      size_t count)
    {
        LinearAlongWordsAvx2(cells,
                             {reinterpret_cast<const float *>(columns.even[0]),
                              reinterpret_cast<const float *>(columns.odd[0])},
                             HalvesOf<float>(out, count / 2), count / 2);
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
    static void Across(const Rows &one, const Rows &two, const uint8_t *const *rows,
                       const BayerTwoRows &out, size_t count)
    {
        const BayerHalves<const float> from[] = {HalvesOf<const float>(rows[0], count / 2),
                                                 HalvesOf<const float>(rows[1], count / 2)};
        const float fractions[] = {one.fraction, two.fraction};
        LinearAcrossWordsAvx2(from, fractions, out, count / 2);
    }
};

template <typename Size, uint32_t id>
struct Cubic : Size {
    static constexpr uint32_t kId = id;
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
    static void Along(const uint8_t *cells, size_t readable, const SweepColumns &columns,
                      uint8_t *out, size_t count)
    {
        const auto floats = [](const uint8_t *row) { return reinterpret_cast<const float *>(row); };
        const BayerCubic weights = {
            {floats(columns.even[0]), floats(columns.even[1]), floats(columns.even[2])},
            {floats(columns.odd[0]), floats(columns.odd[1]), floats(columns.odd[2])}};
        const auto halves = HalvesOf<float>(out, count / 2);
        if constexpr (kIsBytes)
            CubicAlongBytesAvx2(cells, weights, halves, count / 2);
        else
            CubicAlongWordsAvx2(cells, weights, halves, count / 2);
        // Three outputs at either end read cells that lie aside of their places.
        for (const size_t i : {size_t{0}, size_t{1}, size_t{2}, count - 3, count - 2, count - 1}) {
            const CubicTaps taps = {columns.first + i, floats(columns.weights[0]) + i,
                                    floats(columns.weights[1]) + i, floats(columns.weights[2]) + i};
            float *const half = i % 2 == 0 ? halves.even : halves.odd;
            Size::Table().cubicRow(cells, readable, taps, half + i / 2, 1);
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
    static void Across(const Rows &one, const Rows &two, const uint8_t *const *rows,
                       const BayerTwoRows &out, size_t count)
    {
        BayerHalves<const float> from[4];
        for (size_t row = 0; row < 4; ++row)
            from[row] = HalvesOf<const float>(rows[row], count / 2);
        const float *const weights[] = {one.weights, two.weights};
        if constexpr (kIsBytes)
            CubicAcrossBytesAvx2(from, weights, out, count / 2);
        else
            CubicAcrossWordsAvx2(from, weights, out, count / 2);
    }
};

using Cubic8 = Cubic<plain::Bytes, 15>;
using Cubic16 = Cubic<plain::Words, 16>;

} // namespace zerix::wide
