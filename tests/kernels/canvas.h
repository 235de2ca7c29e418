// A rectangle of pixels in a heap buffer, at any alignment. What a primitive must not touch (before
// the first pixel, between the rows, behind the last one) is compared along with the pixels. One
// buffer in two ends with the rectangle, so that a sanitizer sees one byte too far.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

#include "platform/simd_level.h"

namespace zerix::test {

using Random = std::mt19937;

inline int32_t Draw(Random &random, int32_t least, int32_t most)
{
    return std::uniform_int_distribution<int32_t>(least, most)(random);
}

// The bytes behind what is written: none, or as many as a wide step.
inline size_t DrawGuard(Random &random)
{
    return Draw(random, 0, 1) == 0 ? 0 : static_cast<size_t>(Draw(random, 1, 70));
}

struct Canvas {
    std::vector<uint8_t> bytes;
    size_t offset = 0;
    int32_t step = 0;
    int32_t width = 0; // pixels of `pixelBytes`
    int32_t height = 0;

    static Canvas Noise(Random &random, int32_t width, int32_t height, int32_t pixelBytes,
                        int32_t padding)
    {
        Canvas canvas;
        canvas.offset = static_cast<size_t>(Draw(random, 0, 40));
        canvas.width = width;
        canvas.height = height;
        canvas.step = width * pixelBytes + padding;
        canvas.bytes.resize(canvas.offset +
                            static_cast<size_t>(canvas.step) * static_cast<size_t>(height - 1) +
                            static_cast<size_t>(width * pixelBytes) + DrawGuard(random));
        std::generate(canvas.bytes.begin(), canvas.bytes.end(),
                      [&] { return static_cast<uint8_t>(random()); });
        return canvas;
    }

    uint8_t *Pixels() { return bytes.data() + offset; }
    const uint8_t *Pixels() const { return bytes.data() + offset; }

    // Pixel `x` of row `y`, where a pixel is one number: channels count as pixels.
    template <typename Pixel>
    std::size_t Place(int32_t x, int32_t y) const
    {
        return offset + static_cast<size_t>(y) * static_cast<size_t>(step) +
               static_cast<size_t>(x) * sizeof(Pixel);
    }
    template <typename Pixel>
    Pixel At(int32_t x, int32_t y) const
    {
        Pixel pixel;
        std::memcpy(&pixel, bytes.data() + Place<Pixel>(x, y), sizeof pixel);
        return pixel;
    }
    template <typename Pixel>
    void Set(int32_t x, int32_t y, std::type_identity_t<Pixel> pixel)
    {
        std::memcpy(bytes.data() + Place<Pixel>(x, y), &pixel, sizeof pixel);
    }
};

inline int32_t DrawPadding(Random &random)
{
    return Draw(random, 0, 2) == 0 ? 0 : Draw(random, 1, 37);
}

inline std::vector<SimdLevel> SupportedLevels()
{
    std::vector<SimdLevel> levels;
    for (size_t number = 0; number < kSimdLevelCount; ++number)
        if (IsSimdLevelSupported(static_cast<SimdLevel>(number)))
            levels.push_back(static_cast<SimdLevel>(number));
    return levels;
}

} // namespace zerix::test
