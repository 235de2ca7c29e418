#include "image/kernels/dispatch.h"

namespace zerix {

Kernels KernelsOfLevel(SimdLevel level)
{
    Kernels kernels = kScalarKernels;
    if (level >= SimdLevel::kSse41) {
        OverlayPixelsSse41(kernels);
        OverlayLookupSse41(kernels);
        OverlayScaleSse41(kernels);
        OverlayResizeSse41(kernels);
    }
    if (level >= SimdLevel::kAvx2) {
        OverlayPixelsAvx2(kernels);
        OverlayLookupAvx2(kernels);
        OverlayScaleAvx2(kernels);
        OverlayResizeAvx2(kernels);
    }
    if (level >= SimdLevel::kAvx512)
        OverlayLookupAvx512(kernels);
    return kernels;
}

const Kernels &ChosenKernels()
{
    static const Kernels kernels = KernelsOfLevel(ChosenSimdLevel());
    return kernels;
}

} // namespace zerix
