// The lookups: a map of all levels for each channel, then one pass over the pixels.
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

template <typename Map, size_t kChannels>
PrimStatus Lookup(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                  const Tables &tables)
{
    if (const PrimStatus status = Check(pixels, step, width, height, tables, kChannels);
        status != kPrimOk)
        return status;
    Map maps[kChannels];
    const Map *channels[kChannels];
    for (size_t channel = 0; channel < kChannels; ++channel) {
        BuildLookupMap(tables.values[channel], tables.levels[channel],
                       static_cast<size_t>(tables.counts[channel]), maps[channel]);
        channels[channel] = &maps[channel];
    }
    constexpr size_t kPixelBytes = sizeof(maps[0].results[0]) * kChannels;
    const RowWalk walk = WalkRows(width, height, IsTight(step, width, kPixelBytes));
    for (size_t row = 0; row < walk.height; ++row)
        MapPixels(RowAt(pixels, step, row), walk.width, channels);
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimLookup8uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<LookupMap8, 1>(pixels, step, width, height, {&values, &levels, &count});
}

PrimStatus ZPrimLookup16uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *values, const int32_t *levels, int32_t count)
{
    return Lookup<LookupMap16, 1>(pixels, step, width, height, {&values, &levels, &count});
}

PrimStatus ZPrimLookup8uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<LookupMap8, 3>(pixels, step, width, height, {values, levels, counts});
}

PrimStatus ZPrimLookup8uInPlace4(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts)
{
    return Lookup<LookupMap8, 4>(pixels, step, width, height, {values, levels, counts});
}

PrimStatus ZPrimLookup16uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                  const int32_t *const *values, const int32_t *const *levels,
                                  const int32_t *counts)
{
    return Lookup<LookupMap16, 3>(pixels, step, width, height, {values, levels, counts});
}

} // namespace zerix
