// What one pixel size and method makes of the rows of a mosaic, on the kernels of any processor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/kernels/dispatch.h"
#include "image/kernels/resize_axis.h"

namespace zerix {

// Where the output's columns read, and the weights there. The plain forms use `first` and
// `weights`, in the columns' order; the wide ones keep even and odd columns apart.
struct SweepColumns {
    uint32_t *first;
    uint8_t *weights[3];
    uint8_t *even[3];
    uint8_t *odd[3];
};

// Each form tells: the pixel, the value of a row that is enlarged along x, how to enlarge one, and
// which such rows an output row is mixed from, and how. Ids are all different.
namespace plain {

struct Bytes {
    using Pixel = uint8_t;
    static const Kernels8 &Table() { return ChosenKernels().bytes; }
};

struct Words {
    using Pixel = uint16_t;
    static const Kernels16 &Table() { return ChosenKernels().words; }
};

template <typename Size, uint32_t id>
struct NearestForm : Size {
    static constexpr uint32_t kId = id;
    using Value = typename Size::Pixel;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        for (uint32_t i = 0; i < count; ++i)
            columns.first[i] = axis.Nearest(static_cast<int32_t>(i));
    }
    static void Along(const uint8_t *cells, size_t readable, const SweepColumns &columns,
                      uint8_t *out, size_t count)
    {
        Size::Table().nearestRow(cells, readable, columns.first, out, count);
    }
    // The rows of cells that an output row is made of.
    struct Rows {
        static constexpr uint32_t kCount = 1;
        Rows(const ResizeAxis &axis, uint32_t row) : first(axis.Nearest(static_cast<int32_t>(row)))
        {
        }
        void Across(const uint8_t *const *rows, uint8_t *out, size_t count) const
        {
            std::memcpy(out, rows[0], count * sizeof(Value));
        }
        uint32_t first;
    };
};

struct Linear8Form : Bytes {
    static constexpr uint32_t kId = 3;
    using Value = int16_t;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        auto *const pairs = reinterpret_cast<LinearWeight8 *>(columns.weights[0]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            columns.first[i] = tap.first;
            pairs[i] = LinearWeightOf(tap.fraction);
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const SweepColumns &columns,
                      uint8_t *out, size_t count)
    {
        Table().linearRow(
            cells, readable,
            {columns.first, reinterpret_cast<const LinearWeight8 *>(columns.weights[0])},
            reinterpret_cast<Value *>(out), count);
    }
    struct Rows {
        static constexpr uint32_t kCount = 2;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(row));
            first = tap.first;
            weight = LinearWeightOf(tap.fraction);
        }
        void Across(const uint8_t *const *rows, uint8_t *out, size_t count) const
        {
            Table().linearColumn(reinterpret_cast<const Value *>(rows[0]),
                                 reinterpret_cast<const Value *>(rows[1]), weight, out, count);
        }
        uint32_t first = 0;
        LinearWeight8 weight{};
    };
};

struct Linear16Form : Words {
    static constexpr uint32_t kId = 4;
    using Value = float;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        auto *const fractions = reinterpret_cast<float *>(columns.weights[0]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            columns.first[i] = tap.first;
            fractions[i] = static_cast<float>(tap.fraction);
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const SweepColumns &columns,
                      uint8_t *out, size_t count)
    {
        Table().linearRow(cells, readable,
                          {columns.first, reinterpret_cast<const float *>(columns.weights[0])},
                          reinterpret_cast<Value *>(out), count);
    }
    struct Rows {
        static constexpr uint32_t kCount = 2;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(row));
            first = tap.first;
            fraction = static_cast<float>(tap.fraction);
        }
        void Across(const uint8_t *const *rows, uint8_t *out, size_t count) const
        {
            Table().linearColumn(reinterpret_cast<const Value *>(rows[0]),
                                 reinterpret_cast<const Value *>(rows[1]), fraction, out, count);
        }
        uint32_t first = 0;
        float fraction = 0;
    };
};

template <typename Size, uint32_t id>
struct CubicForm : Size {
    static constexpr uint32_t kId = id;
    using Value = float;

    static void Prepare(const ResizeAxis &axis, uint32_t count, const SweepColumns &columns)
    {
        auto *const linear = reinterpret_cast<float *>(columns.weights[0]);
        auto *const square = reinterpret_cast<float *>(columns.weights[1]);
        auto *const cube = reinterpret_cast<float *>(columns.weights[2]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::CubicTap tap = axis.Cubic(static_cast<int32_t>(i));
            const CubicWeights at = CubicWeightsOf(tap.fraction);
            columns.first[i] = tap.first;
            linear[i] = at.linear;
            square[i] = at.square;
            cube[i] = at.cube;
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const SweepColumns &columns,
                      uint8_t *out, size_t count)
    {
        const CubicTaps taps = {columns.first, reinterpret_cast<const float *>(columns.weights[0]),
                                reinterpret_cast<const float *>(columns.weights[1]),
                                reinterpret_cast<const float *>(columns.weights[2])};
        Size::Table().cubicRow(cells, readable, taps, reinterpret_cast<Value *>(out), count);
    }
    struct Rows {
        static constexpr uint32_t kCount = 4;
        Rows(const ResizeAxis &axis, uint32_t row)
        {
            const ResizeAxis::CubicTap tap = axis.Cubic(static_cast<int32_t>(row));
            first = tap.first;
            weights = CubicWeightsOf(tap.fraction);
        }
        void Across(const uint8_t *const *rows, uint8_t *out, size_t count) const
        {
            const Value *const values[] = {
                reinterpret_cast<const Value *>(rows[0]), reinterpret_cast<const Value *>(rows[1]),
                reinterpret_cast<const Value *>(rows[2]), reinterpret_cast<const Value *>(rows[3])};
            Size::Table().cubicColumn(values, weights, out, count);
        }
        uint32_t first = 0;
        CubicWeights weights{};
    };
};

using Nearest8Form = NearestForm<Bytes, 1>;
using Nearest16Form = NearestForm<Words, 2>;
using Cubic8Form = CubicForm<Bytes, 5>;
using Cubic16Form = CubicForm<Words, 6>;

} // namespace plain

} // namespace zerix
