// Finds the exposure that brings the brightest pixel of a region to the top of the range. A filter
// that stands outside the pipeline and leaves the image alone; used by one thread at a time.
#pragma once

#include <cstdint>

#include "image/z_image_filter.h"

namespace ZX {

class ZERIX_API ZAutoExposure : public ZImageFilter {
public:
    // Process works only while `calculateOnAllFrames` is true.
    explicit ZAutoExposure(bool calculateOnAllFrames);

    // The region of measurement becomes the whole image.
    int16_t Init(uint32_t width, uint32_t height) override;
    int16_t SetOutputFormat(uint32_t format) override;
    void SetCalculateValuesOnAllFrames(bool on) { m_calculateOnAllFrames = on; }
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

private:
    bool m_calculateOnAllFrames;
    uint32_t m_regionX = 0; // pixels
    uint32_t m_regionY = 0;
    uint32_t m_regionWidth = 0;
    uint32_t m_regionHeight = 0;
};

} // namespace ZX
