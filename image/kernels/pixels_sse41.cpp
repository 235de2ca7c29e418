// Shift, add and pack in steps of 16 bytes a plane.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_SSE41 __attribute__((target("sse4.1")))

namespace zerix {

namespace {

constexpr size_t kStep = 16;

ZERIX_SSE41 inline __m128i Load(const uint8_t *bytes)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

ZERIX_SSE41 inline void Store(uint8_t *bytes, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), value);
}

// Words are shifted; what comes in from the neighbouring byte is masked away.
ZERIX_SSE41 void ShiftRight8(uint8_t *pixels, size_t count, uint32_t bits)
{
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(bits));
    const __m128i mask = _mm_set1_epi8(static_cast<char>(0xFF >> bits));
    size_t done = 0;
    for (; count - done >= kStep; done += kStep)
        Store(pixels + done, _mm_and_si128(_mm_srl_epi16(Load(pixels + done), shift), mask));
    kScalarKernels.bytes.shiftRight(pixels + done, count - done, bits);
}

ZERIX_SSE41 void ShiftRight16(uint8_t *pixels, size_t count, uint32_t bits)
{
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(bits));
    size_t done = 0;
    for (; count * 2 - done >= kStep; done += kStep)
        Store(pixels + done, _mm_srl_epi16(Load(pixels + done), shift));
    kScalarKernels.words.shiftRight(pixels + done, count - done / 2, bits);
}

ZERIX_SSE41 void Add8(const uint8_t *source, uint8_t *target, size_t count)
{
    size_t done = 0;
    for (; count - done >= kStep; done += kStep)
        Store(target + done, _mm_adds_epu8(Load(source + done), Load(target + done)));
    kScalarKernels.bytes.add(source + done, target + done, count - done);
}

ZERIX_SSE41 void Add16(const uint8_t *source, uint8_t *target, size_t count)
{
    size_t done = 0;
    for (; count * 2 - done >= kStep; done += kStep)
        Store(target + done, _mm_adds_epu16(Load(source + done), Load(target + done)));
    kScalarKernels.words.add(source + done, target + done, count - done / 2);
}

// Each 16 bytes of a plane go to 48: the order puts every byte where it stands in one of the three
// thirds, so that the thirds are blends of the same three registers. The third that a place belongs
// to turns with the plane.
ZERIX_SSE41 inline __m128i Third(__m128i isSecond, __m128i isThird, __m128i first, __m128i second,
                                 __m128i third)
{
    return _mm_blendv_epi8(_mm_blendv_epi8(first, second, isSecond), third, isThird);
}

ZERIX_SSE41 inline void StoreThirds(uint8_t *out, __m128i first, __m128i second, __m128i third)
{
    Store(out, first);
    Store(out + kStep, second);
    Store(out + 2 * kStep, third);
}

ZERIX_SSE41 void Pack3To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    const __m128i order0 = (_mm_setr_epi8(0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5));
    const __m128i order1 = (_mm_setr_epi8(5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10));
    const __m128i order2 = (_mm_setr_epi8(10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15));
    // Places 0, 3, 6 ...; 1, 4, 7 ...; 2, 5, 8 ... of 16.
    const __m128i places0 = (_mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1));
    const __m128i places1 = (_mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0));
    const __m128i places2 = (_mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0));
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const __m128i a = _mm_shuffle_epi8(Load(planes[0] + done), order0);
        const __m128i b = _mm_shuffle_epi8(Load(planes[1] + done), order1);
        const __m128i c = _mm_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds(out + done * 3, Third(places1, places2, a, b, c),
                    Third(places0, places1, a, b, c), Third(places2, places0, a, b, c));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done};
    kScalarKernels.bytes.pack3(rest, out + done * 3, count - done);
}

ZERIX_SSE41 void Pack3To16(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    const __m128i order0 = (_mm_setr_epi8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11));
    const __m128i order1 = (_mm_setr_epi8(10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5));
    const __m128i order2 = (_mm_setr_epi8(4, 5, 10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15));
    const size_t bytes = count * 2;
    size_t done = 0;
    for (; bytes - done >= kStep; done += kStep) {
        const __m128i a = _mm_shuffle_epi8(Load(planes[0] + done), order0);
        const __m128i b = _mm_shuffle_epi8(Load(planes[1] + done), order1);
        const __m128i c = _mm_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds(out + done * 3, _mm_blend_epi16(_mm_blend_epi16(a, b, 0x92), c, 0x24),
                    _mm_blend_epi16(_mm_blend_epi16(a, b, 0x24), c, 0x49),
                    _mm_blend_epi16(_mm_blend_epi16(a, b, 0x49), c, 0x92));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done};
    kScalarKernels.words.pack3(rest, out + done * 3, count - done / 2);
}

ZERIX_SSE41 void Pack4To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const __m128i a = Load(planes[0] + done);
        const __m128i b = Load(planes[1] + done);
        const __m128i c = Load(planes[2] + done);
        const __m128i d = Load(planes[3] + done);
        const __m128i abLow = _mm_unpacklo_epi8(a, b);
        const __m128i abHigh = _mm_unpackhi_epi8(a, b);
        const __m128i cdLow = _mm_unpacklo_epi8(c, d);
        const __m128i cdHigh = _mm_unpackhi_epi8(c, d);
        uint8_t *to = out + done * 4;
        Store(to, _mm_unpacklo_epi16(abLow, cdLow));
        Store(to + kStep, _mm_unpackhi_epi16(abLow, cdLow));
        Store(to + 2 * kStep, _mm_unpacklo_epi16(abHigh, cdHigh));
        Store(to + 3 * kStep, _mm_unpackhi_epi16(abHigh, cdHigh));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done,
                                   planes[3] + done};
    kScalarKernels.bytes.pack4(rest, out + done * 4, count - done);
}

} // namespace

void OverlayPixelsSse41(Kernels &kernels)
{
    kernels.bytes.shiftRight = ShiftRight8;
    kernels.bytes.add = Add8;
    kernels.bytes.pack3 = Pack3To8;
    kernels.bytes.pack4 = Pack4To8;
    kernels.words.shiftRight = ShiftRight16;
    kernels.words.add = Add16;
    kernels.words.pack3 = Pack3To16;
}

} // namespace zerix
