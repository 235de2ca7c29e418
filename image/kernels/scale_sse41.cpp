// Multiplication in registers of 16 bytes.
#include "image/kernels/registers_sse41.h"

#include "image/kernels/scale_steps.h"

namespace zerix {

void OverlayScaleSse41(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
    kernels.words.clampValues = ClampValues;
}

} // namespace zerix
