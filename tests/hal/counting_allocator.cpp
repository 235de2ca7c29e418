// Counts what each thread takes from the heap, and lets it lack memory: replaces operator new for
// this test program.
#include "tests/hal/counting_allocator.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local uint64_t t_allocations = 0;
thread_local uint64_t t_largest = 0;
thread_local uint32_t t_untilFailure = 0; // 0: never
thread_local zerix::test::Counted t_counted = zerix::test::Counted::kThatMayBeNull;

void *Allocate(std::size_t size)
{
    ++t_allocations;
    t_largest = std::max<uint64_t>(t_largest, size);
    return std::malloc(size == 0 ? 1 : size);
}

// The block's own address stands in front of what is handed out.
void *AllocateAligned(std::size_t size, std::size_t alignment)
{
    const std::size_t lead = std::max(alignment, sizeof(void *));
    auto *const block = static_cast<unsigned char *>(Allocate(size + 2 * lead));
    if (block == nullptr)
        return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(block) + lead;
    auto *const aligned = block + lead + (alignment - address % alignment) % alignment;
    static_cast<void **>(static_cast<void *>(aligned))[-1] = block;
    return aligned;
}

void FreeAligned(void *block)
{
    if (block != nullptr)
        std::free(static_cast<void **>(block)[-1]);
}

bool FailsNow() { return t_untilFailure != 0 && --t_untilFailure == 0; }

void *AllocateOrNull(std::size_t size) { return FailsNow() ? nullptr : Allocate(size); }

} // namespace

namespace zerix::test {

uint64_t AllocationsOfThisThread() { return t_allocations; }
uint64_t LargestAllocationOfThisThread() { return t_largest; }

LackingAllocation::LackingAllocation(uint32_t n, Counted counted)
{
    t_counted = counted;
    t_untilFailure = n;
}

LackingAllocation::~LackingAllocation() { t_untilFailure = 0; }

} // namespace zerix::test

void *operator new(std::size_t size)
{
    const bool fails = t_counted == zerix::test::Counted::kAll && FailsNow();
    if (void *block = fails ? nullptr : Allocate(size))
        return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) { return operator new(size); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return AllocateOrNull(size);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return AllocateOrNull(size);
}
void operator delete(void *block) noexcept { std::free(block); }
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete(void *block, std::size_t) noexcept { std::free(block); }
void operator delete[](void *block, std::size_t) noexcept { std::free(block); }
void operator delete(void *block, const std::nothrow_t &) noexcept { std::free(block); }
void operator delete[](void *block, const std::nothrow_t &) noexcept { std::free(block); }

void *operator new(std::size_t size, std::align_val_t alignment)
{
    if (void *block = AllocateAligned(size, static_cast<std::size_t>(alignment)))
        return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size, std::align_val_t alignment)
{
    return operator new(size, alignment);
}
void *operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return AllocateAligned(size, static_cast<std::size_t>(alignment));
}
void *operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return AllocateAligned(size, static_cast<std::size_t>(alignment));
}
void operator delete(void *block, std::align_val_t) noexcept { FreeAligned(block); }
void operator delete[](void *block, std::align_val_t) noexcept { FreeAligned(block); }
void operator delete(void *block, std::size_t, std::align_val_t) noexcept { FreeAligned(block); }
void operator delete[](void *block, std::size_t, std::align_val_t) noexcept { FreeAligned(block); }
void operator delete(void *block, std::align_val_t, const std::nothrow_t &) noexcept
{
    FreeAligned(block);
}
void operator delete[](void *block, std::align_val_t, const std::nothrow_t &) noexcept
{
    FreeAligned(block);
}
