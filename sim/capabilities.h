// What a virtual camera can do beyond taking pictures, as its information block tells it. Pure
// functions.
#pragma once

#include <cstdint>
#include <string_view>

#include "sim/rack.h"

namespace zerix::sim {

// The bits of the capability word; those from bit 16 on stand in words of their own.
enum Capability : uint32_t {
    kHighSensitivity = 1U << 1,
    kBlackout = 1U << 2,
    kFan = 1U << 3,
    kRegulatedCooling = 1U << 4,
    kMultiplication = 1U << 6,
    kShutterDelay = 1U << 8,
    kDither = 1U << 9,
    kHighGain = 1U << 10,
    kVerticalClock = 1U << 11,
    kDualChannel = 1U << 12,
    kKeelEm = 1U << 13,
    kLockedGain = 1U << 14,
    kDoubleShot = 1U << 16,
    kEightfoldBinning = 1U << 17, // where others bin three by three
};
inline constexpr uint32_t kCapabilityWord = 0xFFFF;

struct CapabilityName {
    std::string_view name; // in a rack file
    Capability bit;
};

// Those that a rack file may list; regulated cooling has a key of its own.
inline constexpr CapabilityName kCapabilityNames[] = {
    {"high-sensitivity", kHighSensitivity},
    {"blackout", kBlackout},
    {"fan", kFan},
    {"em-gain", kMultiplication},
    {"shutter-delay", kShutterDelay},
    {"dither", kDither},
    {"high-gain", kHighGain},
    {"vertical-clock", kVerticalClock},
    {"dual-channel", kDualChannel},
    {"keel-em", kKeelEm},
    {"locked-gain", kLockedGain},
    {"double-shot", kDoubleShot},
    {"eightfold-binning", kEightfoldBinning},
};

// What the rack file lists, or else what suits the camera; without what its information block is
// too old to tell of.
uint32_t CapabilitiesOf(const CameraDescription &description);

} // namespace zerix::sim
