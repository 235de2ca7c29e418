#include "image/kernels/kernels.h"

namespace zerix {

void OverlayLookupAvx512(Kernels &) {}

} // namespace zerix
