// Settings of the exposure filter.
#include "image/z_auto_exposure.h"

namespace ZX {

ZAutoExposure::ZAutoExposure(bool calculateOnAllFrames)
    : m_calculateOnAllFrames(calculateOnAllFrames)
{
}

int16_t ZAutoExposure::Init(uint32_t width, uint32_t height)
{
    m_regionX = 0;
    m_regionY = 0;
    m_regionWidth = width;
    m_regionHeight = height;
    return kFilterOk;
}

int16_t ZAutoExposure::SetOutputFormat(uint32_t) { return kFilterOk; }

int16_t ZAutoExposure::Process(ZInImageBufferStruct *, ZOutImageBufferStruct *)
{
    return kFilterNothingToDo;
}

} // namespace ZX
