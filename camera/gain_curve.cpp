// The scales of the analogue gain. The arithmetic is spelled out step by step because its order and
// precision decide the last count.
#include "camera/gain_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "camera/truncated.h"

namespace zerix::gain {

namespace {

constexpr double kMillion = 1000000.0;

// Piecewise curve
// ---------------------------------------------------------------------------------- Four straight
// lines in decibels. The outer two are the ends of the amplifier's control range, where its
// response is almost flat.

constexpr double kFlatSlope = 7.518e-06;
constexpr double kLowSlope = 0.007517812;
constexpr double kHighSlope = 0.016678944;
constexpr uint32_t kLowKnee = 500;
constexpr uint32_t kMiddleKnee = 3500;
constexpr uint32_t kHighKnee = 4000;
constexpr double kLowKneedB = 0.003759;
constexpr double kMiddleKneedB = 22.557195;
constexpr double kHighKneedB = 30.896667;
constexpr double kTopdB = 30.89738121;

// Both `counts` and `knee` are small; their difference is exact.
double Line(uint32_t counts, uint32_t knee, double slope, double kneedB)
{
    return (static_cast<double>(counts) - static_cast<double>(knee)) * slope + kneedB;
}

double PiecewisedB(uint32_t counts, double above)
{
    if (counts <= kLowKnee)
        return counts * kFlatSlope;
    if (counts <= kMiddleKnee)
        return Line(counts, kLowKnee, kLowSlope, kLowKneedB);
    if (counts <= kHighKnee)
        return Line(counts, kMiddleKnee, kHighSlope, kMiddleKneedB);
    if (counts <= kMaximumCounts)
        return Line(counts, kHighKnee, kFlatSlope, kHighKneedB);
    return above;
}

// A default beyond the register counts as the low knee, not as the top: the two tables differ
// there.
double PiecewiseDefaultdB(const GainRecord &record)
{
    return PiecewisedB(record.gainDefault, kLowKneedB);
}

double InverseLine(double decibels, double kneedB, double slope, double knee)
{
    return (decibels - kneedB) / slope + knee + 0.5;
}

double PiecewiseCounts(double decibels)
{
    if (decibels <= kLowKneedB)
        return decibels / kFlatSlope + 0.5;
    if (decibels <= kMiddleKneedB)
        return InverseLine(decibels, kLowKneedB, kLowSlope, kLowKnee);
    if (decibels <= kHighKneedB)
        return InverseLine(decibels, kMiddleKneedB, kHighSlope, kMiddleKnee);
    if (decibels <= kTopdB)
        return InverseLine(decibels, kHighKneedB, kFlatSlope, kHighKnee);
    return kMaximumCounts;
}

// Curve that is linear in decibels
// -----------------------------------------------------------------

double DecibelsOf(const GainRecord &record, uint32_t counts)
{
    return counts * record.dynamicRangedB / record.gainDACRange;
}

double DefaultDecibels(const GainRecord &record)
{
    return record.gainDACRange == 0 ? 0.0 : DecibelsOf(record, record.gainDefault);
}

// Normalised gain
// ----------------------------------------------------------------------------------

int32_t MicrodecibelsOfFactor(double factor)
{
    return Truncated<int32_t>(20.0 * std::log10(factor) * kMillion);
}

int32_t MicrodecibelsOf(uint32_t normGain)
{
    return MicrodecibelsOfFactor(std::max(normGain / kMillion, 0.001));
}

// Single precision where the result is narrowed, as the limits and the rounding were tuned with it.
uint32_t FactorOf(int32_t microdecibels)
{
    const double exponent = static_cast<double>(static_cast<float>(microdecibels)) / 1e6 / 20;
    constexpr double kBiggest = std::numeric_limits<float>::max();
    const auto factor = static_cast<float>(std::min(std::pow(10.0, exponent), kBiggest));
    const float millionths = factor * 1000000.0f;
    return Truncated<uint32_t>(static_cast<double>(millionths));
}

// 64 bits, so that the biggest factors round up and don't wrap around to nothing.
uint64_t RoundedToStep(uint32_t normGain, uint32_t significantFigures)
{
    const uint64_t step = SignificantStep(normGain, significantFigures);
    return (step / 2 + normGain) / step * step;
}

uint32_t ClampedNormGain(const GainRecord &record, uint64_t normGain)
{
    const auto notAbove = static_cast<uint32_t>(std::min<uint64_t>(normGain, record.normGainMax));
    return std::max(notAbove, record.normGainMin);
}

// Limits
// -------------------------------------------------------------------------------------------

std::optional<int32_t> LimitdB(const GainRecord &record, uint32_t counts)
{
    if (record.curveType < kRatioCurve)
        return GainTodB(record, counts);
    if (counts == 0)
        return std::nullopt;
    return MicrodecibelsOfFactor(static_cast<double>(counts) / record.gainDefault);
}

int32_t TowardZero(int32_t microdecibels, uint32_t resolution)
{
    if (resolution == 0)
        return microdecibels;
    const int64_t unit = resolution;
    return static_cast<int32_t>(microdecibels / unit * unit);
}

uint32_t HighestNormGain(const GainRecord &record)
{
    const uint64_t rounded = RoundedToStep(FactorOf(record.dBMax), record.significantFigures);
    auto normGain =
        static_cast<uint32_t>(std::min<uint64_t>(rounded, std::numeric_limits<uint32_t>::max()));
    while (normGain > 0 && MicrodecibelsOf(normGain) > record.dBMax)
        normGain -= std::min(normGain, SignificantStep(normGain, record.significantFigures));
    return normGain;
}

uint32_t LowestNormGain(const GainRecord &record)
{
    constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();
    uint32_t normGain = FactorOf(record.dBMin);
    normGain -= normGain % SignificantStep(normGain, record.significantFigures);
    while (normGain < kMost && MicrodecibelsOf(normGain) < record.dBMin)
        normGain +=
            std::min(kMost - normGain, SignificantStep(normGain, record.significantFigures));
    return normGain;
}

} // namespace

std::optional<int32_t> GainTodB(const GainRecord &record, uint32_t counts)
{
    if (record.curveType == kPiecewiseCurve)
        return Truncated<int32_t>((PiecewisedB(counts, kTopdB) - PiecewiseDefaultdB(record)) *
                                  kMillion);
    if (record.curveType == kDecibelCurve)
        return Truncated<int32_t>((DecibelsOf(record, counts) - DefaultDecibels(record)) *
                                  kMillion);
    return std::nullopt;
}

std::optional<uint32_t> dBToGain(const GainRecord &record, int32_t microdecibels)
{
    if (record.curveType == kPiecewiseCurve)
        return Truncated<uint32_t>(
            PiecewiseCounts(microdecibels / kMillion + PiecewiseDefaultdB(record)));
    if (record.curveType == kDecibelCurve)
        return Truncated<uint32_t>((microdecibels / kMillion + DefaultDecibels(record)) *
                                       record.gainDACRange / record.dynamicRangedB +
                                   0.5);
    return std::nullopt;
}

uint32_t SignificantStep(uint32_t normGain, uint32_t significantFigures)
{
    if (normGain == 0)
        return 1;
    const auto digits = static_cast<uint32_t>(std::log10(normGain));
    if (digits < significantFigures)
        return 1;
    uint64_t step = 10;
    for (uint32_t power = digits - significantFigures; power > 0; --power)
        step *= 10;
    return step <= std::numeric_limits<uint32_t>::max() ? static_cast<uint32_t>(step) : 1;
}

int32_t normGainTodB(const GainRecord &record, uint32_t &normGain)
{
    normGain = ClampedNormGain(record, RoundedToStep(normGain, record.significantFigures));
    return MicrodecibelsOf(normGain);
}

uint32_t dBToNormGain(const GainRecord &record, int32_t microdecibels)
{
    return ClampedNormGain(record,
                           RoundedToStep(FactorOf(microdecibels), record.significantFigures));
}

int32_t RoundNormGaindB(const GainRecord &record, int32_t microdecibels)
{
    int64_t rounded = microdecibels;
    if (record.resolution != 0) {
        const int64_t unit = record.resolution;
        const int64_t half = microdecibels < 0 ? -(unit / 2) : unit / 2;
        rounded = unit * ((half + microdecibels) / unit);
    }
    rounded = std::min<int64_t>(rounded, record.dBMax);
    return static_cast<int32_t>(std::max<int64_t>(rounded, record.dBMin));
}

// The small subtrahend keeps a resolution that is a whole power of ten on its own figure.
uint32_t SignificantFiguresOf(uint32_t resolution)
{
    const int64_t power = Truncated<int32_t>(std::log10(resolution / kMillion) - 1e-07);
    return static_cast<uint32_t>(power < 0 ? -power : power) + 1;
}

bool SetLimits(GainRecord &record)
{
    record.significantFigures = SignificantFiguresOf(record.resolution);
    const auto lowest = LimitdB(record, record.gainMin);
    const auto highest = LimitdB(record, record.gainMax);
    if (!lowest || !highest)
        return false;
    record.dBMin = TowardZero(*lowest, record.resolution);
    record.dBMax = TowardZero(*highest, record.resolution);
    record.normGainMax = HighestNormGain(record);
    record.normGainMin = LowestNormGain(record);
    return true;
}

} // namespace zerix::gain
