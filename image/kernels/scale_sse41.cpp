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
// may carry. What exceeds a word saturates.
ZERIX_SSE41 inline __m128i Scale16(__m128i level, __m128i whole, __m128i fraction, __m128i fine)
{
    const __m128i ones = _mm_set1_epi16(-1);
    const __m128i below = _mm_mullo_epi16(level, fraction);
    const __m128i carried = _mm_mulhi_epu16(level, fine);
    const __m128i noCarry =
        _mm_cmpeq_epi16(_mm_add_epi16(below, carried), _mm_adds_epu16(below, carried));
    const __m128i part =
        _mm_add_epi16(_mm_sub_epi16(_mm_mulhi_epu16(level, fraction), ones), noCarry);
    const __m128i fits = _mm_cmpeq_epi16(_mm_mulhi_epu16(level, whole), _mm_setzero_si128());
    const __m128i sum = _mm_adds_epu16(part, _mm_mullo_epi16(level, whole));
    const __m128i stays = _mm_or_si128(_mm_cmpeq_epi16(level, ones), _mm_xor_si128(fits, ones));
    return _mm_or_si128(sum, stays);
}

ZERIX_SSE41 void ScaleWords(uint8_t *pixels, size_t count, size_t channels,
                            const Proportion16 *proportions)
{
    constexpr size_t kStep = kRegisters * kWords;
    Spread whole;
    Spread fraction;
    Spread fine;
    SpreadOver(proportions, channels, &Proportion16::whole, whole);
    SpreadOver(proportions, channels, &Proportion16::fraction, fraction);
    SpreadOver(proportions, channels, &Proportion16::fineFraction, fine);
    const size_t size = count * channels;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 2;
#pragma GCC unroll 3
        for (size_t i = 0; i < kStep; i += kWords)
            Store(bytes + i * 2, Scale16(Load(bytes + i * 2), Load(whole.words + i),
                                         Load(fraction.words + i), Load(fine.words + i)));
    }
    kScalarKernels.words.scale(pixels + done * 2, count - done / channels, channels, proportions);
}

} // namespace

void OverlayScaleSse41(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
}

} // namespace zerix
