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

struct CubicWeight {
    __m256 linear;
    __m256 square;
    __m256 cube;
};

ZERIX_AVX2 inline CubicWeight Broadcast(const float *weights)
{
    return {_mm256_set1_ps(weights[0]), _mm256_set1_ps(weights[1]), _mm256_set1_ps(weights[2])};
}

ZERIX_AVX2 inline Differences DifferencesAt(const float *const *rows, size_t cell)
{
    return DifferencesOf(_mm256_loadu_ps(rows[0] + cell), _mm256_loadu_ps(rows[1] + cell),
                         _mm256_loadu_ps(rows[2] + cell), _mm256_loadu_ps(rows[3] + cell));
}

ZERIX_AVX2 inline __m256i Rounded(const Differences &at, const CubicWeight &weight)
{
    const __m256 value = Newton(at, weight.linear, weight.square, weight.cube);
    return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5000001f)));
}

// 32 outputs as bytes, in the order that an interleaving of two such registers wants.
ZERIX_AVX2 inline __m256i BytesOf(const __m256i *eights)
{
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(eights[0], eights[1]),
                                              _mm256_packs_epi32(eights[2], eights[3]));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 2, 6, 1, 5, 3, 7));
}

ZERIX_AVX2 inline void CubicBytes(const float *const *rows, size_t cell, const CubicWeight &first,
                                  const CubicWeight &second, __m256i &firstBytes,
                                  __m256i &secondBytes)
{
    __m256i firsts[4];
    __m256i seconds[4];
    for (size_t eight = 0; eight < 4; ++eight) {
        const Differences at = DifferencesAt(rows, cell + eight * 8);
        firsts[eight] = Rounded(at, first);
        seconds[eight] = Rounded(at, second);
    }
    firstBytes = BytesOf(firsts);
    secondBytes = BytesOf(seconds);
}

ZERIX_AVX2 inline void StoreBytes(__m256i even, __m256i odd, uint8_t *out)
{
    Store(out, _mm256_unpacklo_epi8(even, odd));
    Store(out + 32, _mm256_unpackhi_epi8(even, odd));
}

ZERIX_AVX2 inline void StoreWords(__m256i even0, __m256i even1, __m256i odd0, __m256i odd1,
                                  uint8_t *out)
{
    const __m256i even = _mm256_packus_epi32(even0, even1);
    const __m256i odd = _mm256_packus_epi32(odd0, odd1);
    Store(out, _mm256_unpacklo_epi16(even, odd));
    Store(out + 32, _mm256_unpackhi_epi16(even, odd));
}

// Nearest neighbour ------------------------------------------------------------------------------

// Which byte of a colour's cells goes where, for the three registers that 16 bytes of each colour
// make: every pixel twice. 0x80 where another colour's byte goes.
struct NearestMasks {
    alignas(16) uint8_t bytes[3][3][16]; // by register and colour
};

constexpr NearestMasks MakeNearestMasks(uint32_t sampleBytes)
{
    NearestMasks masks{};
    for (uint32_t place = 0; place < 48; ++place) {
        const uint32_t sample = place / sampleBytes;
        const uint32_t cell = sample / 3 / 2;
        for (uint32_t colour = 0; colour < 3; ++colour)
            masks.bytes[place / 16][colour][place % 16] = static_cast<uint8_t>(
                sample % 3 == colour ? cell * sampleBytes + place % sampleBytes : 0x80);
    }
    return masks;
}

constexpr NearestMasks kByteMasks = MakeNearestMasks(1);
constexpr NearestMasks kWordMasks = MakeNearestMasks(2);

ZERIX_AVX2 inline __m256i Mask(const uint8_t *bytes)
{
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(bytes)));
}

template <bool kIsStreamed>
ZERIX_AVX2 inline void Put(uint8_t *to, __m256i value)
{
    if constexpr (kIsStreamed)
        _mm256_stream_si256(reinterpret_cast<__m256i *>(to), value);
    else
        Store(to, value);
}

// Steps of 16 bytes of each colour, half of them in either lane.
template <bool kIsStreamed>
ZERIX_AVX2 inline size_t NearestRows(const uint8_t *const *cells, uint8_t *upper, uint8_t *lower,
                                     size_t bytes, const NearestMasks &masks)
{
    __m256i mask[3][3];
    for (size_t place = 0; place < 3; ++place)
        for (size_t colour = 0; colour < 3; ++colour)
            mask[place][colour] = Mask(masks.bytes[place][colour]);
    size_t done = 0;
    for (; done + 16 <= bytes; done += 16) {
        __m256i colours[3];
        for (size_t colour = 0; colour < 3; ++colour)
            colours[colour] = _mm256_permute4x64_epi64(
                _mm256_castsi128_si256(LoadHalf(cells[colour] + done)), 0x50);
        __m256i parts[3];
        for (size_t place = 0; place < 3; ++place)
            parts[place] =
                _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(colours[0], mask[place][0]),
                                                _mm256_shuffle_epi8(colours[1], mask[place][1])),
                                _mm256_shuffle_epi8(colours[2], mask[place][2]));
        const __m256i first = _mm256_permute2x128_si256(parts[0], parts[1], 0x20);
        const __m256i second = _mm256_permute2x128_si256(parts[2], parts[0], 0x30);
        const __m256i third = _mm256_permute2x128_si256(parts[1], parts[2], 0x31);
        uint8_t *const rows[] = {upper + done * 6, lower + done * 6};
        for (uint8_t *row : rows) {
            Put<kIsStreamed>(row, first);
            Put<kIsStreamed>(row + 32, second);
            Put<kIsStreamed>(row + 64, third);
        }
    }
    return done;
}

} // namespace

ZERIX_AVX2 void StreamRowAvx2(const uint8_t *row, uint8_t *out, size_t bytes)
{
    size_t done = 0;
    for (; done < bytes && (reinterpret_cast<uintptr_t>(out) + done) % 32 != 0; ++done)
        out[done] = row[done];
    for (; done + 32 <= bytes; done += 32)
        _mm256_stream_si256(reinterpret_cast<__m256i *>(out + done), Load(row + done));
    for (; done < bytes; ++done)
        out[done] = row[done];
}

ZERIX_AVX2 void FinishStreamAvx2() { _mm_sfence(); }

ZERIX_AVX2 size_t NearestRowsOfBytesAvx2(const uint8_t *const *cells, uint8_t *upper,
                                         uint8_t *lower, size_t count, bool isStreamed)
{
    return isStreamed ? NearestRows<true>(cells, upper, lower, count, kByteMasks)
                      : NearestRows<false>(cells, upper, lower, count, kByteMasks);
}

ZERIX_AVX2 size_t NearestRowsOfWordsAvx2(const uint8_t *const *cells, uint8_t *upper,
                                         uint8_t *lower, size_t count, bool isStreamed)
{
    return (isStreamed ? NearestRows<true>(cells, upper, lower, count * 2, kWordMasks)
                       : NearestRows<false>(cells, upper, lower, count * 2, kWordMasks)) /
           2;
}

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

// Between a and b: 64 a + ((b - a) f + 128) / 256, and the rounding multiplication takes 128 (b -
// a).
ZERIX_AVX2 void LinearAlongBytesAvx2(const uint8_t *cells, const BayerLinear8 &fractions,
                                     const BayerHalves<int16_t> &out, size_t count)
{
    const __m256i rounding = _mm256_set1_epi16(32);
    out.even[0] = static_cast<int16_t>(cells[0] * 64 + 32);
    for (size_t cell = 0; cell < count; cell += 16) {
        const __m256i here = _mm256_cvtepu8_epi16(LoadHalf(cells + cell));
        const __m256i next = _mm256_cvtepu8_epi16(LoadHalf(cells + cell + 1));
        const __m256i from = _mm256_add_epi16(_mm256_slli_epi16(here, 6), rounding);
        const __m256i way = _mm256_slli_epi16(_mm256_sub_epi16(next, here), 7);
        Store(out.odd + cell,
              _mm256_add_epi16(from, _mm256_mulhrs_epi16(way, Load(fractions.odd + cell))));
        Store(out.even + cell + 1,
              _mm256_add_epi16(from, _mm256_mulhrs_epi16(way, Load(fractions.even + cell + 1))));
    }
}

// Between u and l: (2^14 u + (l - u) g + 2^19) / 2^20, whose lowest 14 bits can be dropped from the
// product alone: it is multiplied four-fold and its upper half taken.
ZERIX_AVX2 void LinearAcrossBytesAvx2(const BayerHalves<const int16_t> *rows,
                                      const int16_t *fractions, const BayerTwoRows &out,
                                      size_t count)
{
    const __m256i first = _mm256_set1_epi16(static_cast<int16_t>(fractions[0] * 2));
    const __m256i second = _mm256_set1_epi16(static_cast<int16_t>(fractions[1] * 2));
    const auto mix = [&](const int16_t *upper, const int16_t *lower, __m256i &one, __m256i &two)
        __attribute__((target("avx2")))
    {
        const __m256i from = Load(upper);
        const __m256i difference = _mm256_sub_epi16(Load(lower), from);
        const __m256i way = _mm256_add_epi16(difference, difference);
        one = _mm256_srli_epi16(_mm256_add_epi16(from, _mm256_mulhi_epi16(way, first)), 6);
        two = _mm256_srli_epi16(_mm256_add_epi16(from, _mm256_mulhi_epi16(way, second)), 6);
    };
    for (size_t cell = 0; cell < count; cell += 32) {
        __m256i even[4];
        __m256i odd[4];
        mix(rows[0].even + cell, rows[1].even + cell, even[0], even[2]);
        mix(rows[0].even + cell + 16, rows[1].even + cell + 16, even[1], even[3]);
        mix(rows[0].odd + cell, rows[1].odd + cell, odd[0], odd[2]);
        mix(rows[0].odd + cell + 16, rows[1].odd + cell + 16, odd[1], odd[3]);
        // Words of a byte each: the odd columns are shifted beside the even ones.
        Store(out.first + cell * 2, _mm256_or_si256(even[0], _mm256_slli_epi16(odd[0], 8)));
        Store(out.first + cell * 2 + 32, _mm256_or_si256(even[1], _mm256_slli_epi16(odd[1], 8)));
        Store(out.second + cell * 2, _mm256_or_si256(even[2], _mm256_slli_epi16(odd[2], 8)));
        Store(out.second + cell * 2 + 32, _mm256_or_si256(even[3], _mm256_slli_epi16(odd[3], 8)));
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

ZERIX_AVX2 void LinearAcrossWordsAvx2(const BayerHalves<const float> *rows, const float *fractions,
                                      const BayerTwoRows &out, size_t count)
{
    const __m256 first = _mm256_set1_ps(fractions[0]);
    const __m256 second = _mm256_set1_ps(fractions[1]);
    const __m256 half = _mm256_set1_ps(0.5f);
    const auto mix = [&](const float *upper, const float *lower, __m256i &one, __m256i &two)
        __attribute__((target("avx2")))
    {
        const __m256 from = _mm256_loadu_ps(upper);
        const __m256 way = _mm256_sub_ps(_mm256_loadu_ps(lower), from);
        one = _mm256_cvttps_epi32(
            _mm256_add_ps(_mm256_add_ps(from, _mm256_mul_ps(way, first)), half));
        two = _mm256_cvttps_epi32(
            _mm256_add_ps(_mm256_add_ps(from, _mm256_mul_ps(way, second)), half));
    };
    for (size_t cell = 0; cell < count; cell += 16) {
        __m256i even[4];
        __m256i odd[4];
        mix(rows[0].even + cell, rows[1].even + cell, even[0], even[2]);
        mix(rows[0].even + cell + 8, rows[1].even + cell + 8, even[1], even[3]);
        mix(rows[0].odd + cell, rows[1].odd + cell, odd[0], odd[2]);
        mix(rows[0].odd + cell + 8, rows[1].odd + cell + 8, odd[1], odd[3]);
        StoreWords(even[0], even[1], odd[0], odd[1], out.first + cell * 4);
        StoreWords(even[2], even[3], odd[2], odd[3], out.second + cell * 4);
    }
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

ZERIX_AVX2 void CubicAcrossBytesAvx2(const BayerHalves<const float> *rows,
                                     const float *const *weights, const BayerTwoRows &out,
                                     size_t count)
{
    const CubicWeight first = Broadcast(weights[0]);
    const CubicWeight second = Broadcast(weights[1]);
    const float *const evens[] = {rows[0].even, rows[1].even, rows[2].even, rows[3].even};
    const float *const odds[] = {rows[0].odd, rows[1].odd, rows[2].odd, rows[3].odd};
    for (size_t cell = 0; cell < count; cell += 32) {
        __m256i even[2];
        __m256i odd[2];
        CubicBytes(evens, cell, first, second, even[0], even[1]);
        CubicBytes(odds, cell, first, second, odd[0], odd[1]);
        StoreBytes(even[0], odd[0], out.first + cell * 2);
        StoreBytes(even[1], odd[1], out.second + cell * 2);
    }
}

ZERIX_AVX2 void CubicAcrossWordsAvx2(const BayerHalves<const float> *rows,
                                     const float *const *weights, const BayerTwoRows &out,
                                     size_t count)
{
    const CubicWeight first = Broadcast(weights[0]);
    const CubicWeight second = Broadcast(weights[1]);
    const float *const halves[2][4] = {{rows[0].even, rows[1].even, rows[2].even, rows[3].even},
                                       {rows[0].odd, rows[1].odd, rows[2].odd, rows[3].odd}};
    for (size_t cell = 0; cell < count; cell += 16) {
        __m256i one[2][2];
        __m256i two[2][2];
        for (size_t half = 0; half < 2; ++half)
            for (size_t eight = 0; eight < 2; ++eight) {
                const Differences at = DifferencesAt(halves[half], cell + eight * 8);
                one[half][eight] = Rounded(at, first);
                two[half][eight] = Rounded(at, second);
            }
        StoreWords(one[0][0], one[0][1], one[1][0], one[1][1], out.first + cell * 4);
        StoreWords(two[0][0], two[0][1], two[1][0], two[1][1], out.second + cell * 4);
    }
}

} // namespace zerix

#undef ZERIX_AVX2
