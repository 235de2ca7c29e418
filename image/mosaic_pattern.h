// Which sub-image of a mosaic each place of its 2 x 2 cells belongs to.
#pragma once

#include <array>
#include <cstdint>

#include "image/image_formats.h"

namespace zerix {

// Of the quarter planes 0 is red, 1 and 2 are the greens, 3 is blue. The places of a cell are even
// row even column, even row odd column, odd row even column, odd row odd column.
using CellPlanes = std::array<uint8_t, 4>;

constexpr CellPlanes PlanesOfCell(uint32_t pattern)
{
    switch (pattern) {
    case ZX::kPatternGRBG:
        return {1, 0, 3, 2};
    case ZX::kPatternGBRG:
        return {1, 3, 0, 2};
    case ZX::kPatternBGGR:
        return {3, 1, 2, 0};
    default:
        return {0, 1, 2, 3};
    }
}

// The pattern as a number from 0 to 3.
constexpr uint32_t OrderOfPattern(uint32_t pattern)
{
    const bool isKnown = pattern >= ZX::kPatternRGGB && pattern <= ZX::kPatternBGGR;
    return isKnown ? pattern - ZX::kPatternRGGB : 0;
}

} // namespace zerix
