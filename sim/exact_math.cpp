// Powers and angles computed in a fixed order of basic operations. Pure functions, safe from any
// thread.
#include "sim/exact_math.h"

#include <bit>

namespace zerix::sim {
namespace {

constexpr double kLn2 = 0.69314718055994530942;
constexpr double kTwoPi = 6.28318530717958647693;

// Taylor's series: the argument is at most half of ln 2, where 14 terms are past the last bit.
double ExpOfSmall(double x)
{
    double sum = 1.0;
    for (int term = 14; term >= 1; --term)
        sum = 1.0 + x / term * sum;
    return sum;
}

double PowerOfTwo(int32_t exponent)
{
    return std::bit_cast<double>(static_cast<uint64_t>(exponent + 1023) << 52U);
}

double SineOfSmall(double x)
{
    const double square = x * x;
    double sum = 1.0;
    for (int term = 10; term >= 1; --term)
        sum = 1.0 - square / ((2.0 * term) * (2.0 * term + 1.0)) * sum;
    return x * sum;
}

double CosineOfSmall(double x)
{
    const double square = x * x;
    double sum = 1.0;
    for (int term = 10; term >= 1; --term)
        sum = 1.0 - square / ((2.0 * term - 1.0) * (2.0 * term)) * sum;
    return sum;
}

} // namespace

double Exp2(double x)
{
    if (!(x > -1000.0))
        return 0.0;
    if (x > 1000.0)
        x = 1000.0;
    const int32_t whole = FloorToInt(x + 0.5);
    return ExpOfSmall((x - whole) * kLn2) * PowerOfTwo(whole);
}

double Exp(double x) { return Exp2(x / kLn2); }

double Log2(double x)
{
    const auto bits = std::bit_cast<uint64_t>(x);
    auto exponent = static_cast<int32_t>((bits >> 52U) & 0x7FFU) - 1023;
    double mantissa = std::bit_cast<double>((bits & 0xFFFFFFFFFFFFFULL) | 0x3FF0000000000000ULL);
    if (mantissa > 1.41421356) {
        mantissa *= 0.5;
        ++exponent;
    }
    // ln m = 2 artanh((m - 1) / (m + 1)); the quotient is below 0.1716.
    const double quotient = (mantissa - 1.0) / (mantissa + 1.0);
    const double square = quotient * quotient;
    double sum = 0.0;
    for (int term = 12; term >= 0; --term)
        sum = sum * square + 1.0 / (2.0 * term + 1.0);
    return exponent + 2.0 * quotient * sum / kLn2;
}

double Power(double x, double y) { return x > 0.0 ? Exp2(y * Log2(x)) : 0.0; }

double FactorFromDecibels(double decibels)
{
    return Exp2(decibels * (3.32192809488736234787 / 20.0));
}

Direction DirectionOf(double turns)
{
    const double fraction = turns - FloorToInt(turns);
    const int32_t quarter = FloorToInt(fraction * 4.0 + 0.5);
    const double rest = (fraction - 0.25 * quarter) * kTwoPi;
    const auto cosine = static_cast<float>(CosineOfSmall(rest));
    const auto sine = static_cast<float>(SineOfSmall(rest));
    switch (quarter % 4) {
    case 0:
        return {.cosine = cosine, .sine = sine};
    case 1:
        return {.cosine = -sine, .sine = cosine};
    case 2:
        return {.cosine = -cosine, .sine = -sine};
    default:
        return {.cosine = sine, .sine = -cosine};
    }
}

} // namespace zerix::sim
