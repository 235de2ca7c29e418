// The map from every level of a pixel type to its result, as the lookup primitives build it once a
// call. Who keeps tables from frame to frame keeps the maps, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "image/kernels/kernels.h"

namespace zerix {

inline constexpr size_t kByteLevels = 256;
inline constexpr size_t kWordLevels = 65536;

struct LookupMap8 {
    uint8_t results[kByteLevels];
    std::optional<Proportion8> proportion; // that gives the same results
};
struct LookupMap16 {
    uint16_t results[kWordLevels];
    std::optional<Proportion16> proportion;
};

// What lies from levels[k] up to below levels[k + 1] becomes values[k], clamped; the rest stays.
// `count` is at least 2.
void BuildLookupMap(const int32_t *values, const int32_t *levels, size_t count, LookupMap8 &map);
void BuildLookupMap(const int32_t *values, const int32_t *levels, size_t count, LookupMap16 &map);

// For a map whose results were written: looks for the proportion.
void FindProportionOf(LookupMap8 &map);
void FindProportionOf(LookupMap16 &map);

// Maps interleaved channels, 1, 3 or 4 (of words 1 or 3), by multiplication where all of them have
// a proportion.
void MapPixels(uint8_t *pixels, size_t count, std::span<const LookupMap8 *const> channels);
void MapPixels(uint8_t *pixels, size_t count, std::span<const LookupMap16 *const> channels);

} // namespace zerix
