// Settings of the ratio correction filter.
#include "image/z_benchmate_ratio_correction.h"

namespace ZX {

ZBenchmateRatioCorrection::ZBenchmateRatioCorrection(uint16_t outputFormat)
    : m_outputFormat(outputFormat)
{
}

int16_t ZBenchmateRatioCorrection::Init(uint32_t, uint32_t) { return kFilterOk; }

int16_t ZBenchmateRatioCorrection::SetOutputFormat(uint32_t format)
{
    m_outputFormat = format;
    return kFilterOk;
}

int16_t ZBenchmateRatioCorrection::Process(ZInImageBufferStruct *, ZOutImageBufferStruct *)
{
    return kFilterNothingToDo;
}

} // namespace ZX
