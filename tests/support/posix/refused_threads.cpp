// The default stack size of GNU systems' threads.
#include "tests/support/refused_threads.h"

#include <cstdint>
#include <pthread.h>

namespace zerix::test {

namespace {

void SetStackSize(size_t bytes)
{
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

} // namespace

RefusedThreads::RefusedThreads()
{
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &m_before);
    pthread_attr_destroy(&attributes);
    SetStackSize(SIZE_MAX / 4 * 3 & ~size_t{0xFFFF});
}

RefusedThreads::~RefusedThreads() { SetStackSize(m_before); }

} // namespace zerix::test
