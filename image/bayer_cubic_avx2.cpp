// The Bayer sweep's cubic. Floating point is in the order of the plain kernels, without fused
// operations.
#include "image/bayer_pixels_avx2.h"

namespace zerix {

namespace {

// Of four values in a row, in Newton's form.
struct Differences {
    __m256 origin;
    __m256 first;
    __m256 second;
    __m256 third;
};

ZERIX_AVX2_INLINE __m256 Newton(const Differences &at, __m256 linear, __m256 square, __m256 cube)
{
    const __m256 one = _mm256_add_ps(at.origin, _mm256_mul_ps(at.first, linear));
    const __m256 two = _mm256_add_ps(one, _mm256_mul_ps(at.second, square));
    return _mm256_add_ps(two, _mm256_mul_ps(at.third, cube));
}

// Along x --------------------------------------------------------------------------------------

ZERIX_AVX2_INLINE __m256 LowFloats(__m256i words)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm256_castsi256_si128(words)));
}

ZERIX_AVX2_INLINE __m256 HighFloats(__m256i words)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm256_extracti128_si256(words, 1)));
}

// The differences of whole numbers are exact, in whatever order and type they are taken.
ZERIX_AVX2_INLINE void DifferencesOfBytes(const uint8_t *cells, Differences *eights)
{
    const __m256i m = _mm256_cvtepu8_epi16(LoadHalf(cells - 1));
    const __m256i a = _mm256_cvtepu8_epi16(LoadHalf(cells));
    const __m256i b = _mm256_cvtepu8_epi16(LoadHalf(cells + 1));
    const __m256i c = _mm256_cvtepu8_epi16(LoadHalf(cells + 2));
    const __m256i first = _mm256_sub_epi16(a, m);
    const __m256i next = _mm256_sub_epi16(b, a);
    const __m256i second = _mm256_sub_epi16(next, first);
    const __m256i third = _mm256_sub_epi16(_mm256_sub_epi16(_mm256_sub_epi16(c, b), next), second);
    eights[0] = {LowFloats(m), LowFloats(first), LowFloats(second), LowFloats(third)};
    eights[1] = {HighFloats(m), HighFloats(first), HighFloats(second), HighFloats(third)};
}

ZERIX_AVX2_INLINE Differences DifferencesOfWords(const uint8_t *cells)
{
    const __m256i m = _mm256_cvtepu16_epi32(LoadHalf(cells - 2));
    const __m256i a = _mm256_cvtepu16_epi32(LoadHalf(cells));
    const __m256i b = _mm256_cvtepu16_epi32(LoadHalf(cells + 2));
    const __m256i c = _mm256_cvtepu16_epi32(LoadHalf(cells + 4));
    const __m256i first = _mm256_sub_epi32(a, m);
    const __m256i next = _mm256_sub_epi32(b, a);
    const __m256i second = _mm256_sub_epi32(next, first);
    const __m256i third = _mm256_sub_epi32(_mm256_sub_epi32(_mm256_sub_epi32(c, b), next), second);
    return {_mm256_cvtepi32_ps(m), _mm256_cvtepi32_ps(first), _mm256_cvtepi32_ps(second),
            _mm256_cvtepi32_ps(third)};
}

// The odd output k and the even output k + 1 lie between the same cells.
ZERIX_AVX2_INLINE void PutAlong(const Differences &at, const BayerCubic &weights,
                                const BayerHalves<float> &out, size_t cell)
{
    _mm256_storeu_ps(out.odd + cell, Newton(at, _mm256_loadu_ps(weights.odd[0] + cell),
                                            _mm256_loadu_ps(weights.odd[1] + cell),
                                            _mm256_loadu_ps(weights.odd[2] + cell)));
    _mm256_storeu_ps(out.even + cell + 1, Newton(at, _mm256_loadu_ps(weights.even[0] + cell + 1),
                                                 _mm256_loadu_ps(weights.even[1] + cell + 1),
                                                 _mm256_loadu_ps(weights.even[2] + cell + 1)));
}

// Across ---------------------------------------------------------------------------------------

struct CubicWeight {
    __m256 linear;
    __m256 square;
    __m256 cube;
};

ZERIX_AVX2_INLINE CubicWeight Broadcast(const float *weights)
{
    return {_mm256_set1_ps(weights[0]), _mm256_set1_ps(weights[1]), _mm256_set1_ps(weights[2])};
}

struct CubicRows {
    const BayerValues<float> values;
    CubicWeight firstWeight;
    CubicWeight secondWeight;

    static ZERIX_AVX2_INLINE __m256i Rounded(const Differences &at, const CubicWeight &weight)
    {
        const __m256 value = Newton(at, weight.linear, weight.square, weight.cube);
        return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5000001f)));
    }
    ZERIX_AVX2_INLINE void MixEight(size_t at, __m256i &first, __m256i &second) const
    {
        const __m256 m = _mm256_loadu_ps(values.rows[0] + at);
        const __m256 a = _mm256_loadu_ps(values.rows[1] + at);
        const __m256 b = _mm256_loadu_ps(values.rows[2] + at);
        const __m256 c = _mm256_loadu_ps(values.rows[3] + at);
        const __m256 d1 = _mm256_sub_ps(a, m);
        const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(b, a), d1);
        const __m256 d3 =
            _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(c, b), b), a), d2);
        const Differences differences = {m, d1, d2, d3};
        first = Rounded(differences, firstWeight);
        second = Rounded(differences, secondWeight);
    }
};

struct CubicBytes : CubicRows {
    static constexpr size_t kSampleBytes = 1;
    static constexpr size_t kCells = 16;

    // Evens and odds of four cells at a time come out of packing.
    static ZERIX_AVX2_INLINE __m256i BytesOf(const __m256i *even, const __m256i *odd)
    {
        const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(even[0], even[1]),
                                                  _mm256_packs_epi32(odd[0], odd[1]));
        return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 2, 6, 1, 5, 3, 7));
    }
    ZERIX_AVX2_INLINE void Mix(size_t colour, size_t cell, __m256i &first, __m256i &second) const
    {
        const size_t at = values.colours[colour] + cell;
        __m256i even[2][2];
        __m256i odd[2][2];
        MixEight(at, even[0][0], even[1][0]);
        MixEight(at + 8, even[0][1], even[1][1]);
        MixEight(at + values.half, odd[0][0], odd[1][0]);
        MixEight(at + values.half + 8, odd[0][1], odd[1][1]);
        first = BytesOf(even[0], odd[0]);
        second = BytesOf(even[1], odd[1]);
    }
};

struct CubicWords : CubicRows {
    static constexpr size_t kSampleBytes = 2;
    static constexpr size_t kCells = 8;

    ZERIX_AVX2_INLINE void Mix(size_t colour, size_t cell, __m256i &first, __m256i &second) const
    {
        const size_t at = values.colours[colour] + cell;
        __m256i even[2];
        __m256i odd[2];
        MixEight(at, even[0], even[1]);
        MixEight(at + values.half, odd[0], odd[1]);
        first = _mm256_packus_epi32(even[0], odd[0]);
        second = _mm256_packus_epi32(even[1], odd[1]);
    }
};

template <typename Mixer>
ZERIX_AVX2 void CubicAcross(const BayerValues<float> &values, const float *const *weights,
                            const BayerTwoRows &out, size_t count)
{
    PutRows(Mixer{{values, Broadcast(weights[0]), Broadcast(weights[1])}}, out, count);
}

} // namespace

ZERIX_AVX2 void CubicAlongBytesAvx2(const uint8_t *cells, const BayerCubic &weights,
                                    const BayerHalves<float> &out, size_t count)
{
    const BayerCubic at = weights;
    const BayerHalves<float> to = out;
    for (size_t cell = 0; cell < count; cell += 16) {
        Differences eights[2];
        DifferencesOfBytes(cells + cell, eights);
        PutAlong(eights[0], at, to, cell);
        PutAlong(eights[1], at, to, cell + 8);
    }
}

ZERIX_AVX2 void CubicAlongWordsAvx2(const uint8_t *cells, const BayerCubic &weights,
                                    const BayerHalves<float> &out, size_t count)
{
    const BayerCubic at = weights;
    const BayerHalves<float> to = out;
    for (size_t cell = 0; cell < count; cell += 8)
        PutAlong(DifferencesOfWords(cells + cell * 2), at, to, cell);
}

ZERIX_AVX2 void CubicAcrossBytesAvx2(const BayerValues<float> &values, const float *const *weights,
                                     const BayerTwoRows &out, size_t count)
{
    CubicAcross<CubicBytes>(values, weights, out, count);
}

ZERIX_AVX2 void CubicAcrossWordsAvx2(const BayerValues<float> &values, const float *const *weights,
                                     const BayerTwoRows &out, size_t count)
{
    CubicAcross<CubicWords>(values, weights, out, count);
}

} // namespace zerix
