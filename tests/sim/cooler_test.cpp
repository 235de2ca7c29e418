// The cooler: a first-order lag of 30 seconds, and the lock that tells when it has arrived.
#include <gtest/gtest.h>

#include "sim/sensor.h"

namespace zerix::sim {
namespace {

constexpr uint64_t kSecond = 1000000000;

TEST(Cooler, IsAtTheAmbientTemperatureUntilItIsOn)
{
    const Cooler cooler(22.5);
    EXPECT_DOUBLE_EQ(cooler.Celsius(0), 22.5);
    EXPECT_DOUBLE_EQ(cooler.Celsius(1000 * kSecond), 22.5);
    EXPECT_FALSE(cooler.IsLocked(0));
}

// 20 to -20: what is left of the 40 kelvin after 30 s is 1/e of them, after 60 s 1/e squared.
TEST(Cooler, FollowsItsTargetWithALagOfThirtySeconds)
{
    Cooler cooler(20);
    cooler.Set(true, -20, 5 * kSecond);
    EXPECT_DOUBLE_EQ(cooler.Celsius(5 * kSecond), 20);
    EXPECT_NEAR(cooler.Celsius(35 * kSecond), -5.284822, 1e-5);
    EXPECT_NEAR(cooler.Celsius(65 * kSecond), -14.586589, 1e-5);
    EXPECT_NEAR(cooler.Celsius(3600 * kSecond), -20, 1e-9);
}

// 40 kelvin become half a one after 30 s times ln 80: 131.46 s.
TEST(Cooler, LocksWithinHalfADegree)
{
    Cooler cooler(20);
    cooler.Set(true, -20, 0);
    EXPECT_FALSE(cooler.IsLocked(131 * kSecond));
    EXPECT_TRUE(cooler.IsLocked(132 * kSecond));
}

TEST(Cooler, GoesOnFromWhereItIs)
{
    Cooler cooler(20);
    cooler.Set(true, -20, 0);
    cooler.Set(true, 0, 30 * kSecond);
    EXPECT_NEAR(cooler.Celsius(30 * kSecond), -5.284822, 1e-5);
    EXPECT_NEAR(cooler.Celsius(60 * kSecond), -1.944177, 1e-5);
    EXPECT_TRUE(cooler.IsLocked(200 * kSecond));
}

TEST(Cooler, WarmsUpAndUnlocksWhenItIsOff)
{
    Cooler cooler(20);
    cooler.Set(true, -20, 0);
    cooler.Set(false, -20, 1000 * kSecond);
    EXPECT_FALSE(cooler.IsLocked(1000 * kSecond));
    EXPECT_NEAR(cooler.Celsius(1030 * kSecond), 5.284822, 1e-5);
}

TEST(Cooler, TakesATimeBeforeTheLastChangeForThatChange)
{
    Cooler cooler(20);
    cooler.Set(true, -20, 10 * kSecond);
    EXPECT_DOUBLE_EQ(cooler.Celsius(0), 20);
}

} // namespace
} // namespace zerix::sim
