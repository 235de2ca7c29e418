// The processor level: what the environment variable's value makes of it.
#include <string>

#include <gtest/gtest.h>

#include "platform/simd_level.h"

namespace zerix::test {
namespace {

SimdLevel BestLevel()
{
    auto best = SimdLevel::kScalar;
    for (SimdLevel level : {SimdLevel::kSse41, SimdLevel::kAvx2, SimdLevel::kAvx512})
        if (IsSimdLevelSupported(level))
            best = level;
    return best;
}

TEST(SimdLevel, HasTheNamesOfTheVariable)
{
    EXPECT_EQ(std::string(SimdLevelName(SimdLevel::kScalar)), "scalar");
    EXPECT_EQ(std::string(SimdLevelName(SimdLevel::kSse41)), "sse41");
    EXPECT_EQ(std::string(SimdLevelName(SimdLevel::kAvx2)), "avx2");
    EXPECT_EQ(std::string(SimdLevelName(SimdLevel::kAvx512)), "avx512");
}

TEST(SimdLevel, IsTheBestWithoutAName)
{
    EXPECT_EQ(ChooseSimdLevel(nullptr), BestLevel());
    EXPECT_EQ(ChooseSimdLevel(""), BestLevel());
    EXPECT_EQ(ChooseSimdLevel("AVX2"), BestLevel());
    EXPECT_EQ(ChooseSimdLevel("avx512"), BestLevel());
}

TEST(SimdLevel, GoesNoFurtherThanTheName)
{
    EXPECT_TRUE(IsSimdLevelSupported(SimdLevel::kScalar));
    EXPECT_EQ(ChooseSimdLevel("scalar"), SimdLevel::kScalar);
    for (SimdLevel level : {SimdLevel::kSse41, SimdLevel::kAvx2, SimdLevel::kAvx512}) {
        const SimdLevel chosen = ChooseSimdLevel(SimdLevelName(level));
        EXPECT_TRUE(IsSimdLevelSupported(chosen));
        if (IsSimdLevelSupported(level)) {
            EXPECT_EQ(chosen, level);
        } else {
            EXPECT_LT(chosen, level);
        }
    }
}

} // namespace
} // namespace zerix::test
