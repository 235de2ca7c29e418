// Counts what each thread takes from the heap with operator new, and lets it lack memory.
#pragma once

#include <cstdint>

namespace zerix::test {

uint64_t AllocationsOfThisThread();
// Bytes of the largest of them so far.
uint64_t LargestAllocationOfThisThread();

enum class Counted { kThatMayBeNull, kAll };

// While it lives, this thread's n-th allocation from now fails, once; counted are only those that
// answer with null then, or all.
class LackingAllocation {
public:
    explicit LackingAllocation(uint32_t n, Counted counted = Counted::kThatMayBeNull);
    ~LackingAllocation();
    LackingAllocation(const LackingAllocation &) = delete;
    LackingAllocation &operator=(const LackingAllocation &) = delete;
};

} // namespace zerix::test
