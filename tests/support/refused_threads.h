// While it lives, the system refuses every new thread: their stacks are larger than any memory. For
// GNU systems. No other thread may start one meanwhile.
#pragma once

#include <cstdint>
#include <pthread.h>

namespace zerix::test {

class RefusedThreads {
public:
    RefusedThreads()
    {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_getstacksize(&attributes, &m_before);
        pthread_attr_destroy(&attributes);
        SetStackSize(SIZE_MAX / 4 * 3 & ~size_t{0xFFFF});
    }
    ~RefusedThreads() { SetStackSize(m_before); }
    RefusedThreads(const RefusedThreads &) = delete;
    RefusedThreads &operator=(const RefusedThreads &) = delete;

private:
    static void SetStackSize(size_t bytes)
    {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, bytes);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }

    size_t m_before = 0;
};

} // namespace zerix::test
