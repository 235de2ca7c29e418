// Resizing in registers of 32 bytes.
#include "image/kernels/registers_avx2.h"

#include "image/kernels/resize_steps.h"

namespace zerix {

void OverlayResizeAvx2(Kernels &kernels) { OverlayResize(kernels); }

} // namespace zerix
