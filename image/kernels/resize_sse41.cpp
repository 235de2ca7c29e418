#include "image/kernels/kernels.h"

namespace zerix {

void OverlayResizeSse41(Kernels &) {}

} // namespace zerix
