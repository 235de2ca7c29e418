// The sweep over a mosaic, in the same steps for every method and pixel size: a row of cells is
// split and enlarged along x once, and kept while output rows are mixed from it.
#include "image/bayer_sweep.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "image/bayer_method.h"
#include "image/kernels/dispatch.h"
#include "image/kernels/resize_axis.h"

namespace zerix {

namespace {

constexpr size_t kAlignment = 64; // bytes
constexpr size_t kOverrun = 64;   // that wide steps may write behind a row
constexpr uint8_t kOpaque = 255;
constexpr double kEnlargement = 2.0;

// What one pixel size and method makes of a row. Each form tells:
//   Pixel, Value of a row enlarged along x, and how many such rows an output row needs.

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

    static void Prepare(const ResizeAxis &axis, uint32_t count, uint32_t *first, uint8_t *const *)
    {
        for (uint32_t i = 0; i < count; ++i)
            first[i] = axis.Nearest(static_cast<int32_t>(i));
    }
    static void Along(const uint8_t *cells, size_t readable, const uint32_t *first,
                      uint8_t *const *, uint8_t *out, size_t count)
    {
        Size::Table().nearestRow(cells, readable, first, out, count);
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

    static void Prepare(const ResizeAxis &axis, uint32_t count, uint32_t *first,
                        uint8_t *const *weights)
    {
        auto *const pairs = reinterpret_cast<LinearWeight8 *>(weights[0]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            first[i] = tap.first;
            pairs[i] = LinearWeightOf(tap.fraction);
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const uint32_t *first,
                      uint8_t *const *weights, uint8_t *out, size_t count)
    {
        Table().linearRow(cells, readable,
                          {first, reinterpret_cast<const LinearWeight8 *>(weights[0])},
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

    static void Prepare(const ResizeAxis &axis, uint32_t count, uint32_t *first,
                        uint8_t *const *weights)
    {
        auto *const fractions = reinterpret_cast<float *>(weights[0]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::LinearTap tap = axis.Linear(static_cast<int32_t>(i));
            first[i] = tap.first;
            fractions[i] = static_cast<float>(tap.fraction);
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const uint32_t *first,
                      uint8_t *const *weights, uint8_t *out, size_t count)
    {
        Table().linearRow(cells, readable, {first, reinterpret_cast<const float *>(weights[0])},
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

    static void Prepare(const ResizeAxis &axis, uint32_t count, uint32_t *first,
                        uint8_t *const *weights)
    {
        auto *const linear = reinterpret_cast<float *>(weights[0]);
        auto *const square = reinterpret_cast<float *>(weights[1]);
        auto *const cube = reinterpret_cast<float *>(weights[2]);
        for (uint32_t i = 0; i < count; ++i) {
            const ResizeAxis::CubicTap tap = axis.Cubic(static_cast<int32_t>(i));
            const CubicWeights at = CubicWeightsOf(tap.fraction);
            first[i] = tap.first;
            linear[i] = at.linear;
            square[i] = at.square;
            cube[i] = at.cube;
        }
    }
    static void Along(const uint8_t *cells, size_t readable, const uint32_t *first,
                      uint8_t *const *weights, uint8_t *out, size_t count)
    {
        const CubicTaps taps = {first, reinterpret_cast<const float *>(weights[0]),
                                reinterpret_cast<const float *>(weights[1]),
                                reinterpret_cast<const float *>(weights[2])};
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

ResizeAxis AxisOf(uint32_t cells)
{
    const auto size = static_cast<int32_t>(cells);
    return {size, 0, size, 2 * size, kEnlargement};
}

// A method that needs more cells than there are gives way to the next simpler one.
int32_t MethodFor(int32_t method, uint32_t cells)
{
    if (cells < 2)
        return kResizeNearest;
    return method == kResizeCubic && cells < 4 ? kResizeLinear : method;
}

// The greens are halved each on its own, so that two odd ones lose 1.
template <typename Pixel>
void SplitCells(const uint8_t *upper, const uint8_t *lower, const CellPlanes &planes, size_t cells,
                uint8_t *const *out)
{
    for (size_t cell = 0; cell < cells; ++cell) {
        Pixel pixels[4];
        std::memcpy(pixels, upper + cell * 2 * sizeof(Pixel), 2 * sizeof(Pixel));
        std::memcpy(pixels + 2, lower + cell * 2 * sizeof(Pixel), 2 * sizeof(Pixel));
        Pixel sorted[4];
        for (size_t place = 0; place < 4; ++place)
            sorted[planes[place]] = pixels[place];
        const auto green = static_cast<Pixel>((sorted[1] >> 1) + (sorted[2] >> 1));
        std::memcpy(out[0] + cell * sizeof(Pixel), &sorted[0], sizeof(Pixel));
        std::memcpy(out[1] + cell * sizeof(Pixel), &green, sizeof(Pixel));
        std::memcpy(out[2] + cell * sizeof(Pixel), &sorted[3], sizeof(Pixel));
    }
}

void PackBytes(uint32_t format, uint8_t *const *colours, const uint8_t *alpha, uint8_t *out,
               size_t count)
{
    const Kernels8 &kernels = ChosenKernels().bytes;
    const uint8_t *const r = colours[0];
    const uint8_t *const g = colours[1];
    const uint8_t *const b = colours[2];
    const uint8_t *const rgbx[] = {r, g, b, alpha};
    const uint8_t *const bgrx[] = {b, g, r, alpha};
    const uint8_t *const xrgb[] = {alpha, r, g, b};
    switch (format) {
    case ZX::kFormatBgr24:
        return kernels.pack3(bgrx, out, count);
    case ZX::kFormatXrgb32:
        return kernels.pack4(xrgb, out, count);
    case ZX::kFormatBgrx32:
        return kernels.pack4(bgrx, out, count);
    case ZX::kFormatRgbx32:
        return kernels.pack4(rgbx, out, count);
    default:
        return kernels.pack3(rgbx, out, count);
    }
}

constexpr size_t PixelBytesOf(uint32_t format)
{
    switch (format) {
    case ZX::kFormatBgr24:
    case ZX::kFormatRgb24:
        return 3;
    case ZX::kFormatRgb48:
        return 6;
    default:
        return 4;
    }
}

} // namespace

bool BayerSweep::Reserve(uint32_t width)
{
    if (width <= m_capacity && m_block)
        return true;
    const auto rowOf = [width](size_t bytesOfPixel) {
        const size_t bytes = width * bytesOfPixel + kOverrun;
        return (bytes + kAlignment - 1) / kAlignment * kAlignment;
    };
    constexpr size_t kMosaicAndCells = 2 + kColours; // rows of words
    const size_t total = rowOf(2) * (kMosaicAndCells + kColours) + rowOf(4) * kRing * kColours +
                         rowOf(1) + rowOf(4) * 4 + kAlignment;
    std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[total]());
    if (!block)
        return false;
    uint8_t *next = block.get();
    next += (kAlignment - reinterpret_cast<uintptr_t>(next) % kAlignment) % kAlignment;
    const auto take = [&next](size_t bytes) {
        uint8_t *const row = next;
        next += bytes;
        return row;
    };
    for (uint8_t *&row : m_mosaicRows)
        row = take(rowOf(2));
    for (uint8_t *&row : m_cells)
        row = take(rowOf(2));
    for (uint8_t *&row : m_colours)
        row = take(rowOf(2));
    for (auto &slot : m_ring)
        for (uint8_t *&row : slot)
            row = take(rowOf(4));
    m_alpha = take(rowOf(1));
    std::fill_n(m_alpha, width, kOpaque);
    m_first = reinterpret_cast<uint32_t *>(take(rowOf(4)));
    for (uint8_t *&row : m_weights)
        row = take(rowOf(4));
    m_block = std::move(block);
    m_capacity = width;
    m_columns = {};
    return true;
}

void BayerSweep::Run(const BayerJob &job)
{
    const uint32_t smaller = std::min(job.width / 2, job.height / 2);
    if (smaller == 0)
        return PaintBlack(job);
    const bool isWords = SampleBytesOf(job.format) == 2;
    switch (MethodFor(job.method, smaller)) {
    case kResizeNearest:
        return isWords ? RunForm<Nearest16Form>(job) : RunForm<Nearest8Form>(job);
    case kResizeCubic:
        return isWords ? RunForm<Cubic16Form>(job) : RunForm<Cubic8Form>(job);
    default:
        return isWords ? RunForm<Linear16Form>(job) : RunForm<Linear8Form>(job);
    }
}

template <typename Form>
void BayerSweep::RunForm(const BayerJob &job)
{
    const uint32_t columns = job.width - job.width % 2;
    const uint32_t rows = job.height - job.height % 2;
    PrepareColumns<Form>(columns / 2);
    m_present.fill(kNone);
    const ResizeAxis axis = AxisOf(rows / 2);
    for (uint32_t row = 0; row < rows; ++row) {
        const typename Form::Rows from(axis, row);
        uint32_t slots[kRing] = {};
        for (uint32_t index = 0; index < Form::Rows::kCount; ++index)
            slots[index] = RingRow<Form>(job, from.first + index);
        for (uint32_t colour = 0; colour < kColours; ++colour) {
            const uint8_t *const values[] = {m_ring[slots[0]][colour], m_ring[slots[1]][colour],
                                             m_ring[slots[2]][colour], m_ring[slots[3]][colour]};
            from.Across(values, m_colours[colour], columns);
        }
        Emit<Form>(job, row);
    }
    const size_t rowBytes = job.width * PixelBytesOf(job.format);
    if (rows < job.height)
        std::memcpy(job.output + rows * rowBytes, job.output + (rows - 1) * rowBytes, rowBytes);
}

template <typename Form>
void BayerSweep::PrepareColumns(uint32_t cells)
{
    if (m_columns.cells == cells && m_columns.form == Form::kId)
        return;
    Form::Prepare(AxisOf(cells), 2 * cells, m_first, m_weights);
    m_columns = {cells, Form::kId};
}

// Where the row of cells lies, enlarged along x.
template <typename Form>
uint32_t BayerSweep::RingRow(const BayerJob &job, uint32_t cellRow)
{
    const uint32_t slot = cellRow % kRing;
    if (m_present[slot] == cellRow)
        return slot;
    SplitRow<Form>(job, cellRow);
    const uint32_t cells = job.width / 2;
    for (uint32_t colour = 0; colour < kColours; ++colour)
        Form::Along(m_cells[colour], cells, m_first, m_weights, m_ring[slot][colour],
                    size_t{2} * cells);
    m_present[slot] = cellRow;
    return slot;
}

template <typename Form>
void BayerSweep::SplitRow(const BayerJob &job, uint32_t cellRow)
{
    using Pixel = typename Form::Pixel;
    const size_t rowBytes = job.width * sizeof(Pixel);
    const uint8_t *const upper = MosaicRow(job, 2 * cellRow, rowBytes, m_mosaicRows[0]);
    const uint8_t *const lower = MosaicRow(job, 2 * cellRow + 1, rowBytes, m_mosaicRows[1]);
    SplitCells<Pixel>(upper, lower, PlanesOfCell(job.pattern), job.width / 2, m_cells);
}

// The row itself, or a copy that goes on in black where the mosaic ends.
const uint8_t *BayerSweep::MosaicRow(const BayerJob &job, uint32_t row, size_t rowBytes,
                                     uint8_t *spare)
{
    const size_t begin = row * rowBytes;
    if (begin + rowBytes <= job.mosaicBytes)
        return job.mosaic + begin;
    const size_t there = begin < job.mosaicBytes ? job.mosaicBytes - begin : 0;
    if (there > 0)
        std::memcpy(spare, job.mosaic + begin, there);
    std::memset(spare + there, 0, rowBytes - there);
    return spare;
}

template <typename Form>
void BayerSweep::Emit(const BayerJob &job, uint32_t row)
{
    using Pixel = typename Form::Pixel;
    if (job.width % 2 != 0)
        for (uint8_t *colour : m_colours)
            std::memcpy(colour + (job.width - size_t{1}) * sizeof(Pixel),
                        colour + (job.width - size_t{2}) * sizeof(Pixel), sizeof(Pixel));
    uint8_t *const out = job.output + row * (job.width * PixelBytesOf(job.format));
    if constexpr (sizeof(Pixel) == 1)
        PackBytes(job.format, m_colours, m_alpha, out, job.width);
    else
        ChosenKernels().words.pack3(m_colours, out, job.width);
}

// Less than one cell.
void BayerSweep::PaintBlack(const BayerJob &job)
{
    const size_t pixelBytes = PixelBytesOf(job.format);
    const size_t count = size_t{job.width} * job.height;
    if (count == 0)
        return;
    std::memset(job.output, 0, count * pixelBytes);
    if (pixelBytes != 4)
        return;
    const size_t alpha = job.format == ZX::kFormatXrgb32 ? 0 : 3;
    for (size_t pixel = 0; pixel < count; ++pixel)
        job.output[pixel * 4 + alpha] = kOpaque;
}

} // namespace zerix
