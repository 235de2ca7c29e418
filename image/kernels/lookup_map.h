// The map from every level of a pixel type to its result, as the lookup primitives build it once a
// call. Who keeps tables from frame to frame may keep the maps, and run the kernels on them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

inline constexpr size_t kByteLevels = 256;
inline constexpr size_t kWordLevels = 65536;

// What lies from levels[k] up to below levels[k + 1] becomes values[k], clamped; the rest stays.
// `map` has room for all levels of the type; `count` is at least 2.
void BuildLookupMap8(const int32_t *values, const int32_t *levels, size_t count, uint8_t *map);
void BuildLookupMap16(const int32_t *values, const int32_t *levels, size_t count, uint16_t *map);

} // namespace zerix
