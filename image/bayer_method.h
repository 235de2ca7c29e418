// What the Bayer filter's algorithm and output format mean for the work.
#pragma once

#include <cstdint>

#include "image/image_formats.h"
#include "image/kernels/primitives.h"

namespace zerix {

// "Bicubic" is linear; only "Bicubic - Faster" is cubic.
constexpr int32_t MethodOfAlgorithm(uint16_t algorithm)
{
    switch (algorithm) {
    case 2:
        return kResizeNearest;
    case 4:
        return kResizeCubic;
    default:
        return kResizeLinear;
    }
}

// Bytes of a sample where the filter makes this format; 0 where it doesn't.
constexpr uint32_t SampleBytesOf(uint32_t format)
{
    switch (format) {
    case ZX::kFormatBgr24:
    case ZX::kFormatXrgb32:
    case ZX::kFormatBgrx32:
    case ZX::kFormatRgb24:
    case ZX::kFormatRgbx32:
        return 1;
    case ZX::kFormatRgb48:
        return 2;
    default:
        return 0;
    }
}

} // namespace zerix
