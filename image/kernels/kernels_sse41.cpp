#include "image/kernels/kernels.h"

namespace zerix {

void OverlaySse41(Kernels &) {}

} // namespace zerix
