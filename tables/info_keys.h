// One row per information key: number, name, log text and the rule that turns its value into that
// text. The numbers have gaps, so rows are found by search. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tables/param_keys.h"
#include "zerix/zerix.h"

namespace zerix::tables {

inline constexpr std::array<KeyRow, 40> kInfos = {{
    {zinfCameraType, "zinfCameraType", "Camera Type: %lu (%s)", ValueRule::kCameraType},
    {zinfSerialNumber, "zinfSerialNumber", "Serial Number: %lu", ValueRule::kNumber},
    {zinfHardwareVersion, "zinfHardwareVersion", "Hardware Version: %lu", ValueRule::kNumber},
    {zinfFirmwareVersion, "zinfFirmwareVersion", "Firmware Version: %lu", ValueRule::kNumber},
    {zinfCcd, "zinfCcd", "CCD Model: %lu", ValueRule::kNumber},
    {zinfBitDepth, "zinfBitDepth", "Maximum Bit Depth: %lu", ValueRule::kNumber},
    {zinfCooled, "zinfCooled", "Cooled: %lu", ValueRule::kNumber},
    {zinfReserved7, "zinfReserved7", nullptr, ValueRule::kNoText},
    {zinfImageWidth, "zinfImageWidth", "Image Width: %lu", ValueRule::kNumber},
    {zinfImageHeight, "zinfImageHeight", "Image Height: %lu", ValueRule::kNumber},
    {zinfImageSize, "zinfImageSize", "Image Size: %lu", ValueRule::kNumber},
    {zinfCcdType, "zinfCcdType", "CCD Type: %lu (%s)", ValueRule::kCcdType},
    {zinfCcdWidth, "zinfCcdWidth", "CCD Width: %lu", ValueRule::kNumber},
    {zinfCcdHeight, "zinfCcdHeight", "CCD Height: %lu", ValueRule::kNumber},
    {zinfFirmwareBuild, "zinfFirmwareBuild", "Firmware Build: %lu", ValueRule::kNumber},
    {zinfUniqueId, "zinfUniqueId", "Unique ID: %lu", ValueRule::kNumber},
    {zinfIsModelB, "zinfIsModelB", "ModelB: %lu", ValueRule::kNumber},
    {zinfIntensifierModel, "zinfIntensifierModel", "Intensifier Model: %lu", ValueRule::kNumber},
    {zinfExposureRes, "zinfExposureRes", "Exposure Resolution: %lu ns", ValueRule::kNumber},
    {zinfTriggerDelayRes, "zinfTriggerDelayRes", "Trigger Delay Resolution: %lu ns",
     ValueRule::kNumber},
    {zinfStreamVersion, "zinfStreamVersion", "Streaming Version: %lu", ValueRule::kNumber},
    {zinfNormGainSigFigs, "zinfNormGainSigFigs", "Normalized Gain Significant Figures: %lu",
     ValueRule::kNumber},
    {zinfNormGaindBRes, "zinfNormGaindBRes", "Normalized Gain dB Resolution: %lu",
     ValueRule::kNumber},
    {zinfNormITGainSigFigs, "zinfNormITGainSigFigs",
     "Normalized Intensifier Gain Significant Figures: %lu", ValueRule::kNumber},
    {zinfNormITGaindBRes, "zinfNormITGaindBRes", "Normalized Intensifier Gain dB Resolution: %lu",
     ValueRule::kNumber},
    {zinfRegulatedCooling, "zinfRegulatedCooling", "Regulated Cooling Available: %lu",
     ValueRule::kNumber},
    {zinfRegulatedCoolingLock, "zinfRegulatedCoolingLock", "Regulated Cooling Lock: %lu",
     ValueRule::kNumber},
    {zinfFanControl, "zinfFanControl", "Fan Control Available: %lu", ValueRule::kNumber},
    {zinfHighSensitivityMode, "zinfHighSensitivityMode", "High Sensitivity Mode Available: %lu",
     ValueRule::kNumber},
    {zinfBlackoutMode, "zinfBlackoutMode", "Blackout Mode Available: %lu", ValueRule::kNumber},
    {zinfPostProcessImageSize, "zinfPostProcessImageSize", "Post Processing Image Size: %lu",
     ValueRule::kNumber},
    {zinfAsymmetricalBinning, "zinfAsymmetricalBinning", "Asymmetrical Binning Available: %lu",
     ValueRule::kNumber},
    {zinfEMGain, "zinfEMGain", "EM Gain Available: %lu", ValueRule::kNumber},
    {zinfCloseDelay, "zinfCloseDelay", "Close Delay: %lu", ValueRule::kNumber},
    {zinfColorWheelSupported, "zinfColorWheelSupported", "RGB Filter Wheel Available: %lu",
     ValueRule::kNumber},
    {zinfReserved2, "zinfReserved2", "Dither Control Available: %lu", ValueRule::kNumber},
    {zinfReserved3, "zinfReserved3", "High Gain Mode Available: %lu", ValueRule::kNumber},
    {zinfReserved4, "zinfReserved4", "VClock Control Available: %lu", ValueRule::kNumber},
    {zinfKeelEmMode, "zinfKeelEmMode", nullptr, ValueRule::kNoText},
    {zinfLockedGainMode, "zinfLockedGainMode", nullptr, ValueRule::kNoText},
}};

// The row of a key; null for a number without one, the gaps included.
constexpr const KeyRow *FindInfo(uint32_t key)
{
    for (const KeyRow &row : kInfos) {
        if (row.key == key)
            return &row;
    }
    return nullptr;
}

constexpr bool InfosAscendAndAreWhole()
{
    for (std::size_t index = 0; index < kInfos.size(); ++index) {
        const KeyRow &row = kInfos[index];
        if (index > 0 && row.key <= kInfos[index - 1].key)
            return false;
        if (row.name == nullptr || (row.logText == nullptr) != (row.rule == ValueRule::kNoText))
            return false;
    }
    return kInfos.back().key == zinfLockedGainMode;
}
static_assert(InfosAscendAndAreWhole());

} // namespace zerix::tables
