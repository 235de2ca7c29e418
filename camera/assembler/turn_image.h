// Turns an image by 180 degrees in place: pixels are exchanged from both ends.
#pragma once

#include <cstdint>
#include <span>

#include "platform/simd_level.h"

namespace zerix {

// `pixelBytes` is 1 or 2.
void TurnImage(uint8_t *pixels, uint32_t count, uint32_t pixelBytes);

// The same for `count` pixels from `pixels` on, at one processor level. Every level gives the same
// bytes as the first, the plain one.
struct TurnLevel {
    SimdLevel level;
    void (*turnBytes)(uint8_t *pixels, uint32_t count);
    void (*turnWords)(uint8_t *pixels, uint32_t count);
};
std::span<const TurnLevel> TurnLevels();

} // namespace zerix
