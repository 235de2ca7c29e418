// Multiplication by each channel's factor. A register holds 16 words, and three registers 48: a
// multiple of 1, 3 and 4 channels, so that three registers of factors serve any of them.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_AVX2 __attribute__((target("avx2")))

namespace zerix {

namespace {

constexpr size_t kWords = 16;
constexpr size_t kRegisters = 3;

ZERIX_AVX2 inline __m256i Load(const void *bytes)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(bytes));
}

ZERIX_AVX2 inline void Store(uint8_t *bytes, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(bytes), value);
}

// One part of the factors, spread over the places of three registers.
struct Spread {
    uint16_t words[kRegisters * kWords];
};

template <typename Proportion>
void SpreadOver(const Proportion *proportions, size_t channels, uint16_t Proportion::*part,
                Spread &spread)
{
    for (size_t i = 0; i < kRegisters * kWords; ++i)
        spread.words[i] = proportions[i % channels].*part;
}

ZERIX_AVX2 inline __m256i Scale8(__m256i words, __m256i whole, __m256i fraction)
{
    return _mm256_add_epi16(_mm256_mullo_epi16(words, whole), _mm256_mulhi_epu16(words, fraction));
}

ZERIX_AVX2 inline __m256i Widen(const uint8_t *bytes)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes)));
}

// 32 bytes; the top level stays, whatever came out for it.
ZERIX_AVX2 inline void Finish8(uint8_t *bytes, __m256i low, __m256i high)
{
    const __m256i isTop = _mm256_cmpeq_epi8(Load(bytes), _mm256_set1_epi8(-1));
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
    Store(bytes, _mm256_or_si256(packed, isTop));
}

ZERIX_AVX2 void ScaleBytes(uint8_t *pixels, size_t count, size_t channels,
                           const Proportion8 *proportions)
{
    constexpr size_t kStep = 2 * kRegisters * kWords;
    Spread spread;
    SpreadOver(proportions, channels, &Proportion8::whole, spread);
    const __m256i whole0 = Load(spread.words);
    const __m256i whole1 = Load(spread.words + kWords);
    const __m256i whole2 = Load(spread.words + 2 * kWords);
    SpreadOver(proportions, channels, &Proportion8::fraction, spread);
    const __m256i fraction0 = Load(spread.words);
    const __m256i fraction1 = Load(spread.words + kWords);
    const __m256i fraction2 = Load(spread.words + 2 * kWords);
    const size_t size = count * channels;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done;
        Finish8(bytes, Scale8(Widen(bytes), whole0, fraction0),
                Scale8(Widen(bytes + 16), whole1, fraction1));
        Finish8(bytes + 32, Scale8(Widen(bytes + 32), whole2, fraction2),
                Scale8(Widen(bytes + 48), whole0, fraction0));
        Finish8(bytes + 64, Scale8(Widen(bytes + 64), whole1, fraction1),
                Scale8(Widen(bytes + 80), whole2, fraction2));
    }
    kScalarKernels.bytes.scale(pixels + done, count - done / channels, channels, proportions);
}

// The fraction's product has 32 bits below the point; of the fine one's the upper half counts, and
// may carry.
ZERIX_AVX2 inline __m256i Part16(__m256i level, __m256i fraction, __m256i fine)
{
    const __m256i below = _mm256_mullo_epi16(level, fraction);
    const __m256i carried = _mm256_mulhi_epu16(level, fine);
    const __m256i noCarry =
        _mm256_cmpeq_epi16(_mm256_add_epi16(below, carried), _mm256_adds_epu16(below, carried));
    const __m256i one = _mm256_set1_epi16(1);
    return _mm256_add_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(level, fraction), one), noCarry);
}

// The top level stays.
ZERIX_AVX2 inline __m256i KeepTop(__m256i result, __m256i level)
{
    return _mm256_or_si256(result, _mm256_cmpeq_epi16(level, _mm256_set1_epi16(-1)));
}

// What exceeds a word saturates.
ZERIX_AVX2 inline __m256i Scale16(__m256i level, __m256i whole, __m256i fraction, __m256i fine)
{
    const __m256i fits =
        _mm256_cmpeq_epi16(_mm256_mulhi_epu16(level, whole), _mm256_setzero_si256());
    const __m256i sum =
        _mm256_adds_epu16(Part16(level, fraction, fine), _mm256_mullo_epi16(level, whole));
    return KeepTop(_mm256_or_si256(sum, _mm256_xor_si256(fits, _mm256_set1_epi16(-1))), level);
}

// The same below 2: the level once more, or not, by a mask.
ZERIX_AVX2 inline __m256i ScaleLittle16(__m256i level, __m256i mask, __m256i fraction, __m256i fine)
{
    return KeepTop(_mm256_adds_epu16(Part16(level, fraction, fine), _mm256_and_si256(level, mask)),
                   level);
}

struct Spreads16 {
    Spread whole; // or its mask
    Spread fraction;
    Spread fine;
};

template <typename Scale>
ZERIX_AVX2 inline size_t ScaleSteps(uint8_t *pixels, size_t size, const Spreads16 &spreads,
                                    Scale scale)
{
    constexpr size_t kStep = kRegisters * kWords;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 2;
#pragma GCC unroll 3
        for (size_t i = 0; i < kStep; i += kWords)
            Store(bytes + i * 2,
                  scale(Load(bytes + i * 2), Load(spreads.whole.words + i),
                        Load(spreads.fraction.words + i), Load(spreads.fine.words + i)));
    }
    return done;
}

ZERIX_AVX2 void ScaleWords(uint8_t *pixels, size_t count, size_t channels,
                           const Proportion16 *proportions)
{
    Spreads16 spreads;
    SpreadOver(proportions, channels, &Proportion16::whole, spreads.whole);
    SpreadOver(proportions, channels, &Proportion16::fraction, spreads.fraction);
    SpreadOver(proportions, channels, &Proportion16::fineFraction, spreads.fine);
    bool isLittle = true;
    for (size_t channel = 0; channel < channels; ++channel)
        isLittle &= proportions[channel].whole < 2;
    size_t done = 0;
    if (isLittle) {
        for (uint16_t &word : spreads.whole.words)
            word = word != 0 ? 0xFFFF : 0;
        done = ScaleSteps(pixels, count * channels, spreads, ScaleLittle16);
    } else {
        done = ScaleSteps(pixels, count * channels, spreads, Scale16);
    }
    kScalarKernels.words.scale(pixels + done * 2, count - done / channels, channels, proportions);
}

// The table of a call, level by level. The plain kernel takes levels from 0 on, so that the rest of
// them is compared here.
ZERIX_AVX2 bool ClampValues(const int32_t *values, const int32_t *levels, size_t count,
                            uint16_t *out)
{
    constexpr size_t kDwords = kWords / 2;
    const __m256i step = _mm256_set1_epi32(static_cast<int>(kDwords));
    __m256i ramp = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    __m256i areEqual = _mm256_set1_epi32(-1);
    size_t i = 0;
    for (; count - i >= kWords; i += kWords) {
        areEqual = _mm256_and_si256(areEqual, _mm256_cmpeq_epi32(Load(levels + i), ramp));
        ramp = _mm256_add_epi32(ramp, step);
        areEqual = _mm256_and_si256(areEqual, _mm256_cmpeq_epi32(Load(levels + i + kDwords), ramp));
        ramp = _mm256_add_epi32(ramp, step);
        Store(reinterpret_cast<uint8_t *>(out + i),
              _mm256_permute4x64_epi64(
                  _mm256_packus_epi32(Load(values + i), Load(values + i + kDwords)), 0xD8));
    }
    kScalarKernels.words.clampValues(values + i, levels + i, count - i, out + i);
    bool hasEveryLevel = _mm256_movemask_epi8(areEqual) == -1;
    for (; i < count; ++i)
        hasEveryLevel &= levels[i] == static_cast<int32_t>(i);
    return hasEveryLevel;
}

} // namespace

void OverlayScaleAvx2(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
    kernels.words.clampValues = ClampValues;
}

} // namespace zerix
