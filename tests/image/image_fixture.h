// Images for the tests of this folder, with distinct values in every field.
#pragma once

#include <memory>
#include <vector>

#include "image/z_ex_image.h"

namespace ZX {

// An image of one byte a pixel that owns a buffer with these bytes.
inline std::unique_ptr<ZExImage> MakeImage(const std::vector<uint8_t> &bytes, uint32_t width,
                                           uint32_t height, uint32_t format, uint16_t pattern = 5,
                                           void *camera = nullptr)
{
    const auto size = static_cast<uint32_t>(bytes.size());
    uint8_t *const buffer = ZExImage::AllocateBuffer(size);
    for (uint32_t index = 0; index < size; ++index)
        buffer[index] = bytes[index];
    return std::make_unique<ZExImage>(buffer, size, width, height, uint16_t{8}, 1000, 1.0, format,
                                      uint16_t{2}, pattern, uint16_t{0}, true, uint16_t{8},
                                      uint16_t{1}, uint16_t{3}, true, uint16_t{17}, uint16_t{0},
                                      camera, true, 99);
}

inline std::vector<uint8_t> BytesOf(const ZExImage &image)
{
    return {image.GetImageData(), image.GetImageData() + image.GetImageSize()};
}

} // namespace ZX
