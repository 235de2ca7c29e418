// The lookups: a map of all levels for each channel, then one pass over the pixels.
#include <array>
#include <optional>
#include <utility>

#include "image/kernels/dispatch.h"
#include "image/kernels/lookup_map.h"
#include "image/kernels/primitives.h"
#include "image/kernels/proportion.h"
#include "image/kernels/rectangle.h"

namespace zerix {

namespace {

struct Tables {
    const int32_t *const *values;
    const int32_t *const *levels;
    const int32_t *counts;
};

PrimStatus Check(const uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                 const Tables &tables, size_t channels)
{
    if (pixels == nullptr || tables.values == nullptr || tables.levels == nullptr ||
        tables.counts == nullptr)
        return kPrimNullPointer;
    for (size_t channel = 0; channel < channels; ++channel)
        if (tables.values[channel] == nullptr || tables.levels[channel] == nullptr)
            return kPrimNullPointer;
    if (width < 1 || height < 1)
        return kPrimSizeError;
    if (step < 1)
        return kPrimStepError;
    for (size_t channel = 0; channel < channels; ++channel)
        if (tables.counts[channel] < 2)
            return kPrimLevelsError;
    return kPrimOk;
}

constexpr auto BuildMap(uint8_t) { return BuildLookupMap8; }
constexpr auto BuildMap(uint16_t) { return BuildLookupMap16; }

template <typename Pixel, size_t kChannels>
using Maps = Pixel[kChannels][size_t{1} << sizeof(Pixel) * 8];

// One row of pixels through the maps.
template <typename Pixel, typename Table>
void LookUp(const Table &kernels, uint8_t *row, size_t width, const Maps<Pixel, 1> &maps)
{
    kernels.lookup1(row, width, maps[0]);
}

template <typename Pixel, typename Table>
void LookUp(const Table &kernels, uint8_t *row, size_t width, const Maps<Pixel, 3> &maps)
{
    const Pixel *const entries[] = {maps[0], maps[1], maps[2]};
    kernels.lookup3(row, width, entries);
}

template <typename Pixel>
void LookUp(const Kernels8 &kernels, uint8_t *row, size_t width, const Maps<Pixel, 4> &maps)
{
    const Pixel *const entries[] = {maps[0], maps[1], maps[2], maps[3]};
    kernels.lookup4(row, width, entries);
}

// The channels' proportions, where all of them have one.
template <size_t kChannels, typename Pixel, typename Table>
auto FindProportions(const Maps<Pixel, kChannels> &maps, const Table &kernels)
{
    using Proportion = typename decltype(FindProportion(maps[0], kernels))::value_type;
    std::optional<std::array<Proportion, kChannels>> proportions{std::in_place};
    for (size_t channel = 0; channel < kChannels && proportions; ++channel) {
        if (const auto found = FindProportion(maps[channel], kernels))
            (*proportions)[channel] = *found;
        else
            proportions.reset();
    }
    return proportions;
}

template <typename Pixel, size_t kChannels, typename Table>
PrimStatus Lookup(const Table &kernels, uint8_t *pixels, int32_t step, int32_t width,
                  int32_t height, const Tables &tables)
{
    if (const PrimStatus status = Check(pixels, step, width, height, tables, kChannels);
        status != kPrimOk)
        return status;
    Maps<Pixel, kChannels> maps;
    for (size_t channel = 0; channel < kChannels; ++channel)
        BuildMap(Pixel{})(tables.values[channel], tables.levels[channel],
                          static_cast<size_t>(tables.counts[channel]), maps[channel]);
    const auto proportions = FindProportions<kChannels, Pixel>(maps, kernels);
    const RowWalk walk = WalkRows(width, height, IsTight(step, width, sizeof(Pixel) * kChannels));
    for (size_t row = 0; row < walk.height; ++row) {
        if (proportions)
            kernels.scale(RowAt(pixels, step, row), walk.width, kChannels, proportions->data());
        else
            LookUp<Pixel>(kernels, RowAt(pixels, step, row), walk.width, maps);
    }
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimLookup8uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<uint8_t, 1>(ChosenKernels().bytes, pixels, step, width, height,
                              {&values, &levels, &count});
}

PrimStatus ZPrimLookup16uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<uint16_t, 1>(ChosenKernels().words, pixels, step, width, height,
                               {&values, &levels, &count});
}

PrimStatus ZPrimLookup8uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<uint8_t, 3>(ChosenKernels().bytes, pixels, step, width, height,
                              {values, levels, counts});
}

PrimStatus ZPrimLookup8uInPlace4(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<uint8_t, 4>(ChosenKernels().bytes, pixels, step, width, height,
                              {values, levels, counts});
}

PrimStatus ZPrimLookup16uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                  const int32_t *const *values, const int32_t *const *levels,
                                  const int32_t *counts)
{
    return Lookup<uint16_t, 3>(ChosenKernels().words, pixels, step, width, height,
                               {values, levels, counts});
}

} // namespace zerix
