// Finds the exposure that brings the brightest pixel of a region to the top of the range. A filter
// that stands outside the pipeline and leaves the image alone; used by one thread at a time.
#pragma once

#include <atomic>
#include <cstdint>

#include "image/z_image_filter.h"

namespace ZX {

class ZExImage;

class ZERIX_API ZAutoExposure : public ZImageFilter {
public:
    // Process works only while `calculateOnAllFrames` is true.
    explicit ZAutoExposure(bool calculateOnAllFrames);

    // The region of measurement becomes the whole image.
    int16_t Init(uint32_t width, uint32_t height) override;
    int16_t SetOutputFormat(uint32_t format) override;
    void SetCalculateValuesOnAllFrames(bool on) { m_calculateOnAllFrames = on; }

    // Changes the camera's exposure by what the image shows. `out` isn't looked at. 31, or 29 for
    // an image that can't be measured.
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // Takes up to ten images until the exposure settles; blocks as long as they take. 0, also if it
    // didn't settle; or the status of what failed, with the camera left as it is at that moment: at
    // 8 bits, without the wheel turning.
    int16_t CalculateExposure(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                              ZCamera *camera);

    // One step from the maxima of an image; 0. At 8 bits: elsewhere every step divides by 4.
    int16_t AutoExposeRGB(ZCamera *camera, uint32_t bitDepth, uint32_t redMaximum,
                          uint32_t greenMaximum, uint32_t blueMaximum);
    // Sets the exposures of the wheel's filters too.
    int16_t AutoExposeMono(ZCamera *camera, uint32_t bitDepth, uint32_t maximum);

private:
    int16_t RunPass(ZCamera &camera);
    int16_t Measure(ZCamera &camera, ZExImage &image);
    int16_t Search(ZCamera &camera, double &lastChange);

    bool m_calculateOnAllFrames;
    uint32_t m_regionX = 0; // pixels
    uint32_t m_regionY = 0;
    uint32_t m_regionWidth = 0;
    uint32_t m_regionHeight = 0;
    std::atomic<bool> m_isStopped{false}; // ends a search after the pass that it is in
};

} // namespace ZX
