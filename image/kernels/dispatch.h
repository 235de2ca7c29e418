// Which kernels run: chosen once, by processor, system and ZERIX_SIMD.
#pragma once

#include "image/kernels/kernels.h"
#include "platform/simd_level.h"

namespace zerix {

[[nodiscard]] const Kernels &ChosenKernels();

// Those of one level, which the processor must have before they are called.
[[nodiscard]] Kernels KernelsOfLevel(SimdLevel level);

} // namespace zerix
