// Resizing by its rules, one output pixel at a time, for comparison.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "tests/kernels/canvas.h"

namespace zerix::test {

struct PlainRegion {
    int32_t x, y, width, height;
};

// One axis.
struct PlainAxis {
    int32_t source; // pixels of the whole source
    int32_t origin;
    int32_t region; // cut
    double factor;

    int32_t OutputSize(int32_t destination) const
    {
        const double sum = region * factor + 0.0000001;
        if (sum < 1.0)
            return sum >= 0.5 ? 1 : 0;
        return sum > destination ? destination : static_cast<int32_t>(sum);
    }
    int32_t NearestPixel(int32_t i) const
    {
        const double step = 1 / factor;
        const auto index = static_cast<int32_t>(step / 2 + i * step + 0.0000001);
        return origin + std::min(index, region - 1);
    }
    double Position(int32_t i) const
    {
        const double size = region * factor;
        return size <= 1.0 ? 0.0 : i * ((region - 1) / (size - 1.0));
    }
    int32_t Index(int32_t i) const
    {
        return std::min(static_cast<int32_t>(Position(i) + 0.0000001), region - 1);
    }
};

struct PlainLinearTap {
    int32_t first, second;
    double fraction;
};
inline PlainLinearTap LinearTapOf(const PlainAxis &axis, int32_t i)
{
    const int32_t index = axis.Index(i);
    if (axis.region == 1)
        return {axis.origin, axis.origin, 0.0};
    if (index == axis.region - 1)
        return {axis.origin + index - 1, axis.origin + index, 1.0};
    return {axis.origin + index, axis.origin + index + 1, axis.Position(i) - index};
}

struct PlainCubicTap {
    int32_t base; // the second of four
    float t;
};
inline PlainCubicTap CubicTapOf(const PlainAxis &axis, int32_t i)
{
    const int32_t index = axis.Index(i);
    const int32_t column = axis.origin + index;
    if (column == axis.source - 1)
        return {column - 2, 2.0f};
    if (column == 0)
        return {column + 1, static_cast<float>(axis.Position(i) - (index + 1))};
    if (column == axis.source - 2)
        return {column - 1, static_cast<float>(axis.Position(i) - (index - 1))};
    return {column, static_cast<float>(axis.Position(i) - index)};
}

inline float PlainCubic(const std::array<float, 4> &points, float t)
{
    const float m = points[0];
    const float a = points[1];
    const float b = points[2];
    const float c = points[3];
    const float d1 = a - m;
    const float d2 = (b - a) - d1;
    const float d3 = (c - b) - b + a - d2;
    return m + d1 * (1 + t) + d2 * (t * (1 + t) / 2) + d3 * ((t - 1) * (t * (1 + t) / 2) / 3);
}

template <typename Pixel>
Pixel PlainNearest(const Canvas &source, const PlainAxis &x, const PlainAxis &y, int32_t column,
                   int32_t row)
{
    return source.At<Pixel>(x.NearestPixel(column), y.NearestPixel(row));
}

inline uint8_t PlainLinear8(const Canvas &source, const PlainAxis &x, const PlainAxis &y,
                            int32_t column, int32_t row)
{
    const PlainLinearTap across = LinearTapOf(x, column);
    const PlainLinearTap down = LinearTapOf(y, row);
    const int f = static_cast<int>(across.fraction * 16384 + 0.0000001);
    const int g = static_cast<int>(down.fraction * 16384 + 0.0000001);
    std::array<int, 2> rows;
    const std::array<int32_t, 2> numbers = {down.first, down.second};
    for (size_t i = 0; i < 2; ++i) {
        const int a = source.At<uint8_t>(across.first, numbers[i]);
        const int b = source.At<uint8_t>(across.second, numbers[i]);
        rows[i] = std::min((a * (16384 - f) + b * f + 128) >> 8, 32767);
    }
    return static_cast<uint8_t>(
        std::clamp((rows[0] * (16384 - g) + rows[1] * g + 0x80000) >> 20, 0, 255));
}

// Before rounding, in double.
inline double PlainLinear16(const Canvas &source, const PlainAxis &x, const PlainAxis &y,
                            int32_t column, int32_t row)
{
    const PlainLinearTap across = LinearTapOf(x, column);
    const PlainLinearTap down = LinearTapOf(y, row);
    const auto along = [&](int32_t number) {
        return source.At<uint16_t>(across.first, number) * (1 - across.fraction) +
               source.At<uint16_t>(across.second, number) * across.fraction;
    };
    return along(down.first) * (1 - down.fraction) + along(down.second) * down.fraction;
}

template <typename Pixel>
Pixel PlainCubicPixel(const Canvas &source, const PlainAxis &x, const PlainAxis &y, int32_t column,
                      int32_t row)
{
    const PlainCubicTap across = CubicTapOf(x, column);
    const PlainCubicTap down = CubicTapOf(y, row);
    std::array<float, 4> rows;
    for (int32_t i = 0; i < 4; ++i) {
        std::array<float, 4> four;
        for (int32_t k = 0; k < 4; ++k)
            four[static_cast<size_t>(k)] = source.At<Pixel>(across.base - 1 + k, down.base - 1 + i);
        rows[static_cast<size_t>(i)] = PlainCubic(four, across.t);
    }
    const auto value = static_cast<int32_t>(PlainCubic(rows, down.t) + 0.5000001f);
    return static_cast<Pixel>(std::clamp(value, 0, sizeof(Pixel) == 1 ? 255 : 65535));
}

} // namespace zerix::test
