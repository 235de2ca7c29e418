// Counts what each thread takes from the heap with operator new.
#pragma once

#include <cstdint>

namespace zerix::test {

uint64_t AllocationsOfThisThread();

} // namespace zerix::test
