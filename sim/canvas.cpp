// Rectangles with area-true edges, and smooth noise. Plain arithmetic in a fixed order.
#include "sim/canvas.h"

#include <algorithm>

#include "sim/exact_math.h"
#include "sim/random.h"

namespace zerix::sim {
namespace {

// How much of pixel n lies between two coordinates.
float Overlap(uint32_t pixel, float from, float to)
{
    const auto start = static_cast<float>(pixel);
    return std::max(0.0F, std::min(to, start + 1.0F) - std::max(from, start));
}

float LatticeValue(uint64_t key, int32_t x, int32_t y)
{
    const uint64_t place =
        (static_cast<uint64_t>(static_cast<uint32_t>(y)) << 32U) | static_cast<uint32_t>(x);
    return UnitFloat(RandomBits(key, place));
}

} // namespace

Canvas::Canvas(uint32_t width, uint32_t height, std::vector<Light> &light, const Light &background)
    : m_width(width), m_height(height), m_light(light)
{
    m_light.assign(static_cast<size_t>(width) * height, background);
}

PixelRange Canvas::Pixels(float from, float to, uint32_t size)
{
    const auto end = static_cast<float>(size);
    const float first = std::clamp(from, 0.0F, end);
    const float last = std::clamp(to + 1.0F, first, end);
    return {.first = static_cast<uint32_t>(first), .last = static_cast<uint32_t>(last)};
}

void Canvas::Add(const Rectangle &area, const Light &light)
{
    const PixelRange rows = Pixels(area.top, area.bottom, m_height);
    const PixelRange columns = Pixels(area.left, area.right, m_width);
    for (uint32_t row = rows.first; row < rows.last; ++row) {
        const float ofRow = Overlap(row, area.top, area.bottom);
        for (uint32_t column = columns.first; column < columns.last; ++column) {
            const float part = ofRow * Overlap(column, area.left, area.right);
            At(column, row) = At(column, row) + light * part;
        }
    }
}

float SmoothStep(float x)
{
    const float clamped = std::clamp(x, 0.0F, 1.0F);
    return clamped * clamped * (3.0F - 2.0F * clamped);
}

float SmoothNoise(uint64_t key, float x, float y)
{
    const int32_t column = FloorToInt(static_cast<double>(x));
    const int32_t row = FloorToInt(static_cast<double>(y));
    const float across = SmoothStep(x - static_cast<float>(column));
    const float down = SmoothStep(y - static_cast<float>(row));
    const float top = LatticeValue(key, column, row) * (1.0F - across) +
                      LatticeValue(key, column + 1, row) * across;
    const float bottom = LatticeValue(key, column, row + 1) * (1.0F - across) +
                         LatticeValue(key, column + 1, row + 1) * across;
    return top * (1.0F - down) + bottom * down;
}

} // namespace zerix::sim
