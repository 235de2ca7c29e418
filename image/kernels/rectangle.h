// How the primitives walk a rectangle.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

// The rows to walk: one long row where they lie back to back.
struct RowWalk {
    size_t width;
    size_t height;
};

[[nodiscard]] inline RowWalk WalkRows(int32_t width, int32_t height, bool isTight)
{
    const auto columns = static_cast<size_t>(width);
    const auto rows = static_cast<size_t>(height);
    return isTight ? RowWalk{columns * rows, 1} : RowWalk{columns, rows};
}

[[nodiscard]] inline bool IsTight(int32_t step, int32_t width, size_t pixelBytes)
{
    return step > 0 && static_cast<size_t>(step) == static_cast<size_t>(width) * pixelBytes;
}

// Row `number` of a rectangle. Steps may be negative: pictures that stand on their head.
template <typename Byte>
[[nodiscard]] Byte *RowAt(Byte *pixels, int32_t step, size_t number)
{
    return pixels + static_cast<std::ptrdiff_t>(number) * step;
}

} // namespace zerix
