// Registers of 16 bytes, and the names by which the kernels that are written once for all widths
// call what can be done with them. What packs or widens keeps the order of the whole register.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "image/kernels/kernels.h"

#define ZERIX_WIDE __attribute__((target("sse4.1")))

namespace zerix {

namespace {

using Register = __m128i;
constexpr size_t kRegisterBytes = sizeof(Register);

ZERIX_WIDE inline Register Load(const void *from)
{
    return _mm_loadu_si128(static_cast<const Register *>(from));
}

ZERIX_WIDE inline void Store(void *to, Register value)
{
    _mm_storeu_si128(static_cast<Register *>(to), value);
}

ZERIX_WIDE inline Register LoadInEachLane(const uint8_t *from) { return Load(from); }

// 16 bytes for the first lane, 16 for the last one, which is the same here.
ZERIX_WIDE inline Register LoadLanes(const uint8_t *first, const uint8_t *) { return Load(first); }

ZERIX_WIDE inline Register LoadAsWords(const uint8_t *from)
{
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(from)));
}

ZERIX_WIDE inline Register PackWords(Register low, Register high)
{
    return _mm_packus_epi16(low, high);
}

ZERIX_WIDE inline Register PackDwords(Register low, Register high)
{
    return _mm_packus_epi32(low, high);
}

// Dwords as signed words, and in each lane of 16 bytes by itself, as the interleaving takes them.
ZERIX_WIDE inline Register PackSignedDwords(Register low, Register high)
{
    return _mm_packs_epi32(low, high);
}

ZERIX_WIDE inline Register PackDwordsInLanes(Register low, Register high)
{
    return _mm_packs_epi32(low, high);
}

ZERIX_WIDE inline Register InterleaveLowWords(Register a, Register b)
{
    return _mm_unpacklo_epi16(a, b);
}

ZERIX_WIDE inline Register InterleaveHighWords(Register a, Register b)
{
    return _mm_unpackhi_epi16(a, b);
}

ZERIX_WIDE inline Register BytesOfDwords(Register a, Register b, Register c, Register d)
{
    return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
}

ZERIX_WIDE inline Register FirstDwordOfEachLane(Register dwords)
{
    return _mm_shuffle_epi32(dwords, 0);
}

ZERIX_WIDE inline bool AreAllSet(Register bits) { return _mm_movemask_epi8(bits) == 0xFFFF; }

ZERIX_WIDE inline Register Zero() { return _mm_setzero_si128(); }

ZERIX_WIDE inline Register AllBytes(int value) { return _mm_set1_epi8(static_cast<char>(value)); }

ZERIX_WIDE inline Register AllWords(int value)
{
    return _mm_set1_epi16(static_cast<int16_t>(value));
}

ZERIX_WIDE inline Register AllDwords(int value) { return _mm_set1_epi32(value); }

ZERIX_WIDE inline Register And(Register a, Register b) { return _mm_and_si128(a, b); }

ZERIX_WIDE inline Register Or(Register a, Register b) { return _mm_or_si128(a, b); }

ZERIX_WIDE inline Register Xor(Register a, Register b) { return _mm_xor_si128(a, b); }

ZERIX_WIDE inline Register AddBytes(Register a, Register b) { return _mm_add_epi8(a, b); }

ZERIX_WIDE inline Register SubtractBytes(Register a, Register b) { return _mm_sub_epi8(a, b); }

ZERIX_WIDE inline Register AddBytesSaturated(Register a, Register b) { return _mm_adds_epu8(a, b); }

ZERIX_WIDE inline Register AddWords(Register a, Register b) { return _mm_add_epi16(a, b); }

ZERIX_WIDE inline Register AddWordsSaturated(Register a, Register b)
{
    return _mm_adds_epu16(a, b);
}

ZERIX_WIDE inline Register AddDwords(Register a, Register b) { return _mm_add_epi32(a, b); }

ZERIX_WIDE inline Register SubtractDwords(Register a, Register b) { return _mm_sub_epi32(a, b); }

ZERIX_WIDE inline Register ShiftDwordsLeft(Register dwords, int bits)
{
    return _mm_slli_epi32(dwords, bits);
}

ZERIX_WIDE inline Register ShiftSignedDwordsRight(Register dwords, int bits)
{
    return _mm_srai_epi32(dwords, bits);
}

// Of the products of signed words, two neighbours each.
ZERIX_WIDE inline Register SumsOfProducts(Register a, Register b) { return _mm_madd_epi16(a, b); }

ZERIX_WIDE inline Register MultiplyLow(Register a, Register b) { return _mm_mullo_epi16(a, b); }

ZERIX_WIDE inline Register MultiplyHigh(Register a, Register b) { return _mm_mulhi_epu16(a, b); }

ZERIX_WIDE inline Register EqualBytes(Register a, Register b) { return _mm_cmpeq_epi8(a, b); }

ZERIX_WIDE inline Register EqualWords(Register a, Register b) { return _mm_cmpeq_epi16(a, b); }

ZERIX_WIDE inline Register EqualDwords(Register a, Register b) { return _mm_cmpeq_epi32(a, b); }

ZERIX_WIDE inline Register ShiftWordsRight(Register words, __m128i bits)
{
    return _mm_srl_epi16(words, bits);
}

// In each lane of 16 bytes; 0 where the place is negative.
ZERIX_WIDE inline Register BytesAt(Register bytes, Register places)
{
    return _mm_shuffle_epi8(bytes, places);
}

// The second byte where the sign bit is set.
ZERIX_WIDE inline Register Choose(Register first, Register second, Register isSecond)
{
    return _mm_blendv_epi8(first, second, isSecond);
}

// Floating point --------------------------------------------------------------------------------

using Floats = __m128;

ZERIX_WIDE inline Floats LoadFloats(const float *from) { return _mm_loadu_ps(from); }

ZERIX_WIDE inline void StoreFloats(float *to, Floats values) { _mm_storeu_ps(to, values); }

ZERIX_WIDE inline Floats AllFloats(float value) { return _mm_set1_ps(value); }

ZERIX_WIDE inline Floats AddFloats(Floats a, Floats b) { return _mm_add_ps(a, b); }

ZERIX_WIDE inline Floats SubtractFloats(Floats a, Floats b) { return _mm_sub_ps(a, b); }

ZERIX_WIDE inline Floats MultiplyFloats(Floats a, Floats b) { return _mm_mul_ps(a, b); }

ZERIX_WIDE inline Floats FloatsOf(Register dwords) { return _mm_cvtepi32_ps(dwords); }

ZERIX_WIDE inline Register Truncated(Floats values) { return _mm_cvttps_epi32(values); }

// Four registers, four dwords of each lane of each: rows against columns.
struct Four {
    Register a, b, c, d;
};

ZERIX_WIDE inline Four Transpose(Register a, Register b, Register c, Register d)
{
    const Register abLow = _mm_unpacklo_epi32(a, b);
    const Register abHigh = _mm_unpackhi_epi32(a, b);
    const Register cdLow = _mm_unpacklo_epi32(c, d);
    const Register cdHigh = _mm_unpackhi_epi32(c, d);
    return {_mm_unpacklo_epi64(abLow, cdLow), _mm_unpackhi_epi64(abLow, cdLow),
            _mm_unpacklo_epi64(abHigh, cdHigh), _mm_unpackhi_epi64(abHigh, cdHigh)};
}

} // namespace

} // namespace zerix
