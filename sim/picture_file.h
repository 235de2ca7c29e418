// The picture files that a scene can be: their decoders. Without state, safe from any thread.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace zerix::sim {

struct DecodedPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> levels; // red, green, blue
};

inline constexpr uint32_t kLargestSide = 32768;            // pixels
inline constexpr uint64_t kMostPixels = uint64_t{1} << 26; // of a whole picture

constexpr bool IsDecodable(uint32_t width, uint32_t height)
{
    return width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide &&
           uint64_t{width} * height <= kMostPixels;
}

// Each is false, and the picture untouched, if the file is of another kind, damaged or too large.
bool DecodePnm(std::string_view file, DecodedPicture *picture); // 8-bit PGM and PPM
bool DecodePng(std::string_view file, DecodedPicture *picture); // false in a build without libpng

// What a message lists.
#if defined(ZERIX_SIM_HAS_PNG)
inline constexpr std::string_view kPictureKinds = "PNG or 8-bit PGM/PPM";
#else
inline constexpr std::string_view kPictureKinds = "8-bit PGM/PPM (this build reads no PNG)";
#endif

} // namespace zerix::sim
