// Where filters write the picture that is made of a kept frame.
#include "api/result_buffer.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

#include "tables/image_formats.h"

namespace zerix::api {
namespace {

constexpr uint64_t kLargestPixel = 6; // bytes: three colours of 16 bits

uint64_t PixelBytes(uint32_t format)
{
    const tables::ImageFormatRow *const row = tables::FindImageFormat(format);
    return row != nullptr ? std::max(row->calculatedFactor, row->colourPixelBytes) : kLargestPixel;
}

bool Overlap(const Zerix_Frame &in, const uint8_t *out, uint64_t outBytes)
{
    const auto *const from = static_cast<const uint8_t *>(in.pBuffer);
    const std::less<> isBefore;
    return isBefore(from, out + outBytes) && isBefore(out, from + std::max(in.size, 1u));
}

// A filter with nothing to do leaves its input in its output, whatever its format.
bool IsSurelyLargeEnough(const Zerix_Frame &in, const Zerix_Frame &out, uint32_t format)
{
    const uint64_t pixels = uint64_t{in.width} * in.height;
    const uint64_t result = pixels * PixelBytes(format);
    // Live mode's pictures become higher, binned ones narrower.
    const bool keepsItsSize = in.isLvw == 0 && in.binning <= 1;
    return keepsItsSize && result <= UINT32_MAX &&
           (out.bufferSize == 0 || out.bufferSize >= result) && in.size <= result &&
           pixels * PixelBytes(in.format) <= result &&
           !Overlap(in, static_cast<const uint8_t *>(out.pBuffer), result);
}

// The largest that any filter can make of the frame.
uint64_t LargestResult(const Zerix_Frame &in)
{
    const uint64_t rows = uint64_t{in.height} * (in.isLvw != 0 ? 2 : 1);
    return std::max<uint64_t>(in.size, kLargestPixel * in.width * rows);
}

} // namespace

ResultBuffer::ResultBuffer(const Zerix_Frame &in, const Zerix_Frame &out, uint32_t format)
    : m_target(static_cast<uint8_t *>(out.pBuffer)), m_stated(out.bufferSize)
{
    if (IsSurelyLargeEnough(in, out, format))
        return;
    const uint64_t bytes = LargestResult(in);
    if (bytes > SIZE_MAX / 2)
        throw std::bad_alloc();
    m_own.reset(new uint8_t[static_cast<std::size_t>(bytes)]);
}

void ResultBuffer::Deliver(uint32_t written, uint32_t reported) const
{
    if (m_own == nullptr)
        return;
    const uint32_t room = m_stated != 0 ? m_stated : UINT32_MAX;
    std::memcpy(m_target, m_own.get(), std::min({written, reported, room}));
}

} // namespace zerix::api
