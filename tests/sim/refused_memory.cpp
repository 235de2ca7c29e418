// Counts what the virtual bus takes from the heap, and refuses it.
#include "refused_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> isCounting{false};
std::atomic<uint32_t> requests{0};
std::atomic<uint32_t> refused{0};
thread_local bool isTestsThread = false;
thread_local uint32_t busCalls = 0;
thread_local uint32_t otherCalls = 0;

bool IsRefused()
{
    if (!isCounting || otherCalls > 0 || (isTestsThread && busCalls == 0))
        return false;
    return ++requests == refused;
}

void *Allocate(std::size_t size) { return IsRefused() ? nullptr : std::malloc(size + (size == 0)); }

} // namespace

namespace zerix::test {

void RefuseRequest(uint32_t n)
{
    requests = 0;
    refused = n;
    isCounting = true;
}

uint32_t RequestsForMemory()
{
    isCounting = false;
    return requests;
}

BusCall::BusCall() { ++busCalls; }
BusCall::~BusCall() { --busCalls; }

NotTheBus::NotTheBus() { ++otherCalls; }
NotTheBus::~NotTheBus() { --otherCalls; }

void ThisIsATestsThread() { isTestsThread = true; }

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
