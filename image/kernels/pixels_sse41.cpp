// Shift, add and pack in steps of 16 bytes a plane.
#include "image/kernels/registers_sse41.h"

#include "image/kernels/pixels_steps.h"

namespace zerix {

namespace {

// Each 16 bytes of a plane go to 48: the order puts every byte where it stands in one of the three
// thirds, so that the thirds are blends of the same three registers. The third that a place belongs
// to turns with the plane.
ZERIX_WIDE inline Register Third(Register isSecond, Register isThird, Register first,
                                 Register second, Register third)
{
    return _mm_blendv_epi8(_mm_blendv_epi8(first, second, isSecond), third, isThird);
}

ZERIX_WIDE inline void StoreThirds(uint8_t *out, Register first, Register second, Register third)
{
    Store(out, first);
    Store(out + kStep, second);
    Store(out + 2 * kStep, third);
}

ZERIX_WIDE void Pack3To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    const Register order0 = (_mm_setr_epi8(0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5));
    const Register order1 = (_mm_setr_epi8(5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10));
    const Register order2 = (_mm_setr_epi8(10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15));
    // Places 0, 3, 6 ...; 1, 4, 7 ...; 2, 5, 8 ... of 16.
    const Register places0 = (_mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1));
    const Register places1 = (_mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0));
    const Register places2 = (_mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0));
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const Register a = _mm_shuffle_epi8(Load(planes[0] + done), order0);
        const Register b = _mm_shuffle_epi8(Load(planes[1] + done), order1);
        const Register c = _mm_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds(out + done * 3, Third(places1, places2, a, b, c),
                    Third(places0, places1, a, b, c), Third(places2, places0, a, b, c));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done};
    kScalarKernels.bytes.pack3(rest, out + done * 3, count - done);
}

ZERIX_WIDE void Pack3To16(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    const Register order0 = (_mm_setr_epi8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11));
    const Register order1 = (_mm_setr_epi8(10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5));
    const Register order2 = (_mm_setr_epi8(4, 5, 10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15));
    const size_t bytes = count * 2;
    size_t done = 0;
    for (; bytes - done >= kStep; done += kStep) {
        const Register a = _mm_shuffle_epi8(Load(planes[0] + done), order0);
        const Register b = _mm_shuffle_epi8(Load(planes[1] + done), order1);
        const Register c = _mm_shuffle_epi8(Load(planes[2] + done), order2);
        StoreThirds(out + done * 3, _mm_blend_epi16(_mm_blend_epi16(a, b, 0x92), c, 0x24),
                    _mm_blend_epi16(_mm_blend_epi16(a, b, 0x24), c, 0x49),
                    _mm_blend_epi16(_mm_blend_epi16(a, b, 0x49), c, 0x92));
    }
    const uint8_t *const rest[] = {planes[0] + done, planes[1] + done, planes[2] + done};
    kScalarKernels.words.pack3(rest, out + done * 3, count - done / 2);
}

ZERIX_WIDE void Pack4To8(const uint8_t *const *planes, uint8_t *out, size_t count)
{
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const Register a = Load(planes[0] + done);
        const Register b = Load(planes[1] + done);
        const Register c = Load(planes[2] + done);
        const Register d = Load(planes[3] + done);
        const Register abLow = _mm_unpacklo_epi8(a, b);
        const Register abHigh = _mm_unpackhi_epi8(a, b);
        const Register cdLow = _mm_unpacklo_epi8(c, d);
        const Register cdHigh = _mm_unpackhi_epi8(c, d);
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
