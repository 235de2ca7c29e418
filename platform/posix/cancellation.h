// Forced ends of threads are deferred cancellations. Only the port's waits and sleeps, and the
// waits of the routine's own code, may be ended: everything else here switches cancellation off,
// because its callers include destructors.
#pragma once

#include <pthread.h>

// A thread that is ended leaves its innermost frames without running them to their end, so that the
// address sanitizer's marks around their variables would stay behind. Stands before functions that
// wait and have nothing to unwind.
#define ZERIX_MAY_END_HERE __attribute__((no_sanitize("address")))

namespace zerix::os {

class CancellationOff {
public:
    CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CancellationOff() { pthread_setcancelstate(m_before, nullptr); }
    CancellationOff(const CancellationOff &) = delete;
    CancellationOff &operator=(const CancellationOff &) = delete;

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

} // namespace zerix::os
