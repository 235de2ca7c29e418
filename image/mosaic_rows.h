// The rows of a mosaic that is twice as high as it was exposed: which are exposed, and how the rows
// between are made of them. Used by the ratio correction and the vertical zoom.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

// Every cell of the mosaic becomes two: its upper row is kept as the first row of four, its lower
// row as the last. Each row between has the colours of the row two above and two below it.
constexpr uint32_t PlaceOfRow(uint32_t row) { return row / 2 * 4 + row % 2 * 3; }

// Whether a row of the high image was exposed.
constexpr bool IsExposedRow(uint32_t row) { return row % 4 == 0 || row % 4 == 3; }

// Smaller images are not interpolated: there is too little of each colour.
constexpr bool IsInterpolatedVertically(uint32_t width, uint32_t height)
{
    return width > 4 && height > 5;
}

// Makes a mosaic of `outHeight` rows, at most twice the rows that there are: each exposed row goes
// to its place, and the rows between are computed, or repeated in an image too small for that.
// Neither buffer may overlap the other.
void StretchMosaic(const uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes,
                   uint8_t *out, uint32_t outHeight);

// Computes the rows between from the exposed rows, which stand in their places. `width` in pixels
// of 1 or 2 bytes; rows follow one another without a gap.
void FillRowsBetween(uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes);

// The same by repeating the nearest row of the same colours.
void RepeatRowsBetween(uint8_t *image, uint32_t width, uint32_t height, uint32_t pixelBytes);

} // namespace zerix
