// Means and maxima of a region of an image, for white balance and automatic exposure.
#pragma once

#include <cstdint>

namespace ZX {

enum ZStatisticsMode : uint32_t {
    kStatisticsMean = 1, // truncated
    kStatisticsMaximum = 2,
};

// Each channel over the region of an image of 6 to 13; 29 for another format. The region begins at
// column x and row y; what lies outside the image doesn't count. A region without pixels, and a
// mode that isn't listed, leave the results as they were.
int16_t ZImageColourStatistics(const uint8_t *data, uint32_t imageWidth, uint32_t imageHeight,
                               uint32_t format, uint32_t x, uint32_t y, uint32_t width,
                               uint32_t height, uint32_t mode, uint32_t *red, uint32_t *green,
                               uint32_t *blue);

// The same for an image of 0 to 5.
int16_t ZImageMonoStatistics(const uint8_t *data, uint32_t imageWidth, uint32_t imageHeight,
                             uint32_t format, uint32_t x, uint32_t y, uint32_t width,
                             uint32_t height, uint32_t mode, uint32_t *value);

} // namespace ZX
