// The parameter keys as the tool names and shows them, one row a key. A name is what a person
// types; the full name is the one of the C interface.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "zerix/zerix_keys.h"

namespace zerix::tool {

enum class ParameterKind : uint8_t { kUnsigned, kSigned, kUnsigned64 };

// What a key's number means, and so how it is written and read.
enum class ParameterUnit : uint8_t {
    kNumber,
    kCounts,
    kPixels,
    kNanoseconds,
    kMicroseconds,
    kCelsius,
    kMicrodecibels,
    kMillionths,  // of a factor
    kThousandths, // of a factor
    kSwitch,      // on or off, and names for all that follow
    kFormat,
    kReadoutSpeed,
    kTrigger,
    kColour,
    kSyncb,
    kCameraMode,
    kAlgorithm,
    kFan,
};

struct ParameterRow {
    ParameterKind kind;
    uint32_t key;
    std::string_view fullName;
    std::string_view name;
    ParameterUnit unit;
    std::string_view meaning;
};

#define ZERIX_UNSIGNED_ROW(key, name, unit, meaning)                                               \
    ParameterRow { ParameterKind::kUnsigned, key, #key, name, ParameterUnit::unit, meaning }
#define ZERIX_SIGNED_ROW(key, name, unit, meaning)                                                 \
    ParameterRow { ParameterKind::kSigned, key, #key, name, ParameterUnit::unit, meaning }
#define ZERIX_UNSIGNED64_ROW(key, name, unit, meaning)                                             \
    ParameterRow { ParameterKind::kUnsigned64, key, #key, name, ParameterUnit::unit, meaning }

inline constexpr std::array kParameters = {
    ZERIX_UNSIGNED_ROW(zprmGain, "gain", kCounts, "gain of the amplifier"),
    ZERIX_UNSIGNED_ROW(zprmOffset, "offset", kCounts, "black level"),
    ZERIX_UNSIGNED_ROW(zprmExposure, "exposure-us", kMicroseconds, "exposure, a view of exposure"),
    ZERIX_UNSIGNED_ROW(zprmBinning, "symmetrical-binning", kPixels, "binning of both axes"),
    ZERIX_UNSIGNED_ROW(zprmHorizontalBinning, "horizontal-binning", kPixels, "binning along rows"),
    ZERIX_UNSIGNED_ROW(zprmVerticalBinning, "vertical-binning", kPixels, "binning along columns"),
    ZERIX_UNSIGNED_ROW(zprmReadoutSpeed, "readout-speed", kReadoutSpeed, "pixel rate"),
    ZERIX_UNSIGNED_ROW(zprmTriggerType, "trigger", kTrigger, "what begins an exposure"),
    ZERIX_UNSIGNED_ROW(zprmColorWheel, "color-wheel", kColour, "colour that the wheel starts with"),
    ZERIX_UNSIGNED_ROW(zprmCoolerActive, "cooler", kSwitch, "cooling of the sensor"),
    ZERIX_UNSIGNED_ROW(zprmExposureRed, "exposure-red-us", kMicroseconds, "a view of exposure-red"),
    ZERIX_UNSIGNED_ROW(zprmExposureBlue, "exposure-blue-us", kMicroseconds,
                       "a view of exposure-blue"),
    ZERIX_UNSIGNED_ROW(zprmImageFormat, "format", kFormat, "format of the camera's pictures"),
    ZERIX_UNSIGNED_ROW(zprmRoiX, "roi-x", kPixels, "left edge of the region, after binning"),
    ZERIX_UNSIGNED_ROW(zprmRoiY, "roi-y", kPixels, "upper edge of the region, after binning"),
    ZERIX_UNSIGNED_ROW(zprmRoiWidth, "roi-width", kPixels, "width of the region, after binning"),
    ZERIX_UNSIGNED_ROW(zprmRoiHeight, "roi-height", kPixels, "height of the region, after binning"),
    ZERIX_UNSIGNED_ROW(zprmReserved17, "reserved17", kNumber, "on no camera"),
    ZERIX_UNSIGNED_ROW(zprmShutterState, "shutter-state", kNumber, "on no camera"),
    ZERIX_UNSIGNED_ROW(zprmDoubleShot, "double-shot", kSwitch, "two exposures in quick succession"),
    ZERIX_UNSIGNED_ROW(zprmSyncb, "syncb", kSyncb, "what the SyncB output shows"),
    ZERIX_UNSIGNED_ROW(zprmMetrolShutterDelay, "metrol-shutter-delay", kNumber,
                       "delay of the Metrol shutter"),
    ZERIX_UNSIGNED_ROW(zprmIntensifierGain, "intensifier-gain", kCounts,
                       "gain of the intensifier; told, and set by intensifier-factor"),
    ZERIX_UNSIGNED_ROW(zprmTriggerDelay, "trigger-delay", kNanoseconds,
                       "from the trigger to the exposure"),
    ZERIX_UNSIGNED_ROW(zprmCameraMode, "camera-mode", kCameraMode, "standard or live mode"),
    ZERIX_UNSIGNED_ROW(zprmNormalizedGain, "normalized-gain", kMillionths, "gain as a factor"),
    ZERIX_UNSIGNED_ROW(zprmNormIntensGaindB, "intensifier-gain-db", kNumber,
                       "another view of the intensifier's gain; told, and set by "
                       "intensifier-factor"),
    ZERIX_UNSIGNED_ROW(zprmDoPostProcessing, "post-processing", kSwitch,
                       "pictures go through the filters of the next five"),
    ZERIX_UNSIGNED_ROW(zprmPostProcessGainRed, "post-gain-red", kThousandths, "white balance, red"),
    ZERIX_UNSIGNED_ROW(zprmPostProcessGainGreen, "post-gain-green", kThousandths,
                       "white balance, green"),
    ZERIX_UNSIGNED_ROW(zprmPostProcessGainBlue, "post-gain-blue", kThousandths,
                       "white balance, blue"),
    ZERIX_UNSIGNED_ROW(zprmPostProcessBayerAlgorithm, "bayer-algorithm", kAlgorithm,
                       "from a mosaic to colours"),
    ZERIX_UNSIGNED_ROW(zprmPostProcessImageFormat, "post-format", kFormat,
                       "format of finished pictures"),
    ZERIX_UNSIGNED_ROW(zprmFan, "fan", kFan, "speed of the fan"),
    ZERIX_UNSIGNED_ROW(zprmBlackoutMode, "blackout", kSwitch, "blackout mode"),
    ZERIX_UNSIGNED_ROW(zprmHighSensitivityMode, "high-sensitivity", kSwitch,
                       "high sensitivity mode"),
    ZERIX_UNSIGNED_ROW(zprmReadoutPort, "readout-port", kNumber, "output of the sensor"),
    ZERIX_UNSIGNED_ROW(zprmEMGain, "em-gain", kCounts, "electron multiplication"),
    ZERIX_UNSIGNED_ROW(zprmOpenDelay, "open-delay", kNumber, "on no camera"),
    ZERIX_UNSIGNED_ROW(zprmCloseDelay, "close-delay", kNumber, "closing delay of the shutter"),
    ZERIX_UNSIGNED_ROW(zprmCCDClearingMode, "ccd-clearing-mode", kNumber, "on no camera"),
    ZERIX_UNSIGNED_ROW(zprmOverSample, "over-sample", kNumber, "on no camera"),
    ZERIX_UNSIGNED_ROW(zprmDither, "dither", kSwitch, "dither"),
    ZERIX_UNSIGNED_ROW(zprmHighGainMode, "high-gain", kSwitch, "high gain mode"),
    ZERIX_UNSIGNED_ROW(zprmVClockPeriod, "vclock-period", kNanoseconds,
                       "the sensor's vertical clock"),
    ZERIX_UNSIGNED_ROW(zprmReserved45, "reserved45", kNumber, "never settable"),
    ZERIX_UNSIGNED_ROW(zprmTweekingRegister, "tweeking-register", kNumber,
                       "for the factory; can't be read"),
    ZERIX_UNSIGNED_ROW(zprmKeelEmMode, "keelem", kSwitch,
                       "electron multiplication that follows the readout speed"),
    ZERIX_UNSIGNED_ROW(zprmLockedGainMode, "locked-gain", kSwitch,
                       "locked gain mode; sets keelem too"),
    ZERIX_UNSIGNED_ROW(zprmKeelEmGainValue10, "keelem-gain-10", kNumber,
                       "em-gain at 10 MHz, told by the camera"),
    ZERIX_UNSIGNED_ROW(zprmKeelEmGainValue20, "keelem-gain-20", kNumber,
                       "em-gain at 20 MHz, told by the camera"),
    ZERIX_UNSIGNED_ROW(zprmKeelEmGainValue40, "keelem-gain-40", kNumber,
                       "em-gain at other speeds, told by the camera"),
    ZERIX_UNSIGNED_ROW(zprmFrameBufferLength, "frame-buffers", kNumber,
                       "frames that the camera buffers"),
    ZERIX_SIGNED_ROW(zprmS32NormalizedGaindB, "gain-db", kMicrodecibels, "gain in decibels"),
    ZERIX_SIGNED_ROW(zprmS32AbsoluteOffset, "absolute-offset", kCounts,
                     "black level from the camera's own zero"),
    ZERIX_SIGNED_ROW(zprmS32RegulatedCoolingTemp, "temperature", kCelsius,
                     "temperature that the cooler holds"),
    ZERIX_UNSIGNED64_ROW(zprm64Exposure, "exposure", kNanoseconds, "exposure; green with a wheel"),
    ZERIX_UNSIGNED64_ROW(zprm64ExposureRed, "exposure-red", kNanoseconds,
                         "red exposure with a wheel"),
    ZERIX_UNSIGNED64_ROW(zprm64ExposureBlue, "exposure-blue", kNanoseconds,
                         "blue exposure with a wheel"),
    ZERIX_UNSIGNED64_ROW(zprm64NormIntensGain, "intensifier-factor", kMillionths,
                         "gain of the intensifier as a factor"),
};

#undef ZERIX_UNSIGNED_ROW
#undef ZERIX_SIGNED_ROW
#undef ZERIX_UNSIGNED64_ROW

} // namespace zerix::tool
