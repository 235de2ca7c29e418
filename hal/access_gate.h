// The register accesses of a device that are on the bus, so that whoever waits for one can end it;
// and the gate that lets only the closing thread through while a connection closes. Any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "hal/device_request.h"

namespace zerix::hal {

// A healthy bus answers within milliseconds.
inline constexpr uint32_t kAccessPatienceMilliseconds = 500;

class AccessGate {
public:
    enum class Kind { kRead, kWrite };

    // On the bus with its request for as long as it lives; false for one that is shut out. The
    // request outlives it.
    class Pass {
    public:
        Pass(AccessGate &gate, DeviceRequest &request, Kind kind)
            : m_gate(gate), m_ticket(gate.Enter(request, kind))
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

        // It was cancelled, and the driver has had its second: the access is to leave.
        [[nodiscard]] bool IsGivenUp() const { return !m_ticket || !m_gate.IsOnBus(*m_ticket); }

    private:
        AccessGate &m_gate;
        std::optional<uint64_t> m_ticket;
    };

    // From now on only this thread passes, until its EndClosing. While another thread closes,
    // nothing happens.
    void BeginClosing();
    void EndClosing();
    // A new connection begins with an open gate, whatever an earlier one left.
    void Reopen();
    [[nodiscard]] bool IsClosing() const;

    // For as long as it lives, the writes of other threads wait before they begin, so that this
    // thread's are next. One at a time.
    class NextWrite {
    public:
        explicit NextWrite(AccessGate &gate) : m_gate(gate)
        {
            m_gate.SetNextWriter(std::this_thread::get_id());
        }
        ~NextWrite() { m_gate.SetNextWriter(std::nullopt); }
        NextWrite(const NextWrite &) = delete;
        NextWrite &operator=(const NextWrite &) = delete;

    private:
        AccessGate &m_gate;
    };

    // Lets the accesses end that are on the bus now. Those that are still there after the patience
    // are cancelled, and given up a second later.
    void EndPresent();

    // Waits until nobody is inside, given up or not. False if that takes longer.
    bool AwaitEmpty(uint32_t timeoutMilliseconds);

private:
    struct Access {
        uint64_t ticket; // they count up
        DeviceRequest *request;
    };

    // Nothing for an access that is shut out, and without the memory for another.
    std::optional<uint64_t> Enter(DeviceRequest &request, Kind kind);
    void Leave(uint64_t ticket);
    bool IsOnBus(uint64_t ticket) const;
    void SetNextWriter(std::optional<std::thread::id> thread);
    // Under the mutex.
    bool IsShutOut() const;
    bool HasToWait(Kind kind) const;
    bool AwaitBefore(uint64_t ticket, uint32_t timeoutMilliseconds,
                     std::unique_lock<std::mutex> &lock);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Access> m_onBus;
    uint32_t m_inside = 0; // on the bus, or given up and about to leave
    uint64_t m_nextTicket = 0;
    std::optional<std::thread::id> m_closer;
    std::optional<std::thread::id> m_nextWriter;
};

} // namespace zerix::hal
