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
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

private:
    std::atomic<uint32_t> m_outputFormat;
};

} // namespace ZX
