// What the files of the Bayer sweep's wide rows share: from three registers of colours, as they
// come out of mixing, to interleaved pixels. Only those files include it, each with its own copy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/bayer_rows.h"

#define ZERIX_AVX2 __attribute__((target("avx2")))
#define ZERIX_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

namespace zerix {

namespace {

ZERIX_AVX2_INLINE __m256i Load(const void *from)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

ZERIX_AVX2_INLINE __m128i LoadHalf(const void *from)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

ZERIX_AVX2_INLINE void Store(void *to, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i *>(to), value);
}

template <bool kIsStreamed>
ZERIX_AVX2_INLINE void Put(uint8_t *to, __m256i value)
{
    if constexpr (kIsStreamed)
        _mm256_stream_si256(reinterpret_cast<__m256i *>(to), value);
    else
        Store(to, value);
}

// A lane holds its even samples and then its odd ones: 16 bytes, or 8 words. Where each stands:
constexpr uint32_t PlaceOf(uint32_t pixel, uint32_t lanePixels)
{
    return pixel / 2 + pixel % 2 * lanePixels / 2;
}

struct Order {
    alignas(32) uint8_t bytes[32]; // twice the same
};

// A lane's samples of three colours go to 48 bytes. The order of a colour puts every sample where
// it stands in one of the three thirds, so that the thirds are blends of the same three registers.
constexpr Order OrderInThirds(uint32_t colour, uint32_t sampleBytes)
{
    const uint32_t lanePixels = 16 / sampleBytes;
    Order order{};
    for (uint32_t sample = 0; sample < 3 * lanePixels; ++sample)
        for (uint32_t byte = 0; sample % 3 == colour && byte < sampleBytes; ++byte) {
            const uint32_t at = (sample * sampleBytes + byte) % 16;
            order.bytes[at] =
                static_cast<uint8_t>(PlaceOf(sample / 3, lanePixels) * sampleBytes + byte);
            order.bytes[at + 16] = order.bytes[at];
        }
    return order;
}

constexpr Order OrderInARow()
{
    Order order{};
    for (uint32_t pixel = 0; pixel < 32; ++pixel)
        order.bytes[pixel] = static_cast<uint8_t>(PlaceOf(pixel % 16, 16));
    return order;
}

// Every third place of a lane, from this one on.
constexpr Order EveryThird(uint32_t first)
{
    Order places{};
    for (uint32_t place = 0; place < 32; ++place)
        places.bytes[place] = place % 16 % 3 == first ? 0xFF : 0;
    return places;
}

constexpr Order kByteThirds[] = {OrderInThirds(0, 1), OrderInThirds(1, 1), OrderInThirds(2, 1)};
constexpr Order kWordThirds[] = {OrderInThirds(0, 2), OrderInThirds(1, 2), OrderInThirds(2, 2)};
constexpr Order kInARow = OrderInARow();
constexpr Order kThirdPlaces[] = {EveryThird(0), EveryThird(1), EveryThird(2)};

ZERIX_AVX2_INLINE __m256i InOrder(__m256i samples, const Order &order)
{
    return _mm256_shuffle_epi8(samples, Load(order.bytes));
}

// 96 bytes, whose lanes 0 and 3, 1 and 4, 2 and 5 the registers hold.
template <bool kIsStreamed>
ZERIX_AVX2_INLINE void PutThirds(uint8_t *to, __m256i first, __m256i second, __m256i third)
{
    Put<kIsStreamed>(to, _mm256_permute2x128_si256(first, second, 0x20));
    Put<kIsStreamed>(to + 32, _mm256_permute2x128_si256(third, first, 0x30));
    Put<kIsStreamed>(to + 64, _mm256_permute2x128_si256(second, third, 0x31));
}

ZERIX_AVX2_INLINE __m256i Third(const Order &isSecond, const Order &isThird, __m256i first,
                                __m256i second, __m256i third)
{
    return _mm256_blendv_epi8(_mm256_blendv_epi8(first, second, Load(isSecond.bytes)), third,
                              Load(isThird.bytes));
}

// 32 pixels.
template <bool kIsStreamed>
ZERIX_AVX2_INLINE void PutThreeBytes(uint8_t *to, const __m256i *colours)
{
    const __m256i a = InOrder(colours[0], kByteThirds[0]);
    const __m256i b = InOrder(colours[1], kByteThirds[1]);
    const __m256i c = InOrder(colours[2], kByteThirds[2]);
    PutThirds<kIsStreamed>(to, Third(kThirdPlaces[1], kThirdPlaces[2], a, b, c),
                           Third(kThirdPlaces[0], kThirdPlaces[1], a, b, c),
                           Third(kThirdPlaces[2], kThirdPlaces[0], a, b, c));
}

// 16 pixels.
template <bool kIsStreamed>
ZERIX_AVX2_INLINE void PutThreeWords(uint8_t *to, const __m256i *colours)
{
    const __m256i a = InOrder(colours[0], kWordThirds[0]);
    const __m256i b = InOrder(colours[1], kWordThirds[1]);
    const __m256i c = InOrder(colours[2], kWordThirds[2]);
    PutThirds<kIsStreamed>(to, _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x92), c, 0x24),
                           _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x24), c, 0x49),
                           _mm256_blend_epi16(_mm256_blend_epi16(a, b, 0x49), c, 0x92));
}

// 32 pixels.
template <bool kIsStreamed>
ZERIX_AVX2_INLINE void PutFourBytes(uint8_t *to, __m256i a, __m256i b, __m256i c, __m256i d)
{
    const __m256i abLow = _mm256_unpacklo_epi8(a, b);
    const __m256i abHigh = _mm256_unpackhi_epi8(a, b);
    const __m256i cdLow = _mm256_unpacklo_epi8(c, d);
    const __m256i cdHigh = _mm256_unpackhi_epi8(c, d);
    // Pixels 0 to 3 and 16 to 19, 4 to 7 and 20 to 23, and so on.
    const __m256i first = _mm256_unpacklo_epi16(abLow, cdLow);
    const __m256i second = _mm256_unpackhi_epi16(abLow, cdLow);
    const __m256i third = _mm256_unpacklo_epi16(abHigh, cdHigh);
    const __m256i fourth = _mm256_unpackhi_epi16(abHigh, cdHigh);
    Put<kIsStreamed>(to, _mm256_permute2x128_si256(first, second, 0x20));
    Put<kIsStreamed>(to + 32, _mm256_permute2x128_si256(third, fourth, 0x20));
    Put<kIsStreamed>(to + 64, _mm256_permute2x128_si256(first, second, 0x31));
    Put<kIsStreamed>(to + 96, _mm256_permute2x128_si256(third, fourth, 0x31));
}

template <BayerPixel kPixel, bool kIsStreamed>
ZERIX_AVX2_INLINE void PutBytes(uint8_t *to, const __m256i *colours)
{
    if constexpr (kPixel == BayerPixel::kThreeColours) {
        PutThreeBytes<kIsStreamed>(to, colours);
    } else {
        const __m256i a = InOrder(colours[0], kInARow);
        const __m256i b = InOrder(colours[1], kInARow);
        const __m256i c = InOrder(colours[2], kInARow);
        const __m256i alpha = _mm256_set1_epi8(-1);
        if constexpr (kPixel == BayerPixel::kAlphaLast)
            PutFourBytes<kIsStreamed>(to, a, b, c, alpha);
        else
            PutFourBytes<kIsStreamed>(to, alpha, a, b, c);
    }
}

// A mixer makes the samples of two rows, of one colour, from kCells cells on.
template <typename Mixer, BayerPixel kPixel, bool kIsStreamed>
ZERIX_AVX2 void PutRows(const Mixer &mixer, const BayerTwoRows &out, size_t count)
{
    constexpr size_t kPixelBytes = kPixel == BayerPixel::kThreeColours ? 3 : 4;
    constexpr size_t kCellBytes = 2 * kPixelBytes * Mixer::kSampleBytes;
    for (size_t cell = 0; cell < count; cell += Mixer::kCells) {
        __m256i first[3];
        __m256i second[3];
#pragma GCC unroll 3
        for (size_t colour = 0; colour < 3; ++colour)
            mixer.Mix(colour, cell, first[colour], second[colour]);
        if constexpr (Mixer::kSampleBytes == 1) {
            PutBytes<kPixel, kIsStreamed>(out.first + cell * kCellBytes, first);
            PutBytes<kPixel, kIsStreamed>(out.second + cell * kCellBytes, second);
        } else {
            PutThreeWords<kIsStreamed>(out.first + cell * kCellBytes, first);
            PutThreeWords<kIsStreamed>(out.second + cell * kCellBytes, second);
        }
    }
}

template <BayerPixel kPixel, typename Mixer>
ZERIX_AVX2 void PutRowsOf(const Mixer &mixer, const BayerTwoRows &out, size_t count)
{
    if (out.isStreamed)
        PutRows<Mixer, kPixel, true>(mixer, out, count);
    else
        PutRows<Mixer, kPixel, false>(mixer, out, count);
}

template <typename Mixer>
ZERIX_AVX2 void PutRows(const Mixer &mixer, const BayerTwoRows &out, size_t count)
{
    if constexpr (Mixer::kSampleBytes == 1) {
        if (out.pixel == BayerPixel::kAlphaLast)
            return PutRowsOf<BayerPixel::kAlphaLast>(mixer, out, count);
        if (out.pixel == BayerPixel::kAlphaFirst)
            return PutRowsOf<BayerPixel::kAlphaFirst>(mixer, out, count);
    }
    PutRowsOf<BayerPixel::kThreeColours>(mixer, out, count);
}

} // namespace

} // namespace zerix
