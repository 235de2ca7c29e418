// Pending requests. The bookkeeping of a request stands in the driver words of its overlapped
// block. Guarded by the bus's lock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "hal/kernel_driver.h"

namespace zerix::sim {

class RequestBook {
public:
    static bool IsPending(const kernel::Overlapped &request);
    static void Begin(kernel::Overlapped &request);

    // Ends a request and wakes who waits for it.
    void Finish(kernel::Overlapped &request, kernel::ControlResult result);

    // Waits until the request is over, and gives its result. The lock is given up meanwhile.
    kernel::ControlResult Wait(std::unique_lock<std::mutex> &lock, kernel::Overlapped &request);

    // The same, for so long at most: pending if it isn't over by then.
    kernel::ControlResult WaitFor(std::unique_lock<std::mutex> &lock, kernel::Overlapped &request,
                                  std::chrono::milliseconds timeout);

private:
    static kernel::ControlResult ResultOf(const kernel::Overlapped &request);

    std::condition_variable m_finished;
};

} // namespace zerix::sim
