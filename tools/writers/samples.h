// Samples of 16 bits in a picture's bytes.
#pragma once

#include <cstdint>
#include <span>

namespace zerix::tool {

// Gains may lift a sample above the range of its bits; in a file it is as white as it gets.
inline void LimitSamples(std::span<uint8_t> pixels, uint32_t significantBits)
{
    const uint32_t top = (1u << significantBits) - 1u;
    for (size_t i = 0; i + 1 < pixels.size(); i += 2) {
        if ((pixels[i] | uint32_t{pixels[i + 1]} << 8) <= top)
            continue;
        pixels[i] = static_cast<uint8_t>(top);
        pixels[i + 1] = static_cast<uint8_t>(top >> 8);
    }
}

} // namespace zerix::tool
