// Collects three exposures through the wheel's red, green and blue filters and packs them into one
// image. Process runs on the streaming thread; everything else may come from any thread, and a lock
// guards what they share.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "image/z_image_filter.h"
#include "zerix/zerix_hal.h"

namespace ZX {

class ZERIX_API ZRGBFilterWheel : public ZImageFilter {
public:
    explicit ZRGBFilterWheel(uint16_t outputFormat);
    ~ZRGBFilterWheel() override;

    // Stores the largest image in pixels and makes the buffers if there are none.
    int16_t Init(uint32_t width, uint32_t height) override;

    // Three buffers of 16-bit pixels, if there are none.
    void AllocateBuffers(uint32_t width, uint32_t height);
    void FreeBuffers();

    // A disabled wheel holds no buffers.
    void Enable() override;
    void Disable() override;

    uint32_t GetOutputFormat() const { return m_outputFormat; }
    int16_t SetOutputFormat(uint32_t format) override;

    // Throws a partial cycle away.
    void Reset() override;

    // 0 with the image, whose error is the worst of its exposures, 6 while exposures are missing,
    // 31 for a camera without a wheel, 5 for an output format that has no layout (what was stored
    // stays) or without memory. Exposures without a camera are taken as kept from a wheel that
    // began with red.
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // One plane behind the other, each as long as the last frame was.
    void PackImages(const uint8_t *red, const uint8_t *green, const uint8_t *blue,
                    uint8_t *destination) const;

    // The input's size, or that times the bytes of an output pixel for the frame that completes a
    // cycle.
    uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in) override;

private:
    using Plane = std::unique_ptr<uint8_t[]>;

    void AllocateLocked(uint32_t width, uint32_t height);
    void FreeLocked();
    [[nodiscard]] bool WouldComplete(uint32_t colour) const;
    int16_t ProcessLocked(const ZInImageBufferStruct &in, ZOutImageBufferStruct &out);
    [[nodiscard]] bool IsInTurn(const ZInImageBufferStruct &in);
    [[nodiscard]] bool Store(const ZInImageBufferStruct &in);
    [[nodiscard]] bool GrowLocked(uint64_t bytes);
    [[nodiscard]] bool HasAllColours() const;
    [[nodiscard]] bool Compose(uint32_t format, uint8_t *destination);
    void ComposeWords(uint8_t *destination);
    void ForgetLocked();

    std::atomic<uint32_t> m_outputFormat;
    bool m_started = false;        // a cycle has begun
    uint16_t m_expectedColour = 0; // ZWheelColourEnum of the next frame
    int16_t m_redCount = 0;        // frames stored since the last image
    int16_t m_greenCount = 0;
    int16_t m_blueCount = 0;
    uint16_t m_worstError = 0; // of the frames of the cycle
    uint32_t m_width = 0;      // of the last frame
    uint32_t m_height = 0;
    Plane m_redBuffer;
    Plane m_greenBuffer;
    Plane m_blueBuffer;
    uint32_t m_planeSize = 0;  // bytes of one exposure
    uint64_t m_bufferSize = 0; // bytes of one buffer; 0 if there was no memory
    bool m_buffersAllocated = false;
    HAL_Semaphore m_lock = nullptr;
    uint32_t m_maximumWidth = 0;
    uint32_t m_maximumHeight = 0;
};

} // namespace ZX
