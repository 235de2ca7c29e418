// Multiplication in registers of 32 bytes.
#include "image/kernels/registers_avx2.h"

#include "image/kernels/scale_steps.h"

namespace zerix {

void OverlayScaleAvx2(Kernels &kernels)
{
    kernels.bytes.scale = ScaleBytes;
    kernels.words.scale = ScaleWords;
    kernels.words.clampValues = ClampValues;
}

} // namespace zerix
