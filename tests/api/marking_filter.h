// A filter whose work shows in every pixel.
#pragma once

#include <cstdint>
#include <cstring>

#include "image/z_image_filter.h"

namespace zerix::api {

// Turns every byte into 99.
class MarkingFilter final : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *in, ZX::ZOutImageBufferStruct *out) override
    {
        std::memset(out->pBuffer, 99, in->size);
        out->size = in->size;
        out->width = in->width;
        out->height = in->height;
        out->imageFormat = in->imageFormat;
        return ZX::kFilterOk;
    }
    int16_t Init(uint32_t, uint32_t) override { return ZX::kFilterOk; }
    int16_t SetOutputFormat(uint32_t) override { return ZX::kFilterOk; }
};

} // namespace zerix::api
