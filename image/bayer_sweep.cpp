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
constexpr size_t kStep = 16;      // cells that wide rows of pixels are made of at a time
// Cells that are enlarged and written in turn: they stay in the nearest cache. Whole steps.
constexpr size_t kPiece = 256;
constexpr size_t kMostPixelBytes = 6;
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

// What the wide rows make of a format: the pixel, and its colours' order.
BayerPixel PixelOf(uint32_t format)
{
    switch (format) {
    case ZX::kFormatBgrx32:
    case ZX::kFormatRgbx32:
        return BayerPixel::kAlphaLast;
    case ZX::kFormatXrgb32:
        return BayerPixel::kAlphaFirst;
    default:
        return BayerPixel::kThreeColours;
    }
}

std::array<uint32_t, 3> ColoursOf(uint32_t format)
{
    const bool isBlueFirst = format == ZX::kFormatBgr24 || format == ZX::kFormatBgrx32;
    return isBlueFirst ? std::array<uint32_t, 3>{2, 1, 0} : std::array<uint32_t, 3>{0, 1, 2};
}

// The cells before the first one that both rows hold at a whole register; kStep if there is none.
size_t CellsToAlign(const uint8_t *upper, const uint8_t *lower, size_t cellBytes)
{
    constexpr uintptr_t kRegister = 32;
    const auto upperPlace = reinterpret_cast<uintptr_t>(upper);
    const auto lowerPlace = reinterpret_cast<uintptr_t>(lower);
    size_t cells = 0;
    while (cells < kStep &&
           ((upperPlace + cells * cellBytes) | (lowerPlace + cells * cellBytes)) % kRegister != 0)
        ++cells;
    return cells;
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
    constexpr size_t kWordRows = 2 + 2 * kColours;                 // mosaic, cells, a row of output
    constexpr size_t kLongRows = kRing * kColours + 1 + 3 + 3 + 3; // values, tables
    const size_t total =
        rowOf(2) * kWordRows + rowOf(4) * kLongRows + 2 * rowOf(6) + rowOf(1) + 2 * kAlignment;
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
    m_ringStep = rowOf(4);
    for (uint8_t *&row : m_packed)
        row = take(rowOf(6));
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
    // Words of a cubic come slowly enough for the caches to keep up with them.
    const bool isSlow = method == kResizeCubic && SampleBytesOf(job.format) == 2;
    m_isStreamed = m_isWide && !isSlow && rowBytes * job.height >= m_streamedFrom;
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
    const auto order = ColoursOf(job.format);
    const uint8_t *const colours[] = {m_cells[order[0]], m_cells[order[1]], m_cells[order[2]]};
    for (uint32_t cellRow = 0; cellRow < job.height / 2; ++cellRow) {
        SplitRow<Pixel>(job, cellRow);
        PutRows(job, 2 * cellRow, true, [&](const BayerTwoRows &out, size_t cell, size_t end) {
            Prefetch(job, cellRow + 1, cell, end);
            const uint8_t *const cells[] = {colours[0] + cell * sizeof(Pixel),
                                            colours[1] + cell * sizeof(Pixel),
                                            colours[2] + cell * sizeof(Pixel)};
            (sizeof(Pixel) == 1 ? NearestBytesAvx2 : NearestWordsAvx2)(cells, out, end - cell);
        });
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
        Emit<typename Form::Pixel>(job, row, m_colours);
    }
}

// Two output rows at a time where both lie between the same rows of cells, which is everywhere but
// at the first and the last.
template <typename Form>
void BayerSweep::RunPairs(const BayerJob &job)
{
    using Value = typename Form::Value;
    const uint32_t cells = job.width / 2;
    const uint32_t rows = job.height - job.height % 2;
    PrepareColumns<Form>(cells);
    m_present.fill(kNone);
    const ResizeAxis axis = AxisOf(rows / 2);
    const auto order = ColoursOf(job.format);
    for (uint32_t row = 0; row < rows;) {
        const typename Form::Rows one(axis, row);
        const typename Form::Rows two(axis, std::min(row + 1, rows - 1));
        const bool isPair = row + 1 < rows && row != 0 && one.first == two.first && row + 2 < rows;
        BayerValues<Value> values{.rows = {}, .colours = {}, .half = wide::HalfLength(cells)};
        size_t done = cells; // of the last row
        for (uint32_t index = 0; index < Form::Rows::kCount; ++index) {
            const uint32_t cellRow = one.first + index;
            const uint32_t slot = cellRow % kRing;
            values.rows[index] = reinterpret_cast<const Value *>(m_ring[slot][0]);
            if (m_present[slot] == cellRow)
                continue;
            SplitRow<typename Form::Pixel>(job, cellRow);
            m_present[slot] = cellRow;
            if (index + 1 == Form::Rows::kCount)
                done = 0;
            else
                Enlarge<Form>(cells, slot, {0, cells});
        }
        PutRows(job, row, isPair, [&](const BayerTwoRows &out, size_t cell, size_t end) {
            if (done < end) {
                const size_t steps = (end + kStep - 1) / kStep * kStep;
                const size_t next = cells - end < kStep ? cells : steps;
                Enlarge<Form>(cells, (one.first + Form::Rows::kCount - 1) % kRing, {done, next});
                done = next;
            }
            Prefetch(job, one.first + Form::Rows::kCount, cell, end);
            for (size_t colour = 0; colour < kColours; ++colour)
                values.colours[colour] = order[colour] * (m_ringStep / sizeof(Value)) + cell;
            Form::Across(one, isPair ? two : one, values, out, end - cell);
        });
        row += isPair ? 2 : 1;
    }
}

// One or two rows of pixels, in pieces. `make` is told where to write one, and its cells; it does
// whole steps, so that the first cells, up to where the rows are aligned, and the last ones go by
// way of a step's room.
template <typename Make>
void BayerSweep::PutRows(const BayerJob &job, uint32_t row, bool isPair, Make make)
{
    const size_t pixelBytes = PixelBytesOf(job.format);
    const size_t cellBytes = 2 * pixelBytes;
    const size_t rowBytes = job.width * pixelBytes;
    const size_t cells = job.width / 2;
    uint8_t *const upper = job.output + row * rowBytes;
    uint8_t *const lower = isPair ? upper + rowBytes : upper;
    const size_t unaligned = CellsToAlign(upper, lower, cellBytes);
    const bool isDirect = !m_isStreamed || unaligned < kStep;
    const BayerTwoRows out = {isDirect ? upper : m_packed[0],
                              isDirect ? lower : m_packed[isPair ? 1 : 0], PixelOf(job.format),
                              m_isStreamed && isDirect};
    const auto makeFew = [&](size_t cell, size_t end) {
        uint8_t few[2][kStep * 2 * kMostPixelBytes];
        if (cell == end)
            return;
        make({few[0], few[1], out.pixel, false}, cell, end);
        const size_t at = cell * cellBytes;
        const size_t bytes = (end - cell) * cellBytes;
        if (out.isStreamed) {
            StreamRowAvx2(few[0], out.first + at, bytes);
            StreamRowAvx2(few[1], out.second + at, bytes);
        } else {
            std::memcpy(out.first + at, few[0], bytes);
            std::memcpy(out.second + at, few[1], bytes);
        }
    };
    const size_t begin = unaligned < std::min(kStep, cells) ? unaligned : 0;
    const size_t whole = cells - (cells - begin) % kStep;
    makeFew(0, begin);
    for (size_t cell = begin; cell < whole; cell += kPiece) {
        const size_t done = cell * cellBytes;
        make({out.first + done, out.second + done, out.pixel, out.isStreamed}, cell,
             std::min(cell + kPiece, whole));
    }
    makeFew(whole, cells);
    if (job.width % 2 != 0)
        for (uint8_t *const pixels : {out.first, out.second})
            std::memcpy(pixels + rowBytes - pixelBytes, pixels + rowBytes - 2 * pixelBytes,
                        pixelBytes);
    if (isDirect)
        return;
    StreamRowAvx2(out.first, upper, rowBytes);
    if (isPair)
        StreamRowAvx2(out.second, lower, rowBytes);
}

template <typename Form>
void BayerSweep::Enlarge(size_t cells, size_t slot, const wide::Range &range)
{
    for (uint32_t colour = 0; colour < kColours; ++colour)
        Form::Along(m_cells[colour], cells, m_columns, m_ring[slot][colour], range);
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

// Part of a row of cells that comes next. The processor looks ahead by itself only within a page,
// which a row of the mosaic often fills.
void BayerSweep::Prefetch(const BayerJob &job, size_t cellRow, size_t cell, size_t end)
{
    const size_t sampleBytes = SampleBytesOf(job.format);
    const size_t rowBytes = job.width * sampleBytes;
    if ((2 * cellRow + 2) * rowBytes > job.mosaicBytes)
        return;
    const uint8_t *const upper = job.mosaic + 2 * cellRow * rowBytes;
    const size_t at = cell * 2 * sampleBytes;
    FetchAvx2(upper + at, (end - cell) * 2 * sampleBytes);
    FetchAvx2(upper + rowBytes + at, (end - cell) * 2 * sampleBytes);
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
    uint8_t *const target = job.output + row * job.width * PixelBytesOf(job.format);
    if constexpr (sizeof(Pixel) == 1)
        PackBytes(job.format, colours, m_alpha, target, job.width);
    else
        ChosenKernels().words.pack3(colours, target, job.width);
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
