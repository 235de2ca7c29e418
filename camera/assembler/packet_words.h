// The byte order of packet headers. Their fields are big-endian on the wire and are swapped where
// they stand; after that a word's low byte comes first.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

namespace zerix {

inline constexpr uint32_t kFrameHeaderBytes = 12;
inline constexpr uint32_t kFrameHeaderWords = kFrameHeaderBytes / 2;

inline void SwapWords(uint8_t *bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
        std::swap(bytes[2 * i], bytes[2 * i + 1]);
}

// The four words of 8 bytes at once.
inline void SwapFourWords(uint8_t *bytes)
{
    constexpr uint64_t kEveryOtherByte = 0x00FF00FF00FF00FFu;
    uint64_t words = 0;
    std::memcpy(&words, bytes, sizeof words);
    words = (words & kEveryOtherByte) << 8 | (words >> 8 & kEveryOtherByte);
    std::memcpy(bytes, &words, sizeof words);
}

inline void SwapQuadlets(uint8_t *bytes, uint32_t count)
{
    for (uint8_t *quadlet = bytes; quadlet < bytes + size_t{count} * 4; quadlet += 4) {
        std::swap(quadlet[0], quadlet[3]);
        std::swap(quadlet[1], quadlet[2]);
    }
}

// A word after the swap.
inline uint32_t WordAt(const uint8_t *bytes)
{
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8;
}

} // namespace zerix
