// Resizing in wide registers. Along a row, the pixels that some outputs in a row read lie close to
// each other, so that one load of 16 bytes and a byte shuffle fetch all of them; where they lie too
// far apart, or too near to the row's end, the plain kernel does these outputs. Positions only rise
// along a row. Floating point is in the plain kernels' order.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_SSE41 __attribute__((target("sse4.1")))

namespace zerix {

namespace {

constexpr size_t kStep = 4;      // outputs
constexpr uint32_t kWindow = 16; // bytes of a load

ZERIX_SSE41 inline __m128i Load(const void *bytes)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(bytes));
}

ZERIX_SSE41 inline void Store(void *bytes, __m128i value)
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
    __m128 linear, square, cube;
};

ZERIX_SSE41 inline __m128 Cubic(__m128 first, __m128 second, __m128 third, __m128 fourth,
                                const Newton &newton)
{
    const __m128 d1 = _mm_sub_ps(second, first);
    const __m128 d2 = _mm_sub_ps(_mm_sub_ps(third, second), d1);
    const __m128 d3 =
        _mm_sub_ps(_mm_add_ps(_mm_sub_ps(_mm_sub_ps(fourth, third), third), second), d2);
    const __m128 line = _mm_add_ps(first, _mm_mul_ps(d1, newton.linear));
    const __m128 parabola = _mm_add_ps(line, _mm_mul_ps(d2, newton.square));
    return _mm_add_ps(parabola, _mm_mul_ps(d3, newton.cube));
}

// 8 bits -----------------------------------------------------------------------------------------

ZERIX_SSE41 inline __m128i Places(const uint32_t *index, size_t i, uint32_t base)
{
    return _mm_sub_epi32(Load(index + i), _mm_set1_epi32(static_cast<int>(base)));
}

// 16 outputs at a time.
ZERIX_SSE41 void NearestRow8(const uint8_t *source, size_t readable, const uint32_t *index,
                             uint8_t *out, size_t count)
{
    constexpr size_t kOutputs = 4 * kStep;
    size_t i = 0;
    for (; count - i >= kOutputs; i += kOutputs) {
        const uint32_t base = index[i];
        if (!FitsWindow(base, index[i + kOutputs - 1], 1, 1, readable)) {
            kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, kOutputs);
            continue;
        }
        const __m128i low = _mm_packs_epi32(Places(index, i, base), Places(index, i + kStep, base));
        const __m128i high =
            _mm_packs_epi32(Places(index, i + 2 * kStep, base), Places(index, i + 3 * kStep, base));
        Store(out + i, _mm_shuffle_epi8(Load(source + base), _mm_packus_epi16(low, high)));
    }
    kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, count - i);
}

// A dword of two words: the pair of an output, times its weights.
ZERIX_SSE41 inline __m128i LinearSums(const uint8_t *source, const LinearTaps8 &taps, size_t i)
{
    const __m128i places =
        _mm_sub_epi32(Load(taps.first + i), _mm_set1_epi32(static_cast<int>(taps.first[i])));
    const __m128i order = _mm_add_epi32(_mm_or_si128(places, _mm_slli_epi32(places, 16)),
                                        _mm_set1_epi32(static_cast<int>(0x80018000)));
    const __m128i pixels = (Load(source + taps.first[i]));
    const __m128i sums = _mm_madd_epi16(_mm_shuffle_epi8(pixels, order), Load(taps.weights + i));
    return _mm_srai_epi32(_mm_add_epi32(sums, _mm_set1_epi32(128)), 8);
}

ZERIX_SSE41 void LinearRow8(const uint8_t *source, size_t readable, const LinearTaps8 &taps,
                            int16_t *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const uint32_t *first = taps.first + i;
        if (FitsWindow(first[0], first[kStep - 1], 2, 1, readable) &&
            FitsWindow(first[kStep], first[2 * kStep - 1], 2, 1, readable)) {
            const __m128i packed =
                _mm_packs_epi32(LinearSums(source, taps, i), LinearSums(source, taps, i + kStep));
            Store(out + i, packed);
        } else {
            kScalarKernels.bytes.linearRow(source, readable, {first, taps.weights + i}, out + i,
                                           2 * kStep);
        }
    }
    kScalarKernels.bytes.linearRow(source, readable, {taps.first + i, taps.weights + i}, out + i,
                                   count - i);
}

ZERIX_SSE41 inline __m128i WeightedRows(__m128i upper, __m128i lower, __m128i weights)
{
    const __m128i half = _mm_set1_epi32(0x80000);
    const __m128i low = _mm_madd_epi16(_mm_unpacklo_epi16(upper, lower), weights);
    const __m128i high = _mm_madd_epi16(_mm_unpackhi_epi16(upper, lower), weights);
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(low, half), 20),
                           _mm_srai_epi32(_mm_add_epi32(high, half), 20));
}

ZERIX_SSE41 void LinearColumn8(const int16_t *upper, const int16_t *lower, LinearWeight8 weight,
                               uint8_t *out, size_t count)
{
    const __m128i weights = _mm_set1_epi32(weight.first | weight.second << 16);
    size_t i = 0;
    for (; count - i >= 4 * kStep; i += 4 * kStep) {
        const __m128i first = WeightedRows(Load(upper + i), Load(lower + i), weights);
        const __m128i second = WeightedRows(Load(upper + i + 8), Load(lower + i + 8), weights);
        Store(out + i, _mm_packus_epi16(first, second));
    }
    kScalarKernels.bytes.linearColumn(upper + i, lower + i, weight, out + i, count - i);
}

// One tap of 4 outputs.
ZERIX_SSE41 inline __m128 Tap(__m128i pixels, __m128i order, int tapPlaces)
{
    const __m128i places = _mm_add_epi32(order, _mm_set1_epi32(tapPlaces));
    return _mm_cvtepi32_ps(_mm_shuffle_epi8(pixels, places));
}

ZERIX_SSE41 inline Newton LoadNewton(const CubicTaps &taps, size_t i)
{
    return {_mm_loadu_ps(taps.linear + i), _mm_loadu_ps(taps.square + i),
            _mm_loadu_ps(taps.cube + i)};
}

CubicTaps TapsFrom(const CubicTaps &taps, size_t i)
{
    return {taps.first + i, taps.linear + i, taps.square + i, taps.cube + i};
}

ZERIX_SSE41 void CubicRow8(const uint8_t *source, size_t readable, const CubicTaps &taps,
                           float *out, size_t count)
{
    constexpr int kZeros = static_cast<int>(0x80808000);
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const uint32_t *first = taps.first + i;
        if (!FitsWindow(first[0], first[kStep - 1], 4, 1, readable)) {
            kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const __m128i order =
            _mm_sub_epi32(Load(first), _mm_set1_epi32(static_cast<int>(first[0])));
        const __m128i pixels = (Load(source + first[0]));
        const __m128 value = Cubic(Tap(pixels, order, kZeros), Tap(pixels, order, kZeros + 1),
                                   Tap(pixels, order, kZeros + 2), Tap(pixels, order, kZeros + 3),
                                   LoadNewton(taps, i));
        _mm_storeu_ps(out + i, value);
    }
    kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

// Four rows to one of 4 rounded values.
ZERIX_SSE41 inline __m128i CubicSums(const float *const *rows, size_t i, const Newton &newton)
{
    const __m128 value = Cubic(_mm_loadu_ps(rows[0] + i), _mm_loadu_ps(rows[1] + i),
                               _mm_loadu_ps(rows[2] + i), _mm_loadu_ps(rows[3] + i), newton);
    return _mm_cvttps_epi32(_mm_add_ps(value, _mm_set1_ps(0.5000001f)));
}

ZERIX_SSE41 inline Newton SpreadNewton(const CubicWeights &weights)
{
    return {_mm_set1_ps(weights.linear), _mm_set1_ps(weights.square), _mm_set1_ps(weights.cube)};
}

struct Rows {
    const float *rows[4];
};

Rows RowsFrom(const float *const *rows, size_t i)
{
    return {{rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i}};
}

ZERIX_SSE41 void CubicColumn8(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                              size_t count)
{
    const Newton newton = SpreadNewton(weights);
    size_t i = 0;
    for (; count - i >= 4 * kStep; i += 4 * kStep) {
        const __m128i first =
            _mm_packs_epi32(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton));
        const __m128i second = _mm_packs_epi32(CubicSums(rows, i + 2 * kStep, newton),
                                               CubicSums(rows, i + 3 * kStep, newton));
        Store(out + i, _mm_packus_epi16(first, second));
    }
    kScalarKernels.bytes.cubicColumn(RowsFrom(rows, i).rows, weights, out + i, count - i);
}

// 16 bits ----------------------------------------------------------------------------------------

ZERIX_SSE41 void NearestRow16(const uint8_t *source, size_t readable, const uint32_t *index,
                              uint8_t *out, size_t count)
{
    constexpr size_t kOutputs = 2 * kStep;
    size_t i = 0;
    for (; count - i >= kOutputs; i += kOutputs) {
        const uint32_t base = index[i];
        if (!FitsWindow(base, index[i + kOutputs - 1], 1, 2, readable)) {
            kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, kOutputs);
            continue;
        }
        const __m128i words =
            _mm_packs_epi32(Places(index, i, base), Places(index, i + kStep, base));
        const __m128i order =
            _mm_add_epi16(_mm_mullo_epi16(words, _mm_set1_epi16(0x0202)), _mm_set1_epi16(0x0100));
        Store(out + i * 2, _mm_shuffle_epi8(Load(source + size_t{base} * 2), order));
    }
    kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, count - i);
}

// A window, and where in it the first pixels of four outputs lie: two places in the lower word of
// each dword.
struct Window {
    __m128i pixels;
    __m128i order;
};

bool FitsWords(const uint32_t *first, uint32_t taps, size_t readable)
{
    return FitsWindow(first[0], first[kStep - 1], taps, 2, readable);
}

ZERIX_SSE41 inline Window LoadWindow(const uint8_t *source, const uint32_t *first)
{
    const __m128i places = _mm_sub_epi32(Load(first), _mm_set1_epi32(static_cast<int>(first[0])));
    return {Load(source + size_t{first[0]} * 2),
            _mm_or_si128(_mm_slli_epi32(places, 1), _mm_slli_epi32(places, 9))};
}

constexpr int WordTap(int tap) { return static_cast<int>(0x80800100) + tap * 0x0202; }

ZERIX_SSE41 inline __m128 Between(__m128 first, __m128 second, __m128 fraction)
{
    return _mm_add_ps(first, _mm_mul_ps(_mm_sub_ps(second, first), fraction));
}

ZERIX_SSE41 void LinearRow16(const uint8_t *source, size_t readable, const LinearTaps16 &taps,
                             float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const LinearTaps16 rest = {taps.first + i, taps.fractions + i};
        if (!FitsWords(rest.first, 2, readable)) {
            kScalarKernels.words.linearRow(source, readable, rest, out + i, kStep);
            continue;
        }
        const Window window = LoadWindow(source, rest.first);
        _mm_storeu_ps(out + i, Between(Tap(window.pixels, window.order, WordTap(0)),
                                       Tap(window.pixels, window.order, WordTap(1)),
                                       _mm_loadu_ps(rest.fractions)));
    }
    kScalarKernels.words.linearRow(source, readable, {taps.first + i, taps.fractions + i}, out + i,
                                   count - i);
}

ZERIX_SSE41 inline __m128i LinearSums16(const float *upper, const float *lower, __m128 fraction)
{
    const __m128 value = Between(_mm_loadu_ps(upper), _mm_loadu_ps(lower), fraction);
    return _mm_cvttps_epi32(_mm_add_ps(value, _mm_set1_ps(0.5f)));
}

ZERIX_SSE41 void LinearColumn16(const float *upper, const float *lower, float fraction,
                                uint8_t *out, size_t count)
{
    const __m128 spread = _mm_set1_ps(fraction);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const __m128i packed =
            _mm_packus_epi32(LinearSums16(upper + i, lower + i, spread),
                             LinearSums16(upper + i + kStep, lower + i + kStep, spread));
        Store(out + i * 2, packed);
    }
    kScalarKernels.words.linearColumn(upper + i, lower + i, fraction, out + i * 2, count - i);
}

ZERIX_SSE41 void CubicRow16(const uint8_t *source, size_t readable, const CubicTaps &taps,
                            float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        if (!FitsWords(taps.first + i, 4, readable)) {
            kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const Window window = LoadWindow(source, taps.first + i);
        const __m128 value =
            Cubic(Tap(window.pixels, window.order, WordTap(0)),
                  Tap(window.pixels, window.order, WordTap(1)),
                  Tap(window.pixels, window.order, WordTap(2)),
                  Tap(window.pixels, window.order, WordTap(3)), LoadNewton(taps, i));
        _mm_storeu_ps(out + i, value);
    }
    kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

ZERIX_SSE41 void CubicColumn16(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                               size_t count)
{
    const Newton newton = SpreadNewton(weights);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const __m128i packed =
            _mm_packus_epi32(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton));
        Store(out + i * 2, packed);
    }
    kScalarKernels.words.cubicColumn(RowsFrom(rows, i).rows, weights, out + i * 2, count - i);
}

} // namespace

void OverlayResizeSse41(Kernels &kernels)
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
