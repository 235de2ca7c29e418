// The rows of the Bayer sweep in registers of 32 bytes. Floating point is in the order of the plain
// kernels, without fused operations.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/bayer_rows.h"

#define ZERIX_AVX2 __attribute__((target("avx2")))

namespace zerix {

namespace {

ZERIX_AVX2 inline __m256i Load(const void *from)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

ZERIX_AVX2 inline __m128i LoadHalf(const void *from)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

ZERIX_AVX2 inline void Store(void *to, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i *>(to), value);
}

// What packing has spread over the two lanes, in its order again.
ZERIX_AVX2 inline __m256i InOrder(__m256i packed) { return _mm256_permute4x64_epi64(packed, 0xD8); }

// Splitting --------------------------------------------------------------------------------------

struct Parts { // of the cells: even and odd columns of the upper and the lower row
    __m256i upperEven;
    __m256i upperOdd;
    __m256i lowerEven;
    __m256i lowerOdd;
};

struct Colours {
    __m256i red;
    __m256i green1;
    __m256i green2;
    __m256i blue;
};

template <uint32_t kOrder>
ZERIX_AVX2 inline Colours Sorted(const Parts &parts)
{
    if constexpr (kOrder == 1) // G R / B G
        return {parts.upperOdd, parts.upperEven, parts.lowerOdd, parts.lowerEven};
    else if constexpr (kOrder == 2) // G B / R G
        return {parts.lowerEven, parts.upperEven, parts.lowerOdd, parts.upperOdd};
    else if constexpr (kOrder == 3) // B G / G R
        return {parts.lowerOdd, parts.upperOdd, parts.lowerEven, parts.upperEven};
    else // R G / G B
        return {parts.upperEven, parts.upperOdd, parts.lowerEven, parts.lowerOdd};
}

template <uint32_t kOrder>
ZERIX_AVX2 size_t SplitBytes(const uint8_t *upper, const uint8_t *lower, uint8_t *const *cells,
                             size_t count)
{
    const __m256i evens = _mm256_set1_epi16(0x00FF);
    const __m256i halves = _mm256_set1_epi8(0x7F);
    size_t cell = 0;
    for (; cell + 32 <= count; cell += 32) {
        const __m256i u0 = Load(upper + cell * 2);
        const __m256i u1 = Load(upper + cell * 2 + 32);
        const __m256i l0 = Load(lower + cell * 2);
        const __m256i l1 = Load(lower + cell * 2 + 32);
        const Colours colours = Sorted<kOrder>(
            {_mm256_packus_epi16(_mm256_and_si256(u0, evens), _mm256_and_si256(u1, evens)),
             _mm256_packus_epi16(_mm256_srli_epi16(u0, 8), _mm256_srli_epi16(u1, 8)),
             _mm256_packus_epi16(_mm256_and_si256(l0, evens), _mm256_and_si256(l1, evens)),
             _mm256_packus_epi16(_mm256_srli_epi16(l0, 8), _mm256_srli_epi16(l1, 8))});
        const __m256i green =
            _mm256_add_epi8(_mm256_and_si256(_mm256_srli_epi16(colours.green1, 1), halves),
                            _mm256_and_si256(_mm256_srli_epi16(colours.green2, 1), halves));
        Store(cells[0] + cell, InOrder(colours.red));
        Store(cells[1] + cell, InOrder(green));
        Store(cells[2] + cell, InOrder(colours.blue));
    }
    return cell;
}

template <uint32_t kOrder>
ZERIX_AVX2 size_t SplitWords(const uint8_t *upper, const uint8_t *lower, uint8_t *const *cells,
                             size_t count)
{
    const __m256i evens = _mm256_set1_epi32(0x0000FFFF);
    size_t cell = 0;
    for (; cell + 16 <= count; cell += 16) {
        const __m256i u0 = Load(upper + cell * 4);
        const __m256i u1 = Load(upper + cell * 4 + 32);
        const __m256i l0 = Load(lower + cell * 4);
        const __m256i l1 = Load(lower + cell * 4 + 32);
        const Colours colours = Sorted<kOrder>(
            {_mm256_packus_epi32(_mm256_and_si256(u0, evens), _mm256_and_si256(u1, evens)),
             _mm256_packus_epi32(_mm256_srli_epi32(u0, 16), _mm256_srli_epi32(u1, 16)),
             _mm256_packus_epi32(_mm256_and_si256(l0, evens), _mm256_and_si256(l1, evens)),
             _mm256_packus_epi32(_mm256_srli_epi32(l0, 16), _mm256_srli_epi32(l1, 16))});
        const __m256i green = _mm256_add_epi16(_mm256_srli_epi16(colours.green1, 1),
                                               _mm256_srli_epi16(colours.green2, 1));
        Store(cells[0] + cell * 2, InOrder(colours.red));
        Store(cells[1] + cell * 2, InOrder(green));
        Store(cells[2] + cell * 2, InOrder(colours.blue));
    }
    return cell;
}

// Floating point ---------------------------------------------------------------------------------

ZERIX_AVX2 inline __m256 FloatsOfBytes(const uint8_t *from)
{
    return _mm256_cvtepi32_ps(
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(from))));
}

ZERIX_AVX2 inline __m256 FloatsOfWords(const uint8_t *from)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(LoadHalf(from)));
}

ZERIX_AVX2 inline __m256 Between(__m256 first, __m256 second, __m256 fraction)
{
    return _mm256_add_ps(first, _mm256_mul_ps(_mm256_sub_ps(second, first), fraction));
}

struct Differences {
    __m256 origin;
    __m256 first;
    __m256 second;
    __m256 third;
};

ZERIX_AVX2 inline Differences DifferencesOf(__m256 m, __m256 a, __m256 b, __m256 c)
{
    const __m256 d1 = _mm256_sub_ps(a, m);
    const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(b, a), d1);
    const __m256 d3 = _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(c, b), b), a), d2);
    return {m, d1, d2, d3};
}

ZERIX_AVX2 inline __m256 Newton(const Differences &at, __m256 linear, __m256 square, __m256 cube)
{
    const __m256 one = _mm256_add_ps(at.origin, _mm256_mul_ps(at.first, linear));
    const __m256 two = _mm256_add_ps(one, _mm256_mul_ps(at.second, square));
    return _mm256_add_ps(two, _mm256_mul_ps(at.third, cube));
}

// The odd output k and the even output k + 1 lie between the same cells.
template <size_t kBytes>
ZERIX_AVX2 inline void CubicAlong(const uint8_t *cells, const BayerCubic &weights,
                                  const BayerHalves<float> &out, size_t count)
{
    for (size_t cell = 0; cell < count; cell += 8) {
        __m256 taps[4];
        for (size_t tap = 0; tap < 4; ++tap) {
            const uint8_t *const from = cells + (cell + tap) * kBytes - kBytes;
            if constexpr (kBytes == 1)
                taps[tap] = FloatsOfBytes(from);
            else
                taps[tap] = FloatsOfWords(from);
        }
        const Differences at = DifferencesOf(taps[0], taps[1], taps[2], taps[3]);
        _mm256_storeu_ps(out.odd + cell, Newton(at, _mm256_loadu_ps(weights.odd[0] + cell),
                                                _mm256_loadu_ps(weights.odd[1] + cell),
                                                _mm256_loadu_ps(weights.odd[2] + cell)));
        _mm256_storeu_ps(out.even + cell + 1,
                         Newton(at, _mm256_loadu_ps(weights.even[0] + cell + 1),
                                _mm256_loadu_ps(weights.even[1] + cell + 1),
                                _mm256_loadu_ps(weights.even[2] + cell + 1)));
    }
}

struct AcrossWeights {
    __m256 linear;
    __m256 square;
    __m256 cube;
};

ZERIX_AVX2 inline __m256i CubicAcross(const float *row0, const float *row1, const float *row2,
                                      const float *row3, const AcrossWeights &weights)
{
    const Differences at = DifferencesOf(_mm256_loadu_ps(row0), _mm256_loadu_ps(row1),
                                         _mm256_loadu_ps(row2), _mm256_loadu_ps(row3));
    const __m256 value = Newton(at, weights.linear, weights.square, weights.cube);
    return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5000001f)));
}

// 32 outputs as bytes, in the order that an interleaving of two such registers wants.
ZERIX_AVX2 inline __m256i CubicBytes(const float *const *rows, size_t cell,
                                     const AcrossWeights &weights)
{
    __m256i eights[4];
    for (size_t eight = 0; eight < 4; ++eight) {
        const size_t at = cell + eight * 8;
        eights[eight] =
            CubicAcross(rows[0] + at, rows[1] + at, rows[2] + at, rows[3] + at, weights);
    }
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(eights[0], eights[1]),
                                              _mm256_packs_epi32(eights[2], eights[3]));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 2, 6, 1, 5, 3, 7));
}

ZERIX_AVX2 inline void StoreWords(__m256i even0, __m256i even1, __m256i odd0, __m256i odd1,
                                  uint8_t *out)
{
    const __m256i even = _mm256_packus_epi32(even0, even1);
    const __m256i odd = _mm256_packus_epi32(odd0, odd1);
    Store(out, _mm256_unpacklo_epi16(even, odd));
    Store(out + 32, _mm256_unpackhi_epi16(even, odd));
}

} // namespace

ZERIX_AVX2 size_t SplitBytesAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                                 uint8_t *const *cells, size_t count)
{
    switch (order) {
    case 1:
        return SplitBytes<1>(upper, lower, cells, count);
    case 2:
        return SplitBytes<2>(upper, lower, cells, count);
    case 3:
        return SplitBytes<3>(upper, lower, cells, count);
    default:
        return SplitBytes<0>(upper, lower, cells, count);
    }
}

ZERIX_AVX2 size_t SplitWordsAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                                 uint8_t *const *cells, size_t count)
{
    switch (order) {
    case 1:
        return SplitWords<1>(upper, lower, cells, count);
    case 2:
        return SplitWords<2>(upper, lower, cells, count);
    case 3:
        return SplitWords<3>(upper, lower, cells, count);
    default:
        return SplitWords<0>(upper, lower, cells, count);
    }
}

ZERIX_AVX2 void DoubleBytesAvx2(const uint8_t *cells, uint8_t *out, size_t count)
{
    for (size_t cell = 0; cell < count; cell += 32) {
        const __m256i value = InOrder(Load(cells + cell));
        Store(out + cell * 2, _mm256_unpacklo_epi8(value, value));
        Store(out + cell * 2 + 32, _mm256_unpackhi_epi8(value, value));
    }
}

ZERIX_AVX2 void DoubleWordsAvx2(const uint8_t *cells, uint8_t *out, size_t count)
{
    for (size_t cell = 0; cell < count; cell += 16) {
        const __m256i value = InOrder(Load(cells + cell * 2));
        Store(out + cell * 4, _mm256_unpacklo_epi16(value, value));
        Store(out + cell * 4 + 32, _mm256_unpackhi_epi16(value, value));
    }
}

ZERIX_AVX2 void LinearAlongBytesAvx2(const uint8_t *cells, const BayerLinear8 &weights,
                                     const BayerHalves<int16_t> &out, size_t count)
{
    const __m256i rounding = _mm256_set1_epi32(128 + 32 * 256);
    for (size_t cell = 0; cell < count; cell += 16) {
        const __m128i before = LoadHalf(cells + cell - 1);
        const __m128i here = LoadHalf(cells + cell);
        const __m128i behind = LoadHalf(cells + cell + 1);
        const auto mix = [&](__m128i first, __m128i second, const BayerWeight8 *at)
            __attribute__((target("avx2")))
        {
            const __m256i low =
                _mm256_madd_epi16(_mm256_cvtepu8_epi16(_mm_unpacklo_epi8(first, second)), Load(at));
            const __m256i high = _mm256_madd_epi16(
                _mm256_cvtepu8_epi16(_mm_unpackhi_epi8(first, second)), Load(at + 8));
            return InOrder(
                _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low, rounding), 8),
                                   _mm256_srai_epi32(_mm256_add_epi32(high, rounding), 8)));
        };
        Store(out.even + cell, mix(before, here, weights.even + cell));
        Store(out.odd + cell, mix(here, behind, weights.odd + cell));
    }
}

ZERIX_AVX2 void LinearAcrossBytesAvx2(const BayerHalves<const int16_t> *rows, BayerWeight8 weight,
                                      uint8_t *out, size_t count)
{
    const __m256i weights = _mm256_set1_epi32(
        static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(weight.first)) |
                             static_cast<uint32_t>(static_cast<uint16_t>(weight.second)) << 16));
    const auto mix = [&](const int16_t *upper, const int16_t *lower) __attribute__((target("avx2")))
    {
        const __m256i u = Load(upper);
        const __m256i l = Load(lower);
        const __m256i low = _mm256_madd_epi16(_mm256_unpacklo_epi16(u, l), weights);
        const __m256i high = _mm256_madd_epi16(_mm256_unpackhi_epi16(u, l), weights);
        return _mm256_packs_epi32(_mm256_srai_epi32(low, 20), _mm256_srai_epi32(high, 20));
    };
    for (size_t cell = 0; cell < count; cell += 32) {
        const __m256i even =
            _mm256_packus_epi16(mix(rows[0].even + cell, rows[1].even + cell),
                                mix(rows[0].even + cell + 16, rows[1].even + cell + 16));
        const __m256i odd =
            _mm256_packus_epi16(mix(rows[0].odd + cell, rows[1].odd + cell),
                                mix(rows[0].odd + cell + 16, rows[1].odd + cell + 16));
        Store(out + cell * 2, _mm256_unpacklo_epi8(even, odd));
        Store(out + cell * 2 + 32, _mm256_unpackhi_epi8(even, odd));
    }
}

ZERIX_AVX2 void LinearAlongWordsAvx2(const uint8_t *cells, const BayerLinear16 &fractions,
                                     const BayerHalves<float> &out, size_t count)
{
    for (size_t cell = 0; cell < count; cell += 8) {
        const __m256 before = FloatsOfWords(cells + cell * 2 - 2);
        const __m256 here = FloatsOfWords(cells + cell * 2);
        const __m256 behind = FloatsOfWords(cells + cell * 2 + 2);
        _mm256_storeu_ps(out.even + cell,
                         Between(before, here, _mm256_loadu_ps(fractions.even + cell)));
        _mm256_storeu_ps(out.odd + cell,
                         Between(here, behind, _mm256_loadu_ps(fractions.odd + cell)));
    }
}

ZERIX_AVX2 void LinearAcrossWordsAvx2(const BayerHalves<const float> *rows, float fraction,
                                      uint8_t *out, size_t count)
{
    const __m256 weight = _mm256_set1_ps(fraction);
    const __m256 half = _mm256_set1_ps(0.5f);
    const auto mix = [&](const float *upper, const float *lower) __attribute__((target("avx2")))
    {
        return _mm256_cvttps_epi32(
            _mm256_add_ps(Between(_mm256_loadu_ps(upper), _mm256_loadu_ps(lower), weight), half));
    };
    for (size_t cell = 0; cell < count; cell += 16)
        StoreWords(mix(rows[0].even + cell, rows[1].even + cell),
                   mix(rows[0].even + cell + 8, rows[1].even + cell + 8),
                   mix(rows[0].odd + cell, rows[1].odd + cell),
                   mix(rows[0].odd + cell + 8, rows[1].odd + cell + 8), out + cell * 4);
}

ZERIX_AVX2 void CubicAlongBytesAvx2(const uint8_t *cells, const BayerCubic &weights,
                                    const BayerHalves<float> &out, size_t count)
{
    CubicAlong<1>(cells, weights, out, count);
}

ZERIX_AVX2 void CubicAlongWordsAvx2(const uint8_t *cells, const BayerCubic &weights,
                                    const BayerHalves<float> &out, size_t count)
{
    CubicAlong<2>(cells, weights, out, count);
}

ZERIX_AVX2 void CubicAcrossBytesAvx2(const BayerHalves<const float> *rows, const float *weights,
                                     uint8_t *out, size_t count)
{
    const AcrossWeights across = {_mm256_set1_ps(weights[0]), _mm256_set1_ps(weights[1]),
                                  _mm256_set1_ps(weights[2])};
    const float *const evens[] = {rows[0].even, rows[1].even, rows[2].even, rows[3].even};
    const float *const odds[] = {rows[0].odd, rows[1].odd, rows[2].odd, rows[3].odd};
    for (size_t cell = 0; cell < count; cell += 32) {
        const __m256i even = CubicBytes(evens, cell, across);
        const __m256i odd = CubicBytes(odds, cell, across);
        Store(out + cell * 2, _mm256_unpacklo_epi8(even, odd));
        Store(out + cell * 2 + 32, _mm256_unpackhi_epi8(even, odd));
    }
}

ZERIX_AVX2 void CubicAcrossWordsAvx2(const BayerHalves<const float> *rows, const float *weights,
                                     uint8_t *out, size_t count)
{
    const AcrossWeights across = {_mm256_set1_ps(weights[0]), _mm256_set1_ps(weights[1]),
                                  _mm256_set1_ps(weights[2])};
    const auto mix = [&](const float *const *at, size_t cell) __attribute__((target("avx2")))
    {
        return CubicAcross(at[0] + cell, at[1] + cell, at[2] + cell, at[3] + cell, across);
    };
    const float *const evens[] = {rows[0].even, rows[1].even, rows[2].even, rows[3].even};
    const float *const odds[] = {rows[0].odd, rows[1].odd, rows[2].odd, rows[3].odd};
    for (size_t cell = 0; cell < count; cell += 16)
        StoreWords(mix(evens, cell), mix(evens, cell + 8), mix(odds, cell), mix(odds, cell + 8),
                   out + cell * 4);
}

} // namespace zerix

#undef ZERIX_AVX2
