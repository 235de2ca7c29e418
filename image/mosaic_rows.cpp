// The vertical kernels of a mosaic that is twice as high as it was exposed.
#include "image/mosaic_rows.h"

#include <algorithm>
#include <cstring>

namespace zerix {

namespace {

// The rows that one between them is made of: the same one twice at the edges, where only one row of
// its colours is left.
struct Neighbours {
    uint32_t above;
    uint32_t below;
};

Neighbours NeighboursOf(uint32_t row, uint32_t height)
{
    const bool hasAbove = row >= 2;
    const bool hasBelow = height > 2 && row < height - 2;
    // A row alone has no other of its colours.
    const uint32_t only = hasAbove ? row - 2 : hasBelow ? row + 2 : row - 1;
    return {hasAbove ? row - 2 : only, hasBelow ? row + 2 : only};
}

constexpr uint32_t kWeights = 3; // of the two rows together

// The nearer row counts twice: an exposed row covers two rows of the high image, so that the row
// above is nearer to the upper row of a cell, and the row below to the lower one.
constexpr uint32_t WeightOfAbove(uint32_t row) { return row % 2 == 0 ? 2 : 1; }

// Pixels in a buffer of bytes that may lie anywhere.
template <typename Pixel>
void MixRows(const uint8_t *above, const uint8_t *below, uint32_t weightOfAbove, uint32_t width,
             uint8_t *target)
{
    const uint32_t weightOfBelow = kWeights - weightOfAbove;
    for (size_t at = 0; at < width * sizeof(Pixel); at += sizeof(Pixel)) {
        Pixel a;
        Pixel b;
        std::memcpy(&a, above + at, sizeof a);
        std::memcpy(&b, below + at, sizeof b);
        const auto mixed =
            static_cast<Pixel>((a * weightOfAbove + b * weightOfBelow + 2) / kWeights);
        std::memcpy(target + at, &mixed, sizeof mixed);
    }
}

} // namespace

void StretchMosaic(const uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes,
                   uint8_t *out, uint32_t outHeight)
{
    const auto rows = static_cast<uint32_t>(std::min<uint64_t>(outHeight, uint64_t{height} * 2));
    const size_t rowBytes = size_t{width} * pixelBytes;
    if (rowBytes == 0)
        return;
    for (uint32_t row = 0; row < height && PlaceOfRow(row) < rows; ++row)
        std::memcpy(out + PlaceOfRow(row) * rowBytes, image + row * rowBytes, rowBytes);
    if (IsInterpolatedVertically(width, outHeight))
        FillRowsBetween(out, width, rows, pixelBytes);
    else
        RepeatRowsBetween(out, width, rows, pixelBytes);
}

void FillRowsBetween(uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes)
{
    const size_t rowBytes = size_t{width} * pixelBytes;
    const auto mix = pixelBytes == 1 ? MixRows<uint8_t> : MixRows<uint16_t>;
    for (uint32_t row = 0; row < height; ++row) {
        if (IsExposedRow(row))
            continue;
        const Neighbours from = NeighboursOf(row, height);
        mix(image + from.above * rowBytes, image + from.below * rowBytes, WeightOfAbove(row), width,
            image + row * rowBytes);
    }
}

void RepeatRowsBetween(uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes)
{
    const size_t rowBytes = size_t{width} * pixelBytes;
    for (uint32_t row = 0; row < height; ++row) {
        if (IsExposedRow(row) || rowBytes == 0)
            continue;
        const Neighbours from = NeighboursOf(row, height);
        const uint32_t nearer = WeightOfAbove(row) == 2 ? from.above : from.below;
        std::memcpy(image + row * rowBytes, image + nearer * rowBytes, rowBytes);
    }
}

} // namespace zerix
