// A camera's gain limits and the scale that its analogue board follows, as set up once from its
// information block. 64 bytes everywhere.
#pragma once

#include <cstdint>

namespace zerix {

struct GainRecord {
    uint32_t curveType; // 1 piecewise, 2 linear in decibels, 3 and above a ratio to the default
    alignas(8) double dynamicRangedB;
    uint32_t significantFigures;
    uint32_t resolution;  // microdecibels
    uint32_t normGainMax; // millionths
    uint32_t normGainMin;
    int32_t dBMax; // microdecibels
    int32_t dBMin;
    bool gainFlag;
    uint32_t gainMax; // raw counts
    uint32_t gainMin;
    uint32_t gainDACRange;
    uint32_t gainDefault;
    uint32_t recordValid;
};
static_assert(sizeof(GainRecord) == 64);

} // namespace zerix
