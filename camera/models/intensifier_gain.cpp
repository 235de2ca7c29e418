// The arithmetic of the intensifier. Single and double precision stand where the instrument's
// calibration was made with them.
#include "camera/models/intensifier_gain.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "camera/truncated.h"

namespace ZX {

using zerix::Truncated;

namespace {

constexpr double kMillion = 1'000'000.0;
constexpr uint32_t kSignificantFigures = 3;
constexpr uint64_t kBiggest = std::numeric_limits<uint64_t>::max();

// By repeated squaring, exact up to the tenth power.
float PowerOfTen(uint32_t exponent)
{
    float power = 1.0f;
    for (float square = 10.0f; exponent != 0; square *= square, exponent /= 2)
        if (exponent % 2 != 0)
            power *= square;
    return power;
}

uint32_t MicrodecibelsOf(uint64_t normalized)
{
    return Truncated<uint32_t>(20.0 * std::log10(static_cast<double>(normalized) / kMillion) *
                               kMillion);
}

uint64_t NormalizedOf(uint32_t microdecibels)
{
    const float decibels = static_cast<float>(microdecibels) / 1000000.0f;
    const float millionths = std::pow(10.0f, decibels / 20.0f) * 1000000.0f;
    return Truncated<uint64_t>(static_cast<double>(millionths));
}

uint32_t RoundedDown(uint32_t value, uint32_t step)
{
    return step == 0 ? value : value - value % step;
}

uint32_t RoundedUp(uint32_t value, uint32_t step)
{
    const uint32_t below = RoundedDown(value, step);
    return below == value ? value : below + step;
}

} // namespace

// Setting up -------------------------------------------------------------------------------------

bool ZIntensifierGain::SetDacRange(uint32_t low, uint32_t high)
{
    if (low >= high)
        return false;
    dacMin = low;
    dacMax = high;
    return true;
}

void ZIntensifierGain::Setup()
{
    gainDbMin = DacToDb(dacMin);
    gainDbMax = DacToDb(dacMax);
    significantFigures = kSignificantFigures;
    ComputeRange(gainDbMin, gainDbMax);
}

void ZIntensifierGain::ComputeRange(uint32_t dbLow, uint32_t dbHigh)
{
    gainDbRoundedMin = RoundedUp(dbLow, gainDbStep);
    gainDbRoundedMax = RoundedDown(dbHigh, gainDbStep);
    normalizedMax = HighestNormalized(dbHigh);
    normalizedMin = LowestNormalized(dbLow);
}

// The rounding may have gone past the end of the range; the limits are the last rounded values
// inside.
uint64_t ZIntensifierGain::HighestNormalized(uint32_t dbHigh) const
{
    uint64_t value = RoundToSignificantFigures(NormalizedOf(dbHigh));
    while (value > 0 && MicrodecibelsOf(value) > dbHigh)
        value -= std::min(value, ScaleOf(value));
    return value;
}

uint64_t ZIntensifierGain::LowestNormalized(uint32_t dbLow) const
{
    uint64_t value = RoundToSignificantFigures(NormalizedOf(dbLow));
    while (value < kBiggest && MicrodecibelsOf(value) < dbLow)
        value += std::min(kBiggest - value, ScaleOf(value));
    return value;
}

// Conversions ------------------------------------------------------------------------------------

uint32_t ZIntensifierGain::DacToDb(uint32_t dac) const
{
    return Truncated<uint32_t>((dac * dbPerCount + dbAtZero) * kMillion);
}

uint32_t ZIntensifierGain::DbToDac(uint32_t microdecibels) const
{
    return Truncated<uint32_t>((microdecibels / kMillion - dbAtZero) / dbPerCount + 0.5);
}

uint64_t ZIntensifierGain::ScaleOf(uint64_t value) const
{
    if (value == 0)
        return 1;
    const auto exponent = static_cast<uint32_t>(std::log10(static_cast<double>(value)));
    if (exponent < significantFigures)
        return 1;
    const float power = PowerOfTen(exponent - significantFigures + 1);
    return Truncated<uint64_t>(static_cast<double>(power));
}

// Near the end of 64 bits it rounds down, so that what is too big stays big.
uint64_t ZIntensifierGain::RoundToSignificantFigures(uint64_t value) const
{
    const uint64_t scale = ScaleOf(value);
    return (value + std::min(scale / 2, kBiggest - value)) / scale * scale;
}

uint32_t ZIntensifierGain::NormalizedToDb(uint64_t &value) const
{
    value = std::max(std::min(RoundToSignificantFigures(value), normalizedMax), normalizedMin);
    return MicrodecibelsOf(value);
}

} // namespace ZX
