#include "image/kernels/kernels.h"

namespace zerix {

void OverlayLookupSse41(Kernels &) {}

} // namespace zerix
