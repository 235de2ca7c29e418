// The stack size that the port asks for.
#include "tests/support/refused_threads.h"

#include <cstdint>

#include "platform/windows/thread_stack.h"

namespace zerix::test {

RefusedThreads::RefusedThreads()
    : m_before(os::threadStackBytesForTest.exchange(SIZE_MAX / 4 * 3 & ~size_t{0xFFFF}))
{
}

RefusedThreads::~RefusedThreads() { os::threadStackBytesForTest.store(m_before); }

} // namespace zerix::test
