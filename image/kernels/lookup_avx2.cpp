// The 8-bit lookup in registers of 32 bytes.
#include "image/kernels/registers_avx2.h"

#include "image/kernels/lookup_steps.h"

namespace zerix {

void OverlayLookupAvx2(Kernels &kernels)
{
    kernels.bytes.lookup1 = Lookup8;
    kernels.bytes.lookup3 = Lookup3To8;
    kernels.bytes.lookup4 = Lookup4To8;
}

} // namespace zerix
