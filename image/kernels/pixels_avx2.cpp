// Shift, add and pack in steps of 32 bytes a plane.
#include "image/kernels/registers_avx2.h"

#include "image/kernels/pixels_steps.h"

namespace zerix {

namespace {

// Each 16 bytes of a plane go to 48: the order puts every byte where it stands in one of the three
// thirds, so that the thirds are blends of the same three registers. The third that a place belongs
// to turns with the plane.
ZERIX_WIDE inline Register Third(Register isSecond, Register isThird, Register first,
                                 Register second, Register third)
{
    return _mm256_blendv_epi8(_mm256_blendv_epi8(first, second, isSecond), third, isThird);
}

// What is larger than caches are worth goes past them, from the first pixel on that stands at a
// whole step.
constexpr size_t kStreamedFrom = size_t{10} << 20; // bytes

bool FindStreamed(const uint8_t *out, size_t pixelBytes, size_t count, size_t &first)
{
    for (first = 0; first < kStep && count * pixelBytes >= kStreamedFrom; ++first)
        if (reinterpret_cast<uintptr_t>(out + first * pixelBytes) % kStep == 0)
            return true;
    return false;
}

// The registers hold lanes 0 and 3, 1 and 4, 2 and 5 of 96 bytes.
template <bool kIsStreamed>
ZERIX_WIDE inline void StoreThirds(uint8_t *out, Register first, Register second, Register third)
{
    const Register parts[] = {_mm256_permute2x128_si256(first, second, 0x20),
                              _mm256_permute2x128_si256(third, first, 0x30),
                              _mm256_permute2x128_si256(second, third, 0x31)};
    for (size_t part = 0; part < 3; ++part) {
        uint8_t *const to = out + part * kStep;
        if constexpr (kIsStreamed)
            _mm256_stream_si256(reinterpret_cast<Register *>(to), parts[part]);
        else
            Store(to, parts[part]);
    }
}

// From pixel `done` on, in whole steps; where they end.
template <bool kIsStreamed>
ZERIX_WIDE size_t Pack3Steps8(const uint8_t *const *planes, uint8_t *out, size_t done, size_t count)
{
    const Register order0 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5));
    const Register order1 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10));
    const Register order2 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15));
    // Places 0, 3, 6 ...; 1, 4, 7 ...; 2, 5, 8 ... of 16.
    const Register places0 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1));
    const Register places1 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0));
    const Register places2 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0));
    for (; count - done >= kStep; done += kStep) {
        const Register a = _mm256_shuffle_epi8(Load(planes[0] + done), order0);
        const Register b = _mm256_shuffle_epi8(Load(planes[1] + done), order1);
        const Register c = _mm256_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds<kIsStreamed>(out + done * 3, Third(places1, places2, a, b, c),
                                 Third(places0, places1, a, b, c),
                                 Third(places2, places0, a, b, c));
    }
    return done;
}

template <bool kIsStreamed>
ZERIX_WIDE size_t Pack3Steps16(const uint8_t *const *planes, uint8_t *out, size_t first,
                               size_t count)
{
    const Register order0 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11));
    const Register order1 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5));
    const Register order2 = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(4, 5, 10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15));
    const size_t bytes = count * 2;
    size_t done = first * 2;
    for (; bytes - done >= kStep; done += kStep) {
        const Register a = _mm256_shuffle_epi8(Load(planes[0] + done), order0);
        const Register b = _mm256_shuffle_epi8(Load(planes[1] + done), order1);
        const Register c = _mm256_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds<kIsStreamed>(out + done * 3,
                                 _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x92), c, 0x24),
                                 _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x24), c, 0x49),
                                 _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x49), c, 0x92));
    }
    return done / 2;
}

// Single pixels up to the first streamed one, and behind the last whole step.
template <size_t kSampleBytes, typename Steps, typename Plain>
ZERIX_WIDE inline void Pack3(const uint8_t *const *planes, uint8_t *out, size_t count, Steps steps,
                             Steps streamedSteps, Plain plain)
{
    size_t first = 0;
    const bool isStreamed = FindStreamed(out, 3 * kSampleBytes, count, first);
    plain(planes, out, isStreamed ? first : 0);
    const size_t done =
        isStreamed ? streamedSteps(planes, out, first, count) : steps(planes, out, 0, count);
    if (isStreamed)
        _mm_sfence();
    const size_t at = done * kSampleBytes;
    const uint8_t *const rest[] = {planes[0] + at, planes[1] + at, planes[2] + at};
    plain(rest, out + at * 3, count - done);
}

ZERIX_WIDE void Pack3To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    Pack3<1>(planes, out, count, Pack3Steps8<false>, Pack3Steps8<true>, kScalarKernels.bytes.pack3);
}

ZERIX_WIDE void Pack3To16(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    Pack3<2>(planes, out, count, Pack3Steps16<false>, Pack3Steps16<true>,
             kScalarKernels.words.pack3);
}

ZERIX_WIDE void Pack4To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const Register a = Load(planes[0] + done);
        const Register b = Load(planes[1] + done);
        const Register c = Load(planes[2] + done);
        const Register d = Load(planes[3] + done);
        const Register abLow = _mm256_unpacklo_epi8(a, b);
        const Register abHigh = _mm256_unpackhi_epi8(a, b);
        const Register cdLow = _mm256_unpacklo_epi8(c, d);
        const Register cdHigh = _mm256_unpackhi_epi8(c, d);
        // Pixels 0 to 3 and 16 to 19, 4 to 7 and 20 to 23, and so on.
        const Register first = _mm256_unpacklo_epi16(abLow, cdLow);
        const Register second = _mm256_unpackhi_epi16(abLow, cdLow);
        const Register third = _mm256_unpacklo_epi16(abHigh, cdHigh);
        const Register fourth = _mm256_unpackhi_epi16(abHigh, cdHigh);
        uint8_t *to = out + done * 4;
        Store(to, _mm256_permute2x128_si256(first, second, 0x20));
        Store(to + kStep, _mm256_permute2x128_si256(third, fourth, 0x20));
        Store(to + 2 * kStep, _mm256_permute2x128_si256(first, second, 0x31));
        Store(to + 3 * kStep, _mm256_permute2x128_si256(third, fourth, 0x31));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done,
                                   planes[3] + done};
    kScalarKernels.bytes.pack4(rest, out + done * 4, count - done);
}

} // namespace

void OverlayPixelsAvx2(Kernels &kernels)
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
