// The 8-bit lookup by the permutation of bytes: a map of 256 entries stands in four registers, and
// two permutations of two registers each look 64 pixels up. The pixel's top bit picks the half.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi")))

namespace zerix {

namespace {

constexpr size_t kStep = 64;

struct Map {
    __m512i quarters[4];
};

ZERIX_AVX512 inline Map LoadMap(const uint8_t *map)
{
    return {{_mm512_loadu_si512(map), _mm512_loadu_si512(map + kStep),
             _mm512_loadu_si512(map + 2 * kStep), _mm512_loadu_si512(map + 3 * kStep)}};
}

// The permutations take the low seven bits.
ZERIX_AVX512 inline __m512i LookUp(const Map &map, __m512i pixels)
{
    const __m512i low = _mm512_permutex2var_epi8(map.quarters[0], pixels, map.quarters[1]);
    const __m512i high = _mm512_permutex2var_epi8(map.quarters[2], pixels, map.quarters[3]);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(pixels), low, high);
}

ZERIX_AVX512 void Lookup8(uint8_t *pixels, size_t count, const uint8_t *map)
{
    const Map entries = LoadMap(map);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep)
        _mm512_storeu_si512(pixels + done, LookUp(entries, _mm512_loadu_si512(pixels + done)));
    kScalarKernels.bytes.lookup1(pixels + done, count - done, map);
}

// Places 0, 3, 6 ...; 1, 4, 7 ...; 2, 5, 8 ... of 64.
constexpr uint64_t kPlaces0 = 0x9249249249249249;
constexpr uint64_t kPlaces1 = 0x2492492492492492;
constexpr uint64_t kPlaces2 = 0x4924924924924924;

ZERIX_AVX512 inline __m512i Pick(uint64_t isSecond, uint64_t isThird, __m512i first, __m512i second,
                                 __m512i third)
{
    return _mm512_mask_blend_epi8(isThird, _mm512_mask_blend_epi8(isSecond, first, second), third);
}

// At every place of three registers in a row each channel stands once: 64 is 1 more than a multiple
// of 3, so that the channels move on by one place a register.
ZERIX_AVX512 void Lookup3To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    const Map map0 = LoadMap(maps[0]);
    const Map map1 = LoadMap(maps[1]);
    const Map map2 = LoadMap(maps[2]);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 3;
        const __m512i a = _mm512_loadu_si512(bytes);
        const __m512i b = _mm512_loadu_si512(bytes + kStep);
        const __m512i c = _mm512_loadu_si512(bytes + 2 * kStep);
        const __m512i first = LookUp(map0, Pick(kPlaces2, kPlaces1, a, b, c));
        const __m512i second = LookUp(map1, Pick(kPlaces0, kPlaces2, a, b, c));
        const __m512i third = LookUp(map2, Pick(kPlaces1, kPlaces0, a, b, c));
        _mm512_storeu_si512(bytes, Pick(kPlaces1, kPlaces2, first, second, third));
        _mm512_storeu_si512(bytes + kStep, Pick(kPlaces0, kPlaces1, first, second, third));
        _mm512_storeu_si512(bytes + 2 * kStep, Pick(kPlaces2, kPlaces0, first, second, third));
    }
    kScalarKernels.bytes.lookup3(pixels + done * 3, count - done, maps);
}

// Of four channels each register holds all: it is looked up in each map where its channel stands.
ZERIX_AVX512 void Lookup4To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    const Map map0 = LoadMap(maps[0]);
    const Map map1 = LoadMap(maps[1]);
    const Map map2 = LoadMap(maps[2]);
    const Map map3 = LoadMap(maps[3]);
    constexpr size_t kPixels = kStep / 4;
    size_t done = 0;
    for (; count - done >= kPixels; done += kPixels) {
        uint8_t *bytes = pixels + done * 4;
        const __m512i four = _mm512_loadu_si512(bytes);
        const __m512i even =
            _mm512_mask_blend_epi8(0x4444444444444444, LookUp(map0, four), LookUp(map2, four));
        const __m512i odd =
            _mm512_mask_blend_epi8(0x8888888888888888, LookUp(map1, four), LookUp(map3, four));
        _mm512_storeu_si512(bytes, _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAA, even, odd));
    }
    kScalarKernels.bytes.lookup4(pixels + done * 4, count - done, maps);
}

} // namespace

void OverlayLookupAvx512(Kernels &kernels)
{
    kernels.bytes.lookup1 = Lookup8;
    kernels.bytes.lookup3 = Lookup3To8;
    kernels.bytes.lookup4 = Lookup4To8;
}

} // namespace zerix
