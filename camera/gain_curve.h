// The three scales of the analogue gain and the ways between them: raw counts of the 12-bit
// register, decibels relative to the default gain in millionths, and the linear factor in
// millionths. Pure functions over a camera's gain record; any thread.
#pragma once

#include <cstdint>
#include <optional>

#include "camera/gain_record.h"

namespace zerix::gain {

// Values of GainRecord::curveType. What is above kRatioCurve counts as a ratio too.
inline constexpr uint32_t kPiecewiseCurve = 1;
inline constexpr uint32_t kDecibelCurve = 2;
inline constexpr uint32_t kRatioCurve = 3;

inline constexpr uint32_t kMaximumCounts = 4095;

// Raw counts to microdecibels. Nothing for a ratio curve.
[[nodiscard]] std::optional<int32_t> GainTodB(const GainRecord &record, uint32_t counts);

// Microdecibels to raw counts, at least 0 but not limited to the register's 12 bits. Nothing for a
// ratio curve.
[[nodiscard]] std::optional<uint32_t> dBToGain(const GainRecord &record, int32_t microdecibels);

// The unit to which a normalised gain of that size is rounded.
[[nodiscard]] uint32_t SignificantStep(uint32_t normGain, uint32_t significantFigures);

// Rounds `normGain` to its significant figures and clamps it to the record's limits, in place; then
// gives its microdecibels. Factors below a thousandth count as a thousandth.
[[nodiscard]] int32_t normGainTodB(const GainRecord &record, uint32_t &normGain);

// Microdecibels to a normalised gain, rounded and clamped.
[[nodiscard]] uint32_t dBToNormGain(const GainRecord &record, int32_t microdecibels);

// To the nearest multiple of the record's resolution, halves away from zero, and clamped.
[[nodiscard]] int32_t RoundNormGaindB(const GainRecord &record, int32_t microdecibels);

// Significant figures that a resolution in microdecibels is worth.
[[nodiscard]] uint32_t SignificantFiguresOf(uint32_t resolution);

// Fills significantFigures and the limits in decibels and as factors from the other fields. False
// for a gain range that can't be converted.
[[nodiscard]] bool SetLimits(GainRecord &record);

} // namespace zerix::gain
