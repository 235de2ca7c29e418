// Means and maxima of a region of an image.
#include "image/image_statistics.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "image/channel_layout.h"
#include "image/image_formats.h"

namespace ZX {

namespace {

// The part of the region that lies inside the image.
struct Region {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

uint32_t LengthInside(uint32_t begin, uint32_t length, uint32_t limit)
{
    return begin < limit ? std::min(length, limit - begin) : 0;
}

// The samples of one channel.
struct Channel {
    const uint8_t *first;
    size_t step;    // bytes from sample to sample
    size_t rowStep; // bytes from row to row
};

template <typename Sample, typename Visit>
void ForEach(const Channel &channel, const Region &region, Visit visit)
{
    for (uint32_t row = 0; row < region.height; ++row) {
        const uint8_t *at =
            channel.first + (region.y + size_t{row}) * channel.rowStep + region.x * channel.step;
        for (uint32_t column = 0; column < region.width; ++column, at += channel.step) {
            Sample sample;
            std::memcpy(&sample, at, sizeof sample);
            visit(sample);
        }
    }
}

template <typename Sample>
void Measure(const Channel &channel, const Region &region, uint32_t mode, uint32_t &result)
{
    const uint64_t area = uint64_t{region.width} * region.height;
    if (area == 0)
        return;
    if (mode == kStatisticsMean) {
        uint64_t sum = 0;
        ForEach<Sample>(channel, region, [&sum](Sample sample) { sum += sample; });
        result = static_cast<uint32_t>(sum / area);
    } else if (mode == kStatisticsMaximum) {
        Sample largest = 0;
        ForEach<Sample>(channel, region,
                        [&largest](Sample sample) { largest = std::max(largest, sample); });
        result = largest;
    }
}

void MeasureSamples(uint32_t sampleBytes, const Channel &channel, const Region &region,
                    uint32_t mode, uint32_t &result)
{
    if (sampleBytes == 1)
        Measure<uint8_t>(channel, region, mode, result);
    else
        Measure<uint16_t>(channel, region, mode, result);
}

constexpr bool IsPlain8(uint32_t format)
{
    return format == kFormatRaw8 || format == kFormatMono8 || format == kFormatBayer8;
}

constexpr bool IsPlain16(uint32_t format)
{
    return format == kFormatRaw16 || format == kFormatMono16 || format == kFormatBayer16;
}

} // namespace

int16_t ZImageColourStatistics(const uint8_t *data, uint32_t imageWidth, uint32_t imageHeight,
                               uint32_t format, uint32_t x, uint32_t y, uint32_t width,
                               uint32_t height, uint32_t mode, uint32_t *red, uint32_t *green,
                               uint32_t *blue)
{
    zerix::ChannelLayout layout{};
    if (!zerix::FindLayout8(format, imageWidth, imageHeight, layout) &&
        !zerix::FindLayout16(format, imageWidth, imageHeight, layout))
        return kFilterBadOutputFormat;
    const Region region{x, y, LengthInside(x, width, imageWidth),
                        LengthInside(y, height, imageHeight)};
    const size_t step = size_t{layout.channels} * layout.sampleBytes;
    const auto measure = [&](size_t offset, uint32_t &result) {
        MeasureSamples(layout.sampleBytes, {data + offset, step, imageWidth * step}, region, mode,
                       result);
    };
    measure(layout.red, *red);
    measure(layout.green, *green);
    measure(layout.blue, *blue);
    return kFilterOk;
}

int16_t ZImageMonoStatistics(const uint8_t *data, uint32_t imageWidth, uint32_t imageHeight,
                             uint32_t format, uint32_t x, uint32_t y, uint32_t width,
                             uint32_t height, uint32_t mode, uint32_t *value)
{
    if (!IsPlain8(format) && !IsPlain16(format))
        return kFilterBadOutputFormat;
    const uint32_t sampleBytes = IsPlain8(format) ? 1 : 2;
    const Region region{x, y, LengthInside(x, width, imageWidth),
                        LengthInside(y, height, imageHeight)};
    MeasureSamples(sampleBytes, {data, sampleBytes, size_t{imageWidth} * sampleBytes}, region, mode,
                   *value);
    return kFilterOk;
}

} // namespace ZX
