// Multiplication by each channel's factor. A register holds 8 words, and three registers 24: a
// multiple of 1, 3 and 4 channels, so that three registers of factors serve any of them.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_SSE41 __attribute__((target("sse4.1")))

namespace zerix {

namespace {

constexpr size_t kWords = 8;
constexpr size_t kRegisters = 3;

ZERIX_SSE41 inline __m128i Load(const void *bytes)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(bytes));
}

ZERIX_SSE41 inline void Store(uint8_t *bytes, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), value);
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

ZERIX_SSE41 inline __m128i Scale8(__m128i words, __m128i whole, __m128i fraction)
{
    return _mm_add_epi16(_mm_mullo_epi16(words, whole), _mm_mulhi_epu16(words, fraction));
}

ZERIX_SSE41 inline __m128i Widen(const uint8_t *bytes)
{
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(bytes)));
}

// 16 bytes; the top level stays, whatever came out for it.
ZERIX_SSE41 inline void Finish8(uint8_t *bytes, __m128i low, __m128i high)
{
    const __m128i isTop = _mm_cmpeq_epi8(Load(bytes), _mm_set1_epi8(-1));
    const __m128i packed = _mm_packus_epi16(low, high);
    Store(bytes, _mm_or_si128(packed, isTop));
}

ZERIX_SSE41 void ScaleBytes(uint8_t *pixels, size_t count, size_t channels,
                            const Proportion8 *proportions)
{
    constexpr size_t kStep = 2 * kRegisters * kWords;
    Spread spread;
    SpreadOver(proportions, channels, &Proportion8::whole, spread);
    const __m128i whole0 = Load(spread.words);
    const __m128i whole1 = Load(spread.words + kWords);
    const __m128i whole2 = Load(spread.words + 2 * kWords);
    SpreadOver(proportions, channels, &Proportion8::fraction, spread);
    const __m128i fraction0 = Load(spread.words);
    const __m128i fraction1 = Load(spread.words + kWords);
    const __m128i fraction2 = Load(spread.words + 2 * kWords);
    const size_t size = count * channels;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done;
        Finish8(bytes, Scale8(Widen(bytes), whole0, fraction0),
                Scale8(Widen(bytes + 8), whole1, fraction1));
        Finish8(bytes + 16, Scale8(Widen(bytes + 16), whole2, fraction2),
                Scale8(Widen(bytes + 24), whole0, fraction0));
        Finish8(bytes + 32, Scale8(Widen(bytes + 32), whole1, fraction1),
                Scale8(Widen(bytes + 40), whole2, fraction2));
    }
    kScalarKernels.bytes.scale(pixels + done, count - done / channels, channels, proportions);
}

// The fraction's product has 32 bits below the point; of the fine one's the upper half counts, and
// may carry.
ZERIX_SSE41 inline __m128i Part16(__m128i level, __m128i fraction, __m128i fine)
{
    const __m128i below = _mm_mullo_epi16(level, fraction);
    const __m128i carried = _mm_mulhi_epu16(level, fine);
    const __m128i noCarry =
        _mm_cmpeq_epi16(_mm_add_epi16(below, carried), _mm_adds_epu16(below, carried));
    const __m128i one = _mm_set1_epi16(1);
    return _mm_add_epi16(_mm_add_epi16(_mm_mulhi_epu16(level, fraction), one), noCarry);
}

// The top level stays.
ZERIX_SSE41 inline __m128i KeepTop(__m128i result, __m128i level)
{
    return _mm_or_si128(result, _mm_cmpeq_epi16(level, _mm_set1_epi16(-1)));
}

// What exceeds a word saturates.
ZERIX_SSE41 inline __m128i Scale16(__m128i level, __m128i whole, __m128i fraction, __m128i fine)
{
    const __m128i fits = _mm_cmpeq_epi16(_mm_mulhi_epu16(level, whole), _mm_setzero_si128());
    const __m128i sum =
        _mm_adds_epu16(Part16(level, fraction, fine), _mm_mullo_epi16(level, whole));
    return KeepTop(_mm_or_si128(sum, _mm_xor_si128(fits, _mm_set1_epi16(-1))), level);
}

// The same below 2: the level once more, or not, by a mask.
ZERIX_SSE41 inline __m128i ScaleLittle16(__m128i level, __m128i mask, __m128i fraction,
                                         __m128i fine)
{
    return KeepTop(_mm_adds_epu16(Part16(level, fraction, fine), _mm_and_si128(level, mask)),
                   level);
}

struct Spreads16 {
    Spread whole; // or its mask
    Spread fraction;
    Spread fine;
};

template <typename Scale>
ZERIX_SSE41 inline size_t ScaleSteps(uint8_t *pixels, size_t size, const Spreads16 &spreads,
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

ZERIX_SSE41 void ScaleWords(uint8_t *pixels, size_t count, size_t channels,
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
ZERIX_SSE41 bool ClampValues(const int32_t *values, const int32_t *levels, size_t count,
                             uint16_t *out)
{
    constexpr size_t kDwords = kWords / 2;
    const __m128i step = _mm_set1_epi32(static_cast<int>(kDwords));
    __m128i ramp = _mm_setr_epi32(0, 1, 2, 3);
    __m128i areEqual = _mm_set1_epi32(-1);
    size_t i = 0;
    for (; count - i >= kWords; i += kWords) {
        areEqual = _mm_and_si128(areEqual, _mm_cmpeq_epi32(Load(levels + i), ramp));
        ramp = _mm_add_epi32(ramp, step);
        areEqual = _mm_and_si128(areEqual, _mm_cmpeq_epi32(Load(levels + i + kDwords), ramp));
        ramp = _mm_add_epi32(ramp, step);
        Store(reinterpret_cast<uint8_t *>(out + i),
              _mm_packus_epi32(Load(values + i), Load(values + i + kDwords)));
    }
    kScalarKernels.words.clampValues(values + i, levels + i, count - i, out + i);
    bool hasEveryLevel = _mm_movemask_epi8(areEqual) == 0xFFFF;
    for (; i < count; ++i)
        hasEveryLevel &= levels[i] == static_cast<int32_t>(i);
    return hasEveryLevel;
}

} // namespace

void OverlayScaleSse41(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
    kernels.words.clampValues = ClampValues;
}

} // namespace zerix
