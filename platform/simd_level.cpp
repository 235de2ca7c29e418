// The compiler's own processor test includes the system's state saving: it reads the register
// (XCR0) that tells which ones are saved, and denies the levels whose registers are not.
#include "platform/simd_level.h"

#include <cstdlib>
#include <string_view>

namespace zerix {

namespace {

constexpr const char *kNames[kSimdLevelCount] = {"scalar", "sse41", "avx2", "avx512"};

} // namespace

const char *SimdLevelName(SimdLevel level) { return kNames[static_cast<size_t>(level)]; }

bool IsSimdLevelSupported(SimdLevel level)
{
    switch (level) {
    case SimdLevel::kScalar:
        return true;
    case SimdLevel::kSse41:
        return __builtin_cpu_supports("sse4.1") != 0;
    case SimdLevel::kAvx2:
        return __builtin_cpu_supports("avx2") != 0;
    case SimdLevel::kAvx512:
        return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("avx512f") != 0 &&
               __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
               __builtin_cpu_supports("avx512vbmi") != 0;
    }
    return false;
}

SimdLevel ChooseSimdLevel(const char *forced)
{
    auto chosen = SimdLevel::kScalar;
    for (size_t number = 0; number < kSimdLevelCount; ++number) {
        const auto level = static_cast<SimdLevel>(number);
        if (IsSimdLevelSupported(level))
            chosen = level;
        if (forced != nullptr && std::string_view(forced) == SimdLevelName(level))
            break;
    }
    return chosen;
}

SimdLevel ChosenSimdLevel()
{
    static const SimdLevel level = ChooseSimdLevel(std::getenv("ZERIX_SIMD"));
    return level;
}

} // namespace zerix
