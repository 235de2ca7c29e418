// Analogue gain, its offset, and the electron-multiplying gain. Setters change a register at once;
// a commit makes it effective. None of them stops the stream. On the caller's thread, without a
// lock.
#include <algorithm>

#include "camera/gain_curve.h"
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace gain = zerix::gain;
namespace information = zerix::registers::information;

namespace {

constexpr uint32_t kMillion = 1000000;
constexpr uint32_t kCountsWithoutLimits =
    4095; // what cameras before 2.0, which tell no limit, allow

bool IsRatio(const zerix::GainRecord &record) { return record.curveType >= gain::kRatioCurve; }

} // namespace

// Set-up -----------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::SetupNormalizedGain()
{
    gainRecord = {};
    gainRecord.curveType = GetAnalogBoardType();
    if (CheckConfigRegVersion(2, 3))
        gainRecord.gainFlag = Information(information::kGainFlag) != 0;
    gainRecord.gainMax = GetGainMax();
    gainRecord.gainMin = GetGainMin();
    gainRecord.gainDACRange = GetGainDACRange();
    gainRecord.gainDefault = GetGainDefault();
    gainRecord.dynamicRangedB = GetNormalizedGaindBDR();
    gainRecord.recordValid = 1;
    gainRecord.resolution = GetNormalizedGaindBRes();
    if (!gain::SetLimits(gainRecord))
        return kStatusGainRange;
    defaultNormalizedGaindB = gain::GainTodB(gainRecord, gainRecord.gainDefault).value_or(0);
    return kStatusOk;
}

uint32_t TolvaneFWCamera::GetGainDACRange() { return 4096; }

uint32_t TolvaneFWCamera::GetNormalizedGaindBRes() { return 10000; }

double TolvaneFWCamera::GetNormalizedGaindBDR()
{
    if (CheckConfigRegVersion(2, 4)) {
        const auto factor = static_cast<int32_t>(Information(information::kGainRangeFactor));
        return factor / 1e9 * GetGainDACRange();
    }
    return GetAnalogBoardType() == gain::kPiecewiseCurve ? 30.8929 : 34.1516;
}

// Conversions ------------------------------------------------------------------------------------
// The ratio curve is not scaled by the million in both directions. The values that come out are
// what such boards are driven with.

uint32_t TolvaneFWCamera::ConvertGainToNormGain(uint32_t counts)
{
    if (IsRatio(gainRecord))
        return GetGainDefault() == 0 ? 0 : counts / GetGainDefault();
    const auto microdecibels = gain::GainTodB(gainRecord, counts);
    return microdecibels ? gain::dBToNormGain(gainRecord, *microdecibels) : 0;
}

int32_t TolvaneFWCamera::ConvertGainToNormGaindB(uint32_t counts)
{
    if (!IsRatio(gainRecord))
        return gain::GainTodB(gainRecord, counts).value_or(0);
    if (counts == 0)
        return 0;
    uint32_t ratio = ConvertGainToNormGain(counts);
    return gain::normGainTodB(gainRecord, ratio);
}

uint32_t TolvaneFWCamera::ConvertNormGainToGain(uint32_t normGain)
{
    if (IsRatio(gainRecord))
        return GetGainDefault() * normGain;
    const int32_t microdecibels = gain::normGainTodB(gainRecord, normGain);
    return gain::dBToGain(gainRecord, microdecibels).value_or(0);
}

int32_t TolvaneFWCamera::ConvertNormGainToNormGaindB(uint32_t normGain)
{
    if (IsRatio(gainRecord) && normGain == 0)
        return 0;
    return gain::normGainTodB(gainRecord, normGain);
}

uint32_t TolvaneFWCamera::ConvertNormGaindBToGain(int32_t microdecibels)
{
    if (IsRatio(gainRecord))
        return GetGainDefault() * (gain::dBToNormGain(gainRecord, microdecibels) / kMillion);
    return gain::dBToGain(gainRecord, microdecibels).value_or(0);
}

uint32_t TolvaneFWCamera::ConvertNormGaindBToNormGain(int32_t microdecibels)
{
    return gain::dBToNormGain(gainRecord, microdecibels);
}

int32_t TolvaneFWCamera::RoundNormGaindB(int32_t microdecibels)
{
    return gain::RoundNormGaindB(gainRecord, microdecibels);
}

// Reading ----------------------------------------------------------------------------------------

// The round trip through decibels, which is not always the register.
uint32_t TolvaneFWCamera::GetGain()
{
    const auto microdecibels = gain::GainTodB(gainRecord, Control(control::kGain));
    return microdecibels ? gain::dBToGain(gainRecord, *microdecibels).value_or(0) : 0;
}

uint32_t TolvaneFWCamera::GetNormalizedGain()
{
    const auto microdecibels = gain::GainTodB(gainRecord, Control(control::kGain));
    return microdecibels ? gain::dBToNormGain(gainRecord, *microdecibels) : 0;
}

int32_t TolvaneFWCamera::GetNormalizedGaindB()
{
    return gain::GainTodB(gainRecord, Control(control::kGain)).value_or(0);
}

double TolvaneFWCamera::GetNormalizedGainMin()
{
    return static_cast<double>(gainRecord.normGainMin) / kMillion;
}

double TolvaneFWCamera::GetNormalizedGainMax()
{
    return static_cast<double>(gainRecord.normGainMax) / kMillion;
}

int32_t TolvaneFWCamera::GetNormalizedGaindBMin() { return gainRecord.dBMin; }

int32_t TolvaneFWCamera::GetNormalizedGaindBMax() { return gainRecord.dBMax; }

uint32_t TolvaneFWCamera::GetNormalizedGaindBResolution() { return gainRecord.resolution; }

uint32_t TolvaneFWCamera::GetNormalizedGainSignificantFigures()
{
    return gainRecord.significantFigures;
}

uint32_t TolvaneFWCamera::GetGainDefault() { return Information(information::kGainDefault); }

uint32_t TolvaneFWCamera::GetGainMin()
{
    return CheckConfigRegVersion(2, 0) ? Information(information::kGainMin) : 0;
}

uint32_t TolvaneFWCamera::GetGainMax()
{
    return CheckConfigRegVersion(2, 0) ? Information(information::kGainMax) : kCountsWithoutLimits;
}

// Setting ----------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::SetGain(uint32_t counts)
{
    const auto microdecibels = gain::GainTodB(gainRecord, counts);
    return microdecibels ? SetNormalizedGaindB(*microdecibels) : uint16_t{kStatusBadValue};
}

uint16_t TolvaneFWCamera::SetNormalizedGain(uint32_t normGain)
{
    return SetNormalizedGaindB(gain::normGainTodB(gainRecord, normGain));
}

// Compares decibels, not counts: two counts of the same decibel are the same gain.
uint16_t TolvaneFWCamera::SetNormalizedGaindB(int32_t microdecibels)
{
    if (GetLockedGainMode())
        return kStatusBadValue;
    if (microdecibels == GetNormalizedGaindB() && IsKnown(control::kGain))
        return kStatusOk;
    const auto counts = gain::dBToGain(gainRecord, microdecibels);
    if (!counts)
        return kStatusBadValue;
    return WriteField(control::kGain, std::min(*counts, gain::kMaximumCounts));
}

// Offset -----------------------------------------------------------------------------------------
// The absolute offset counts from the camera's own zero, in two's complement like the registers.

uint32_t TolvaneFWCamera::GetOffset() { return Control(control::kOffset); }

uint32_t TolvaneFWCamera::GetOffsetDefault() { return Information(information::kOffsetDefault); }

uint32_t TolvaneFWCamera::GetGainOffsetDefault() { return GetOffsetDefault(); }

uint32_t TolvaneFWCamera::GetOffsetMin()
{
    return CheckConfigRegVersion(2, 0) ? Information(information::kOffsetMin) : 0;
}

uint32_t TolvaneFWCamera::GetOffsetMax()
{
    return CheckConfigRegVersion(2, 0) ? Information(information::kOffsetMax)
                                       : kCountsWithoutLimits;
}

int32_t TolvaneFWCamera::ConvertOffsetToAbsoluteOffset(uint32_t offset)
{
    return static_cast<int32_t>(offset - static_cast<uint32_t>(GetAbsoluteOffsetDefault()));
}

uint32_t TolvaneFWCamera::ConvertAbsoluteOffsetToOffset(int32_t offset)
{
    return static_cast<uint32_t>(GetAbsoluteOffsetDefault()) + static_cast<uint32_t>(offset);
}

int32_t TolvaneFWCamera::GetAbsoluteOffset() { return ConvertOffsetToAbsoluteOffset(GetOffset()); }

int32_t TolvaneFWCamera::GetAbsoluteOffsetMin()
{
    return ConvertOffsetToAbsoluteOffset(GetOffsetMin());
}

int32_t TolvaneFWCamera::GetAbsoluteOffsetMax()
{
    return ConvertOffsetToAbsoluteOffset(GetOffsetMax());
}

uint16_t TolvaneFWCamera::SetOffset(uint32_t offset)
{
    if (Holds(control::kOffset, offset))
        return kStatusOk;
    return WriteField(control::kOffset, zerix::registers::Fitted(control::kOffset, offset));
}

uint16_t TolvaneFWCamera::SetAbsoluteOffset(int32_t offset)
{
    return SetOffset(ConvertAbsoluteOffsetToOffset(offset));
}

} // namespace ZX
