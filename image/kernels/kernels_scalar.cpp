// The plain truth: one pixel after the other. Floating point is single precision in exactly the
// written order, without fused operations.
#include <cstring>

#include "image/kernels/kernels.h"

namespace zerix {

namespace {

uint16_t LoadWord(const uint8_t *pixels, size_t index)
{
    uint16_t word = 0;
    std::memcpy(&word, pixels + index * 2, sizeof word);
    return word;
}

void StoreWord(uint8_t *pixels, size_t index, uint16_t word)
{
    std::memcpy(pixels + index * 2, &word, sizeof word);
}

uint8_t ClampToByte(int32_t value)
{
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

uint16_t ClampToWord(int32_t value)
{
    return static_cast<uint16_t>(value < 0 ? 0 : value > 65535 ? 65535 : value);
}

// The cubic through four equally spaced points.
float Newton(float first, float second, float third, float fourth, float linear, float square,
             float cube)
{
    const float d1 = second - first;
    const float d2 = (third - second) - d1;
    const float d3 = (fourth - third) - third + second - d2;
    return first + d1 * linear + d2 * square + d3 * cube;
}

int32_t RoundHalfUp(float value)
{
    const float raised = value + 0.5f;
    return static_cast<int32_t>(raised);
}

int32_t RoundCubic(float value) { return static_cast<int32_t>(value + 0.5000001f); }

// 8 bits -----------------------------------------------------------------------------------------

void ShiftRight8(uint8_t *pixels, size_t count, uint32_t bits)
{
    for (size_t i = 0; i < count; ++i)
        pixels[i] = static_cast<uint8_t>(pixels[i] >> bits);
}

void Add8(const uint8_t *source, uint8_t *target, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        target[i] = ClampToByte(source[i] + target[i]);
}

template <size_t kPlanes>
void Pack8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        for (size_t plane = 0; plane < kPlanes; ++plane)
            out[i * kPlanes + plane] = planes[plane][i];
}

void Lookup8(uint8_t *pixels, size_t count, const uint8_t *map)
{
    for (size_t i = 0; i < count; ++i)
        pixels[i] = map[pixels[i]];
}

template <size_t kChannels>
void LookupChannels8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    for (size_t i = 0; i < count; ++i, pixels += kChannels)
        for (size_t channel = 0; channel < kChannels; ++channel)
            pixels[channel] = maps[channel][pixels[channel]];
}

void Scale8(uint8_t *pixels, size_t count, size_t channels, const Proportion8 *proportions)
{
    for (size_t i = 0; i < count * channels; ++i) {
        const Proportion8 proportion = proportions[i % channels];
        const uint8_t level = pixels[i];
        if (level != 255)
            pixels[i] = ClampToByte(level * proportion.whole + (level * proportion.fraction >> 16));
    }
}

void NearestRow8(const uint8_t *source, size_t, const uint32_t *index, uint8_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = source[index[i]];
}

// At most 255 x 64, so that nothing is there to saturate.
void LinearRow8(const uint8_t *source, size_t, const LinearTaps8 &taps, int16_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint8_t *pair = source + taps.first[i];
        const LinearWeight8 weight = taps.weights[i];
        out[i] =
            static_cast<int16_t>((pair[0] * weight.first + pair[1] * weight.second + 128) >> 8);
    }
}

void LinearColumn8(const int16_t *upper, const int16_t *lower, LinearWeight8 weight, uint8_t *out,
                   size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = ClampToByte((upper[i] * weight.first + lower[i] * weight.second + 0x80000) >> 20);
}

void CubicRow8(const uint8_t *source, size_t, const CubicTaps &taps, float *out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint8_t *four = source + taps.first[i];
        out[i] = Newton(four[0], four[1], four[2], four[3], taps.linear[i], taps.square[i],
                        taps.cube[i]);
    }
}

void CubicColumn8(const float *const *rows, const CubicWeights &weights, uint8_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = ClampToByte(RoundCubic(Newton(rows[0][i], rows[1][i], rows[2][i], rows[3][i],
                                               weights.linear, weights.square, weights.cube)));
}

// 16 bits ----------------------------------------------------------------------------------------

void ShiftRight16(uint8_t *pixels, size_t count, uint32_t bits)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(pixels, i, static_cast<uint16_t>(LoadWord(pixels, i) >> bits));
}

void Add16(const uint8_t *source, uint8_t *target, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(target, i, ClampToWord(LoadWord(source, i) + LoadWord(target, i)));
}

void Pack3To16(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        for (size_t plane = 0; plane < 3; ++plane)
            StoreWord(out, i * 3 + plane, LoadWord(planes[plane], i));
}

bool ClampValues16(const int32_t *values, const int32_t *levels, size_t count, uint16_t *out)
{
    bool hasEveryLevel = true;
    for (size_t i = 0; i < count; ++i) {
        hasEveryLevel &= levels[i] == static_cast<int32_t>(i);
        out[i] = ClampToWord(values[i]);
    }
    return hasEveryLevel;
}

void Lookup16(uint8_t *pixels, size_t count, const uint16_t *map)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(pixels, i, map[LoadWord(pixels, i)]);
}

void Lookup3To16(uint8_t *pixels, size_t count, const uint16_t *const *maps)
{
    for (size_t i = 0; i < count; ++i)
        for (size_t channel = 0; channel < 3; ++channel)
            StoreWord(pixels, i * 3 + channel, maps[channel][LoadWord(pixels, i * 3 + channel)]);
}

void Scale16(uint8_t *pixels, size_t count, size_t channels, const Proportion16 *proportions)
{
    for (size_t i = 0; i < count * channels; ++i) {
        const Proportion16 proportion = proportions[i % channels];
        const uint64_t factor = uint64_t{proportion.whole} << 32 |
                                uint64_t{proportion.fraction} << 16 | proportion.fineFraction;
        const uint16_t level = LoadWord(pixels, i);
        const uint64_t scaled = level * factor >> 32;
        if (level != 65535)
            StoreWord(pixels, i, static_cast<uint16_t>(scaled < 65535 ? scaled : 65535));
    }
}

void NearestRow16(const uint8_t *source, size_t, const uint32_t *index, uint8_t *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(out, i, LoadWord(source, index[i]));
}

float Between(float first, float second, float fraction)
{
    return first + (second - first) * fraction;
}

void LinearRow16(const uint8_t *source, size_t, const LinearTaps16 &taps, float *out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = Between(LoadWord(source, taps.first[i]),
                         LoadWord(source, taps.first[i] + size_t{1}), taps.fractions[i]);
}

void LinearColumn16(const float *upper, const float *lower, float fraction, uint8_t *out,
                    size_t count)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(out, i, ClampToWord(RoundHalfUp(Between(upper[i], lower[i], fraction))));
}

void CubicRow16(const uint8_t *source, size_t, const CubicTaps &taps, float *out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const size_t first = taps.first[i];
        out[i] = Newton(LoadWord(source, first), LoadWord(source, first + 1),
                        LoadWord(source, first + 2), LoadWord(source, first + 3), taps.linear[i],
                        taps.square[i], taps.cube[i]);
    }
}

void CubicColumn16(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                   size_t count)
{
    for (size_t i = 0; i < count; ++i)
        StoreWord(out, i,
                  ClampToWord(RoundCubic(Newton(rows[0][i], rows[1][i], rows[2][i], rows[3][i],
                                                weights.linear, weights.square, weights.cube))));
}

} // namespace

const Kernels kScalarKernels = {
    .bytes = {.shiftRight = ShiftRight8,
              .add = Add8,
              .pack3 = Pack8<3>,
              .pack4 = Pack8<4>,
              .lookup1 = Lookup8,
              .lookup3 = LookupChannels8<3>,
              .lookup4 = LookupChannels8<4>,
              .scale = Scale8,
              .nearestRow = NearestRow8,
              .linearRow = LinearRow8,
              .cubicRow = CubicRow8,
              .linearColumn = LinearColumn8,
              .cubicColumn = CubicColumn8},
    .words = {.shiftRight = ShiftRight16,
              .add = Add16,
              .pack3 = Pack3To16,
              .clampValues = ClampValues16,
              .lookup1 = Lookup16,
              .lookup3 = Lookup3To16,
              .scale = Scale16,
              .nearestRow = NearestRow16,
              .linearRow = LinearRow16,
              .cubicRow = CubicRow16,
              .linearColumn = LinearColumn16,
              .cubicColumn = CubicColumn16},
};

} // namespace zerix
