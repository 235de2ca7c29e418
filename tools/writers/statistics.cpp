// A picture in a few numbers.
#include "tools/writers/statistics.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace zerix::tool {

Statistics StatisticsOf(const Picture &picture)
{
    const size_t step = picture.bytesPerSample;
    const size_t count = step == 0 ? 0 : picture.pixels.size() / step;
    if (count == 0)
        return {};
    const uint32_t top = (1u << picture.significantBits) - 1u;
    Statistics result{.minimum = UINT32_MAX};
    uint64_t sum = 0;
    uint64_t sumOfSquares = 0;
    uint64_t saturated = 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t sample = picture.pixels[i * step];
        if (step == 2)
            sample |= static_cast<uint32_t>(picture.pixels[i * step + 1]) << 8;
        result.minimum = std::min(result.minimum, sample);
        result.maximum = std::max(result.maximum, sample);
        sum += sample;
        sumOfSquares += uint64_t{sample} * sample;
        saturated += sample >= top ? 1 : 0;
    }
    const auto n = static_cast<double>(count);
    result.mean = static_cast<double>(sum) / n;
    const double variance = static_cast<double>(sumOfSquares) / n - result.mean * result.mean;
    result.standardDeviation = std::sqrt(std::max(variance, 0.0));
    result.saturatedPercent = 100.0 * static_cast<double>(saturated) / n;
    return result;
}

std::string SummaryOf(const Picture &picture)
{
    const Statistics s = StatisticsOf(picture);
    return fmt::format("{} x {}, {} bits: {} to {}, mean {:.1f}, sigma {:.1f}, {:.2f} % saturated",
                       picture.width, picture.height, picture.significantBits, s.minimum, s.maximum,
                       s.mean, s.standardDeviation, s.saturatedPercent);
}

} // namespace zerix::tool
