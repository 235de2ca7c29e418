// The information keys as the tool shows them: a name for JSON and people, and a unit.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "zerix/zerix.h"

namespace zerix::tool {

struct InfoRow {
    uint32_t key;
    std::string_view name;
    std::string_view unit; // empty for a plain number, "yes" for a flag
};

inline constexpr std::array kInfoRows = {
    InfoRow{zinfCameraType, "camera type", ""},
    InfoRow{zinfSerialNumber, "serial number", ""},
    InfoRow{zinfHardwareVersion, "hardware version", ""},
    InfoRow{zinfFirmwareVersion, "firmware version", ""},
    InfoRow{zinfFirmwareBuild, "firmware build", ""},
    InfoRow{zinfUniqueId, "unique identifier", ""},
    InfoRow{zinfCcd, "CCD model", ""},
    InfoRow{zinfCcdType, "CCD type", "colour"},
    InfoRow{zinfCcdWidth, "CCD width", "pixels"},
    InfoRow{zinfCcdHeight, "CCD height", "pixels"},
    InfoRow{zinfBitDepth, "maximum bit depth", "bits"},
    InfoRow{zinfImageWidth, "image width", "pixels"},
    InfoRow{zinfImageHeight, "image height", "pixels"},
    InfoRow{zinfImageSize, "image size", "bytes"},
    InfoRow{zinfPostProcessImageSize, "post-processed image size", "bytes"},
    InfoRow{zinfCooled, "cooled", "yes"},
    InfoRow{zinfRegulatedCooling, "regulated cooling", "yes"},
    InfoRow{zinfRegulatedCoolingLock, "temperature locked", "yes"},
    InfoRow{zinfFanControl, "fan control", "yes"},
    InfoRow{zinfExposureRes, "exposure resolution", "ns"},
    InfoRow{zinfTriggerDelayRes, "trigger delay resolution", "ns"},
    InfoRow{zinfStreamVersion, "streaming version", ""},
    InfoRow{zinfNormGainSigFigs, "normalised gain significant figures", ""},
    InfoRow{zinfNormGaindBRes, "normalised gain resolution", "micro-dB"},
    InfoRow{zinfIntensifierModel, "intensifier model", ""},
    InfoRow{zinfNormITGainSigFigs, "intensifier gain significant figures", ""},
    InfoRow{zinfNormITGaindBRes, "intensifier gain resolution", "micro-dB"},
    InfoRow{zinfAsymmetricalBinning, "asymmetrical binning", "yes"},
    InfoRow{zinfEMGain, "EM gain", "yes"},
    InfoRow{zinfKeelEmMode, "KeelEM mode", "yes"},
    InfoRow{zinfLockedGainMode, "locked gain mode", "yes"},
    InfoRow{zinfHighSensitivityMode, "high sensitivity mode", "yes"},
    InfoRow{zinfBlackoutMode, "blackout mode", "yes"},
    InfoRow{zinfCloseDelay, "shutter close delay", "yes"},
    InfoRow{zinfColorWheelSupported, "filter wheel", "yes"},
    InfoRow{zinfReserved2, "dither control", "yes"},
    InfoRow{zinfReserved3, "high gain mode", "yes"},
    InfoRow{zinfReserved4, "vertical clock control", "yes"},
    InfoRow{zinfIsModelB, "model B", "yes"},
    InfoRow{zinfReserved7, "reserved", ""},
};

} // namespace zerix::tool
