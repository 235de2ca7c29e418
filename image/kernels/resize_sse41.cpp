// Resizing in registers of 16 bytes.
#include "image/kernels/registers_sse41.h"

#include "image/kernels/resize_steps.h"

namespace zerix {

void OverlayResizeSse41(Kernels &kernels) { OverlayResize(kernels); }

} // namespace zerix
