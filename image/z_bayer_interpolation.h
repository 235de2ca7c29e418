// Turns a mosaic into a colour image: splits it into quarter-size planes and enlarges each of red,
// green and blue by 2. One Process at a time; algorithm and format may be set from any thread.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "image/z_image_filter.h"

namespace ZX {

class ZERIX_API ZBayerInterpolation : public ZImageFilter {
public:
    // Not initialised: Init makes the buffers.
    ZBayerInterpolation(uint16_t algorithm, uint16_t outputFormat);
    ~ZBayerInterpolation() override;

    // 1 "Average", 2 "Fast", 3 "Bicubic", 4 "Bicubic - Faster"; anything else works as 1.
    uint16_t GetAlgorithm() const { return m_algorithm; }
    int16_t SetAlgorithm(uint16_t algorithm);

    uint32_t GetOutputFormat() const { return m_outputFormat; }
    int16_t SetOutputFormat(uint32_t format) override;

    // Makes the buffers anew for mosaics up to this size. Always 0: Process tells of missing
    // memory.
    int16_t Init(uint32_t width, uint32_t height) override;

    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // For a mosaic, its size times the bytes of an output pixel.
    uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in) override;

private:
    static constexpr uint32_t kPlanes = 4;
    using Plane = std::unique_ptr<uint8_t[]>;

    std::atomic<uint16_t> m_algorithm;
    std::atomic<uint32_t> m_outputFormat;
    bool m_initialised = false;
    std::array<Plane, kPlanes> m_fullPlanes;    // enlarged red, green, blue, and a spare
    Plane m_alphaPlane;                         // all 255
    std::array<Plane, kPlanes> m_quarterPlanes; // red, green, green, blue of the mosaic
    uint32_t m_width = 0;                       // the maxima of Init
    uint32_t m_height = 0;
};

} // namespace ZX
