#include "image/kernels/lookup_map.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "image/kernels/dispatch.h"

namespace zerix {

namespace {

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
    for (size_t k = 0; k + 1 < count; ++k) {
        const int32_t first = std::clamp(levels[k], 0, kLevels);
        const int32_t end = std::clamp(levels[k + 1], 0, kLevels);
        if (first < end)
            std::fill(map + first, map + end, Clamp<Pixel>(values[k]));
    }
}

// The usual table has the levels 0, 1, 2 ...: every step is one level wide.
bool BuildFullMap(const int32_t *values, const int32_t *levels, size_t count, uint16_t *map)
{
    const size_t steps = count - 1;
    if (count > kWordLevels || levels[steps] != static_cast<int32_t>(steps) ||
        !ChosenKernels().words.clampValues(values, levels, steps, map))
        return false;
    std::iota(map + steps, map + kWordLevels, static_cast<uint16_t>(steps));
    return true;
}

} // namespace

void BuildLookupMap8(const int32_t *values, const int32_t *levels, size_t count, uint8_t *map)
{
    BuildMap(values, levels, count, map);
}

void BuildLookupMap16(const int32_t *values, const int32_t *levels, size_t count, uint16_t *map)
{
    if (!BuildFullMap(values, levels, count, map))
        BuildMap(values, levels, count, map);
}

} // namespace zerix
