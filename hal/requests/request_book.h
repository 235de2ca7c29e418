// The pending requests of a bus: begun, finished, waited for, cancelled. A request is known by its
// number, never by an address, so that an event which comes after its request was cancelled finds
// nothing. Everything the book keeps stands in the driver words of the caller's overlapped block:
// it allocates nothing.
//
// Any thread. The book's lock is taken last: every function may be called under a bus's own lock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <span>

#include "hal/kernel_driver.h"

namespace zerix::kernel {

// Counts the requests of a book, from 1. On 32 bits it wraps after four thousand million of them.
using RequestId = uintptr_t;

class RequestBook {
public:
    RequestBook() = default;
    RequestBook(const RequestBook &) = delete;
    RequestBook &operator=(const RequestBook &) = delete;

    // Enters a request that a bus is about to serve. 0 if the block's last request is still
    // pending.
    [[nodiscard]] RequestId Begin(Overlapped &block, DeviceHandle device, uint32_t code,
                                  std::span<uint8_t> out);
    // The bus has taken it on, and it goes on. False if it was to be cancelled meanwhile: it is to
    // be cancelled now.
    [[nodiscard]] bool EndService(RequestId id);
    // Whether the request may be cancelled. One that is in service may not, as it could still be
    // queued after it; EndService tells of it.
    [[nodiscard]] bool MayCancel(RequestId id);

    // The request is over: who waits for it is woken. False if it isn't pending any more. The bus
    // writes no more to its records.
    bool Finish(RequestId id, ControlResult result);
    // The same for a request that is done with these bytes, copied to its out record: in one step,
    // as its memory may be gone once it is cancelled. More than there is room for is left out.
    bool FinishWith(RequestId id, std::span<const uint8_t> bytes);

    [[nodiscard]] bool IsPending(const Overlapped &block) const;
    // The request that is pending in this block; 0 for none.
    [[nodiscard]] RequestId PendingIn(const Overlapped &block) const;
    // The device's pending request with the lowest number above `after`, of this code if that isn't
    // 0; 0 for none.
    [[nodiscard]] RequestId NextOf(DeviceHandle device, RequestId after, uint32_t code = 0) const;
    [[nodiscard]] uint32_t CountOf(DeviceHandle device, uint32_t code = 0) const;

    // Ends all of a device's requests, of this code if that isn't 0.
    void EndAll(DeviceHandle device, uint32_t systemError, uint32_t code = 0);

    // Waits without limit, and gives the result. A block that was never used gives
    // kErrorInvalidParameter.
    ControlResult Wait(Overlapped &block);
    // Pending if it isn't over in time.
    ControlResult WaitFor(Overlapped &block, std::chrono::milliseconds timeout);

private:
    Overlapped **LinkTo(RequestId id);
    void Settle(Overlapped **link, ControlResult result);

    mutable std::mutex m_mutex;
    std::condition_variable m_finished;
    Overlapped *m_first = nullptr; // the newest
    RequestId m_lastId = 0;
};

} // namespace zerix::kernel
