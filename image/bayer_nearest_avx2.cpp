// The Bayer sweep's nearest neighbours: each cell twice along the row, and two rows the same.
#include "image/bayer_pixels_avx2.h"

namespace zerix {

namespace {

// 16 bytes of a colour stand twice in a lane each half: its even samples are its odd ones.
template <size_t kBytes>
struct Nearest {
    static constexpr size_t kSampleBytes = kBytes;
    static constexpr size_t kCells = 16 / kBytes;

    const uint8_t *const *cells;

    ZERIX_AVX2_INLINE void Mix(size_t colour, size_t cell, __m256i &first, __m256i &second) const
    {
        first = _mm256_permute4x64_epi64(
            _mm256_castsi128_si256(LoadHalf(cells[colour] + cell * kBytes)), 0x50);
        second = first;
    }
};

} // namespace

ZERIX_AVX2 void NearestBytesAvx2(const uint8_t *const *cells, const BayerTwoRows &out, size_t count)
{
    PutRows(Nearest<1>{cells}, out, count);
}

ZERIX_AVX2 void NearestWordsAvx2(const uint8_t *const *cells, const BayerTwoRows &out, size_t count)
{
    PutRows(Nearest<2>{cells}, out, count);
}

} // namespace zerix
