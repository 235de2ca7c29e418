// While it lives, the system refuses every new thread of the port: their stacks are larger than any
// memory. No other thread may start one meanwhile.
#pragma once

#include <cstddef>

namespace zerix::test {

class RefusedThreads {
public:
    RefusedThreads();
    ~RefusedThreads();
    RefusedThreads(const RefusedThreads &) = delete;
    RefusedThreads &operator=(const RefusedThreads &) = delete;

private:
    size_t m_before = 0;
};

} // namespace zerix::test
