// The lookups: a map of all levels for each channel, then one pass over the pixels.
#include <array>

#include "image/kernels/dispatch.h"
#include "image/kernels/lookup_map.h"
#include "image/kernels/primitives.h"
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

template <typename Pixel, size_t kChannels, typename Map>
PrimStatus Lookup(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                  const Tables &tables, void (*lookup)(uint8_t *, size_t, Map))
{
    if (const PrimStatus status = Check(pixels, step, width, height, tables, kChannels);
        status != kPrimOk)
        return status;
    Pixel maps[kChannels][size_t{1} << sizeof(Pixel) * 8];
    std::array<const Pixel *, kChannels> entries;
    for (size_t channel = 0; channel < kChannels; ++channel) {
        BuildMap(Pixel{})(tables.values[channel], tables.levels[channel],
                          static_cast<size_t>(tables.counts[channel]), maps[channel]);
        entries[channel] = maps[channel];
    }
    const RowWalk walk = WalkRows(width, height, IsTight(step, width, sizeof(Pixel) * kChannels));
    for (size_t row = 0; row < walk.height; ++row) {
        if constexpr (kChannels == 1)
            lookup(RowAt(pixels, step, row), walk.width, maps[0]);
        else
            lookup(RowAt(pixels, step, row), walk.width, entries.data());
    }
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimLookup8uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<uint8_t, 1>(pixels, step, width, height, {&values, &levels, &count},
                              ChosenKernels().bytes.lookup1);
}

PrimStatus ZPrimLookup16uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<uint16_t, 1>(pixels, step, width, height, {&values, &levels, &count},
                               ChosenKernels().words.lookup1);
}

PrimStatus ZPrimLookup8uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<uint8_t, 3>(pixels, step, width, height, {values, levels, counts},
                              ChosenKernels().bytes.lookup3);
}

PrimStatus ZPrimLookup8uInPlace4(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<uint8_t, 4>(pixels, step, width, height, {values, levels, counts},
                              ChosenKernels().bytes.lookup4);
}

PrimStatus ZPrimLookup16uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                  const int32_t *const *values, const int32_t *const *levels,
                                  const int32_t *counts)
{
    return Lookup<uint16_t, 3>(pixels, step, width, height, {values, levels, counts},
                               ChosenKernels().words.lookup3);
}

} // namespace zerix
