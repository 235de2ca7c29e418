// The register space of the virtual cameras: where the blocks lie, how long each version of them
// is, and the fields that the camera itself fills or obeys. It is the simulator's own on purpose,
// written apart from the driver's, so that one mistake cannot hide in both. Pure data.
#pragma once

#include <cstdint>
#include <span>

#include "sim/rack.h"

namespace zerix::sim {

// A field of a block: byte offset of its word, its lowest bit there, its width in bits.
struct RegisterField {
    uint32_t offset;
    uint32_t lowBit = 0;
    uint32_t width = 32;
};

// 0 for a word that lies past the end of the block.
uint32_t ReadField(std::span<const uint32_t> words, RegisterField field);
// Does nothing for a word that lies past the end of the block; cuts the value to the field.
void WriteField(std::span<uint32_t> words, RegisterField field, uint32_t value);

// Words of a block in a version; 0 for a version that no camera has.
uint32_t ConfigurationWords(BlockVersion version);
uint32_t InformationWords(BlockVersion version);
uint32_t ControlWords(BlockVersion version);
uint32_t StreamingWords(BlockVersion version);
uint32_t CommandWords(BlockVersion version);
uint32_t StatusWords(BlockVersion version);

constexpr bool IsAtLeast(BlockVersion have, uint16_t major, uint16_t minor)
{
    return have.major > major || (have.major == major && have.minor >= minor);
}
constexpr uint32_t VersionWord(BlockVersion version)
{
    return static_cast<uint32_t>(version.major) << 16 | version.minor;
}

// Only these addresses are the same on every camera.
inline constexpr uint32_t kConfigurationBase = 0xD0000000;
inline constexpr uint32_t kModelRegister = 0xE0010038;
inline constexpr uint32_t kSecondModelRegister = 0xE0001138;

// The configuration block: where the other blocks are.
namespace directory {
inline constexpr RegisterField kInformation{0x08};
inline constexpr RegisterField kControl{0x10};
inline constexpr RegisterField kCommand{0x18};
inline constexpr RegisterField kStatus{0x20};
inline constexpr RegisterField kStreaming{0x28};
} // namespace directory

// Offsets in the small blocks.
inline constexpr uint32_t kCommandCommit = 0x04;
inline constexpr uint32_t kCommandTrigger = 0x08;
inline constexpr uint32_t kStreamingEnable = 0x04;
inline constexpr RegisterField kStatusLock{0x04, 0, 2}; // 3: the regulated temperature is reached

namespace control {
inline constexpr RegisterField kLittleEndian{0x04, 2, 1};
inline constexpr RegisterField kDepthCode{0x04, 3, 2};
inline constexpr RegisterField kRateCode{0x04, 8, 4};
inline constexpr RegisterField kCompression{0x04, 16, 8};
inline constexpr RegisterField kTag{0x04, 24, 8};
inline constexpr RegisterField kBinningCode{0x08, 0, 2};
inline constexpr RegisterField kLiveMode{0x08, 2, 1};
inline constexpr RegisterField kVerticalBinningLess1{0x08, 8, 8};
inline constexpr RegisterField kHorizontalBinningLess1{0x08, 16, 8};
inline constexpr RegisterField kWidth{0x0C, 16, 12};
inline constexpr RegisterField kHeight{0x0C, 0, 12};
inline constexpr RegisterField kX{0x10, 16, 12};
inline constexpr RegisterField kY{0x10, 0, 12};
inline constexpr RegisterField kGain{0x14, 20, 12};
inline constexpr RegisterField kOffset{0x14, 4, 12};
inline constexpr RegisterField kExposure{0x18}; // version 1: microseconds; else the upper half
inline constexpr RegisterField kRedExposure{0x1C};
inline constexpr RegisterField kBlueExposure{0x20};
inline constexpr RegisterField kTriggerCode{0x2C, 0, 4};
inline constexpr RegisterField kTriggerFalls{0x2C, 8, 1}; // at the falling edge
inline constexpr RegisterField kSyncB{0x2C, 16, 1};
inline constexpr RegisterField kWheelTurns{0x30, 0, 1};
inline constexpr RegisterField kWheelStart{0x30, 8, 2};
inline constexpr RegisterField kTwoShots{0x34, 0, 1};    // of cameras with double shot
inline constexpr RegisterField kWheelStep{0x34, 0, 16};  // milliseconds from place to place
inline constexpr RegisterField kWheelRest{0x34, 16, 16}; // milliseconds until it is at rest
inline constexpr RegisterField kCoolerOn{0x38, 0, 1};
inline constexpr RegisterField kCoolerTarget{0x38, 16, 16};
inline constexpr RegisterField kMetrolShutterDelay{0x3C}; // version 1.2: microseconds
inline constexpr RegisterField kExposureLow{0x3C};
inline constexpr RegisterField kRedExposureLow{0x40};
inline constexpr RegisterField kBlueExposureLow{0x44};
inline constexpr RegisterField kIntensifierGain{0x48, 4, 12};
inline constexpr RegisterField kTriggerDelay{0x4C};
inline constexpr RegisterField kPacketBytes{0x50};
inline constexpr RegisterField kHighSensitivityMode{0x54, 0, 1};
inline constexpr RegisterField kBlackoutMode{0x54, 1, 1};
inline constexpr RegisterField kFanSpeed{0x58, 16, 16};
inline constexpr RegisterField kMultiplicationBelowMost{0x60, 0, 16};
inline constexpr RegisterField kShutterCloseDelay{0x64, 0, 16};
inline constexpr RegisterField kDitherMode{0x78, 0, 1};
inline constexpr RegisterField kHighGainMode{0x78, 1, 1};
inline constexpr RegisterField kVerticalClock{0x7C, 0, 16};
inline constexpr RegisterField kChannelCalibration{0x80, 0, 8};
inline constexpr RegisterField kSubstratePulse{0x88, 0, 16};
inline constexpr RegisterField kSubstrate{0x8C, 0, 16};
inline constexpr RegisterField kResetLevel{0x90, 0, 16};
inline constexpr RegisterField kClock1{0x94, 0, 16};
inline constexpr RegisterField kClock2{0x98, 0, 16};
inline constexpr RegisterField kClock3{0x9C, 0, 16};
inline constexpr RegisterField kClock4{0xA0, 0, 16};
inline constexpr RegisterField kMiscellaneous{0xA4, 0, 16};
} // namespace control

} // namespace zerix::sim
