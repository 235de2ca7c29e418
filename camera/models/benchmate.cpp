// The Benchmate. It bins by three fields of one word, and keeps every region even, so that it
// begins and ends with whole cells of the mosaic.
#include "camera/models/benchmate.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;
using zerix::registers::Insert;

namespace {

constexpr uint64_t kDefaultExposure = 100'000'000; // nanoseconds
constexpr uint32_t kGainMaxOfEarlyCameras = 3171;
constexpr uint16_t kMosaicFormat = 2;

// The two sensors whose live mode leaves columns out, by their width.
constexpr uint32_t kWidthOfStep3 = 0x800;
constexpr uint32_t kWidthOfStep4 = 0xA00;

constexpr bool IsBinning(uint16_t mode) { return (mode >= 1 && mode <= 4) || mode == 8; }

// Three- and eight-fold share a code.
constexpr uint32_t CodeOfBinning(uint16_t mode) { return mode == 8 ? 2 : mode - 1u; }

constexpr uint32_t Even(uint32_t value) { return value - value % 2; }

} // namespace

Benchmate::Benchmate(HALCamera camera) : ModelCamera(camera, 8) {}

uint64_t Benchmate::GetDefaultExposure() { return kDefaultExposure; }

uint32_t Benchmate::GetGainMax()
{
    const bool isEarly = informationBlock.major <= 2 && informationBlock.minor <= 3;
    return isEarly ? kGainMaxOfEarlyCameras : ModelCamera::GetGainMax();
}

uint16_t Benchmate::GetImageFormat()
{
    return GetSymmetricalBinningMode() > 1 ? kMosaicFormat : ModelCamera::GetImageFormat();
}

void Benchmate::GetSyncBModes(std::vector<uint32_t> &modes) { modes.clear(); }

bool Benchmate::IsSyncBSupported() { return false; }
bool Benchmate::IsSymmetricalBinningSupported() { return false; }
bool Benchmate::IsVerticalBinningSupported() { return true; }
bool Benchmate::IsInterlaced() { return !GetLVWMode(); }

// Binning ----------------------------------------------------------------------------------------

void Benchmate::GetVerticalBinningModes(std::vector<uint16_t> &modes) { modes = {1, 2, 3, 4}; }

uint16_t Benchmate::GetHorizontalBinningMode() { return 1; }

uint16_t Benchmate::SetVerticalBinning(uint16_t mode)
{
    return SetSymmetricalBinning(GetLVWMode() ? uint16_t{1} : mode);
}

void Benchmate::StoreBinning(uint32_t code, uint32_t factorMinus1)
{
    const uint32_t offset = control::kBinning.offset;
    uint32_t word = Insert(controlBlock.Word(offset), control::kBinning, code);
    word = Insert(word, control::kVerticalBinningMinus1, factorMinus1);
    word = Insert(word, control::kHorizontalBinningMinus1, factorMinus1);
    controlBlock.Store(offset, word);
}

// The binning itself doesn't stop the stream; the region that follows does. It is set as far as it
// goes: a failure has been printed, and counts as done.
uint16_t Benchmate::SetSymmetricalBinning(uint16_t mode)
{
    if (mode == GetSymmetricalBinningMode() && IsKnown(control::kBinning))
        return kStatusOk;
    if (!controlBlock.Has(control::kBinning))
        return kStatusNotSupported;
    if (!IsBinning(mode)) {
        StoreBinning(0, 0);
        return kStatusBadValue;
    }
    StoreBinning(CodeOfBinning(mode), mode - 1u);
    if (const uint16_t status = WriteControlWord(control::kBinning.offset))
        return status;
    if (mode == 1) {
        SetROIWidth(GetCCDWidth());
        SetROIHeight(GetCCDHeight());
        SetROIX(0);
    } else {
        SetROIWidth(GetMaxCCDWidthForBinningMode(mode));
        SetROIX(0);
        SetROIHeight(GetMaxCCDHeightForBinningMode(mode));
    }
    SetROIY(0);
    return kStatusOk;
}

// Live mode --------------------------------------------------------------------------------------

bool Benchmate::GetLVWMode() { return Control(control::kLvwMode) != 0; }

bool Benchmate::IsLVWModeSupported() { return Information(information::kLvwSupported) != 0; }

uint32_t Benchmate::GetROIMaxWidthForLVWMode() { return Information(information::kLvwWidth); }

uint32_t Benchmate::GetROIMaxHeightForLVWMode() { return Information(information::kLvwHeight); }

uint16_t Benchmate::SetLVWMode(bool on)
{
    if (on == GetLVWMode() && IsKnown(control::kLvwMode))
        return kStatusOk;
    if (const uint16_t status = WriteField(control::kLvwMode, on))
        return status;
    return on ? EnterLiveMode() : LeaveLiveMode();
}

uint16_t Benchmate::EnterLiveMode()
{
    if (const uint16_t status = SetVerticalBinning(1))
        return status;
    if (const uint16_t status = SetROIHeight(GetMaxCCDHeightForBinningMode(1)))
        return status;
    if (const uint16_t status = SetROIX(0))
        return status;
    if (const uint16_t status = SetROIWidth(GetMaxCCDWidthForBinningMode(1)))
        return status;
    return SetROIY(0);
}

uint16_t Benchmate::LeaveLiveMode()
{
    if (const uint16_t status = SetROIWidth(GetCCDWidth()))
        return status;
    if (const uint16_t status = SetROIX(0))
        return status;
    if (const uint16_t status = SetROIHeight(GetCCDHeight()))
        return status;
    return SetROIY(0);
}

// Region of interest -----------------------------------------------------------------------------

uint32_t Benchmate::GetMaxCCDWidthForBinningMode(uint16_t mode)
{
    if (GetLVWMode())
        return GetROIMaxWidthForLVWMode();
    return mode == 0 ? 0 : 2u * mode * (GetCCDWidth() / (2u * mode));
}

uint32_t Benchmate::GetMaxCCDHeightForBinningMode(uint16_t mode)
{
    if (GetLVWMode())
        return GetROIMaxHeightForLVWMode();
    return mode == 0 ? 0 : Even(GetCCDHeight() / mode);
}

uint32_t Benchmate::RegionStep()
{
    if (!GetLVWMode())
        return GetVerticalBinningMode();
    switch (GetCCDWidth()) {
    case kWidthOfStep3:
        return 3;
    case kWidthOfStep4:
        return 4;
    default:
        return 1;
    }
}

uint16_t Benchmate::SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    const uint32_t step = RegionStep();
    uint32_t wholeWidth = Even(width);
    if (wholeWidth / step % 2 != 0)
        wholeWidth -= step;
    return ModelCamera::SetROI(Even(x), Even(y), wholeWidth, Even(height));
}

} // namespace ZX
