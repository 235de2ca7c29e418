// What the processor's wide registers allow: asked once, in one place, for every file that has
// functions for them. Any thread.
#pragma once

#include <cstddef>

namespace zerix {

// In the order of the variable's names: scalar, sse41, avx2, avx512. The last asks for the byte
// and word instructions and the byte permutations (BW, VL, VBMI) along with the foundation.
enum class SimdLevel { kScalar, kSse41, kAvx2, kAvx512 };
inline constexpr size_t kSimdLevelCount = 4;

[[nodiscard]] const char *SimdLevelName(SimdLevel level);

// By the processor, and by the system that has to save the registers of each thread.
[[nodiscard]] bool IsSimdLevelSupported(SimdLevel level);

// The best that is supported, up to the one that the environment variable ZERIX_SIMD names. Any
// other text limits nothing. The variable is read at the first call.
[[nodiscard]] SimdLevel ChosenSimdLevel();

// The same for a value of the variable that is given; null is an unset one.
[[nodiscard]] SimdLevel ChooseSimdLevel(const char *forced);

} // namespace zerix
