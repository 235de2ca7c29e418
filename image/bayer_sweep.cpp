// The sweep over a mosaic, in the same steps for every method and pixel size: a row of cells is
// split and enlarged along x once, and kept while output rows are mixed from it.
#include "image/bayer_sweep.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "image/bayer_forms_wide.h"
#include "image/bayer_method.h"

namespace zerix {

namespace {

constexpr size_t kAlignment = 64; // bytes
constexpr size_t kOverrun = 512;  // that wide steps and a second half may add to a row
constexpr uint8_t kOpaque = 255;
constexpr double kEnlargement = 2.0;

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

bool AreAligned(const uint8_t *upper, const uint8_t *lower)
{
    constexpr uintptr_t kStreamed = 32;
    return ((reinterpret_cast<uintptr_t>(upper) | reinterpret_cast<uintptr_t>(lower)) %
            kStreamed) == 0;
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

BayerSweep::BayerSweep(SimdLevel level, size_t streamedFrom)
    : m_isWide(level >= SimdLevel::kAvx2), m_streamedFrom(streamedFrom)
{
}

bool BayerSweep::Reserve(uint32_t width)
{
    if (width <= m_capacity && m_block)
        return true;
    const auto rowOf = [width](size_t bytesOfPixel) {
        const size_t bytes = width * bytesOfPixel + kOverrun;
        return (bytes + kAlignment - 1) / kAlignment * kAlignment;
    };
    constexpr size_t kWordRows = 2 + kColours + 2 * kColours; // mosaic, cells, two rows of output
    constexpr size_t kLongRows = kRing * kColours + 1 + 3 + 3 + 3; // values, tables
    const size_t total =
        rowOf(2) * kWordRows + rowOf(4) * kLongRows + rowOf(6) + rowOf(1) + 2 * kAlignment;
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
    for (auto &row : m_colours)
        for (uint8_t *&colour : row)
            colour = take(rowOf(2));
    for (auto &slot : m_ring)
        for (uint8_t *&row : slot)
            row = take(rowOf(4));
    m_packed = take(rowOf(6));
    m_alpha = take(rowOf(1));
    std::fill_n(m_alpha, width, kOpaque);
    m_columns.first = reinterpret_cast<uint32_t *>(take(rowOf(4)));
    for (auto *table : {&m_columns.weights, &m_columns.even, &m_columns.odd})
        for (uint8_t *&row : *table)
            row = take(rowOf(4));
    m_block = std::move(block);
    m_capacity = width;
    m_preparedForm = 0;
    return true;
}

void BayerSweep::Run(const BayerJob &job)
{
    const uint32_t smaller = std::min(job.width / 2, job.height / 2);
    if (smaller == 0)
        return PaintBlack(job);
    const int32_t method = MethodFor(job.method, smaller);
    const size_t rowBytes = job.width * PixelBytesOf(job.format);
    m_isStreamed = m_isWide && rowBytes * job.height >= m_streamedFrom;
    if (m_isWide)
        RunWide(job, method);
    else
        RunPlain(job, method);
    if (m_isStreamed)
        FinishStreamAvx2();
    const size_t last = job.height - 1;
    if (job.height % 2 != 0)
        std::memcpy(job.output + last * rowBytes, job.output + (last - 1) * rowBytes, rowBytes);
}

void BayerSweep::RunPlain(const BayerJob &job, int32_t method)
{
    const bool isWords = SampleBytesOf(job.format) == 2;
    switch (method) {
    case kResizeNearest:
        return isWords ? RunForm<plain::Nearest16Form>(job) : RunForm<plain::Nearest8Form>(job);
    case kResizeCubic:
        return isWords ? RunForm<plain::Cubic16Form>(job) : RunForm<plain::Cubic8Form>(job);
    default:
        return isWords ? RunForm<plain::Linear16Form>(job) : RunForm<plain::Linear8Form>(job);
    }
}

void BayerSweep::RunWide(const BayerJob &job, int32_t method)
{
    const bool isWords = SampleBytesOf(job.format) == 2;
    switch (method) {
    case kResizeNearest:
        return isWords ? RunNearest<uint16_t>(job) : RunNearest<uint8_t>(job);
    case kResizeCubic:
        return isWords ? RunPairs<wide::Cubic16>(job) : RunPairs<wide::Cubic8>(job);
    default:
        return isWords ? RunPairs<wide::Linear16>(job) : RunPairs<wide::Linear8>(job);
    }
}

// Both rows of a row of cells are the same.
template <typename Pixel>
void BayerSweep::RunNearest(const BayerJob &job)
{
    const size_t cells = job.width / 2;
    const size_t pixelBytes = PixelBytesOf(job.format);
    const size_t rowBytes = job.width * pixelBytes;
    for (uint32_t cellRow = 0; cellRow < job.height / 2; ++cellRow) {
        SplitRow<Pixel>(job, cellRow);
        uint8_t *const upper = job.output + 2 * cellRow * rowBytes;
        uint8_t *const lower = upper + rowBytes;
        if (NearestRows<Pixel>(job, upper, lower) == cells && job.width % 2 == 0)
            continue;
        for (uint32_t colour = 0; colour < kColours; ++colour)
            if constexpr (sizeof(Pixel) == 1)
                DoubleBytesAvx2(m_cells[colour], m_colours[0][colour], cells);
            else
                DoubleWordsAvx2(m_cells[colour], m_colours[0][colour], cells);
        Emit<Pixel>(job, 2 * cellRow, m_colours[0]);
        Emit<Pixel>(job, 2 * cellRow + 1, m_colours[0]);
    }
}

// Both rows at once, for three channels; how many cells were done. Only aligned rows can be
// streamed as they are made.
template <typename Pixel>
size_t BayerSweep::NearestRows(const BayerJob &job, uint8_t *upper, uint8_t *lower) const
{
    const size_t cells = job.width / 2;
    if (PixelBytesOf(job.format) == 4)
        return 0;
    const uint8_t *const rgb[] = {m_cells[0], m_cells[1], m_cells[2]};
    const uint8_t *const bgr[] = {m_cells[2], m_cells[1], m_cells[0]};
    const uint8_t *const *const colours = job.format == ZX::kFormatBgr24 ? bgr : rgb;
    const auto make = sizeof(Pixel) == 1 ? NearestRowsOfBytesAvx2 : NearestRowsOfWordsAvx2;
    if (!m_isStreamed || AreAligned(upper, lower))
        return make(colours, upper, lower, cells, m_isStreamed);
    const size_t done = make(colours, m_packed, m_packed, cells, false);
    const size_t bytes = done * 2 * PixelBytesOf(job.format);
    StreamRowAvx2(m_packed, upper, bytes);
    StreamRowAvx2(m_packed, lower, bytes);
    return done;
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
            from.Across(values, m_colours[0][colour], columns);
        }
        Emit<typename Form::Pixel>(job, row, m_colours[0]);
    }
}

// Two output rows at a time where both lie between the same rows of cells, which is everywhere but
// at the first and the last.
template <typename Form>
void BayerSweep::RunPairs(const BayerJob &job)
{
    const uint32_t columns = job.width - job.width % 2;
    const uint32_t rows = job.height - job.height % 2;
    PrepareColumns<Form>(columns / 2);
    m_present.fill(kNone);
    const ResizeAxis axis = AxisOf(rows / 2);
    for (uint32_t row = 0; row < rows;) {
        const typename Form::Rows one(axis, row);
        const typename Form::Rows two(axis, std::min(row + 1, rows - 1));
        const bool isPair = row + 1 < rows && row != 0 && one.first == two.first && row + 2 < rows;
        const uint8_t *values[kColours][kRing] = {};
        for (uint32_t index = 0; index < Form::Rows::kCount; ++index) {
            const uint32_t slot = RingRow<Form>(job, one.first + index);
            for (uint32_t colour = 0; colour < kColours; ++colour)
                values[colour][index] = m_ring[slot][colour];
        }
        for (uint32_t colour = 0; colour < kColours; ++colour)
            Form::Across(one, isPair ? two : one, values[colour],
                         {m_colours[0][colour], m_colours[1][colour]}, columns);
        Emit<typename Form::Pixel>(job, row, m_colours[0]);
        if (isPair)
            Emit<typename Form::Pixel>(job, row + 1, m_colours[1]);
        row += isPair ? 2 : 1;
    }
}

template <typename Form>
void BayerSweep::PrepareColumns(uint32_t cells)
{
    if (m_preparedCells == cells && m_preparedForm == Form::kId)
        return;
    Form::Prepare(AxisOf(cells), 2 * cells, m_columns);
    m_preparedCells = cells;
    m_preparedForm = Form::kId;
}

// Where the row of cells lies, enlarged along x.
template <typename Form>
uint32_t BayerSweep::RingRow(const BayerJob &job, uint32_t cellRow)
{
    const uint32_t slot = cellRow % kRing;
    if (m_present[slot] == cellRow)
        return slot;
    SplitRow<typename Form::Pixel>(job, cellRow);
    const uint32_t cells = job.width / 2;
    for (uint32_t colour = 0; colour < kColours; ++colour)
        Form::Along(m_cells[colour], cells, m_columns, m_ring[slot][colour], size_t{2} * cells);
    m_present[slot] = cellRow;
    return slot;
}

template <typename Pixel>
void BayerSweep::SplitRow(const BayerJob &job, uint32_t cellRow)
{
    const size_t cells = job.width / 2;
    const size_t rowBytes = job.width * sizeof(Pixel);
    const uint8_t *const upper = MosaicRow(job, size_t{2} * cellRow, rowBytes, m_mosaicRows[0]);
    const uint8_t *const lower = MosaicRow(job, size_t{2} * cellRow + 1, rowBytes, m_mosaicRows[1]);
    size_t done = 0;
    if (m_isWide)
        done = (sizeof(Pixel) == 1 ? SplitBytesAvx2 : SplitWordsAvx2)(
            upper, lower, OrderOfPattern(job.pattern), m_cells, cells);
    uint8_t *const rest[] = {m_cells[0] + done * sizeof(Pixel), m_cells[1] + done * sizeof(Pixel),
                             m_cells[2] + done * sizeof(Pixel)};
    SplitCells<Pixel>(upper + done * 2 * sizeof(Pixel), lower + done * 2 * sizeof(Pixel),
                      PlanesOfCell(job.pattern), cells - done, rest);
}

// The row itself, or a copy that goes on in black where the mosaic ends.
const uint8_t *BayerSweep::MosaicRow(const BayerJob &job, size_t row, size_t rowBytes,
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

template <typename Pixel>
void BayerSweep::Emit(const BayerJob &job, uint32_t row, uint8_t *const *colours)
{
    if (job.width % 2 != 0)
        for (uint32_t colour = 0; colour < kColours; ++colour) {
            uint8_t *const last = colours[colour] + (job.width - size_t{1}) * sizeof(Pixel);
            std::memcpy(last, last - sizeof(Pixel), sizeof(Pixel));
        }
    const size_t rowBytes = job.width * PixelBytesOf(job.format);
    uint8_t *const target = job.output + row * rowBytes;
    uint8_t *const out = m_isStreamed ? m_packed : target;
    if constexpr (sizeof(Pixel) == 1)
        PackBytes(job.format, colours, m_alpha, out, job.width);
    else
        ChosenKernels().words.pack3(colours, out, job.width);
    if (m_isStreamed)
        StreamRowAvx2(out, target, rowBytes);
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
