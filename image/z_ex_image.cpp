// A frame on its way through the driver.
#include "image/z_ex_image.h"

#include <algorithm>
#include <cstring>

#include "image/image_formats.h"
#include "platform/frame_buffer_pool.h"

namespace ZX {

namespace {

constexpr uint8_t kByteSizes[] = {0, 0, 0, 0, 0, 0, 3, 6, 3, 4, 6, 4, 3, 4};
static_assert(std::size(kByteSizes) == kImageFormatCount);

} // namespace

ZExImage::ZExImage(uint8_t *imageData, uint32_t imageSize, uint32_t width, uint32_t height,
                   uint16_t bitDepth, uint64_t exposure, double gain, uint32_t imageFormat,
                   uint16_t cameraImageFormat, uint16_t colourPattern,
                   uint16_t rgbFilterStartColour, bool bigEndian, uint16_t cameraModel,
                   uint16_t cameraNumber, uint16_t symmetricalBinningMode, bool lvw,
                   uint16_t rollingFrameNumber, uint16_t errorCode, void *camera, bool ownsBuffer,
                   uint32_t timeStamp)
    : m_imageData(imageData), m_imageSize(imageSize), m_bitDepth(bitDepth), m_width(width),
      m_height(height), m_exposure(exposure), m_gain(gain), m_cameraImageFormat(cameraImageFormat),
      m_colourPattern(colourPattern), m_bigEndian(bigEndian), m_cameraModel(cameraModel),
      m_cameraNumber(cameraNumber), m_symmetricalBinningMode(symmetricalBinningMode), m_lvw(lvw),
      m_rgbFilterStartColour(rgbFilterStartColour), m_rollingFrameNumber(rollingFrameNumber),
      m_errorCode(errorCode), m_ownsBuffer(ownsBuffer), m_imageFormat(imageFormat),
      m_camera(camera), m_timeStamp(timeStamp)
{
}

ZExImage::~ZExImage()
{
    if (m_ownsBuffer)
        ReleaseBuffer(m_imageData);
}

uint8_t *ZExImage::AllocateBuffer(uint32_t size) { return zerix::FrameBuffers().Acquire(size); }

void ZExImage::ReleaseBuffer(uint8_t *buffer) { zerix::FrameBuffers().Release(buffer); }

uint32_t ZExImage::ImageFormatByteSize(uint32_t format)
{
    return format < kImageFormatCount ? kByteSizes[format] : 0;
}

void ZExImage::ResizeBuffer(uint32_t size)
{
    if (size == m_imageSize)
        return;
    // Without room for a copy of the contents nothing may change. The pool has it from the frame
    // before.
    uint8_t *const roomForCopy = AllocateBuffer(m_imageSize);
    if (roomForCopy == nullptr)
        return;
    uint8_t *const buffer = AllocateBuffer(size);
    ReleaseBuffer(roomForCopy);
    if (buffer == nullptr) {
        m_imageSize = 0;
        return;
    }
    const uint32_t kept = m_imageData != nullptr ? std::min(m_imageSize, size) : 0;
    if (kept > 0)
        std::memcpy(buffer, m_imageData, kept);
    std::memset(buffer + kept, 0, size - kept);
    AdoptBuffer(buffer, size);
}

void ZExImage::ReplaceImageBufferWith(const void *data, uint32_t size)
{
    if (size == m_imageSize)
        return;
    uint8_t *const buffer = AllocateBuffer(size);
    if (buffer == nullptr)
        return;
    if (size > 0)
        std::memcpy(buffer, data, size);
    AdoptBuffer(buffer, size);
}

void ZExImage::AdoptBuffer(uint8_t *buffer, uint32_t size)
{
    if (m_ownsBuffer)
        ReleaseBuffer(m_imageData);
    m_imageData = buffer;
    m_imageSize = size;
    m_ownsBuffer = true;
}

} // namespace ZX
