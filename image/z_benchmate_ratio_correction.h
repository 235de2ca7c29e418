// Corrects the aspect ratio of binned and live-mode frames of the Benchmate. Has no state between
// frames; one Process at a time.
#pragma once

#include <atomic>
#include <cstdint>

#include "image/z_image_filter.h"

namespace ZX {

class ZERIX_API ZBenchmateRatioCorrection : public ZImageFilter {
public:
    explicit ZBenchmateRatioCorrection(uint16_t outputFormat);

    int16_t Init(uint32_t width, uint32_t height) override;
    // Stored and never read: the output has the input's format.
    int16_t SetOutputFormat(uint32_t format) override;

    // 0, or 31 for other cameras and for whole frames.
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // Makes the size of this camera's pictures, in pixels, the size after the correction.
    static void CorrectSize(ZCamera &camera, uint32_t &width, uint32_t &height);

    // A live-mode frame: fewer columns, by the factor that belongs to the camera's sensor, and
    // twice the rows. Uses the image's own buffer on the way. Sizes in pixels and bytes.
    void CorrectLVW(uint8_t *image, uint32_t width, uint32_t height, uint32_t bitDepth,
                    uint32_t binning, uint32_t colourPattern, ZCamera *camera, uint8_t *output,
                    uint32_t *outWidth, uint32_t *outHeight, uint32_t *outSize);

    // A binned frame: fewer columns. A binning other than 2, 3 and 4 tells the sizes and writes no
    // pixel.
    void CorrectHorizontalRatio(const uint8_t *image, uint32_t width, uint32_t height,
                                uint32_t bitDepth, uint32_t binning, uint8_t *output,
                                uint32_t *outWidth, uint32_t *outHeight, uint32_t *outSize);

private:
    std::atomic<uint32_t> m_outputFormat;
};

} // namespace ZX
