// The Bayer filter a second time, as plainly as it can be said: pixel by pixel, in whole planes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ZX::plain {

using Plane = std::vector<uint32_t>;

struct Mosaic {
    uint32_t width;
    uint32_t height;
    uint32_t pattern;
    std::vector<uint32_t> pixels;
};

inline uint32_t ColourAt(uint32_t pattern, uint32_t x, uint32_t y) // 0 red, 1 green, 2 blue
{
    static const char *const kCells[] = {"RGGB", "GRBG", "GBRG", "BGGR"};
    const char *const cell = kCells[pattern >= 6 && pattern <= 8 ? pattern - 5 : 0];
    const char letter = cell[y % 2 * 2 + x % 2];
    return letter == 'R' ? 0 : letter == 'G' ? 1 : 2;
}

// One cell a pixel; a green is half of each of the two.
inline Plane QuarterPlane(const Mosaic &mosaic, uint32_t colour)
{
    Plane plane;
    for (uint32_t row = 0; row + 1 < mosaic.height; row += 2)
        for (uint32_t column = 0; column + 1 < mosaic.width; column += 2) {
            uint32_t value = 0;
            for (uint32_t place = 0; place < 4; ++place) {
                const uint32_t x = column + place % 2;
                const uint32_t y = row + place / 2;
                if (ColourAt(mosaic.pattern, x, y) != colour)
                    continue;
                const uint32_t pixel = mosaic.pixels[y * mosaic.width + x];
                value += colour == 1 ? pixel / 2 : pixel;
            }
            plane.push_back(value);
        }
    return plane;
}

// Where output pixel i reads along an axis of n cells that is enlarged by 2.
struct Position {
    int32_t index;
    double fraction;
};

inline Position LinearPosition(uint32_t i, uint32_t n)
{
    const double position = i * ((n - 1.0) / (2.0 * n - 1.0));
    const auto index = static_cast<int32_t>(position + 0.0000001);
    if (index >= static_cast<int32_t>(n) - 1)
        return {static_cast<int32_t>(n) - 2, 1.0};
    return {index, position - index};
}

inline Position CubicPosition(uint32_t i, uint32_t n)
{
    const double position = i * ((n - 1.0) / (2.0 * n - 1.0));
    const auto index = static_cast<int32_t>(position + 0.0000001);
    const auto last = static_cast<int32_t>(n) - 1;
    if (index >= last)
        return {last - 2, 2.0};
    const int32_t base = index == 0 ? 1 : index == last - 1 ? index - 1 : index;
    return {base, position - base};
}

inline int32_t Fixed(double fraction) { return static_cast<int32_t>(fraction * 16384 + 0.0000001); }

inline float Cubic(const float *tap, float t)
{
    const float d1 = tap[1] - tap[0];
    const float d2 = (tap[2] - tap[1]) - d1;
    const float d3 = (tap[3] - tap[2]) - tap[2] + tap[1] - d2;
    return tap[0] + d1 * (1 + t) + d2 * (t * (1 + t) / 2) + d3 * ((t - 1) * (t * (1 + t) / 2) / 3);
}

// The value of output pixel (x, y) from a plane of w x h cells; top is 255 or 65535.
inline uint32_t Enlarged(const Plane &plane, uint32_t w, uint32_t h, uint32_t x, uint32_t y,
                         uint32_t method, uint32_t top)
{
    const uint32_t smaller = std::min(w, h);
    if (method == 4 && smaller < 4)
        method = 2;
    if (smaller < 2)
        method = 1;
    const auto at = [&](int32_t column, int32_t row) {
        return plane[static_cast<uint32_t>(row) * w + static_cast<uint32_t>(column)];
    };
    if (method == 1)
        return at(static_cast<int32_t>(x / 2), static_cast<int32_t>(y / 2));
    if (method == 2) {
        const Position px = LinearPosition(x, w);
        const Position py = LinearPosition(y, h);
        if (top == 255) {
            const int32_t f = Fixed(px.fraction);
            const int32_t g = Fixed(py.fraction);
            int32_t rows[2];
            for (int32_t row = 0; row < 2; ++row) {
                const auto a = static_cast<int32_t>(at(px.index, py.index + row));
                const auto b = static_cast<int32_t>(at(px.index + 1, py.index + row));
                rows[row] = (a * (16384 - f) + b * f + 128) >> 8;
            }
            return static_cast<uint32_t>(
                std::clamp((rows[0] * (16384 - g) + rows[1] * g + 0x80000) >> 20, 0, 255));
        }
        const auto f = static_cast<float>(px.fraction);
        const auto g = static_cast<float>(py.fraction);
        float rows[2];
        for (int32_t row = 0; row < 2; ++row) {
            const auto a = static_cast<float>(at(px.index, py.index + row));
            const auto b = static_cast<float>(at(px.index + 1, py.index + row));
            rows[row] = a + (b - a) * f;
        }
        return static_cast<uint32_t>(
            std::clamp(static_cast<int32_t>(rows[0] + (rows[1] - rows[0]) * g + 0.5f), 0, 65535));
    }
    const Position px = CubicPosition(x, w);
    const Position py = CubicPosition(y, h);
    float rows[4];
    for (int32_t row = 0; row < 4; ++row) {
        float taps[4];
        for (int32_t tap = 0; tap < 4; ++tap)
            taps[tap] = static_cast<float>(at(px.index - 1 + tap, py.index - 1 + row));
        rows[row] = Cubic(taps, static_cast<float>(px.fraction));
    }
    const auto value =
        static_cast<int32_t>(Cubic(rows, static_cast<float>(py.fraction)) + 0.5000001f);
    return static_cast<uint32_t>(std::clamp(value, 0, static_cast<int32_t>(top)));
}

// Red, green and blue of width x height. A last odd column or row repeats the one before; what has
// no whole cell is black.
inline std::vector<Plane> Colours(const Mosaic &mosaic, uint32_t method, uint32_t top)
{
    const uint32_t w = mosaic.width / 2;
    const uint32_t h = mosaic.height / 2;
    std::vector<Plane> colours;
    for (uint32_t colour = 0; colour < 3; ++colour) {
        const Plane quarter = QuarterPlane(mosaic, colour);
        Plane full;
        for (uint32_t y = 0; y < mosaic.height; ++y)
            for (uint32_t x = 0; x < mosaic.width; ++x)
                full.push_back(w == 0 || h == 0 ? 0
                                                : Enlarged(quarter, w, h, std::min(x, 2 * w - 1),
                                                           std::min(y, 2 * h - 1), method, top));
        colours.push_back(full);
    }
    return colours;
}

// The samples in the order of a format.
inline Plane Arranged(const std::vector<Plane> &rgb, uint32_t format)
{
    Plane out;
    if (format == 6 || format == 7) {
        for (const Plane &plane : rgb)
            out.insert(out.end(), plane.begin(), plane.end());
        return out;
    }
    for (size_t pixel = 0; pixel < rgb[0].size(); ++pixel) {
        const uint32_t r = rgb[0][pixel];
        const uint32_t g = rgb[1][pixel];
        const uint32_t b = rgb[2][pixel];
        switch (format) {
        case 8:
            out.insert(out.end(), {b, g, r});
            break;
        case 9:
            out.insert(out.end(), {255, r, g, b});
            break;
        case 11:
            out.insert(out.end(), {b, g, r, 255});
            break;
        case 13:
            out.insert(out.end(), {r, g, b, 255});
            break;
        default:
            out.insert(out.end(), {r, g, b});
        }
    }
    return out;
}

} // namespace ZX::plain
