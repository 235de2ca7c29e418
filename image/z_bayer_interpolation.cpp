// The Bayer filter: settings, and the way of a mosaic through a pipeline.
#include "image/z_bayer_interpolation.h"

#include <new>

#include "image/bayer_method.h"
#include "image/bayer_sweep.h"
#include "image/z_ex_image.h"

namespace ZX {

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

int16_t ZBayerInterpolation::Init(uint32_t width, uint32_t)
{
    const std::lock_guard lock(m_sweepMutex);
    m_sweep.reset(new (std::nothrow) zerix::BayerSweep);
    if (m_sweep)
        static_cast<void>(m_sweep->Reserve(width));
    return kFilterOk;
}

int16_t ZBayerInterpolation::Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out)
{
    const uint32_t format = m_outputFormat;
    if (!IsBayerFormat(in->imageFormat) || !IsColourFormat(format))
        return kFilterNothingToDo;
    const std::lock_guard lock(m_sweepMutex);
    if (!m_sweep)
        return kFilterNotInitialised;
    const uint32_t sampleBytes = zerix::SampleBytesOf(format);
    if (sampleBytes == 0 || !m_sweep->Reserve(in->width))
        return kFilterBadFormat;
    m_sweep->Run({.mosaic = in->pBuffer,
                  .mosaicBytes = in->size != 0 ? in->size : SIZE_MAX,
                  .width = in->width,
                  .height = in->height,
                  .pattern = in->colourPattern,
                  .output = out->pBuffer,
                  .format = format,
                  .method = zerix::MethodOfAlgorithm(m_algorithm)});
    out->size = ZExImage::ImageFormatByteSize(format) * in->width * in->height;
    out->imageFormat = format;
    out->width = in->width;
    out->height = in->height;
    return kFilterOk;
}

uint32_t ZBayerInterpolation::GetNeededOutputBufferSize(ZInImageBufferStruct *in)
{
    if (!IsBayerFormat(in->imageFormat))
        return ZImageFilter::GetNeededOutputBufferSize(in);
    return in->size * ZExImage::ImageFormatByteSize(m_outputFormat);
}

} // namespace ZX
