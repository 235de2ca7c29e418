// The turn in steps of 64 bytes from either end: two registers, a cache line where the image is
// aligned.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "camera/assembler/turn_image_levels.h"

namespace zerix {

namespace {

constexpr size_t kHalf = 32;
constexpr size_t kStep = 2 * kHalf;

__attribute__((target("avx2"))) inline __m256i Load(const uint8_t *bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
}

// The order holds within 16 bytes; the two parts of 16 change places as well.
__attribute__((target("avx2"))) inline void Store(uint8_t *bytes, __m256i value, __m256i order)
{
    const __m256i turned = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(value, order), 0x4E);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(bytes), turned);
}

// Exchanges whole steps while they don't meet; returns the bytes done at either end.
__attribute__((target("avx2"))) size_t TurnSteps(uint8_t *bytes, size_t size, __m256i order)
{
    size_t done = 0;
    for (; size - 2 * done >= 2 * kStep; done += kStep) {
        uint8_t *front = bytes + done;
        uint8_t *back = bytes + size - done - kStep;
        const __m256i first = Load(front);
        const __m256i second = Load(front + kHalf);
        const __m256i third = Load(back);
        const __m256i fourth = Load(back + kHalf);
        Store(front, fourth, order);
        Store(front + kHalf, third, order);
        Store(back, second, order);
        Store(back + kHalf, first, order);
    }
    return done;
}

} // namespace

__attribute__((target("avx2"))) void TurnBytesAvx2(uint8_t *pixels, uint32_t count)
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
    const size_t done = TurnSteps(pixels, count, order);
    TurnBytesScalar(pixels + done, count - static_cast<uint32_t>(2 * done));
}

__attribute__((target("avx2"))) void TurnWordsAvx2(uint8_t *pixels, uint32_t count)
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1));
    const size_t done = TurnSteps(pixels, size_t{count} * 2, order);
    TurnWordsScalar(pixels + done, count - static_cast<uint32_t>(done));
}

} // namespace zerix
