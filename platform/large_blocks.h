// Memory for what is written and read all the time: frames, and the buffers that the bus fills. Any
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zerix {

// Aligned to 64 bytes, not cleared. A block of 2 MB or more asks the system for large pages, where
// it has them: to find its way through small ones takes the processor a tenth of the time that it
// copies. Null without the memory. FreeBlock() takes it back, and null too.
[[nodiscard]] void *AllocateBlock(size_t bytes);
void FreeBlock(void *block);

struct BlockDeleter {
    void operator()(uint8_t *block) const { FreeBlock(block); }
};
using Block = std::unique_ptr<uint8_t[], BlockDeleter>;

} // namespace zerix
