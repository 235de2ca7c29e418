// Turns a mosaic into a colour image: splits it into quarter-size planes and enlarges each of red,
// green and blue by 2. Process may be called from several threads and takes turns; algorithm and
// format may be set from any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "image/z_image_filter.h"

namespace zerix {
class BayerSweep;
}

namespace ZX {

class ZERIX_API ZBayerInterpolation : public ZImageFilter {
public:
    // Not initialised: Init makes the buffers.
    ZBayerInterpolation(uint16_t algorithm, uint16_t outputFormat);
    ~ZBayerInterpolation() override;

    // 1 "Average", 2 "Fast", 3 "Bicubic", 4 "Bicubic - Faster"; anything else works as 1, and so
    // does 3.
    uint16_t GetAlgorithm() const { return m_algorithm; }
    int16_t SetAlgorithm(uint16_t algorithm);

    uint32_t GetOutputFormat() const { return m_outputFormat; }
    int16_t SetOutputFormat(uint32_t format) override;

    // Makes the buffers anew for mosaics up to this size. Always 0: Process tells of missing
    // memory.
    int16_t Init(uint32_t width, uint32_t height) override;

    // 0; 31 for what is no mosaic and for an output format without colour; 28 before Init; 5 for a
    // planar output format, or without memory. Whether pixels are bytes or words goes by the output
    // format. What lies beyond the input's size counts as black; a last odd column or row repeats
    // the one before.
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // For a mosaic, its size times the bytes of an output pixel.
    uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in) override;

    // The work outside of a pipeline, by way of the caller's planes: four of width x height pixels,
    // four of a quarter of that. Afterwards the first three full planes hold red, green and blue,
    // and quarter plane 1 the mean green. `size` receives the bytes written. 0, 5 for an output
    // format that it doesn't take, 29 for one that a routine doesn't know.
    int16_t BayerUsingSSE(const uint8_t *image, uint32_t width, uint32_t height, uint32_t pattern,
                          uint8_t *output, uint32_t outputFormat, uint32_t *size,
                          uint8_t *const *fullPlanes, uint8_t *const *quarterPlanes,
                          uint16_t algorithm);
    // The method is 1 nearest neighbour, 2 linear, 4 cubic. These take planar formats too.
    int16_t Private_Bayer8BitUsingSSE(const uint8_t *image, uint32_t width, uint32_t height,
                                      uint32_t pattern, uint8_t *output, uint32_t outputFormat,
                                      uint32_t *size, uint8_t *const *fullPlanes,
                                      uint8_t *const *quarterPlanes, int32_t method);
    int16_t Private_Bayer16BitUsingSSE(const uint8_t *image, uint32_t width, uint32_t height,
                                       uint32_t pattern, uint8_t *output, uint32_t outputFormat,
                                       uint32_t *size, uint8_t *const *fullPlanes,
                                       uint8_t *const *quarterPlanes, int32_t method);

private:
    std::atomic<uint16_t> m_algorithm;
    std::atomic<uint32_t> m_outputFormat;
    std::mutex m_sweepMutex;
    std::unique_ptr<zerix::BayerSweep> m_sweep; // null before Init
};

} // namespace ZX
