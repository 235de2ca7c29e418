#include "image/kernels/kernels.h"

namespace zerix {

void OverlayResizeAvx2(Kernels &) {}

} // namespace zerix
