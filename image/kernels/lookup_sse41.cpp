// The 8-bit lookup without a load per pixel: a byte shuffle looks 16 pixels up in a row of 16
// entries at a time. It gives 0 where the index is negative, so that the four rows of a quarter of
// the levels are taken as differences to the row before and summed by exclusive or: an index that
// is lowered by 16 a row drops out behind its own row. The top two bits pick the quarter.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_SSE41 __attribute__((target("sse4.1")))

namespace zerix {

namespace {

constexpr size_t kStep = 16;
constexpr size_t kRows = 16;
constexpr size_t kQuarter = 4; // rows

ZERIX_SSE41 inline __m128i Load(const uint8_t *bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

ZERIX_SSE41 inline void Store(uint8_t *bytes, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), value);
}

struct Rows {
    __m128i differences[kRows];
};

ZERIX_SSE41 inline __m128i LoadRow(const uint8_t *map, size_t row)
{
    return (_mm_loadu_si128(reinterpret_cast<const __m128i *>(map + row * 16)));
}

ZERIX_SSE41 inline void MakeRows(const uint8_t *map, Rows &rows)
{
    for (size_t row = 0; row < kRows; ++row) {
        const __m128i present = LoadRow(map, row);
        rows.differences[row] =
            row % kQuarter == 0 ? present : _mm_xor_si128(present, LoadRow(map, row - 1));
    }
}

ZERIX_SSE41 inline __m128i LookUp(const Rows &rows, __m128i pixels)
{
    const __m128i sixteen = _mm_set1_epi8(16);
    __m128i index = _mm_and_si128(pixels, _mm_set1_epi8(0x3F));
    __m128i quarters[4];
#pragma GCC unroll 4
    for (size_t quarter = 0; quarter < 4; ++quarter)
        quarters[quarter] = _mm_shuffle_epi8(rows.differences[quarter * kQuarter], index);
#pragma GCC unroll 4
    for (size_t row = 1; row < kQuarter; ++row) {
        index = _mm_sub_epi8(index, sixteen);
#pragma GCC unroll 4
        for (size_t quarter = 0; quarter < 4; ++quarter)
            quarters[quarter] =
                _mm_xor_si128(quarters[quarter],
                              _mm_shuffle_epi8(rows.differences[quarter * kQuarter + row], index));
    }
    const __m128i nextBit = _mm_add_epi8(pixels, pixels); // bit 6 in the sign's place
    return _mm_blendv_epi8(_mm_blendv_epi8(quarters[0], quarters[1], nextBit),
                           _mm_blendv_epi8(quarters[2], quarters[3], nextBit), pixels);
}

ZERIX_SSE41 void Lookup8(uint8_t *pixels, size_t count, const uint8_t *map)
{
    Rows rows;
    MakeRows(map, rows);
    size_t done = 0;
    for (; count - done >= 2 * kStep; done += 2 * kStep) {
        const __m128i first = LookUp(rows, Load(pixels + done));
        const __m128i second = LookUp(rows, Load(pixels + done + kStep));
        Store(pixels + done, first);
        Store(pixels + done + kStep, second);
    }
    kScalarKernels.bytes.lookup1(pixels + done, count - done, map);
}

ZERIX_SSE41 inline __m128i Pick(__m128i isSecond, __m128i isThird, __m128i first, __m128i second,
                                __m128i third)
{
    return _mm_blendv_epi8(_mm_blendv_epi8(first, second, isSecond), third, isThird);
}

// At every place of three registers in a row each channel stands once, so that a channel is
// gathered, and given back, by blends alone.
ZERIX_SSE41 void Lookup3To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    Rows rows[3];
    for (size_t channel = 0; channel < 3; ++channel)
        MakeRows(maps[channel], rows[channel]);
    const __m128i places0 = _mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1);
    const __m128i places1 = _mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0);
    const __m128i places2 = _mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 3;
        const __m128i a = Load(bytes);
        const __m128i b = Load(bytes + kStep);
        const __m128i c = Load(bytes + 2 * kStep);
        // 16 is 1 more than a multiple of 3: the channels move on by one place a register.
        const __m128i first = LookUp(rows[0], Pick(places2, places1, a, b, c));
        const __m128i second = LookUp(rows[1], Pick(places0, places2, a, b, c));
        const __m128i third = LookUp(rows[2], Pick(places1, places0, a, b, c));
        Store(bytes, Pick(places1, places2, first, second, third));
        Store(bytes + kStep, Pick(places0, places1, first, second, third));
        Store(bytes + 2 * kStep, Pick(places2, places0, first, second, third));
    }
    kScalarKernels.bytes.lookup3(pixels + done * 3, count - done, maps);
}

// Four channels: 16 pixels change between four a dword and one channel a register.
struct Four {
    __m128i a, b, c, d;
};

ZERIX_SSE41 inline Four Transpose(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i abLow = _mm_unpacklo_epi32(a, b);
    const __m128i abHigh = _mm_unpackhi_epi32(a, b);
    const __m128i cdLow = _mm_unpacklo_epi32(c, d);
    const __m128i cdHigh = _mm_unpackhi_epi32(c, d);
    return {_mm_unpacklo_epi64(abLow, cdLow), _mm_unpackhi_epi64(abLow, cdLow),
            _mm_unpacklo_epi64(abHigh, cdHigh), _mm_unpackhi_epi64(abHigh, cdHigh)};
}

ZERIX_SSE41 void Lookup4To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    Rows rows[4];
    for (size_t channel = 0; channel < 4; ++channel)
        MakeRows(maps[channel], rows[channel]);
    // A transposition of 4 by 4 bytes in each lane: its own reverse.
    const __m128i order = (_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 4;
        Four four = Transpose(_mm_shuffle_epi8(Load(bytes), order),
                              _mm_shuffle_epi8(Load(bytes + kStep), order),
                              _mm_shuffle_epi8(Load(bytes + 2 * kStep), order),
                              _mm_shuffle_epi8(Load(bytes + 3 * kStep), order));
        four = Transpose(LookUp(rows[0], four.a), LookUp(rows[1], four.b), LookUp(rows[2], four.c),
                         LookUp(rows[3], four.d));
        Store(bytes, _mm_shuffle_epi8(four.a, order));
        Store(bytes + kStep, _mm_shuffle_epi8(four.b, order));
        Store(bytes + 2 * kStep, _mm_shuffle_epi8(four.c, order));
        Store(bytes + 3 * kStep, _mm_shuffle_epi8(four.d, order));
    }
    kScalarKernels.bytes.lookup4(pixels + done * 4, count - done, maps);
}

// Words have too many levels for registers: they are looked up in memory, read and written four at
// a time. Ahead of that the pixels are fetched, since the maps leave them little of the near cache.
constexpr size_t kAhead = 768;

inline uint64_t LoadQuad(const uint8_t *bytes)
{
    uint64_t quad;
    __builtin_memcpy(&quad, bytes, sizeof quad);
    return quad;
}

inline void StoreQuad(uint8_t *bytes, uint64_t quad)
{
    __builtin_memcpy(bytes, &quad, sizeof quad);
}

inline uint64_t LookUpQuad(uint64_t quad, const uint16_t *first, const uint16_t *second,
                           const uint16_t *third, const uint16_t *fourth)
{
    return uint64_t{first[quad & 0xFFFF]} | uint64_t{second[quad >> 16 & 0xFFFF]} << 16 |
           uint64_t{third[quad >> 32 & 0xFFFF]} << 32 | uint64_t{fourth[quad >> 48]} << 48;
}

void Lookup16(uint8_t *pixels, size_t count, const uint16_t *map)
{
    size_t done = 0;
    for (; count - done >= 4; done += 4) {
        uint8_t *bytes = pixels + done * 2;
        __builtin_prefetch(bytes + kAhead, 1);
        StoreQuad(bytes, LookUpQuad(LoadQuad(bytes), map, map, map, map));
    }
    kScalarKernels.words.lookup1(pixels + done * 2, count - done, map);
}

void Lookup3To16(uint8_t *pixels, size_t count, const uint16_t *const *maps)
{
    const uint16_t *const a = maps[0];
    const uint16_t *const b = maps[1];
    const uint16_t *const c = maps[2];
    size_t done = 0;
    for (; count - done >= 4; done += 4) {
        uint8_t *bytes = pixels + done * 6;
        __builtin_prefetch(bytes + kAhead, 1);
        const uint64_t first = LookUpQuad(LoadQuad(bytes), a, b, c, a);
        const uint64_t second = LookUpQuad(LoadQuad(bytes + 8), b, c, a, b);
        const uint64_t third = LookUpQuad(LoadQuad(bytes + 16), c, a, b, c);
        StoreQuad(bytes, first);
        StoreQuad(bytes + 8, second);
        StoreQuad(bytes + 16, third);
    }
    kScalarKernels.words.lookup3(pixels + done * 6, count - done, maps);
}

} // namespace

void OverlayLookupSse41(Kernels &kernels)
{
    kernels.bytes.lookup1 = Lookup8;
    kernels.bytes.lookup3 = Lookup3To8;
    kernels.bytes.lookup4 = Lookup4To8;
    kernels.words.lookup1 = Lookup16;
    kernels.words.lookup3 = Lookup3To16;
}

} // namespace zerix
