// The random numbers and the exact arithmetic below them: literal values, and the distributions.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <set>

#include "sim/deviates.h"
#include "sim/exact_math.h"
#include "sim/random.h"

namespace zerix::sim {
namespace {

// The first three outputs of the well-known generator of this form from a state of 0.
TEST(Random, IsTheCounterFormOfAKnownGenerator)
{
    EXPECT_EQ(RandomBits(0, 1), 0xE220A8397B1DCDAFULL);
    EXPECT_EQ(RandomBits(0, 2), 0x6E789E6AA1B965F4ULL);
    EXPECT_EQ(RandomBits(0, 3), 0x06C45D188009454FULL);
}

TEST(Random, KeysDifferWithEverythingTheyAreDerivedFrom)
{
    std::set<uint64_t> keys;
    for (uint64_t key = 0; key < 40; ++key) {
        for (uint64_t with = 0; with < 40; ++with)
            keys.insert(DeriveKey(key, with));
    }
    for (const char *text : {"a", "b", "ab", "ba", "a\x01"})
        keys.insert(DeriveKey(0, std::string_view(text)));
    EXPECT_EQ(keys.size(), 1605U);
}

TEST(Random, UnitIsAtLeastZeroAndBelowOne)
{
    EXPECT_EQ(UnitFloat(0), 0.0F);
    EXPECT_LT(UnitFloat(~0ULL), 1.0F);
    EXPECT_EQ(UnitFloat(0x8000000000000000ULL), 0.5F);
}

TEST(ExactMath, AgreesWithTheLibraryToTwelveDigits)
{
    for (double x = -700; x < 700; x += 3.7) {
        EXPECT_NEAR(Exp2(x) / std::exp2(x), 1.0, 1e-12) << x;
        EXPECT_NEAR(Exp(x / 2) / std::exp(x / 2), 1.0, 2e-12) << x;
    }
    for (double x = 1e-9; x < 1e9; x *= 1.7)
        EXPECT_NEAR(Log2(x), std::log2(x), 1e-12 * (1 + std::fabs(std::log2(x)))) << x;
    EXPECT_NEAR(Power(0.4, 2.4), std::pow(0.4, 2.4), 1e-12);
    EXPECT_NEAR(FactorFromDecibels(20), 10, 1e-11);
    for (double turns = -2; turns < 2; turns += 0.013) {
        EXPECT_NEAR(DirectionOf(turns).cosine, std::cos(2 * std::numbers::pi * turns), 1e-6)
            << turns;
        EXPECT_NEAR(DirectionOf(turns).sine, std::sin(2 * std::numbers::pi * turns), 1e-6) << turns;
    }
}

TEST(ExactMath, HoldsAtTheEnds)
{
    EXPECT_EQ(Exp2(-1e300), 0.0);
    EXPECT_EQ(Exp2(std::nan("")), 0.0);
    EXPECT_EQ(Exp2(1e300), Exp2(1000));
    EXPECT_EQ(Exp2(0), 1.0);
    EXPECT_EQ(Exp2(10), 1024.0);
    EXPECT_EQ(Power(0, 2.4), 0.0);
    EXPECT_EQ(FloorToInt(-1.5), -2);
    EXPECT_EQ(FloorToInt(-2.0), -2);
    EXPECT_EQ(FloorToInt(1.5), 1);
}

TEST(NormalDeviates, HaveTheirMoments)
{
    constexpr int kCount = 2000000;
    double sum = 0, squares = 0, fourths = 0;
    for (uint64_t i = 0; i < kCount; ++i) {
        const double z = static_cast<double>(
            NormalTable::Get().Deviate(static_cast<uint32_t>(RandomBits(7, i))));
        sum += z;
        squares += z * z;
        fourths += z * z * z * z;
    }
    EXPECT_NEAR(sum / kCount, 0, 0.004);
    EXPECT_NEAR(squares / kCount, 1, 0.005);
    EXPECT_NEAR(fourths / kCount, 3, 0.05);
}

// Every 32-bit number stands for its part of the distribution: a walk over them is the
// distribution.
TEST(NormalDeviates, AreTheQuantiles)
{
    const NormalTable &table = NormalTable::Get();
    float previous = -100.0F;
    for (uint64_t bits = 0x00200000; bits < 0xFFE00000; bits += 65521) {
        const float z = table.Deviate(static_cast<uint32_t>(bits));
        ASSERT_GE(z, previous);
        const double below = 0.5 * std::erfc(static_cast<double>(-z) / std::sqrt(2.0));
        ASSERT_NEAR(below, (static_cast<double>(bits) + 0.5) / 4294967296.0,
                    5e-5); // a tenth of a cell
        previous = z;
    }
    EXPECT_NEAR(table.Deviate(0x80000000U), 0.0F, 1e-6F);
    EXPECT_NEAR(table.Deviate(0xFFFFFFFFU), 5.3F, 0.3F);
    EXPECT_EQ(table.Deviate(0x001FFFFFU), -table.Deviate(0xFFFFFFFFU));
}

TEST(ExponentialDeviates, HaveTheirMoments)
{
    constexpr int kCount = 1000000;
    double sum = 0, squares = 0;
    int beyondTen = 0;
    for (uint64_t i = 0; i < kCount; ++i) {
        const double value = static_cast<double>(ExponentialTable::Get().Deviate(RandomBits(8, i)));
        ASSERT_GE(value, 0.0);
        sum += value;
        squares += value * value;
        beyondTen += value > 10 ? 1 : 0;
    }
    EXPECT_NEAR(sum / kCount, 1, 0.004);
    EXPECT_NEAR(squares / kCount, 2, 0.02);
    EXPECT_NEAR(beyondTen, 45, 25); // a million times e to the power -10
}

// The highest bits of all are behind every probability of a table: they must not run on to its end.
TEST(PoissonDeviates, OfTheHighestBitsAreNotTheTablesLast)
{
    constexpr uint64_t kNoEventOfTheRest = 0x00000000'FFFFFFFF;
    EXPECT_EQ(PoissonTable::Get().Deviate(0.0F, kNoEventOfTheRest), 0u);
    EXPECT_EQ(PoissonTable::Get().Deviate(0.0F, 0xFFFFFFFF'FFFFFFFF), 0u);
    // exp(-0.125) * sum of 0.125^k / k! up to 6 is 1 - 0.36 * 2^-32.
    EXPECT_EQ(PoissonTable::Get().Deviate(0.125F, kNoEventOfTheRest), 6u);
    EXPECT_EQ(PoissonTable::Get().Deviate(0.125F, 0), 0u);
}

TEST(PoissonDeviates, AreDistributedAsTheyShould)
{
    for (const float mean : {0.0F, 0.01F, 0.3F, 0.5F, 1.0F, 3.7F, 11.25F, 23.99F}) {
        constexpr int kCount = 300000;
        std::array<int, 128> seen{};
        for (uint64_t i = 0; i < kCount; ++i)
            ++seen[std::min<uint32_t>(PoissonTable::Get().Deviate(mean, RandomBits(9, i)), 127)];
        double probability = std::exp(-static_cast<double>(mean));
        for (size_t count = 0; count < seen.size(); ++count) {
            const double expected = kCount * probability;
            ASSERT_NEAR(seen[count], expected, 5 * std::sqrt(expected) + 2) << mean << " " << count;
            probability *= static_cast<double>(mean) / static_cast<double>(count + 1);
        }
    }
}

} // namespace
} // namespace zerix::sim
