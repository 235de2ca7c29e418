#include "image/kernels/lookup_map.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "image/kernels/dispatch.h"
#include "image/kernels/proportion.h"

namespace zerix {

namespace {

constexpr size_t kMostChannels = 4;

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

// The channels' proportions, or results, one beside the other as the kernels take them.
template <typename Map>
struct Channels {
    using Proportion = typename decltype(Map::proportion)::value_type;
    using Pixel = std::remove_extent_t<decltype(Map::results)>;

    explicit Channels(std::span<const Map *const> maps)
    {
        for (size_t channel = 0; channel < maps.size(); ++channel) {
            results[channel] = maps[channel]->results;
            hasProportions &= maps[channel]->proportion.has_value();
            proportions[channel] = maps[channel]->proportion.value_or(Proportion{});
        }
    }
    const Pixel *results[kMostChannels] = {};
    Proportion proportions[kMostChannels] = {};
    bool hasProportions = true;
};

} // namespace

void BuildLookupMap(const int32_t *values, const int32_t *levels, size_t count, LookupMap8 &map)
{
    BuildMap(values, levels, count, map.results);
    FindProportionOf(map);
}

void BuildLookupMap(const int32_t *values, const int32_t *levels, size_t count, LookupMap16 &map)
{
    if (!BuildFullMap(values, levels, count, map.results))
        BuildMap(values, levels, count, map.results);
    FindProportionOf(map);
}

void FindProportionOf(LookupMap8 &map)
{
    map.proportion = FindProportion(map.results, ChosenKernels().bytes);
}

void FindProportionOf(LookupMap16 &map)
{
    map.proportion = FindProportion(map.results, ChosenKernels().words);
}

void MapPixels(uint8_t *pixels, size_t count, std::span<const LookupMap8 *const> channels)
{
    const Kernels8 &kernels = ChosenKernels().bytes;
    const Channels<LookupMap8> each(channels);
    if (each.hasProportions)
        kernels.scale(pixels, count, channels.size(), each.proportions);
    else if (channels.size() == 1)
        kernels.lookup1(pixels, count, each.results[0]);
    else
        (channels.size() == 3 ? kernels.lookup3 : kernels.lookup4)(pixels, count, each.results);
}

void MapPixels(uint8_t *pixels, size_t count, std::span<const LookupMap16 *const> channels)
{
    const Kernels16 &kernels = ChosenKernels().words;
    const Channels<LookupMap16> each(channels);
    if (each.hasProportions)
        kernels.scale(pixels, count, channels.size(), each.proportions);
    else if (channels.size() == 1)
        kernels.lookup1(pixels, count, each.results[0]);
    else
        kernels.lookup3(pixels, count, each.results);
}

} // namespace zerix
