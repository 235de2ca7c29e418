// Splitting the rows of a mosaic, and rows on their way past the caches.
#include "image/bayer_pixels_avx2.h"

namespace zerix {

namespace {

// What packing has spread over the two lanes, in its order again.
ZERIX_AVX2 inline __m256i Unspread(__m256i packed)
{
    return _mm256_permute4x64_epi64(packed, 0xD8);
}

struct Parts { // of the cells: even and odd columns of the upper and the lower row
    __m256i upperEven;
    __m256i upperOdd;
    __m256i lowerEven;
    __m256i lowerOdd;
};

struct Colours {
    __m256i red;
    __m256i green1;
    __m256i green2;
    __m256i blue;
};

template <uint32_t kOrder>
ZERIX_AVX2 inline Colours Sorted(const Parts &parts)
{
    if constexpr (kOrder == 1) // G R / B G
        return {parts.upperOdd, parts.upperEven, parts.lowerOdd, parts.lowerEven};
    else if constexpr (kOrder == 2) // G B / R G
        return {parts.lowerEven, parts.upperEven, parts.lowerOdd, parts.upperOdd};
    else if constexpr (kOrder == 3) // B G / G R
        return {parts.lowerOdd, parts.upperOdd, parts.lowerEven, parts.upperEven};
    else // R G / G B
        return {parts.upperEven, parts.upperOdd, parts.lowerEven, parts.lowerOdd};
}

template <uint32_t kOrder>
ZERIX_AVX2 size_t SplitBytes(const uint8_t *upper, const uint8_t *lower, uint8_t *const *cells,
                             size_t count)
{
    const __m256i evens = _mm256_set1_epi16(0x00FF);
    const __m256i halves = _mm256_set1_epi8(0x7F);
    size_t cell = 0;
    for (; cell + 32 <= count; cell += 32) {
        const __m256i u0 = Load(upper + cell * 2);
        const __m256i u1 = Load(upper + cell * 2 + 32);
        const __m256i l0 = Load(lower + cell * 2);
        const __m256i l1 = Load(lower + cell * 2 + 32);
        const Colours colours = Sorted<kOrder>(
            {_mm256_packus_epi16(_mm256_and_si256(u0, evens), _mm256_and_si256(u1, evens)),
             _mm256_packus_epi16(_mm256_srli_epi16(u0, 8), _mm256_srli_epi16(u1, 8)),
             _mm256_packus_epi16(_mm256_and_si256(l0, evens), _mm256_and_si256(l1, evens)),
             _mm256_packus_epi16(_mm256_srli_epi16(l0, 8), _mm256_srli_epi16(l1, 8))});
        const __m256i green =
            _mm256_add_epi8(_mm256_and_si256(_mm256_srli_epi16(colours.green1, 1), halves),
                            _mm256_and_si256(_mm256_srli_epi16(colours.green2, 1), halves));
        Store(cells[0] + cell, Unspread(colours.red));
        Store(cells[1] + cell, Unspread(green));
        Store(cells[2] + cell, Unspread(colours.blue));
    }
    return cell;
}

template <uint32_t kOrder>
ZERIX_AVX2 size_t SplitWords(const uint8_t *upper, const uint8_t *lower, uint8_t *const *cells,
                             size_t count)
{
    const __m256i evens = _mm256_set1_epi32(0x0000FFFF);
    size_t cell = 0;
    for (; cell + 16 <= count; cell += 16) {
        const __m256i u0 = Load(upper + cell * 4);
        const __m256i u1 = Load(upper + cell * 4 + 32);
        const __m256i l0 = Load(lower + cell * 4);
        const __m256i l1 = Load(lower + cell * 4 + 32);
        const Colours colours = Sorted<kOrder>(
            {_mm256_packus_epi32(_mm256_and_si256(u0, evens), _mm256_and_si256(u1, evens)),
             _mm256_packus_epi32(_mm256_srli_epi32(u0, 16), _mm256_srli_epi32(u1, 16)),
             _mm256_packus_epi32(_mm256_and_si256(l0, evens), _mm256_and_si256(l1, evens)),
             _mm256_packus_epi32(_mm256_srli_epi32(l0, 16), _mm256_srli_epi32(l1, 16))});
        const __m256i green = _mm256_add_epi16(_mm256_srli_epi16(colours.green1, 1),
                                               _mm256_srli_epi16(colours.green2, 1));
        Store(cells[0] + cell * 2, Unspread(colours.red));
        Store(cells[1] + cell * 2, Unspread(green));
        Store(cells[2] + cell * 2, Unspread(colours.blue));
    }
    return cell;
}

} // namespace

// Where its callers can be seen, a compiler may take this for a function without effect.
void FetchAvx2(const uint8_t *from, size_t bytes)
{
    constexpr size_t kLine = 64;
    for (size_t at = 0; at < bytes; at += kLine)
        _mm_prefetch(reinterpret_cast<const char *>(from + at), _MM_HINT_T0);
}

// A line that is written in both ways has to be fetched and given up again, so that even a row's
// ends are streamed as far as their places allow.
ZERIX_AVX2 void StreamRowAvx2(const uint8_t *row, uint8_t *out, size_t bytes)
{
    size_t done = 0;
    while (done < bytes) {
        const auto place = reinterpret_cast<uintptr_t>(out) + done;
        const size_t left = bytes - done;
        if (place % 32 == 0 && left >= 32) {
            _mm256_stream_si256(reinterpret_cast<__m256i *>(out + done), Load(row + done));
            done += 32;
        } else if (place % 16 == 0 && left >= 16) {
            _mm_stream_si128(reinterpret_cast<__m128i *>(out + done), LoadHalf(row + done));
            done += 16;
        } else if (place % 4 == 0 && left >= 4) {
            int four;
            __builtin_memcpy(&four, row + done, sizeof four);
            _mm_stream_si32(reinterpret_cast<int *>(out + done), four);
            done += 4;
        } else {
            out[done] = row[done];
            ++done;
        }
    }
}

ZERIX_AVX2 void FinishStreamAvx2() { _mm_sfence(); }

ZERIX_AVX2 size_t SplitBytesAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                                 uint8_t *const *cells, size_t count)
{
    switch (order) {
    case 1:
        return SplitBytes<1>(upper, lower, cells, count);
    case 2:
        return SplitBytes<2>(upper, lower, cells, count);
    case 3:
        return SplitBytes<3>(upper, lower, cells, count);
    default:
        return SplitBytes<0>(upper, lower, cells, count);
    }
}

ZERIX_AVX2 size_t SplitWordsAvx2(const uint8_t *upper, const uint8_t *lower, uint32_t order,
                                 uint8_t *const *cells, size_t count)
{
    switch (order) {
    case 1:
        return SplitWords<1>(upper, lower, cells, count);
    case 2:
        return SplitWords<2>(upper, lower, cells, count);
    case 3:
        return SplitWords<3>(upper, lower, cells, count);
    default:
        return SplitWords<0>(upper, lower, cells, count);
    }
}

} // namespace zerix
