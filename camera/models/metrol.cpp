// The Metrol. Its binnings are counts minus 1 in fields of their own, beside the symmetrical code
// that it leaves alone.
#include "camera/models/metrol.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace ZX {

namespace control = zerix::registers::control;
using zerix::registers::Field;
using zerix::registers::Insert;

namespace {

constexpr uint64_t kDefaultExposure = 100'000'000; // nanoseconds
constexpr uint16_t kBitDepth = 16;
constexpr uint16_t kMostVerticalBinning = 64;
constexpr uint32_t kShutterDelayStep = 50;
constexpr uint32_t kLongestShutterDelay =
    std::numeric_limits<uint32_t>::max() / kShutterDelayStep * kShutterDelayStep;

uint32_t WholeShutterDelay(uint32_t delay)
{
    const uint32_t excess = delay % kShutterDelayStep;
    if (excess == 0 || delay > kLongestShutterDelay)
        return delay - excess;
    return delay - excess + kShutterDelayStep;
}

uint32_t Divided(uint32_t size, uint16_t mode) { return mode == 0 ? 0 : size / mode; }

} // namespace

Metrol::Metrol(HALCamera camera) : ModelCamera(camera, 1002) {}

uint64_t Metrol::GetDefaultExposure() { return kDefaultExposure; }

uint16_t Metrol::GetBitDepth() { return kBitDepth; }

bool Metrol::IsSymmetricalBinningSupported() { return false; }
bool Metrol::IsVerticalBinningSupported() { return true; }
bool Metrol::IsHorizontalBinningSupported() { return true; }
bool Metrol::IsMetrolShutterDelaySupported() { return true; }

// Binning ----------------------------------------------------------------------------------------

void Metrol::GetHorizontalBinningModes(std::vector<uint16_t> &modes) { modes = {1, 2, 3, 4}; }

void Metrol::GetVerticalBinningModes(std::vector<uint16_t> &modes)
{
    modes.resize(kMostVerticalBinning);
    std::iota(modes.begin(), modes.end(), uint16_t{1});
}

uint16_t Metrol::GetHorizontalBinningMode()
{
    return static_cast<uint16_t>(Control(control::kHorizontalBinningMinus1) + 1);
}

uint16_t Metrol::GetVerticalBinningMode()
{
    return static_cast<uint16_t>(Control(control::kVerticalBinningMinus1) + 1);
}

// Neither stops the stream: the region of interest stays as it is.
uint16_t Metrol::SetHorizontalBinning(uint16_t mode)
{
    return WriteBinning(control::kHorizontalBinningMinus1, mode);
}

uint16_t Metrol::SetVerticalBinning(uint16_t mode)
{
    return WriteBinning(control::kVerticalBinningMinus1, mode);
}

uint16_t Metrol::WriteBinning(Field factorMinus1, uint16_t mode)
{
    const uint32_t value = mode - 1u;
    if (Holds(factorMinus1, value))
        return kStatusOk;
    const uint32_t offset = factorMinus1.offset;
    if (!controlBlock.HasWord(offset))
        return kStatusNotSupported;
    const uint32_t others = Insert(controlBlock.Word(offset), factorMinus1, 0);
    controlBlock.Store(offset, others + Insert(0, factorMinus1, value));
    return WriteControlWord(offset);
}

// Sizes ------------------------------------------------------------------------------------------

uint32_t Metrol::GetMaxCCDWidthForBinningMode(uint16_t mode)
{
    return Divided(GetCCDWidth(), mode);
}

uint32_t Metrol::GetMaxCCDHeightForBinningMode(uint16_t mode)
{
    return std::max(Divided(GetCCDHeight(), mode), 1u);
}

uint32_t Metrol::GetImageWidth()
{
    const uint16_t mode = GetHorizontalBinningMode();
    return mode > 1 ? std::min(GetROIWidth(), GetMaxCCDWidthForBinningMode(mode)) : GetROIWidth();
}

uint32_t Metrol::GetImageHeight()
{
    const uint16_t mode = GetVerticalBinningMode();
    return mode > 1 ? std::min(GetROIHeight(), GetMaxCCDHeightForBinningMode(mode))
                    : GetROIHeight();
}

// Shutter ----------------------------------------------------------------------------------------

uint32_t Metrol::GetMetrolShutterDelay() { return Control(control::kMetrolShutterDelay); }

// Only in version 1.2 is the word the delay; later versions hold half of the exposure there.
uint16_t Metrol::SetMetrolShutterDelay(uint32_t delay)
{
    const uint32_t whole = WholeShutterDelay(delay);
    const bool isThere = controlBlock.major == 1 && controlBlock.minor == 2;
    return UpdateFeature(isThere, whole != GetMetrolShutterDelay(), control::kMetrolShutterDelay,
                         whole);
}

} // namespace ZX
