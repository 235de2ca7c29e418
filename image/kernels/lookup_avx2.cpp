// The 8-bit lookup without a load per pixel: a byte shuffle looks 32 pixels up in a row of 16
// entries at a time. It gives 0 where the index is negative, so that the four rows of a quarter of
// the levels are taken as differences to the row before and summed by exclusive or: an index that
// is lowered by 16 a row drops out behind its own row. The top two bits pick the quarter.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_AVX2 __attribute__((target("avx2")))

namespace zerix {

namespace {

constexpr size_t kStep = 32;
constexpr size_t kRows = 16;
constexpr size_t kQuarter = 4; // rows

ZERIX_AVX2 inline __m256i Load(const uint8_t *bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
}

ZERIX_AVX2 inline void Store(uint8_t *bytes, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(bytes), value);
}

struct Rows {
    __m256i differences[kRows];
};

ZERIX_AVX2 inline __m256i LoadRow(const uint8_t *map, size_t row)
{
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i *>(map + row * 16)));
}

ZERIX_AVX2 inline void MakeRows(const uint8_t *map, Rows &rows)
{
    for (size_t row = 0; row < kRows; ++row) {
        const __m256i present = LoadRow(map, row);
        rows.differences[row] =
            row % kQuarter == 0 ? present : _mm256_xor_si256(present, LoadRow(map, row - 1));
    }
}

ZERIX_AVX2 inline __m256i LookUp(const Rows &rows, __m256i pixels)
{
    const __m256i sixteen = _mm256_set1_epi8(16);
    __m256i index = _mm256_and_si256(pixels, _mm256_set1_epi8(0x3F));
    __m256i quarters[4];
#pragma GCC unroll 4
    for (size_t quarter = 0; quarter < 4; ++quarter)
        quarters[quarter] = _mm256_shuffle_epi8(rows.differences[quarter * kQuarter], index);
#pragma GCC unroll 4
    for (size_t row = 1; row < kQuarter; ++row) {
        index = _mm256_sub_epi8(index, sixteen);
#pragma GCC unroll 4
        for (size_t quarter = 0; quarter < 4; ++quarter)
            quarters[quarter] = _mm256_xor_si256(
                quarters[quarter],
                _mm256_shuffle_epi8(rows.differences[quarter * kQuarter + row], index));
    }
    const __m256i nextBit = _mm256_add_epi8(pixels, pixels); // bit 6 in the sign's place
    return _mm256_blendv_epi8(_mm256_blendv_epi8(quarters[0], quarters[1], nextBit),
                              _mm256_blendv_epi8(quarters[2], quarters[3], nextBit), pixels);
}

ZERIX_AVX2 void Lookup8(uint8_t *pixels, size_t count, const uint8_t *map)
{
    Rows rows;
    MakeRows(map, rows);
    size_t done = 0;
    for (; count - done >= 2 * kStep; done += 2 * kStep) {
        const __m256i first = LookUp(rows, Load(pixels + done));
        const __m256i second = LookUp(rows, Load(pixels + done + kStep));
        Store(pixels + done, first);
        Store(pixels + done + kStep, second);
    }
    kScalarKernels.bytes.lookup1(pixels + done, count - done, map);
}

ZERIX_AVX2 inline __m256i Pick(__m256i isSecond, __m256i isThird, __m256i first, __m256i second,
                               __m256i third)
{
    return _mm256_blendv_epi8(_mm256_blendv_epi8(first, second, isSecond), third, isThird);
}

// At every place of three registers in a row each channel stands once, so that a channel is
// gathered, and given back, by blends alone.
ZERIX_AVX2 void Lookup3To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    Rows rows[3];
    for (size_t channel = 0; channel < 3; ++channel)
        MakeRows(maps[channel], rows[channel]);
    const __m256i places0 = _mm256_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1,
                                             0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0);
    const __m256i places1 = _mm256_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0,
                                             -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1);
    const __m256i places2 = _mm256_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0,
                                             -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 3;
        const __m256i a = Load(bytes);
        const __m256i b = Load(bytes + kStep);
        const __m256i c = Load(bytes + 2 * kStep);
        // 32 is 2 more than a multiple of 3: the channels move on by two places a register.
        const __m256i first = LookUp(rows[0], Pick(places1, places2, a, b, c));
        const __m256i second = LookUp(rows[1], Pick(places2, places0, a, b, c));
        const __m256i third = LookUp(rows[2], Pick(places0, places1, a, b, c));
        Store(bytes, Pick(places1, places2, first, second, third));
        Store(bytes + kStep, Pick(places2, places0, first, second, third));
        Store(bytes + 2 * kStep, Pick(places0, places1, first, second, third));
    }
    kScalarKernels.bytes.lookup3(pixels + done * 3, count - done, maps);
}

// Four channels: 32 pixels change between four a dword and one channel a register.
struct Four {
    __m256i a, b, c, d;
};

ZERIX_AVX2 inline Four Transpose(__m256i a, __m256i b, __m256i c, __m256i d)
{
    const __m256i abLow = _mm256_unpacklo_epi32(a, b);
    const __m256i abHigh = _mm256_unpackhi_epi32(a, b);
    const __m256i cdLow = _mm256_unpacklo_epi32(c, d);
    const __m256i cdHigh = _mm256_unpackhi_epi32(c, d);
    return {_mm256_unpacklo_epi64(abLow, cdLow), _mm256_unpackhi_epi64(abLow, cdLow),
            _mm256_unpacklo_epi64(abHigh, cdHigh), _mm256_unpackhi_epi64(abHigh, cdHigh)};
}

ZERIX_AVX2 void Lookup4To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    Rows rows[4];
    for (size_t channel = 0; channel < 4; ++channel)
        MakeRows(maps[channel], rows[channel]);
    // A transposition of 4 by 4 bytes in each lane: its own reverse.
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 4;
        Four four = Transpose(_mm256_shuffle_epi8(Load(bytes), order),
                              _mm256_shuffle_epi8(Load(bytes + kStep), order),
                              _mm256_shuffle_epi8(Load(bytes + 2 * kStep), order),
                              _mm256_shuffle_epi8(Load(bytes + 3 * kStep), order));
        four = Transpose(LookUp(rows[0], four.a), LookUp(rows[1], four.b), LookUp(rows[2], four.c),
                         LookUp(rows[3], four.d));
        Store(bytes, _mm256_shuffle_epi8(four.a, order));
        Store(bytes + kStep, _mm256_shuffle_epi8(four.b, order));
        Store(bytes + 2 * kStep, _mm256_shuffle_epi8(four.c, order));
        Store(bytes + 3 * kStep, _mm256_shuffle_epi8(four.d, order));
    }
    kScalarKernels.bytes.lookup4(pixels + done * 4, count - done, maps);
}

} // namespace

void OverlayLookupAvx2(Kernels &kernels)
{
    kernels.bytes.lookup1 = Lookup8;
    kernels.bytes.lookup3 = Lookup3To8;
    kernels.bytes.lookup4 = Lookup4To8;
}

} // namespace zerix
