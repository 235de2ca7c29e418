// Counts what each thread takes from the heap: replaces operator new for this test program.
#include "tests/hal/counting_allocator.h"

#include <cstdlib>
#include <new>

namespace {

thread_local uint64_t t_allocations = 0;

void *Allocate(std::size_t size)
{
    ++t_allocations;
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

namespace zerix::test {

uint64_t AllocationsOfThisThread() { return t_allocations; }

} // namespace zerix::test

void *operator new(std::size_t size)
{
    if (void *block = Allocate(size))
        return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) { return operator new(size); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept { return Allocate(size); }
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept { return Allocate(size); }
void operator delete(void *block) noexcept { std::free(block); }
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete(void *block, std::size_t) noexcept { std::free(block); }
void operator delete[](void *block, std::size_t) noexcept { std::free(block); }
void operator delete(void *block, const std::nothrow_t &) noexcept { std::free(block); }
void operator delete[](void *block, const std::nothrow_t &) noexcept { std::free(block); }
