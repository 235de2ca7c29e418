// The 8-bit lookup in registers of 16 bytes, and the 16-bit one.
#include "image/kernels/registers_sse41.h"

#include "image/kernels/lookup_steps.h"

namespace zerix {

namespace {

// Words have too many levels for registers: they are looked up in memory, read and written four at
// a time. Ahead of that the pixels are fetched, since the maps leave them little of the near cache.
constexpr size_t kAhead = 768;

inline uint64_t LoadQuad(const uint8_t *bytes)
{
    uint64_t quad;
    __builtin_memcpy(&quad, bytes, sizeof quad);
    return quad;
}

inline void StoreQuad(uint8_t *bytes, uint64_t quad)
{
    __builtin_memcpy(bytes, &quad, sizeof quad);
}

inline uint64_t LookUpQuad(uint64_t quad, const uint16_t *first, const uint16_t *second,
                           const uint16_t *third, const uint16_t *fourth)
{
    return uint64_t{first[quad & 0xFFFF]} | uint64_t{second[quad >> 16 & 0xFFFF]} << 16 |
           uint64_t{third[quad >> 32 & 0xFFFF]} << 32 | uint64_t{fourth[quad >> 48]} << 48;
}

void Lookup16(uint8_t *pixels, size_t count, const uint16_t *map)
{
    size_t done = 0;
    for (; count - done >= 4; done += 4) {
        uint8_t *bytes = pixels + done * 2;
        __builtin_prefetch(bytes + kAhead, 1);
        StoreQuad(bytes, LookUpQuad(LoadQuad(bytes), map, map, map, map));
    }
    kScalarKernels.words.lookup1(pixels + done * 2, count - done, map);
}

void Lookup3To16(uint8_t *pixels, size_t count, const uint16_t *const *maps)
{
    const uint16_t *const a = maps[0];
    const uint16_t *const b = maps[1];
    const uint16_t *const c = maps[2];
    size_t done = 0;
    for (; count - done >= 4; done += 4) {
        uint8_t *bytes = pixels + done * 6;
        __builtin_prefetch(bytes + kAhead, 1);
        const uint64_t first = LookUpQuad(LoadQuad(bytes), a, b, c, a);
        const uint64_t second = LookUpQuad(LoadQuad(bytes + 8), b, c, a, b);
        const uint64_t third = LookUpQuad(LoadQuad(bytes + 16), c, a, b, c);
        StoreQuad(bytes, first);
        StoreQuad(bytes + 8, second);
        StoreQuad(bytes + 16, third);
    }
    kScalarKernels.words.lookup3(pixels + done * 6, count - done, maps);
}

} // namespace

void OverlayLookupSse41(Kernels &kernels)
{
    kernels.bytes.lookup1 = Lookup8;
    kernels.bytes.lookup3 = Lookup3To8;
    kernels.bytes.lookup4 = Lookup4To8;
    kernels.words.lookup1 = Lookup16;
    kernels.words.lookup3 = Lookup3To16;
}

} // namespace zerix
