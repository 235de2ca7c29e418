// Names of values that the trace log and the command-line tool show beside a number, and the rule
// by which a key's value becomes a text. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tables/image_formats.h"

namespace zerix::tables {

// How the value of a key becomes a line of text.
enum class ValueRule : uint8_t {
    kNoText,                    // the key has no log text of its own
    kNumber,                    // the number as it stands
    kMillisecondsOfThousandths, // number and "%.1f ms" of the value / 1000
    kMillisecondsOfNanoseconds, // number and "%.1f ms" of the value / 1,000,000
    kReadoutSpeed,              // the name alone, "%.1f MHz"
    kWheelColour,               // number and name, as all that follow
    kSyncb,
    kCameraMode,
    kBayerAlgorithm,
    kFanSpeed,
    kImageFormat,
    kCcdType,
    kCameraType,
};

// Megahertz of a readout speed index, for display. The indices 4 to 6 have a text but no such speed
// is ever sent to a camera. An unknown index shows as 0.
inline constexpr std::array<double, 9> kReadoutSpeedMegahertz = {20.0, 10.0, 5.0,  2.5, 1.0,
                                                                 24.0, 48.0, 40.0, 30.0};

constexpr double ReadoutSpeedMegahertz(uint32_t index)
{
    return index < kReadoutSpeedMegahertz.size() ? kReadoutSpeedMegahertz[index] : 0.0;
}

struct ValueNames {
    uint32_t firstValue; // the value that names[0] belongs to
    std::size_t count;
    std::array<const char *, 4> names;
    const char *otherwise;
};

inline constexpr ValueNames kWheelColourNames = {.firstValue = 0,
                                                 .count = 4,
                                                 .names = {"Red", "Green", "Black", "Blue"},
                                                 .otherwise = "Unknown"};
inline constexpr ValueNames kSyncbNames = {
    .firstValue = 0, .count = 2, .names = {"Trigger Mask", "Expose"}, .otherwise = "Unknown"};
inline constexpr ValueNames kCameraModeNames = {
    .firstValue = 0,
    .count = 3,
    .names = {"Standard Mode", "LVW Mode", "Oversample Mode"},
    .otherwise = "Unknown Mode"};
inline constexpr ValueNames kBayerAlgorithmNames = {
    .firstValue = 1,
    .count = 4,
    .names = {"Average", "Fast", "Bicubic", "Bicubic - Faster"},
    .otherwise = ""};
inline constexpr ValueNames kFanSpeedNames = {.firstValue = 1,
                                              .count = 4,
                                              .names = {"Low", "Medium", "High", "Full"},
                                              .otherwise = "Unknown"};
inline constexpr ValueNames kCcdTypeNames = {
    .firstValue = 0, .count = 2, .names = {"Monochrome", "Bayer"}, .otherwise = "Unknown"};

constexpr const char *NameOf(const ValueNames &names, uint32_t value)
{
    // A value below the first wraps round and is above every count.
    const uint32_t index = value - names.firstValue;
    return index < names.count ? names.names[index] : names.otherwise;
}

} // namespace zerix::tables
