// libFuzzer target: whatever comes over the bus, the frame assembler stays within its buffers.
#include "fuzz/assembler_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    zerix::fuzz::RunAssemblerInput({data, size});
    return 0;
}
