// The register accesses of a device that are on the bus, so that whoever waits for one can end it;
// and the gate that lets only the closing thread through while a connection closes. Any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zerix::hal {

class AccessGate {
public:
    // On the bus for as long as it lives; false for one that is shut out.
    class Pass {
    public:
        explicit Pass(AccessGate &gate) : m_gate(gate), m_ticket(gate.Enter()) {}
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

private:
    std::optional<uint64_t> Enter();
    void Leave(uint64_t ticket);

    mutable std::mutex m_mutex;
    std::condition_variable m_left;
    std::vector<uint64_t> m_onBus; // tickets, which count up
    uint64_t m_nextTicket = 0;
    std::optional<std::thread::id> m_closer;
};

} // namespace zerix::hal
