// The requests of one open device. Blocks and events are the driver's own, and used again: the
// system may write to a block until its request is over, whatever the caller does with his. Any
// thread.
#pragma once

#include <atomic>
#include <list>
#include <mutex>

#include "bus/windows/system_calls.h"
#include "hal/kernel_driver.h"

namespace zerix::bus {

class PendingRequests {
public:
    PendingRequests(SystemCalls &system, SystemHandle device);
    ~PendingRequests();
    PendingRequests(const PendingRequests &) = delete;
    PendingRequests &operator=(const PendingRequests &) = delete;

    struct Buffers {
        const void *in;
        uint32_t inBytes;
        void *out;
        uint32_t outBytes;
    };

    // As KernelDriver::Control.
    kernel::ControlResult Send(uint32_t code, const Buffers &buffers,
                               kernel::Overlapped *overlapped);
    // As KernelDriver::Wait.
    kernel::ControlResult Wait(kernel::Overlapped &overlapped);
    // As KernelDriver::WaitFor.
    kernel::ControlResult WaitFor(kernel::Overlapped &overlapped, uint32_t timeoutMilliseconds);
    // The same for a block whose device is closed: pending if not even the closed handle has ended
    // its request, the result of one that was over before.
    static kernel::ControlResult AfterTheClose(const kernel::Overlapped &overlapped);
    void CancelAll() { m_system.CancelIo(m_device, nullptr); }
    // As KernelDriver::Cancel.
    void Cancel(kernel::Overlapped &overlapped);
    // Cancels, now and whatever is still being sent, and waits a second for what pends. Waits are
    // still answered. The device closes with the object, when no thread is inside any more.
    void Close();

private:
    struct Request {
        SystemOverlapped block{};
        // Under the mutex.
        bool isInUse = false;
        bool isHandedOut = false; // it pends, and a caller's block holds it
    };

    static std::list<Request> &KeptForEver();
    // Stores the result of a request that is over at once, for a later wait, too.
    kernel::ControlResult Over(kernel::Overlapped *overlapped, const kernel::ControlResult &result);
    // The request that pends in a block; null without one.
    Request *PendingIn(const kernel::Overlapped &overlapped, bool *isAnothers);
    // Null without the memory for another, and when the device is closed.
    Request *Take();
    kernel::ControlResult NotSent() const; // because there was none to take
    bool HandOut(Request &request, kernel::Overlapped &overlapped);
    // The block of the request's sender, if it has one, holds nothing from then on.
    void GiveBack(Request &request, kernel::Overlapped *holder = nullptr);
    kernel::ControlResult ResultOf(Request &request, kernel::Overlapped *holder);
    // Null if it holds none of these; under the mutex.
    Request *RequestIn(const kernel::Overlapped &overlapped) const;
    bool IsHandedOut(const Request &request);
    bool AwaitHandedOut();

    SystemCalls &m_system;
    const SystemHandle m_device;
    const uintptr_t m_owner; // marks the blocks that hold a request of these
    std::atomic<bool> m_isClosed{false};
    std::mutex m_mutex;
    // Grows, under the mutex, to the most that ever pended; not when the device is closed.
    std::list<Request> m_requests;
};

} // namespace zerix::bus
