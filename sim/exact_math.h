// Powers and angles computed with + - * and / alone, in a fixed order: the same bits on every
// platform, which the mathematical library does not promise. Pure functions.
#pragma once

#include <cstdint>

namespace zerix::sim {

// 2 to the power x; 0 below -1000, and held at 2 to the power 1000 above that.
double Exp2(double x);

// e to the power x.
double Exp(double x);

// Logarithm to base 2 of x, which is above 0 and finite.
double Log2(double x);

// x to the power y, for x above 0 (0 for x of 0).
double Power(double x, double y);

// The factor of an amplitude that so many decibels stand for.
double FactorFromDecibels(double decibels);

// Sine and cosine of an angle in turns.
struct Direction {
    float cosine;
    float sine;
};
Direction DirectionOf(double turns);

// The largest integer that is not above x, for x well inside the range of 32 bits.
constexpr int32_t FloorToInt(double x)
{
    const auto truncated = static_cast<int32_t>(x);
    return static_cast<double>(truncated) > x ? truncated - 1 : truncated;
}

} // namespace zerix::sim
