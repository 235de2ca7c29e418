// Helpers that scenes paint with: a grid of pixels, rectangles with soft (area-true) edges, smooth
// noise. Not for use by two threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/scene.h"

namespace zerix::sim {

inline Light operator*(const Light &light, float factor)
{
    return {.red = light.red * factor, .green = light.green * factor, .blue = light.blue * factor};
}

inline Light operator+(const Light &a, const Light &b)
{
    return {.red = a.red + b.red, .green = a.green + b.green, .blue = a.blue + b.blue};
}

inline Light operator-(const Light &a, const Light &b)
{
    return {.red = a.red - b.red, .green = a.green - b.green, .blue = a.blue - b.blue};
}

// Whole pixels from first (included) to last (excluded).
struct PixelRange {
    uint32_t first;
    uint32_t last;
};

struct Rectangle {
    float left;
    float top;
    float right;
    float bottom;
};

class Canvas {
public:
    Canvas(uint32_t width, uint32_t height, std::vector<Light> &light, const Light &background);

    [[nodiscard]] uint32_t Width() const { return m_width; }
    [[nodiscard]] uint32_t Height() const { return m_height; }
    Light &At(uint32_t column, uint32_t row)
    {
        return m_light[static_cast<size_t>(row) * m_width + column];
    }

    // The pixels that a span of coordinates touches; pixel n reaches from n to n + 1.
    static PixelRange Pixels(float from, float to, uint32_t size);

    // Adds light (negative to darken) inside; pixels at the edge get the part of it that is inside,
    // so that areas that touch leave no seam.
    void Add(const Rectangle &area, const Light &light);

private:
    uint32_t m_width;
    uint32_t m_height;
    std::vector<Light> &m_light;
};

// 0 at or below 0, 1 at or above 1, and a smooth step between.
float SmoothStep(float x);

// Noise from 0 to 1 that changes smoothly over about one unit of x and y.
float SmoothNoise(uint64_t key, float x, float y);

} // namespace zerix::sim
