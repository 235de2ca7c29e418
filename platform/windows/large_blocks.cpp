// Large pages would ask for a privilege that few users have.
#include "platform/large_blocks.h"

#include <malloc.h>

namespace zerix {

namespace {

constexpr size_t kCacheLine = 64;

} // namespace

void *AllocateBlock(size_t bytes) { return _aligned_malloc(bytes, kCacheLine); }

void FreeBlock(void *block) { _aligned_free(block); }

} // namespace zerix
