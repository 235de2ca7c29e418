#include "image/kernels/kernels.h"

namespace zerix {

void OverlayAvx512(Kernels &) {}

} // namespace zerix
