// The rows of the Bayer sweep in wide registers. Every second output pixel has a place of its own
// relative to the cells, the same along the whole row, so that nothing is looked up: the even
// output 2k lies between the cells k - 1 and k, the odd one 2k + 1 between k and k + 1. A row
// enlarged along x is therefore kept as two: the even outputs, and the odd ones.
//
// This header stays without inline functions and other headers: it is compiled with wide
// instructions. Counts are cells. Rows of cells have readable bytes before and behind them, and all
// rows that are written have room for steps of 32 cells, except those of pixels: of 16.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

struct BayerLinear8 { // the way from a cell to the next, of 16384
    const int16_t *even;
    const int16_t *odd;
};
struct BayerLinear16 {
    const float *even;
    const float *odd;
};
// Newton's form at each output: the factors of the first, second and third difference.
struct BayerCubic {
    const float *even[3];
    const float *odd[3];
};

template <typename Value>
struct BayerHalves {
    Value *even;
    Value *odd;
};

// Copies past the caches: an image is larger than they are worth. Before anybody else reads it,
// FinishStreamAvx2 must have run.
void StreamRowAvx2(const uint8_t *row, uint8_t *out, size_t bytes);
void FinishStreamAvx2();

// Asks the memory for what is read soon.
void FetchAvx2(const uint8_t *from, size_t bytes);

// Red, green and blue cells of two rows of a mosaic. `order` is the pattern, 0 to 3. They do whole
// steps only and return how many cells.
size_t SplitBytesAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                      uint8_t *const *cells, size_t count);
size_t SplitWordsAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                      uint8_t *const *cells, size_t count);

// Along x. The linear values of bytes are 64 times the pixel and 32 more, which rounds them across.
// In the tables of the even outputs number k + 1 belongs to the cells k and k + 1.
void LinearAlongBytesAvx2(const uint8_t *cells, const BayerLinear8 &weights,
                          const BayerHalves<int16_t> &out, size_t count);
void LinearAlongWordsAvx2(const uint8_t *cells, const BayerLinear16 &fractions,
                          const BayerHalves<float> &out, size_t count);
// Without the outputs that lie too near to an edge for four cells around them.
void CubicAlongBytesAvx2(const uint8_t *cells, const BayerCubic &weights,
                         const BayerHalves<float> &out, size_t count);
void CubicAlongWordsAvx2(const uint8_t *cells, const BayerCubic &weights,
                         const BayerHalves<float> &out, size_t count);

// Across, and to pixels: one, two or four rows to two. Both are mixed from the same rows; where one
// is enough, both are written to the same place.
enum class BayerPixel { kThreeColours, kAlphaLast, kAlphaFirst }; // alpha is 255
struct BayerTwoRows {
    uint8_t *first;
    uint8_t *second;
    BayerPixel pixel;
    bool isStreamed; // past the caches: both are aligned to 32 bytes
};
// One row holds the values of all three colours.
template <typename Value>
struct BayerValues {
    const Value *rows[4];
    size_t colours[3]; // where the even outputs of a pixel's first, second, third colour begin
    size_t half;       // from them to the odd ones
};

void NearestBytesAvx2(const uint8_t *const *cells, const BayerTwoRows &out, size_t count);
void NearestWordsAvx2(const uint8_t *const *cells, const BayerTwoRows &out, size_t count);
// Fractions of 16384, below it.
void LinearAcrossBytesAvx2(const BayerValues<int16_t> &values, const int16_t *fractions,
                           const BayerTwoRows &out, size_t count);
void LinearAcrossWordsAvx2(const BayerValues<float> &values, const float *fractions,
                           const BayerTwoRows &out, size_t count);
// Three weights for each.
void CubicAcrossBytesAvx2(const BayerValues<float> &values, const float *const *weights,
                          const BayerTwoRows &out, size_t count);
void CubicAcrossWordsAvx2(const BayerValues<float> &values, const float *const *weights,
                          const BayerTwoRows &out, size_t count);

} // namespace zerix
