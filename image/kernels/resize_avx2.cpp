// Resizing in wide registers. Along a row, the pixels that some outputs in a row read lie close to
// each other, so that one load of 16 bytes and a byte shuffle fetch all of them; where they lie too
// far apart, or too near to the row's end, the plain kernel does these outputs. Positions only rise
// along a row. Floating point is in the plain kernels' order.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_AVX2 __attribute__((target("avx2")))

namespace zerix {

namespace {

constexpr size_t kStep = 8;      // outputs
constexpr uint32_t kWindow = 16; // bytes of a load

ZERIX_AVX2 inline __m256i Load(const void *bytes)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(bytes));
}

ZERIX_AVX2 inline __m128i LoadHalf(const void *bytes)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(bytes));
}

ZERIX_AVX2 inline void Store(void *bytes, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i *>(bytes), value);
}

ZERIX_AVX2 inline void StoreHalf(void *bytes, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i *>(bytes), value);
}

// Whether the outputs from the first to the last one read within one window, `taps` pixels each,
// and whether the row reaches to its end.
inline bool FitsWindow(uint32_t first, uint32_t last, uint32_t taps, uint32_t pixelBytes,
                       size_t readable)
{
    const uint32_t window = kWindow / pixelBytes;
    return last - first + taps <= window && size_t{first} + window <= readable;
}

struct Newton {
    __m256 linear, square, cube;
};

ZERIX_AVX2 inline __m256 Cubic(__m256 first, __m256 second, __m256 third, __m256 fourth,
                               const Newton &newton)
{
    const __m256 d1 = _mm256_sub_ps(second, first);
    const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(third, second), d1);
    const __m256 d3 = _mm256_sub_ps(
        _mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(fourth, third), third), second), d2);
    const __m256 line = _mm256_add_ps(first, _mm256_mul_ps(d1, newton.linear));
    const __m256 parabola = _mm256_add_ps(line, _mm256_mul_ps(d2, newton.square));
    return _mm256_add_ps(parabola, _mm256_mul_ps(d3, newton.cube));
}

// 8 bits -----------------------------------------------------------------------------------------

// 16 outputs at a time.
ZERIX_AVX2 void NearestRow8(const uint8_t *source, size_t readable, const uint32_t *index,
                            uint8_t *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        if (!FitsWindow(index[i], index[i + 2 * kStep - 1], 1, 1, readable)) {
            kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, 2 * kStep);
            continue;
        }
        const __m256i base = _mm256_set1_epi32(static_cast<int>(index[i]));
        const __m256i low = _mm256_sub_epi32(Load(index + i), base);
        const __m256i high = _mm256_sub_epi32(Load(index + i + kStep), base);
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(low, high), 0xD8);
        const __m128i order =
            _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
        StoreHalf(out + i, _mm_shuffle_epi8(LoadHalf(source + index[i]), order));
    }
    kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, count - i);
}

// A dword of two words: the pair of an output, times its weights.
ZERIX_AVX2 inline __m256i LinearSums(const uint8_t *source, const LinearTaps8 &taps, size_t i)
{
    const __m256i places =
        _mm256_sub_epi32(Load(taps.first + i), _mm256_set1_epi32(static_cast<int>(taps.first[i])));
    const __m256i order = _mm256_add_epi32(_mm256_or_si256(places, _mm256_slli_epi32(places, 16)),
                                           _mm256_set1_epi32(static_cast<int>(0x80018000)));
    const __m256i pixels = _mm256_broadcastsi128_si256(LoadHalf(source + taps.first[i]));
    const __m256i sums =
        _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, order), Load(taps.weights + i));
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(128)), 8);
}

ZERIX_AVX2 void LinearRow8(const uint8_t *source, size_t readable, const LinearTaps8 &taps,
                           int16_t *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const uint32_t *first = taps.first + i;
        if (FitsWindow(first[0], first[kStep - 1], 2, 1, readable) &&
            FitsWindow(first[kStep], first[2 * kStep - 1], 2, 1, readable)) {
            const __m256i packed = _mm256_packs_epi32(LinearSums(source, taps, i),
                                                      LinearSums(source, taps, i + kStep));
            Store(out + i, _mm256_permute4x64_epi64(packed, 0xD8));
        } else {
            kScalarKernels.bytes.linearRow(source, readable, {first, taps.weights + i}, out + i,
                                           2 * kStep);
        }
    }
    kScalarKernels.bytes.linearRow(source, readable, {taps.first + i, taps.weights + i}, out + i,
                                   count - i);
}

ZERIX_AVX2 inline __m256i WeightedRows(__m256i upper, __m256i lower, __m256i weights)
{
    const __m256i half = _mm256_set1_epi32(0x80000);
    const __m256i low = _mm256_madd_epi16(_mm256_unpacklo_epi16(upper, lower), weights);
    const __m256i high = _mm256_madd_epi16(_mm256_unpackhi_epi16(upper, lower), weights);
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low, half), 20),
                              _mm256_srai_epi32(_mm256_add_epi32(high, half), 20));
}

ZERIX_AVX2 void LinearColumn8(const int16_t *upper, const int16_t *lower, LinearWeight8 weight,
                              uint8_t *out, size_t count)
{
    const __m256i weights = _mm256_set1_epi32(weight.first | weight.second << 16);
    size_t i = 0;
    for (; count - i >= 4 * kStep; i += 4 * kStep) {
        const __m256i first = WeightedRows(Load(upper + i), Load(lower + i), weights);
        const __m256i second = WeightedRows(Load(upper + i + 16), Load(lower + i + 16), weights);
        Store(out + i, _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8));
    }
    kScalarKernels.bytes.linearColumn(upper + i, lower + i, weight, out + i, count - i);
}

// One tap of 8 outputs, out of a window in each lane.
ZERIX_AVX2 inline __m256 Tap(__m256i pixels, __m256i order, int tapPlaces)
{
    const __m256i places = _mm256_add_epi32(order, _mm256_set1_epi32(tapPlaces));
    return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(pixels, places));
}

ZERIX_AVX2 inline Newton LoadNewton(const CubicTaps &taps, size_t i)
{
    return {_mm256_loadu_ps(taps.linear + i), _mm256_loadu_ps(taps.square + i),
            _mm256_loadu_ps(taps.cube + i)};
}

CubicTaps TapsFrom(const CubicTaps &taps, size_t i)
{
    return {taps.first + i, taps.linear + i, taps.square + i, taps.cube + i};
}

ZERIX_AVX2 void CubicRow8(const uint8_t *source, size_t readable, const CubicTaps &taps, float *out,
                          size_t count)
{
    constexpr int kZeros = static_cast<int>(0x80808000);
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const uint32_t *first = taps.first + i;
        if (!FitsWindow(first[0], first[kStep - 1], 4, 1, readable)) {
            kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const __m256i order =
            _mm256_sub_epi32(Load(first), _mm256_set1_epi32(static_cast<int>(first[0])));
        const __m256i pixels = _mm256_broadcastsi128_si256(LoadHalf(source + first[0]));
        const __m256 value = Cubic(Tap(pixels, order, kZeros), Tap(pixels, order, kZeros + 1),
                                   Tap(pixels, order, kZeros + 2), Tap(pixels, order, kZeros + 3),
                                   LoadNewton(taps, i));
        _mm256_storeu_ps(out + i, value);
    }
    kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

// Four rows to one of 8 rounded values.
ZERIX_AVX2 inline __m256i CubicSums(const float *const *rows, size_t i, const Newton &newton)
{
    const __m256 value = Cubic(_mm256_loadu_ps(rows[0] + i), _mm256_loadu_ps(rows[1] + i),
                               _mm256_loadu_ps(rows[2] + i), _mm256_loadu_ps(rows[3] + i), newton);
    return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5000001f)));
}

ZERIX_AVX2 inline Newton SpreadNewton(const CubicWeights &weights)
{
    return {_mm256_set1_ps(weights.linear), _mm256_set1_ps(weights.square),
            _mm256_set1_ps(weights.cube)};
}

struct Rows {
    const float *rows[4];
};

Rows RowsFrom(const float *const *rows, size_t i)
{
    return {{rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i}};
}

ZERIX_AVX2 void CubicColumn8(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                             size_t count)
{
    const Newton newton = SpreadNewton(weights);
    const __m256i lanes = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7); // as the packs leave them
    size_t i = 0;
    for (; count - i >= 4 * kStep; i += 4 * kStep) {
        const __m256i first =
            _mm256_packs_epi32(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton));
        const __m256i second = _mm256_packs_epi32(CubicSums(rows, i + 2 * kStep, newton),
                                                  CubicSums(rows, i + 3 * kStep, newton));
        Store(out + i, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), lanes));
    }
    kScalarKernels.bytes.cubicColumn(RowsFrom(rows, i).rows, weights, out + i, count - i);
}

// 16 bits ----------------------------------------------------------------------------------------

ZERIX_AVX2 void NearestRow16(const uint8_t *source, size_t readable, const uint32_t *index,
                             uint8_t *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        if (!FitsWindow(index[i], index[i + kStep - 1], 1, 2, readable)) {
            kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, kStep);
            continue;
        }
        const __m256i places =
            _mm256_sub_epi32(Load(index + i), _mm256_set1_epi32(static_cast<int>(index[i])));
        const __m128i words =
            _mm_packs_epi32(_mm256_castsi256_si128(places), _mm256_extracti128_si256(places, 1));
        const __m128i order =
            _mm_add_epi16(_mm_mullo_epi16(words, _mm_set1_epi16(0x0202)), _mm_set1_epi16(0x0100));
        StoreHalf(out + i * 2, _mm_shuffle_epi8(LoadHalf(source + size_t{index[i]} * 2), order));
    }
    kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, count - i);
}

// A window for each four outputs, one in each lane, and where in it their first pixels lie: two
// places in the lower word of each dword.
struct Windows {
    __m256i pixels;
    __m256i order;
};

bool FitWindows(const uint32_t *first, uint32_t taps, size_t readable)
{
    return FitsWindow(first[0], first[3], taps, 2, readable) &&
           FitsWindow(first[4], first[7], taps, 2, readable);
}

ZERIX_AVX2 inline Windows LoadWindows(const uint8_t *source, const uint32_t *first)
{
    const __m256i pixels =
        _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(source + size_t{first[0]} * 2)),
                                LoadHalf(source + size_t{first[4]} * 2), 1);
    const __m256i indices = Load(first);
    const __m256i places = _mm256_sub_epi32(indices, _mm256_shuffle_epi32(indices, 0));
    return {pixels, _mm256_or_si256(_mm256_slli_epi32(places, 1), _mm256_slli_epi32(places, 9))};
}

constexpr int WordTap(int tap) { return static_cast<int>(0x80800100) + tap * 0x0202; }

ZERIX_AVX2 inline __m256 Between(__m256 first, __m256 second, __m256 fraction)
{
    return _mm256_add_ps(first, _mm256_mul_ps(_mm256_sub_ps(second, first), fraction));
}

ZERIX_AVX2 void LinearRow16(const uint8_t *source, size_t readable, const LinearTaps16 &taps,
                            float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const LinearTaps16 rest = {taps.first + i, taps.fractions + i};
        if (!FitWindows(rest.first, 2, readable)) {
            kScalarKernels.words.linearRow(source, readable, rest, out + i, kStep);
            continue;
        }
        const Windows windows = LoadWindows(source, rest.first);
        _mm256_storeu_ps(out + i, Between(Tap(windows.pixels, windows.order, WordTap(0)),
                                          Tap(windows.pixels, windows.order, WordTap(1)),
                                          _mm256_loadu_ps(rest.fractions)));
    }
    kScalarKernels.words.linearRow(source, readable, {taps.first + i, taps.fractions + i}, out + i,
                                   count - i);
}

ZERIX_AVX2 inline __m256i LinearSums16(const float *upper, const float *lower, __m256 fraction)
{
    const __m256 value = Between(_mm256_loadu_ps(upper), _mm256_loadu_ps(lower), fraction);
    return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5f)));
}

ZERIX_AVX2 void LinearColumn16(const float *upper, const float *lower, float fraction, uint8_t *out,
                               size_t count)
{
    const __m256 spread = _mm256_set1_ps(fraction);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const __m256i packed =
            _mm256_packus_epi32(LinearSums16(upper + i, lower + i, spread),
                                LinearSums16(upper + i + kStep, lower + i + kStep, spread));
        Store(out + i * 2, _mm256_permute4x64_epi64(packed, 0xD8));
    }
    kScalarKernels.words.linearColumn(upper + i, lower + i, fraction, out + i * 2, count - i);
}

ZERIX_AVX2 void CubicRow16(const uint8_t *source, size_t readable, const CubicTaps &taps,
                           float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        if (!FitWindows(taps.first + i, 4, readable)) {
            kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const Windows windows = LoadWindows(source, taps.first + i);
        const __m256 value =
            Cubic(Tap(windows.pixels, windows.order, WordTap(0)),
                  Tap(windows.pixels, windows.order, WordTap(1)),
                  Tap(windows.pixels, windows.order, WordTap(2)),
                  Tap(windows.pixels, windows.order, WordTap(3)), LoadNewton(taps, i));
        _mm256_storeu_ps(out + i, value);
    }
    kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

ZERIX_AVX2 void CubicColumn16(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                              size_t count)
{
    const Newton newton = SpreadNewton(weights);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const __m256i packed =
            _mm256_packus_epi32(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton));
        Store(out + i * 2, _mm256_permute4x64_epi64(packed, 0xD8));
    }
    kScalarKernels.words.cubicColumn(RowsFrom(rows, i).rows, weights, out + i * 2, count - i);
}

} // namespace

void OverlayResizeAvx2(Kernels &kernels)
{
    kernels.bytes.nearestRow = NearestRow8;
    kernels.bytes.linearRow = LinearRow8;
    kernels.bytes.linearColumn = LinearColumn8;
    kernels.bytes.cubicRow = CubicRow8;
    kernels.bytes.cubicColumn = CubicColumn8;
    kernels.words.nearestRow = NearestRow16;
    kernels.words.linearRow = LinearRow16;
    kernels.words.linearColumn = LinearColumn16;
    kernels.words.cubicRow = CubicRow16;
    kernels.words.cubicColumn = CubicColumn16;
}

} // namespace zerix
