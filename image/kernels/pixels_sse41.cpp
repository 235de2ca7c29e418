#include "image/kernels/kernels.h"

namespace zerix {

void OverlayPixelsSse41(Kernels &) {}

} // namespace zerix
