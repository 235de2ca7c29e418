#include "platform/large_blocks.h"

#include <cstdlib>
#include <sys/mman.h>

namespace zerix {

namespace {

constexpr size_t kLargePage = size_t{2} << 20;
constexpr size_t kCacheLine = 64;

} // namespace

void *AllocateBlock(size_t bytes)
{
    void *block = nullptr;
    const bool isLarge = bytes >= kLargePage;
    if (posix_memalign(&block, isLarge ? kLargePage : kCacheLine, bytes) != 0)
        return nullptr;
#ifdef MADV_HUGEPAGE
    if (isLarge)
        static_cast<void>(madvise(block, bytes, MADV_HUGEPAGE)); // a wish
#endif
    return block;
}

void FreeBlock(void *block) { std::free(block); }

} // namespace zerix
