// A frame on its way through the driver: its pixels and what is known of them. Belongs to its
// receiver; not locked.
#pragma once

#include <cstdint>

#include "camera/z_object.h"
#include "zerix/zerix_export.h"

namespace ZX {

class ZERIX_API ZExImage : public ZObject {
public:
    // With `ownsBuffer` the image frees `imageData`, which then must come from AllocateBuffer or
    // from malloc.
    ZExImage(uint8_t *imageData, uint32_t imageSize, uint32_t width, uint32_t height,
             uint16_t bitDepth, uint64_t exposure, double gain, uint32_t imageFormat,
             uint16_t cameraImageFormat, uint16_t colourPattern, uint16_t rgbFilterStartColour,
             bool bigEndian, uint16_t cameraModel, uint16_t cameraNumber,
             uint16_t symmetricalBinningMode, bool lvw, uint16_t rollingFrameNumber,
             uint16_t errorCode, void *camera, bool ownsBuffer, uint32_t timeStamp);
    ~ZExImage() override;

    // A buffer that an image may own, with undefined contents; null if there is no memory. Freed by
    // the image that owns it, or with ReleaseBuffer, which takes one from malloc or null as well.
    [[nodiscard]] static uint8_t *AllocateBuffer(uint32_t size);
    static void ReleaseBuffer(uint8_t *buffer);

    // Bytes of one pixel of a colour format; 0 for every other number.
    static uint32_t ImageFormatByteSize(uint32_t format);

    // Changes the size of the buffer. What fits of the contents stays, the rest is 0. Without
    // memory for a copy of the old contents nothing changes; with that and none for the new buffer
    // the size becomes 0 and the buffer stays. An image that doesn't own its buffer leaves it to
    // its owner and owns the new one.
    void ResizeBuffer(uint32_t size);

    // Takes a copy of `data` when `size` differs from the present size; does nothing when it is the
    // same, or when there is no memory.
    void ReplaceImageBufferWith(const void *data, uint32_t size);

    uint8_t *GetImageData() const { return m_imageData; }
    uint32_t GetImageSize() const { return m_imageSize; }
    uint16_t GetBitDepth() const { return m_bitDepth; }
    uint32_t GetWidth() const { return m_width; }
    uint32_t GetHeight() const { return m_height; }
    uint64_t GetExposure() const { return m_exposure; } // nanoseconds
    double GetGain() const { return m_gain; }
    uint16_t GetCameraImageFormat() const { return m_cameraImageFormat; }
    uint16_t GetColourPattern() const { return m_colourPattern; }
    bool IsBigEndian() const { return m_bigEndian; }
    uint16_t GetCameraModel() const { return m_cameraModel; }
    uint16_t GetCameraNumber() const { return m_cameraNumber; }
    uint16_t GetSymmetricalBinningMode() const { return m_symmetricalBinningMode; }
    bool IsLVW() const { return m_lvw; }
    uint16_t GetRGBFilterStartColour() const { return m_rgbFilterStartColour; }
    uint16_t GetRollingFrameNumber() const { return m_rollingFrameNumber; }
    uint16_t GetErrorCode() const { return m_errorCode; }
    uint32_t GetImageFormat() const { return m_imageFormat; }
    void *GetCamera() const { return m_camera; } // the ZCamera
    uint32_t GetTimeStamp() const { return m_timeStamp; }

    void SetImageFormat(uint32_t format) { m_imageFormat = format; }
    void SetWidth(uint16_t width) { m_width = width; }
    void SetHeight(uint16_t height) { m_height = height; }
    void SetImageSize(uint32_t size) { m_imageSize = size; }
    void SetCameraImageFormat(uint16_t format) { m_cameraImageFormat = format; }
    void SetErrorCode(uint16_t error) { m_errorCode = error; }

private:
    void AdoptBuffer(uint8_t *buffer, uint32_t size);

    uint8_t *m_imageData;
    uint32_t m_imageSize;
    uint16_t m_bitDepth;
    uint32_t m_width;
    uint32_t m_height;
    uint64_t m_exposure;
    double m_gain;
    uint16_t m_cameraImageFormat;
    uint16_t m_colourPattern;
    bool m_bigEndian;
    uint16_t m_cameraModel;
    uint16_t m_cameraNumber;
    uint16_t m_symmetricalBinningMode;
    bool m_lvw;
    uint16_t m_rgbFilterStartColour;
    uint16_t m_rollingFrameNumber;
    uint16_t m_errorCode;
    bool m_ownsBuffer;
    uint32_t m_imageFormat;
    void *m_camera;
    uint32_t m_timeStamp;
};

} // namespace ZX
