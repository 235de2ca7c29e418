// The work of the filter wheel: which exposures belong together, and how three of them become one
// image. Process holds the wheel's lock throughout.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "camera/z_camera.h"
#include "image/z_ex_image.h"
#include "image/z_rgb_filter_wheel.h"

namespace ZX {

namespace {

constexpr uint8_t kOpaque = 255;

int16_t ReportLockError(uint32_t error)
{
    if (char *text = HAL_ErrorMessage(error, 0)) {
        std::fputs(text, stderr);
        HAL_MemoryFree(text);
    }
    return static_cast<int16_t>(HAL_TranslateError(error));
}

// An exposure without a camera was kept by an application, from a wheel. Such a cycle begins with
// red.
bool IsOfWheel(const ZInImageBufferStruct &in)
{
    return in.camera == nullptr || in.camera->GetImageFormat() == kCameraImageWheel;
}

uint16_t StartColourOf(const ZInImageBufferStruct &in)
{
    return in.camera == nullptr ? uint16_t{kWheelRed} : in.camera->GetRGBFilterStartColour();
}

uint64_t PixelsOf(const ZInImageBufferStruct &in) { return uint64_t{in.width} * in.height; }

uint32_t BytesOfDepth(uint32_t bitDepth) { return (bitDepth + 7) / 8; }

// The channels in the order of the bytes of a pixel.
void Interleave3(const uint8_t *first, const uint8_t *second, const uint8_t *third, size_t count,
                 uint8_t *destination)
{
    for (size_t pixel = 0; pixel < count; ++pixel, destination += 3) {
        destination[0] = first[pixel];
        destination[1] = second[pixel];
        destination[2] = third[pixel];
    }
}

} // namespace

int16_t ZRGBFilterWheel::Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out)
{
    if (const uint32_t error = HAL_SemaphoreWait(m_lock))
        return ReportLockError(error);
    const int16_t status = ProcessLocked(*in, *out);
    if (status == kFilterOk)
        in->errorCode = m_worstError;
    if (const uint32_t error = HAL_SemaphoreSignal(m_lock))
        return ReportLockError(error);
    return status;
}

int16_t ZRGBFilterWheel::ProcessLocked(const ZInImageBufferStruct &in, ZOutImageBufferStruct &out)
{
    if (!IsOfWheel(in))
        return kFilterNothingToDo;
    if (!IsInTurn(in))
        return kFilterIncomplete;
    if (!Store(in))
        return kFilterBadFormat;
    if (!HasAllColours())
        return kFilterIncomplete;
    const uint32_t format = m_outputFormat;
    if (!Compose(format, out.pBuffer))
        return kFilterBadFormat;
    out.imageFormat = format;
    out.size = ZExImage::ImageFormatByteSize(format) * in.width * in.height;
    out.width = in.width;
    out.height = in.height;
    ForgetLocked();
    return kFilterOk;
}

// A cycle begins with the camera's start colour. What comes out of turn is dropped and changes
// nothing.
bool ZRGBFilterWheel::IsInTurn(const ZInImageBufferStruct &in)
{
    if (!m_started) {
        const uint16_t startColour = StartColourOf(in);
        if (in.filterColour != startColour)
            return false;
        m_expectedColour = startColour;
        m_worstError = 0;
        m_started = true;
    }
    return in.colourPattern == m_expectedColour;
}

// False if there is no memory. A black exposure is in turn, and nowhere to be stored.
bool ZRGBFilterWheel::Store(const ZInImageBufferStruct &in)
{
    const uint64_t planeSize = PixelsOf(in) * BytesOfDepth(in.bitDepth);
    // 16-bit layouts read two bytes of a pixel whatever the frame's depth.
    if (!GrowLocked(std::max({uint64_t{in.size}, planeSize, PixelsOf(in) * 2})))
        return false;
    struct Place {
        uint8_t *buffer;
        int16_t *count;
        uint16_t next;
    };
    Place place{nullptr, nullptr, m_expectedColour};
    if (in.filterColour == kWheelRed)
        place = {m_redBuffer.get(), &m_redCount, kWheelGreen};
    else if (in.filterColour == kWheelGreen)
        place = {m_greenBuffer.get(), &m_greenCount, kWheelBlue};
    else if (in.filterColour == kWheelBlue)
        place = {m_blueBuffer.get(), &m_blueCount, kWheelRed};
    if (place.buffer != nullptr) {
        if (in.size > 0)
            std::memcpy(place.buffer, in.pBuffer, in.size);
        ++*place.count;
        m_expectedColour = place.next;
        m_worstError = std::max(m_worstError, in.errorCode);
    }
    m_width = in.width;
    m_height = in.height;
    m_planeSize = static_cast<uint32_t>(planeSize);
    return true;
}

bool ZRGBFilterWheel::HasAllColours() const
{
    return m_redCount != 0 && m_greenCount != 0 && m_blueCount != 0;
}

void ZRGBFilterWheel::PackImages(const uint8_t *red, const uint8_t *green, const uint8_t *blue,
                                 uint8_t *destination) const
{
    if (m_planeSize == 0)
        return;
    for (const uint8_t *plane : {red, green, blue}) {
        std::memcpy(destination, plane, m_planeSize);
        destination += m_planeSize;
    }
}

// False if the format has no layout. The layouts of 8 bits take each buffer as bytes, whatever the
// frames' depth.
bool ZRGBFilterWheel::Compose(uint32_t format, uint8_t *destination)
{
    const uint8_t *const red = m_redBuffer.get();
    const uint8_t *const green = m_greenBuffer.get();
    const uint8_t *const blue = m_blueBuffer.get();
    const size_t count = size_t{m_width} * m_height;
    switch (format) {
    case kFormatRgbPlane8:
    case kFormatRgbPlane16:
        PackImages(red, green, blue, destination);
        return true;
    case kFormatBgr24:
        Interleave3(blue, green, red, count, destination);
        return true;
    case kFormatRgb24:
        Interleave3(red, green, blue, count, destination);
        return true;
    case kFormatXrgb32:
        for (size_t pixel = 0; pixel < count; ++pixel, destination += 4) {
            destination[0] = kOpaque;
            destination[1] = red[pixel];
            destination[2] = green[pixel];
            destination[3] = blue[pixel];
        }
        return true;
    case kFormatBgrx32:
        for (size_t pixel = 0; pixel < count; ++pixel, destination += 4) {
            destination[0] = blue[pixel];
            destination[1] = green[pixel];
            destination[2] = red[pixel];
            destination[3] = kOpaque;
        }
        return true;
    case kFormatRgb48:
        ComposeWords(destination);
        return true;
    default:
        return false;
    }
}

// Behind a plane of one byte a pixel lies what an earlier image left; it must not show.
void ZRGBFilterWheel::ComposeWords(uint8_t *destination)
{
    const size_t count = size_t{m_width} * m_height;
    uint8_t *const planes[] = {m_redBuffer.get(), m_greenBuffer.get(), m_blueBuffer.get()};
    if (m_planeSize < count * 2)
        for (uint8_t *plane : planes)
            std::memset(plane + m_planeSize, 0, count * 2 - m_planeSize);
    for (size_t pixel = 0; pixel < count; ++pixel)
        for (const uint8_t *plane : planes) {
            std::memcpy(destination, plane + pixel * 2, 2);
            destination += 2;
        }
}

} // namespace ZX
