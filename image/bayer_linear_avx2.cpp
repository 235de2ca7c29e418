// The Bayer sweep's linear interpolation. Floating point is in the order of the plain kernels,
// without fused operations.
#include "image/bayer_pixels_avx2.h"

namespace zerix {

namespace {

// Between u and l: (2^14 u + (l - u) g + 2^19) / 2^20, whose lowest 14 bits can be dropped from the
// product alone: it is multiplied four-fold and its upper half taken.
struct LinearBytes {
    static constexpr size_t kSampleBytes = 1;
    static constexpr size_t kCells = 16;

    const BayerValues<int16_t> &values;
    __m256i firstFraction;
    __m256i secondFraction;

    ZERIX_AVX2_INLINE void MixHalf(size_t at, __m256i &first, __m256i &second) const
    {
        const __m256i from = Load(values.rows[0] + at);
        const __m256i difference = _mm256_sub_epi16(Load(values.rows[1] + at), from);
        const __m256i way = _mm256_add_epi16(difference, difference);
        first =
            _mm256_srli_epi16(_mm256_add_epi16(from, _mm256_mulhi_epi16(way, firstFraction)), 6);
        second =
            _mm256_srli_epi16(_mm256_add_epi16(from, _mm256_mulhi_epi16(way, secondFraction)), 6);
    }
    ZERIX_AVX2_INLINE void Mix(size_t colour, size_t cell, __m256i &first, __m256i &second) const
    {
        const size_t at = values.colours[colour] + cell;
        __m256i even[2];
        __m256i odd[2];
        MixHalf(at, even[0], even[1]);
        MixHalf(at + values.half, odd[0], odd[1]);
        first = _mm256_packus_epi16(even[0], odd[0]);
        second = _mm256_packus_epi16(even[1], odd[1]);
    }
};

struct LinearWords {
    static constexpr size_t kSampleBytes = 2;
    static constexpr size_t kCells = 8;

    const BayerValues<float> &values;
    __m256 firstFraction;
    __m256 secondFraction;

    static ZERIX_AVX2_INLINE __m256i Rounded(__m256 from, __m256 way, __m256 fraction)
    {
        const __m256 value = _mm256_add_ps(from, _mm256_mul_ps(way, fraction));
        return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5f)));
    }
    ZERIX_AVX2_INLINE void MixHalf(size_t at, __m256i &first, __m256i &second) const
    {
        const __m256 from = _mm256_loadu_ps(values.rows[0] + at);
        const __m256 way = _mm256_sub_ps(_mm256_loadu_ps(values.rows[1] + at), from);
        first = Rounded(from, way, firstFraction);
        second = Rounded(from, way, secondFraction);
    }
    ZERIX_AVX2_INLINE void Mix(size_t colour, size_t cell, __m256i &first, __m256i &second) const
    {
        const size_t at = values.colours[colour] + cell;
        __m256i even[2];
        __m256i odd[2];
        MixHalf(at, even[0], even[1]);
        MixHalf(at + values.half, odd[0], odd[1]);
        first = _mm256_packus_epi32(even[0], odd[0]);
        second = _mm256_packus_epi32(even[1], odd[1]);
    }
};

} // namespace

// Between a and b: 64 a + ((b - a) f + 128) / 256, and the rounding multiplication takes 128 (b -
// a).
ZERIX_AVX2 void LinearAlongBytesAvx2(const uint8_t *cells, const BayerLinear8 &weights,
                                     const BayerHalves<int16_t> &out, size_t count)
{
    const BayerLinear8 fractions = weights;
    const BayerHalves<int16_t> to = out;
    const __m256i rounding = _mm256_set1_epi16(32);
    for (size_t cell = 0; cell < count; cell += 16) {
        const __m256i here = _mm256_cvtepu8_epi16(LoadHalf(cells + cell));
        const __m256i next = _mm256_cvtepu8_epi16(LoadHalf(cells + cell + 1));
        const __m256i from = _mm256_add_epi16(_mm256_slli_epi16(here, 6), rounding);
        const __m256i way = _mm256_slli_epi16(_mm256_sub_epi16(next, here), 7);
        Store(to.odd + cell,
              _mm256_add_epi16(from, _mm256_mulhrs_epi16(way, Load(fractions.odd + cell))));
        Store(to.even + cell + 1,
              _mm256_add_epi16(from, _mm256_mulhrs_epi16(way, Load(fractions.even + cell + 1))));
    }
}

ZERIX_AVX2 void LinearAcrossBytesAvx2(const BayerValues<int16_t> &values, const int16_t *fractions,
                                      const BayerTwoRows &out, size_t count)
{
    PutRows(LinearBytes{values, _mm256_set1_epi16(static_cast<int16_t>(fractions[0] * 2)),
                        _mm256_set1_epi16(static_cast<int16_t>(fractions[1] * 2))},
            out, count);
}

// The odd output k and the even output k + 1 lie between the same cells, whose difference is exact.
ZERIX_AVX2 void LinearAlongWordsAvx2(const uint8_t *cells, const BayerLinear16 &weights,
                                     const BayerHalves<float> &out, size_t count)
{
    const BayerLinear16 fractions = weights;
    const BayerHalves<float> to = out;
    for (size_t cell = 0; cell < count; cell += 8) {
        const __m256i here = _mm256_cvtepu16_epi32(LoadHalf(cells + cell * 2));
        const __m256i next = _mm256_cvtepu16_epi32(LoadHalf(cells + cell * 2 + 2));
        const __m256 from = _mm256_cvtepi32_ps(here);
        const __m256 way = _mm256_cvtepi32_ps(_mm256_sub_epi32(next, here));
        _mm256_storeu_ps(
            to.odd + cell,
            _mm256_add_ps(from, _mm256_mul_ps(way, _mm256_loadu_ps(fractions.odd + cell))));
        _mm256_storeu_ps(
            to.even + cell + 1,
            _mm256_add_ps(from, _mm256_mul_ps(way, _mm256_loadu_ps(fractions.even + cell + 1))));
    }
}

ZERIX_AVX2 void LinearAcrossWordsAvx2(const BayerValues<float> &values, const float *fractions,
                                      const BayerTwoRows &out, size_t count)
{
    PutRows(LinearWords{values, _mm256_set1_ps(fractions[0]), _mm256_set1_ps(fractions[1])}, out,
            count);
}

} // namespace zerix
