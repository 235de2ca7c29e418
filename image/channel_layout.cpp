// The layouts of the colour formats.
#include "image/channel_layout.h"

#include <span>

#include "image/image_formats.h"

namespace zerix {

namespace {

struct InterleavedRow {
    uint32_t format;
    ChannelLayout layout;
};

constexpr InterleavedRow kInterleaved8[] = {
    {ZX::kFormatBgr24, {.red = 2, .green = 1, .blue = 0, .channels = 3, .sampleBytes = 1}},
    {ZX::kFormatXrgb32, {.red = 1, .green = 2, .blue = 3, .channels = 4, .sampleBytes = 1}},
    {ZX::kFormatBgrx32, {.red = 2, .green = 1, .blue = 0, .channels = 4, .sampleBytes = 1}},
    {ZX::kFormatRgb24, {.red = 0, .green = 1, .blue = 2, .channels = 3, .sampleBytes = 1}},
    {ZX::kFormatRgbx32, {.red = 0, .green = 1, .blue = 2, .channels = 4, .sampleBytes = 1}},
};
constexpr InterleavedRow kInterleaved16[] = {
    {ZX::kFormatRgb48, {.red = 0, .green = 2, .blue = 4, .channels = 3, .sampleBytes = 2}},
};

ChannelLayout Planes(size_t planeBytes, uint32_t sampleBytes)
{
    return {.red = 0,
            .green = planeBytes,
            .blue = 2 * planeBytes,
            .channels = 1,
            .sampleBytes = sampleBytes};
}

bool FindInterleaved(std::span<const InterleavedRow> rows, uint32_t format, ChannelLayout &layout)
{
    for (const InterleavedRow &row : rows)
        if (row.format == format) {
            layout = row.layout;
            return true;
        }
    return false;
}

} // namespace

bool FindLayout8(uint32_t format, uint32_t width, uint32_t height, ChannelLayout &layout)
{
    if (format != ZX::kFormatRgbPlane8)
        return FindInterleaved(kInterleaved8, format, layout);
    layout = Planes(size_t{width} * height, 1);
    return true;
}

bool FindLayout16(uint32_t format, uint32_t width, uint32_t height, ChannelLayout &layout)
{
    if (format != ZX::kFormatRgbPlane16)
        return FindInterleaved(kInterleaved16, format, layout);
    layout = Planes(size_t{width} * height * 2, 2);
    return true;
}

} // namespace zerix
