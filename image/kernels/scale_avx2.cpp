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
// may carry. What exceeds a word saturates.
ZERIX_AVX2 inline __m256i Scale16(__m256i level, __m256i whole, __m256i fraction, __m256i fine)
{
    const __m256i ones = _mm256_set1_epi16(-1);
    const __m256i below = _mm256_mullo_epi16(level, fraction);
    const __m256i carried = _mm256_mulhi_epu16(level, fine);
    const __m256i noCarry =
        _mm256_cmpeq_epi16(_mm256_add_epi16(below, carried), _mm256_adds_epu16(below, carried));
    const __m256i part =
        _mm256_add_epi16(_mm256_sub_epi16(_mm256_mulhi_epu16(level, fraction), ones), noCarry);
    const __m256i fits =
        _mm256_cmpeq_epi16(_mm256_mulhi_epu16(level, whole), _mm256_setzero_si256());
    const __m256i sum = _mm256_adds_epu16(part, _mm256_mullo_epi16(level, whole));
    const __m256i stays =
        _mm256_or_si256(_mm256_cmpeq_epi16(level, ones), _mm256_xor_si256(fits, ones));
    return _mm256_or_si256(sum, stays);
}

ZERIX_AVX2 void ScaleWords(uint8_t *pixels, size_t count, size_t channels,
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

void OverlayScaleAvx2(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
}

} // namespace zerix
