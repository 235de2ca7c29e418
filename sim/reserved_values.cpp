// The bits of each register that exist, and the codes that are not given.
#include "sim/reserved_values.h"

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/register_map.h"

namespace zerix::sim {
namespace {

constexpr uint32_t kAllBits = 0xFFFFFFFF;
constexpr uint32_t kLowHalf = 0x0000FFFF;
constexpr uint32_t kHighestRateCode = 7;
constexpr uint32_t kHighestTriggerCode = 5;
constexpr uint32_t kTwoShotsCode = 4;
constexpr uint32_t kHighestFanSpeed = 4;
constexpr uint32_t kDualChannelProfile = 2;

uint32_t IfHas(uint32_t capabilities, uint32_t capability, uint32_t bits)
{
    return (capabilities & capability) != 0 ? bits : 0;
}

uint32_t BinningBits(const CameraDescription &description)
{
    if (description.model == model::kBenchmate)
        return 0x00FFFF07;
    return description.model == model::kMetrol ? 0x00FFFF03 : 0x00000003;
}

uint32_t ModeBits(uint32_t capabilities)
{
    return IfHas(capabilities, kHighSensitivity, 1u << 0) |
           IfHas(capabilities, kBlackout, 1u << 1) | IfHas(capabilities, kKeelEm, 1u << 2) |
           IfHas(capabilities, kLockedGain, 1u << 3);
}

// The bits of a control word that the camera has.
uint32_t ControlBits(const CameraDescription &description, uint32_t offset)
{
    const uint32_t capabilities = CapabilitiesOf(description);
    const bool hasVoltages = IsAtLeast(description.information, 2, 10);
    switch (offset) {
    case 0x04:
        return 0xFFFF0F1C;
    case 0x08:
        return BinningBits(description);
    case 0x0C:
    case 0x10:
        return 0x0FFF0FFF;
    case 0x14:
        return 0xFFF0FFF0;
    case 0x18:
    case 0x1C:
    case 0x20:
    case 0x34:
    case 0x40:
    case 0x44:
    case 0x4C:
        return kAllBits;
    case 0x2C:
        return 0x0001010F;
    case 0x30:
        return 0x00000311;
    case 0x38:
        return 0xFFFF0001;
    case 0x3C: // below version 2 the exposure has one word, and a Metrol its shutter's delay here
        return description.control.major > 1 || description.model == model::kMetrol ? kAllBits : 0;
    case 0x48:
        return description.model == model::kIntensified ? 0x0000FFF0 : 0;
    case 0x50:
        return kLowHalf;
    case 0x54:
        return ModeBits(capabilities);
    case 0x58:
        return IfHas(capabilities, kFan, 0xFFFF0000);
    case 0x60:
        return IfHas(capabilities, kMultiplication, kLowHalf);
    case 0x64:
        return description.model == model::kOemCamera3
                   ? kLowHalf
                   : IfHas(capabilities, kShutterDelay, kLowHalf);
    case 0x78:
        return IfHas(capabilities, kDither, 1u << 0) | IfHas(capabilities, kHighGain, 1u << 1);
    case 0x7C:
        return IfHas(capabilities, kVerticalClock, kLowHalf);
    case 0x80:
        return description.hardwareVersion >= kDualChannelProfile ? 0x000000FF : 0;
    case 0x88:
    case 0x8C:
    case 0x90:
    case 0x94:
    case 0x98:
    case 0x9C:
    case 0xA0:
    case 0xA4:
        return hasVoltages ? kLowHalf : 0;
    default:
        return 0;
    }
}

// Codes that no camera knows, or not this one.
bool IsReservedCode(const CameraDescription &description, uint32_t offset, uint32_t value)
{
    const uint32_t word[] = {value};
    const auto field = [&](RegisterField place) {
        return ReadField(word, {0, place.lowBit, place.width});
    };
    switch (offset) {
    case 0x04:
        return field(control::kRateCode) > kHighestRateCode;
    case 0x2C: {
        const uint32_t code = field(control::kTriggerCode);
        const bool twoShots = (CapabilitiesOf(description) & kDoubleShot) != 0;
        return code > kHighestTriggerCode || (code == kTwoShotsCode && !twoShots);
    }
    case 0x58:
        return value >> 16 > kHighestFanSpeed;
    case 0x60:
        return field(control::kMultiplicationBelowMost) > kMostMultiplication;
    default:
        return false;
    }
}

} // namespace

bool IsReservedControl(const CameraDescription &description, uint32_t offset, uint32_t value)
{
    return (value & ~ControlBits(description, offset)) != 0 ||
           IsReservedCode(description, offset, value);
}

bool IsReservedCommand(uint32_t offset, uint32_t value)
{
    return value != 1 || (offset != kCommandCommit && offset != kCommandTrigger);
}

bool IsReservedStreaming(uint32_t offset, uint32_t value)
{
    constexpr uint32_t kChannelAndSwitch = 0x3F000001;
    return (value & ~(offset == kStreamingEnable ? kChannelAndSwitch : 0)) != 0;
}

} // namespace zerix::sim
