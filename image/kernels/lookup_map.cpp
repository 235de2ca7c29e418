#include "image/kernels/lookup_map.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace zerix {

namespace {

// The usual table has the levels 0, 1, 2 ...: every step is one level wide.
bool HasEveryLevel(const int32_t *levels, size_t count)
{
    bool isIdentity = true;
    for (size_t k = 0; k < count; ++k)
        isIdentity &= levels[k] == static_cast<int32_t>(k);
    return isIdentity;
}

template <typename Pixel>
Pixel Clamp(int32_t value)
{
    return static_cast<Pixel>(std::clamp(value, 0, int32_t{std::numeric_limits<Pixel>::max()}));
}

template <typename Pixel>
void BuildMap(const int32_t *values, const int32_t *levels, size_t count, Pixel *map)
{
    constexpr int32_t kLevels = std::numeric_limits<Pixel>::max() + 1;
    std::iota(map, map + kLevels, Pixel{0});
    if (count <= kLevels && HasEveryLevel(levels, count)) {
        for (size_t level = 0; level + 1 < count; ++level)
            map[level] = Clamp<Pixel>(values[level]);
        return;
    }
    for (size_t k = 0; k + 1 < count; ++k) {
        const int32_t first = std::clamp(levels[k], 0, kLevels);
        const int32_t end = std::clamp(levels[k + 1], 0, kLevels);
        if (first < end)
            std::fill(map + first, map + end, Clamp<Pixel>(values[k]));
    }
}

} // namespace

void BuildLookupMap8(const int32_t *values, const int32_t *levels, size_t count, uint8_t *map)
{
    BuildMap(values, levels, count, map);
}

void BuildLookupMap16(const int32_t *values, const int32_t *levels, size_t count, uint16_t *map)
{
    BuildMap(values, levels, count, map);
}

} // namespace zerix
