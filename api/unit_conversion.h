// Conversions between the units of the camera and those of the parameter keys, and the camera's
// codes for what a picture is.
#pragma once

#include <algorithm>
#include <cstdint>

namespace zerix::api {

// The 32-bit exposure keys hold microseconds: never 0, and all ones where the exposure is too long
// for them.
constexpr uint32_t MicrosecondsOf(uint64_t nanoseconds)
{
    const uint64_t microseconds = nanoseconds / 1000;
    return static_cast<uint32_t>(std::clamp<uint64_t>(microseconds, 1, 0xFFFFFFFFu));
}

// What the camera tells of its sensor and of its pictures.
inline constexpr uint16_t kMonochromeImage = 1;
inline constexpr uint16_t kBayerImage = 2;
inline constexpr uint16_t kWheelImage = 3; // three exposures through the filter wheel

// A frequency that has no index.
inline constexpr uint32_t kNoReadoutIndex = 9;

// The readout speed key's index of a frequency in megahertz.
constexpr uint32_t ReadoutIndexOf(float megahertz)
{
    if (megahertz == 2.5f)
        return 3;
    if (megahertz == 5.0f)
        return 2;
    if (megahertz == 10.0f)
        return 1;
    if (megahertz == 20.0f)
        return 0;
    if (megahertz == 30.0f)
        return 8;
    if (megahertz == 40.0f)
        return 7;
    return kNoReadoutIndex;
}

// The frequency that an index is sent as. The indices 4, 5 and 6, which the log can name, send the
// 9.0 of every unknown index.
constexpr float ReadoutMegahertzOf(uint32_t index)
{
    switch (index) {
    case 0:
        return 20.0f;
    case 1:
        return 10.0f;
    case 2:
        return 5.0f;
    case 3:
        return 2.5f;
    case 7:
        return 40.0f;
    case 8:
        return 30.0f;
    default:
        return 9.0f;
    }
}

// The gain keys hold a scale in thousandths, truncated.
inline uint32_t GainKeyOf(float scale) { return static_cast<uint32_t>(scale * 1000.0f); }

} // namespace zerix::api
