#include "image/kernels/dispatch.h"

namespace zerix {

Kernels KernelsOfLevel(SimdLevel level)
{
    Kernels kernels = kScalarKernels;
    if (level >= SimdLevel::kSse41)
        OverlaySse41(kernels);
    if (level >= SimdLevel::kAvx2)
        OverlayAvx2(kernels);
    if (level >= SimdLevel::kAvx512)
        OverlayAvx512(kernels);
    return kernels;
}

const Kernels &ChosenKernels()
{
    static const Kernels kernels = KernelsOfLevel(ChosenSimdLevel());
    return kernels;
}

} // namespace zerix
