// The size of the stacks of the port's threads.
#pragma once

#include <atomic>
#include <cstddef>

namespace zerix::os {

// 0 is the program's default. A test asks for more than there is, and the system refuses threads.
extern std::atomic<size_t> threadStackBytesForTest;

} // namespace zerix::os
