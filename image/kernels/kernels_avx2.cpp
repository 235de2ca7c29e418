#include "image/kernels/kernels.h"

namespace zerix {

void OverlayAvx2(Kernels &) {}

} // namespace zerix
