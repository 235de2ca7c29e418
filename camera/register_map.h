// The camera's register space: where the blocks are, how long each version of them is, and every
// field as word, lowest bit and width. The only place of the camera folder with shifts and masks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zerix::registers {

// A field of a block: byte offset of its word, its lowest bit there, its width in bits.
struct Field {
    uint32_t offset;
    uint32_t lowBit = 0;
    uint32_t width = 32;
};

[[nodiscard]] constexpr uint32_t Mask(Field field)
{
    return field.width == 32 ? 0xFFFFFFFFu : (1u << field.width) - 1u;
}

[[nodiscard]] constexpr uint32_t Extract(uint32_t word, Field field)
{
    return (word >> field.lowBit) & Mask(field);
}

// `value` is not masked: what exceeds the field reaches the bits above it, as setters that don't
// check their argument are known to do.
[[nodiscard]] constexpr uint32_t Insert(uint32_t word, Field field, uint32_t value)
{
    return (word & ~(Mask(field) << field.lowBit)) | (value << field.lowBit);
}

// What of `value` the field has room for.
[[nodiscard]] constexpr uint32_t Fitted(Field field, uint32_t value) { return value & Mask(field); }

// The two words of a 64-bit value.
[[nodiscard]] constexpr uint64_t Join(uint32_t high, uint32_t low)
{
    return (uint64_t{high} << 32) | low;
}
[[nodiscard]] constexpr uint32_t HighOf(uint64_t value)
{
    return static_cast<uint32_t>(value >> 32);
}
[[nodiscard]] constexpr uint32_t LowOf(uint64_t value) { return static_cast<uint32_t>(value); }

[[nodiscard]] constexpr uint32_t SwapBytes(uint32_t word)
{
    return (word >> 24) | ((word >> 8) & 0xFF00u) | ((word << 8) & 0xFF0000u) | (word << 24);
}

// Every block begins with its version: major in the upper, minor in the lower half.
[[nodiscard]] constexpr uint16_t MajorOf(uint32_t version)
{
    return static_cast<uint16_t>(version >> 16);
}
[[nodiscard]] constexpr uint16_t MinorOf(uint32_t version)
{
    return static_cast<uint16_t>(version);
}

[[nodiscard]] constexpr bool IsVersionAtLeast(uint16_t haveMajor, uint16_t haveMinor,
                                              uint16_t needMajor, uint16_t needMinor)
{
    return haveMajor > needMajor || (haveMajor == needMajor && haveMinor >= needMinor);
}

// Length of a block in words by its exact version. A table ends with a row of zeros.
struct regVersionEntry {
    uint32_t major;
    uint32_t minor;
    uint32_t words;
};

inline constexpr regVersionEntry kConfigurationLengths[] = {{1, 1, 11}, {0, 0, 0}};
inline constexpr regVersionEntry kInformationLengths[] = {
    {1, 1, 29}, {1, 2, 30},  {2, 1, 42},  {2, 2, 44},  {2, 3, 62},   {2, 4, 67},   {2, 5, 68},
    {2, 6, 79}, {2, 7, 176}, {2, 8, 178}, {2, 9, 202}, {2, 10, 209}, {2, 11, 215}, {0, 0, 0}};
inline constexpr regVersionEntry kControlLengths[] = {
    {1, 1, 15}, {1, 2, 16}, {2, 1, 20}, {2, 2, 20}, {2, 3, 21}, {2, 4, 21},
    {2, 5, 24}, {2, 6, 26}, {2, 7, 34}, {2, 8, 43}, {0, 0, 0}};
inline constexpr regVersionEntry kStreamingLengths[] = {{1, 2, 4}, {0, 0, 0}};
inline constexpr regVersionEntry kCommandLengths[] = {{1, 1, 3}, {1, 2, 4}, {0, 0, 0}};
inline constexpr regVersionEntry kStatusLengths[] = {{1, 1, 2}, {1, 2, 2}, {1, 3, 4}, {0, 0, 0}};

// 0 for a version without a row.
[[nodiscard]] constexpr uint32_t CalculateRegisterLength(std::span<const regVersionEntry> table,
                                                         uint32_t version)
{
    for (const auto &row : table)
        if (row.words != 0 && row.major == MajorOf(version) && row.minor == MinorOf(version))
            return row.words;
    return 0;
}

// Words of the longest version.
[[nodiscard]] constexpr uint32_t LongestOf(std::span<const regVersionEntry> table)
{
    uint32_t longest = 0;
    for (const auto &row : table)
        longest = row.words > longest ? row.words : longest;
    return longest;
}

// Addresses that don't depend on the camera.
inline constexpr uint32_t kRegistersAddress = 0xD0000000;
inline constexpr uint32_t kModelAddress = 0xE0010038;
inline constexpr uint32_t kModelAddressAlt = 0xE0001138;
inline constexpr uint32_t kAsyncWriteAddressLow = 0xFA000000;
inline constexpr uint32_t kAsyncWriteAddressLength = 4;

// Configuration block: addresses of the others.
inline constexpr Field kInformationAddress{0x08};
inline constexpr Field kControlAddress{0x10};
inline constexpr Field kCommandAddress{0x18};
inline constexpr Field kStatusAddress{0x20};
inline constexpr Field kStreamingAddress{0x28};

// Offsets in the command, status and streaming blocks.
inline constexpr uint32_t kCommitOffset = 0x04;
inline constexpr uint32_t kSoftwareTriggerOffset = 0x08;
inline constexpr uint32_t kBulkDataControlOffset = 0x04;
inline constexpr Field kStatusTemperatureLock{0x04, 0, 2};

namespace information {
inline constexpr Field kGainDefault{0x08, 20, 12};
inline constexpr Field kOffsetDefault{0x08, 4, 12};
inline constexpr Field kMinExposure{0x0C}; // version 1: microseconds; else upper half
inline constexpr Field kMinExposureLow{0x9C};
inline constexpr Field kMaxExposure{0x68};
inline constexpr Field kMaxExposureLow{0xA0};
inline constexpr Field kWidthBinning1{0x10, 16, 16};
inline constexpr Field kHeightBinning1{0x10, 0, 16};
inline constexpr Field kWidthBinning2{0x14, 16, 16};
inline constexpr Field kHeightBinning2{0x14, 0, 16};
inline constexpr Field kWidthBinning3{0x18, 16, 16}; // and binning 8
inline constexpr Field kHeightBinning3{0x18, 0, 16};
inline constexpr Field kWidthBinning4{0x1C, 16, 16};
inline constexpr Field kHeightBinning4{0x1C, 0, 16};
inline constexpr Field kMaxBitDepthMinus1{0x20, 0, 4};
inline constexpr Field kRgbFilterDelays{0x24};
inline constexpr Field kLvwHeight{0x28}; // models with live mode
inline constexpr Field kLvwWidth{0x14, 16, 16};
inline constexpr Field kCoolerFitted{0x28, 31, 1};
inline constexpr Field kUniqueIdHigh{0x30};
inline constexpr Field kUniqueIdLow{0x34};
inline constexpr Field kModel{0x38, 16, 16};
inline constexpr Field kHardwareVersion{0x3C, 0, 16};
inline constexpr Field kFirmwareVersion{0x40, 0, 16};
inline constexpr Field kFirmwareBuild{0x40, 16, 16};
inline constexpr Field kCcdModel{0x44, 16, 16};
inline constexpr Field kCcdImageFormat{0x44, 8, 4};
inline constexpr uint32_t kSerialOffset = 0x48;
inline constexpr uint32_t kSerialBytes = 28;
inline constexpr Field kDoubleShotSupported{0x74, 0, 1};
inline constexpr Field kLvwSupported{0x74, 1, 1};
inline constexpr Field kGainFlag{0x74, 2, 1};
inline constexpr Field kGainMin{0x78, 20, 12};
inline constexpr Field kGainMax{0x78, 4, 12};
inline constexpr Field kOffsetMin{0x7C, 20, 12};
inline constexpr Field kOffsetMax{0x7C, 4, 12};
inline constexpr Field kIntensifierModel{0x80, 16, 16};
inline constexpr Field kIntensifierGainMin{0x88, 20, 12};
inline constexpr Field kIntensifierGainMax{0x88, 4, 12};
inline constexpr Field kExposureResolution{0x8C};
inline constexpr Field kTriggerDelayMax{0x90};
inline constexpr Field kTriggerDelayMin{0x94};
inline constexpr Field kTriggerDelayResolution{0x98};
inline constexpr Field kStreamingVersion{0xA4};
inline constexpr Field kBinningCode2Is8{0xA8, 0, 1};
inline constexpr Field kGainRangeFactor{0x108}; // signed
inline constexpr Field kSubDefault{0x114};      // volts, times 1000
inline constexpr Field kCoolingMin{0x29C, 0, 16};
inline constexpr Field kCoolingMax{0x29C, 16, 16};
inline constexpr uint32_t kCapabilitiesOffset = 0x2A4;
inline constexpr Field kEmGainDefault{0x2C0, 0, 16};
inline constexpr Field kShutterCloseDelayDefault{0x2C4, 0, 16};
inline constexpr Field kEmGainMin{0x300, 0, 16};
inline constexpr Field kEmGainMax{0x304, 0, 16};
inline constexpr Field kChan1CalibrationDefault{0x308, 0, 8};
inline constexpr Field kDitherDefault{0x310, 0, 1};
inline constexpr Field kHighGainDefault{0x310, 1, 1};
inline constexpr Field kVClockDefault{0x314, 0, 16};
inline constexpr Field kVClockMin{0x318, 0, 16};
inline constexpr Field kVClockMax{0x31C, 0, 16};
inline constexpr Field kVClockResolution{0x320};
inline constexpr Field kHardwareProfile{0x324, 0, 16};
inline constexpr Field kSubCpDefault{0x328, 0, 16};
inline constexpr Field kResetVhDefault{0x32C, 0, 16};
inline constexpr Field kV1VmDefault{0x330, 0, 16};
inline constexpr Field kV2VmDefault{0x334, 0, 16};
inline constexpr Field kV3VmDefault{0x338, 0, 16};
inline constexpr Field kV4VmDefault{0x33C, 0, 16};
inline constexpr Field kMiscCtrlDefault{0x340, 0, 16};
inline constexpr Field k100XEmGain40{0x350, 0, 16};
inline constexpr Field k100XEmGain20{0x354, 0, 16};
inline constexpr Field k100XEmGain10{0x358, 0, 16};
} // namespace information

namespace control {
inline constexpr Field kMode{0x04}; // the word of the fields below
inline constexpr Field kLittleEndian{0x04, 2, 1};
inline constexpr Field kBitDepth{0x04, 3, 2};
inline constexpr Field kReadoutFrequency{0x04, 8, 4};
inline constexpr Field kCompression{0x04, 16, 8};
inline constexpr Field kPsn{0x04, 24, 8};
inline constexpr Field kBinning{0x08, 0, 2};
inline constexpr Field kLvwMode{0x08, 2, 1};
inline constexpr Field kVerticalBinningMinus1{0x08, 8, 8};
inline constexpr Field kHorizontalBinningMinus1{0x08, 16, 8};
inline constexpr Field kRoiWidth{0x0C, 16, 12};
inline constexpr Field kRoiHeight{0x0C, 0, 12};
inline constexpr Field kRoiX{0x10, 16, 12};
inline constexpr Field kRoiY{0x10, 0, 12};
inline constexpr Field kGain{0x14, 20, 12};
inline constexpr Field kOffset{0x14, 4, 12};
inline constexpr Field kExposure{0x18};
inline constexpr Field kRedExposure{0x1C};
inline constexpr Field kBlueExposure{0x20};
inline constexpr Field kTriggerCode{0x2C, 0, 4};
inline constexpr Field kTriggerPolarity{0x2C, 8, 1};
inline constexpr Field kSyncB{0x2C, 16, 2};
inline constexpr Field kRgbFilterCycle{0x30, 0, 1};
inline constexpr Field kRgbFilterActive{0x30, 4, 1};
inline constexpr Field kRgbFilterStartColour{0x30, 8, 2};
inline constexpr Field kRgbFilterDelays{0x34};
inline constexpr Field kDoubleShot{0x34, 0, 1};
inline constexpr Field kCoolerOn{0x38, 0, 1};
inline constexpr Field kRegulatedTemperature{0x38, 16, 16};
inline constexpr Field kExposureLow{0x3C};
inline constexpr Field kMetrolShutterDelay{0x3C}; // control version 1.2 alone
inline constexpr Field kRedExposureLow{0x40};
inline constexpr Field kBlueExposureLow{0x44};
inline constexpr Field kIntensifierGain{0x48, 4, 12};
inline constexpr Field kTriggerDelay{0x4C};
inline constexpr Field kMaxPacketSize{0x50};
inline constexpr Field kHighSensitivity{0x54, 0, 1};
inline constexpr Field kBlackout{0x54, 1, 1};
inline constexpr Field kKeelEm{0x54, 2, 1};
inline constexpr Field kLockedGain{0x54, 3, 1};
inline constexpr Field kFanSpeed{0x58, 16, 16};
inline constexpr Field kEmGainBelowMax{0x60, 0, 16};
inline constexpr Field kShutterCloseDelay{0x64, 0, 16};
inline constexpr Field kDither{0x78, 0, 1};
inline constexpr Field kHighGain{0x78, 1, 1};
inline constexpr Field kVClock{0x7C, 0, 16};
inline constexpr Field kChan1Calibration{0x80, 0, 8};
inline constexpr Field kSubCp{0x88};
inline constexpr Field kSub{0x8C};
inline constexpr Field kResetVh{0x90};
inline constexpr Field kV1Vm{0x94};
inline constexpr Field kV2Vm{0x98};
inline constexpr Field kV3Vm{0x9C};
inline constexpr Field kV4Vm{0xA0};
inline constexpr Field kMiscCtrl{0xA4};
} // namespace control

// Bits of the information block's capability word.
enum class Capability : uint32_t {
    kHighSensitivity = 1,
    kBlackout = 2,
    kFanControl = 3,
    kRegulatedCooling = 4,
    kEmGain = 6,
    kShutterCloseDelay = 8,
    kDither = 9,
    kHighGain = 10,
    kVClock = 11,
    kDualChannel = 12,
    kKeelEm = 13,
    kLockedGain = 14,
};

} // namespace zerix::registers
