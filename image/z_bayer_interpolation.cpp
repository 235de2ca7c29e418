// Settings and buffers of the Bayer filter.
#include "image/z_bayer_interpolation.h"

#include <algorithm>
#include <new>

#include "image/z_ex_image.h"

namespace ZX {

namespace {

constexpr uint64_t kLargestPixel = 6; // three channels of 16 bits
constexpr uint8_t kOpaque = 255;

std::unique_ptr<uint8_t[]> MakePlane(uint64_t bytes)
{
    if (bytes > SIZE_MAX / 2)
        return nullptr;
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[static_cast<size_t>(bytes)]);
}

} // namespace

ZBayerInterpolation::ZBayerInterpolation(uint16_t algorithm, uint16_t outputFormat)
    : m_algorithm(algorithm), m_outputFormat(outputFormat)
{
}

ZBayerInterpolation::~ZBayerInterpolation() = default;

int16_t ZBayerInterpolation::SetAlgorithm(uint16_t algorithm)
{
    m_algorithm = algorithm;
    return kFilterOk;
}

int16_t ZBayerInterpolation::SetOutputFormat(uint32_t format)
{
    m_outputFormat = format;
    return kFilterOk;
}

int16_t ZBayerInterpolation::Init(uint32_t width, uint32_t height)
{
    m_width = width;
    m_height = height;
    const uint64_t planeSize = kLargestPixel * width * height;
    // The old ones go first, so that both never stand at once.
    m_alphaPlane.reset();
    for (Plane &plane : m_fullPlanes)
        plane.reset();
    for (Plane &plane : m_quarterPlanes)
        plane.reset();
    for (Plane &plane : m_fullPlanes)
        plane = MakePlane(planeSize);
    for (Plane &plane : m_quarterPlanes)
        plane = MakePlane(planeSize / 4);
    m_alphaPlane = MakePlane(planeSize);
    if (m_alphaPlane)
        std::fill_n(m_alphaPlane.get(), planeSize, kOpaque);
    m_initialised = true;
    return kFilterOk;
}

int16_t ZBayerInterpolation::Process(ZInImageBufferStruct *, ZOutImageBufferStruct *)
{
    return kFilterNothingToDo;
}

uint32_t ZBayerInterpolation::GetNeededOutputBufferSize(ZInImageBufferStruct *in)
{
    if (!IsBayerFormat(in->imageFormat))
        return ZImageFilter::GetNeededOutputBufferSize(in);
    return in->size * ZExImage::ImageFormatByteSize(m_outputFormat);
}

} // namespace ZX
