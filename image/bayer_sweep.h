// From a mosaic straight to interleaved pixels: the rows of cells pass through a few rows of
// scratch, and no whole plane is ever made. The bytes are those that splitting, enlarging and
// interleaving whole planes gives. One Run at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "image/bayer_forms.h"
#include "image/mosaic_pattern.h"
#include "platform/simd_level.h"

namespace zerix {

namespace wide {
struct Range;
}

struct BayerJob {
    const uint8_t *mosaic;
    size_t mosaicBytes; // what lies beyond counts as black
    uint32_t width;     // pixels
    uint32_t height;
    uint32_t pattern; // ZColourPatternEnum
    uint8_t *output;
    uint32_t format; // ZImageFormatEnum; one that SampleBytesOf knows
    int32_t method;  // ResizeMethod
};

class BayerSweep {
public:
    // Wide registers write images from a size in bytes on past the caches.
    static constexpr size_t kStreamedFrom = size_t{10} << 20;
    explicit BayerSweep(SimdLevel level = ChosenSimdLevel(), size_t streamedFrom = kStreamedFrom);

    // Makes room for mosaics up to this width; keeps what it has where that is enough. False if
    // there is no memory.
    [[nodiscard]] bool Reserve(uint32_t width);

    // Within the width reserved. Allocates nothing.
    void Run(const BayerJob &job);

private:
    static constexpr uint32_t kColours = 3;
    static constexpr uint32_t kRing = 4; // the rows of cells that a cubic looks at
    static constexpr uint32_t kNone = ~0u;

    void RunPlain(const BayerJob &job, int32_t method);
    void RunWide(const BayerJob &job, int32_t method);
    template <typename Form>
    void RunForm(const BayerJob &job);
    template <typename Form>
    void RunPairs(const BayerJob &job);
    template <typename Pixel>
    void RunNearest(const BayerJob &job);
    template <typename Make>
    void PutRows(const BayerJob &job, uint32_t row, bool isPair, Make make);
    static void Prefetch(const BayerJob &job, size_t cellRow, size_t cell, size_t end);
    template <typename Form>
    void Enlarge(size_t cells, size_t slot, const wide::Range &range);
    template <typename Form>
    void PrepareColumns(uint32_t cells);
    template <typename Form>
    uint32_t RingRow(const BayerJob &job, uint32_t cellRow);
    template <typename Pixel>
    void SplitRow(const BayerJob &job, uint32_t cellRow);
    const uint8_t *MosaicRow(const BayerJob &job, size_t row, size_t rowBytes, uint8_t *spare);
    template <typename Pixel>
    void Emit(const BayerJob &job, uint32_t row, uint8_t *const *colours);
    void PaintBlack(const BayerJob &job);

    const bool m_isWide;
    const size_t m_streamedFrom;
    bool m_isStreamed = false; // the image in work
    uint32_t m_capacity = 0;   // pixels
    std::unique_ptr<uint8_t[]> m_block;
    uint8_t *m_mosaicRows[2] = {};         // padded copies where the mosaic ends early
    uint8_t *m_cells[kColours] = {};       // a row of red, green and blue cells
    uint8_t *m_colours[kColours] = {};     // a row of output
    uint8_t *m_ring[kRing][kColours] = {}; // rows of cells, enlarged along x
    size_t m_ringStep = 0;                 // bytes from one colour to the next
    uint8_t *m_packed[2] = {};             // rows on their way past the caches
    uint8_t *m_alpha = nullptr;
    SweepColumns m_columns{};
    uint32_t m_preparedCells = 0; // what the columns are prepared for
    uint32_t m_preparedForm = 0;
    std::array<uint32_t, kRing> m_present{};
};

} // namespace zerix
