// A picture in a few numbers, as "zerix grab" prints them.
#pragma once

#include <cstdint>
#include <string>

#include "tools/writers/picture.h"

namespace zerix::tool {

struct Statistics {
    uint32_t minimum = 0;
    uint32_t maximum = 0;
    double mean = 0;
    double standardDeviation = 0;
    double saturatedPercent = 0; // samples at the top of the range
};

Statistics StatisticsOf(const Picture &picture);

// "1392 x 1040, 8 bits: 3 to 255, mean 61.4, sigma 20.1, 0.02 % saturated".
std::string SummaryOf(const Picture &picture);

} // namespace zerix::tool
