// The register accesses of a device that are on the bus, so that whoever waits for one can end it;
// and the gate that lets only the closing thread through while a connection closes. Any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "hal/kernel_driver.h"

namespace zerix::hal {

class AccessGate {
public:
    // On the bus with its request for as long as it lives; false for one that is shut out. The
    // request outlives it.
    class Pass {
    public:
        Pass(AccessGate &gate, kernel::Overlapped &request)
            : m_gate(gate), m_ticket(gate.Enter(request))
        {
        }
        ~Pass()
        {
            if (m_ticket)
                m_gate.Leave(*m_ticket);
        }
        Pass(const Pass &) = delete;
        Pass &operator=(const Pass &) = delete;
        explicit operator bool() const { return m_ticket.has_value(); }

    private:
        AccessGate &m_gate;
        std::optional<uint64_t> m_ticket;
    };

    // From now on only this thread passes.
    void BeginClosing();
    void EndClosing();
    [[nodiscard]] bool IsClosing() const;

    // Waits until every access that is on the bus now is over. False if that takes longer.
    bool AwaitPresent(uint32_t timeoutMilliseconds);

    // The same, and then calls `cancel` with the requests of those that are still there.
    void EndPresent(uint32_t timeoutMilliseconds,
                    const std::function<void(kernel::Overlapped &)> &cancel);

private:
    struct Access {
        uint64_t ticket; // they count up
        kernel::Overlapped *request;
    };

    std::optional<uint64_t> Enter(kernel::Overlapped &request);
    void Leave(uint64_t ticket);
    bool AwaitBefore(uint64_t ticket, uint32_t timeoutMilliseconds,
                     std::unique_lock<std::mutex> &lock);

    mutable std::mutex m_mutex;
    std::condition_variable m_left;
    std::vector<Access> m_onBus;
    uint64_t m_nextTicket = 0;
    std::optional<std::thread::id> m_closer;
};

} // namespace zerix::hal
