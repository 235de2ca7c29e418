// The gain of an image intensifier: the way between its normalised gain in millionths, decibels in
// millionths, and the counts of its control register, which is linear in decibels. Plain data and
// arithmetic; any thread, one at a time.
#pragma once

#include <cstdint>

namespace ZX {

struct ZIntensifierGain {
    // False, and nothing changes, unless `low` is below `high`.
    [[nodiscard]] bool SetDacRange(uint32_t low, uint32_t high);
    void SetDbStep(uint32_t microdecibels) { gainDbStep = microdecibels; }
    // Computes everything that follows from the counts' range and the step.
    void Setup();

    [[nodiscard]] uint32_t DacToDb(uint32_t dac) const;
    [[nodiscard]] uint32_t DbToDac(uint32_t microdecibels) const;
    [[nodiscard]] uint64_t RoundToSignificantFigures(uint64_t value) const;
    // Rounds `value` and clamps it to the limits, in place; then gives its microdecibels.
    [[nodiscard]] uint32_t NormalizedToDb(uint64_t &value) const;

    uint32_t significantFigures = 3;
    uint32_t gainDbStep = 20000; // microdecibels; 0 means no rounding
    uint64_t normalizedMin = 0;
    uint64_t normalizedMax = 0;
    uint32_t gainDbMin = 0; // microdecibels, as those below
    uint32_t gainDbMax = 0;
    uint32_t gainDbRoundedMin = 0;
    uint32_t gainDbRoundedMax = 0;
    uint32_t dacMax = 0xFFF;
    uint32_t dacMin = 0;
    double dbPerCount = 0.015765398;
    double dbAtZero = 33.5092631;

private:
    [[nodiscard]] uint64_t ScaleOf(uint64_t value) const;
    [[nodiscard]] uint64_t HighestNormalized(uint32_t dbHigh) const;
    [[nodiscard]] uint64_t LowestNormalized(uint32_t dbLow) const;
    void ComputeRange(uint32_t dbLow, uint32_t dbHigh);
};

} // namespace ZX
