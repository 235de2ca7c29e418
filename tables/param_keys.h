// One row per parameter key of each family: number, name, log text and the rule that turns its
// value into that text. Pure data; what a key does in a camera stands with the parameter calls.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tables/value_names.h"
#include "zerix/zerix.h"

namespace zerix::tables {

struct KeyRow {
    uint32_t key;
    const char *name;
    const char *logText; // null: the log prints its unknown-parameter line
    ValueRule rule;
};

inline constexpr std::array<KeyRow, 53> kParams = {{
    {zprmGain, "zprmGain", "Gain: %lu", ValueRule::kNumber},
    {zprmOffset, "zprmOffset", "Offset: %lu", ValueRule::kNumber},
    {zprmExposure, "zprmExposure", "Exposure: %lu us (%s)", ValueRule::kMillisecondsOfThousandths},
    {zprmBinning, "zprmBinning", "Symmetrical Binning: %lu", ValueRule::kNumber},
    {zprmHorizontalBinning, "zprmHorizontalBinning", "Horizontal Binning: %lu", ValueRule::kNumber},
    {zprmVerticalBinning, "zprmVerticalBinning", "Vertical Binning: %lu", ValueRule::kNumber},
    {zprmReadoutSpeed, "zprmReadoutSpeed", "Readout Speed: %s", ValueRule::kReadoutSpeed},
    {zprmTriggerType, "zprmTriggerType", "Trigger type: %lu", ValueRule::kNumber},
    {zprmColorWheel, "zprmColorWheel", "Filter wheel start colour: %lu (%s)",
     ValueRule::kWheelColour},
    {zprmCoolerActive, "zprmCoolerActive", "Cooler active: %lu", ValueRule::kNumber},
    {zprmExposureRed, "zprmExposureRed", "Red Exposure: %lu us (%s)",
     ValueRule::kMillisecondsOfThousandths},
    {zprmExposureBlue, "zprmExposureBlue", "Blue Exposure: %lu us (%s)",
     ValueRule::kMillisecondsOfThousandths},
    {zprmImageFormat, "zprmImageFormat", "Image Format: %lu (%s)", ValueRule::kImageFormat},
    {zprmRoiX, "zprmRoiX", "Roi X: %lu", ValueRule::kNumber},
    {zprmRoiY, "zprmRoiY", "Roi Y: %lu", ValueRule::kNumber},
    {zprmRoiWidth, "zprmRoiWidth", "Roi Width: %lu", ValueRule::kNumber},
    {zprmRoiHeight, "zprmRoiHeight", "Roi Height: %lu", ValueRule::kNumber},
    {zprmReserved17, "zprmReserved17", nullptr, ValueRule::kNoText},
    {zprmShutterState, "zprmShutterState", "Shutter state: %lu", ValueRule::kNumber},
    {zprmDoubleShot, "zprmDoubleShot", nullptr, ValueRule::kNoText},
    {zprmSyncb, "zprmSyncb", "SyncB: %lu (%s)", ValueRule::kSyncb},
    {zprmMetrolShutterDelay, "zprmMetrolShutterDelay", nullptr, ValueRule::kNoText},
    {zprmIntensifierGain, "zprmIntensifierGain", "Intensifier Gain: %lu", ValueRule::kNumber},
    // Nanoseconds, yet shown through the same division as microseconds: the bracket is kept so.
    {zprmTriggerDelay, "zprmTriggerDelay", "Trigger Delay: %lu ns (%s)",
     ValueRule::kMillisecondsOfThousandths},
    {zprmCameraMode, "zprmCameraMode", "Camera Mode: %lu (%s)", ValueRule::kCameraMode},
    {zprmNormalizedGain, "zprmNormalizedGain", "Normalized Gain: %lu", ValueRule::kNumber},
    {zprmNormIntensGaindB, "zprmNormIntensGaindB", "Normalized Intensifier Gain dB: %lu",
     ValueRule::kNumber},
    {zprmDoPostProcessing, "zprmDoPostProcessing", "Post Processing: %lu", ValueRule::kNumber},
    {zprmPostProcessGainRed, "zprmPostProcessGainRed", "Post Processing Red Gain: %lu",
     ValueRule::kNumber},
    {zprmPostProcessGainGreen, "zprmPostProcessGainGreen", "Post Processing Green Gain: %lu",
     ValueRule::kNumber},
    {zprmPostProcessGainBlue, "zprmPostProcessGainBlue", "Post Processing Blue Gain: %lu",
     ValueRule::kNumber},
    {zprmPostProcessBayerAlgorithm, "zprmPostProcessBayerAlgorithm",
     "Post Processing Bayer Algorithm: %lu (%s)", ValueRule::kBayerAlgorithm},
    {zprmPostProcessImageFormat, "zprmPostProcessImageFormat",
     "Post Processing Image Format: %lu (%s)", ValueRule::kImageFormat},
    {zprmFan, "zprmFan", "Fan Speed: %lu (%s)", ValueRule::kFanSpeed},
    {zprmBlackoutMode, "zprmBlackoutMode", "Blackout Mode: %lu", ValueRule::kNumber},
    {zprmHighSensitivityMode, "zprmHighSensitivityMode", "High Sensitivity Mode: %lu",
     ValueRule::kNumber},
    {zprmReadoutPort, "zprmReadoutPort", "Readout Port: %lu", ValueRule::kNumber},
    {zprmEMGain, "zprmEMGain", "EM Gain: %lu", ValueRule::kNumber},
    {zprmOpenDelay, "zprmOpenDelay", "Open Delay: %lu", ValueRule::kNumber},
    {zprmCloseDelay, "zprmCloseDelay", "Close Delay: %lu", ValueRule::kNumber},
    {zprmCCDClearingMode, "zprmCCDClearingMode", "CCD Clearing Mode: %lu", ValueRule::kNumber},
    {zprmOverSample, "zprmOverSample", "Over Sample Mode: %lu", ValueRule::kNumber},
    {zprmDither, "zprmDither", nullptr, ValueRule::kNoText},
    {zprmHighGainMode, "zprmHighGainMode", nullptr, ValueRule::kNoText},
    {zprmVClockPeriod, "zprmVClockPeriod", nullptr, ValueRule::kNoText},
    {zprmReserved45, "zprmReserved45", nullptr, ValueRule::kNoText},
    {zprmTweekingRegister, "zprmTweekingRegister", nullptr, ValueRule::kNoText},
    {zprmKeelEmMode, "zprmKeelEmMode", "KeelEM Gain: %lu", ValueRule::kNumber},
    {zprmLockedGainMode, "zprmLockedGainMode", "Locked Gain Mode: %lu", ValueRule::kNumber},
    {zprmKeelEmGainValue10, "zprmKeelEmGainValue10", "KeelEM Gain Value 10: %lu",
     ValueRule::kNumber},
    {zprmKeelEmGainValue20, "zprmKeelEmGainValue20", "KeelEM Gain Value 20: %lu",
     ValueRule::kNumber},
    {zprmKeelEmGainValue40, "zprmKeelEmGainValue40", "KeelEM Gain Value 40: %lu",
     ValueRule::kNumber},
    {zprmFrameBufferLength, "zprmFrameBufferLength", nullptr, ValueRule::kNoText},
}};

inline constexpr std::array<KeyRow, 3> kParamsS32 = {{
    {zprmS32NormalizedGaindB, "zprmS32NormalizedGaindB", "Normalized Gain dB: %d",
     ValueRule::kNumber},
    {zprmS32AbsoluteOffset, "zprmS32AbsoluteOffset", "Absolute Offset: %d", ValueRule::kNumber},
    {zprmS32RegulatedCoolingTemp, "zprmS32RegulatedCoolingTemp", "Regulated Cooling Temp: %d C",
     ValueRule::kNumber},
}};

inline constexpr std::array<KeyRow, 4> kParams64 = {{
    {zprm64Exposure, "zprm64Exposure", "Exposure (64-bit): %llu ns (%s)",
     ValueRule::kMillisecondsOfNanoseconds},
    {zprm64ExposureRed, "zprm64ExposureRed", "Red Exposure (64-bit): %llu ns (%s)",
     ValueRule::kMillisecondsOfNanoseconds},
    {zprm64ExposureBlue, "zprm64ExposureBlue", "Blue Exposure (64-bit): %llu ns (%s)",
     ValueRule::kMillisecondsOfNanoseconds},
    {zprm64NormIntensGain, "zprm64NormIntensGain", "Normalized Intesifier Gain (64-bit): %llu",
     ValueRule::kNumber},
}};

// The row of a key; null for a key beyond the table.
template <std::size_t kCount>
constexpr const KeyRow *FindKey(const std::array<KeyRow, kCount> &rows, uint32_t key)
{
    return key < kCount ? &rows[key] : nullptr;
}

template <std::size_t kCount>
constexpr bool KeysAreCompleteAndInOrder(const std::array<KeyRow, kCount> &rows)
{
    for (std::size_t index = 0; index < kCount; ++index) {
        const KeyRow &row = rows[index];
        if (row.key != index || row.name == nullptr)
            return false;
        if ((row.logText == nullptr) != (row.rule == ValueRule::kNoText))
            return false;
    }
    return true;
}
static_assert(KeysAreCompleteAndInOrder(kParams));
static_assert(KeysAreCompleteAndInOrder(kParamsS32));
static_assert(KeysAreCompleteAndInOrder(kParams64));

} // namespace zerix::tables
