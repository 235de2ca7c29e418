// The turn in steps of 16 bytes from either end.
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "camera/assembler/turn_image_levels.h"

namespace zerix {

namespace {

constexpr size_t kStep = 16;

// Exchanges whole steps while they don't meet; returns the bytes done at either end.
__attribute__((target("sse4.1"))) size_t TurnSteps(uint8_t *bytes, size_t size, __m128i order)
{
    size_t done = 0;
    for (; size - 2 * done >= 2 * kStep; done += kStep) {
        auto *front = reinterpret_cast<__m128i *>(bytes + done);
        auto *back = reinterpret_cast<__m128i *>(bytes + size - done - kStep);
        const __m128i first = _mm_loadu_si128(front);
        const __m128i last = _mm_loadu_si128(back);
        _mm_storeu_si128(front, _mm_shuffle_epi8(last, order));
        _mm_storeu_si128(back, _mm_shuffle_epi8(first, order));
    }
    return done;
}

} // namespace

__attribute__((target("sse4.1"))) void TurnBytesSse41(uint8_t *pixels, uint32_t count)
{
    const __m128i order = _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const size_t done = TurnSteps(pixels, count, order);
    TurnBytesScalar(pixels + done, count - static_cast<uint32_t>(2 * done));
}

__attribute__((target("sse4.1"))) void TurnWordsSse41(uint8_t *pixels, uint32_t count)
{
    const __m128i order = _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    const size_t done = TurnSteps(pixels, size_t{count} * 2, order);
    TurnWordsScalar(pixels + done, count - static_cast<uint32_t>(done));
}

} // namespace zerix
