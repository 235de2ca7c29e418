// The register accesses of a device that are on the bus.
#include "hal/access_gate.h"

#include <algorithm>
#include <chrono>

namespace zerix::hal {

void AccessGate::BeginClosing()
{
    const std::lock_guard lock(m_mutex);
    m_closer = std::this_thread::get_id();
}

void AccessGate::EndClosing()
{
    const std::lock_guard lock(m_mutex);
    m_closer.reset();
}

bool AccessGate::IsClosing() const
{
    const std::lock_guard lock(m_mutex);
    return m_closer.has_value();
}

bool AccessGate::AwaitPresent(uint32_t timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    const uint64_t next = m_nextTicket;
    return m_left.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), [&] {
        return std::none_of(m_onBus.begin(), m_onBus.end(),
                            [next](uint64_t ticket) { return ticket < next; });
    });
}

std::optional<uint64_t> AccessGate::Enter()
{
    const std::lock_guard lock(m_mutex);
    if (m_closer && *m_closer != std::this_thread::get_id())
        return std::nullopt;
    m_onBus.push_back(m_nextTicket);
    return m_nextTicket++;
}

void AccessGate::Leave(uint64_t ticket)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_onBus, ticket);
    m_left.notify_all();
}

} // namespace zerix::hal
