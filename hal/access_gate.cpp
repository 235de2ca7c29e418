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
    return AwaitBefore(m_nextTicket, timeoutMilliseconds, lock);
}

// Under the lock, so that no request is over while it is cancelled.
void AccessGate::EndPresent(uint32_t timeoutMilliseconds,
                            const std::function<void(kernel::Overlapped &)> &cancel)
{
    std::unique_lock lock(m_mutex);
    const uint64_t next = m_nextTicket;
    if (AwaitBefore(next, timeoutMilliseconds, lock))
        return;
    for (const Access &access : m_onBus) {
        if (access.ticket < next)
            cancel(*access.request);
    }
}

bool AccessGate::AwaitBefore(uint64_t ticket, uint32_t timeoutMilliseconds,
                             std::unique_lock<std::mutex> &lock)
{
    return m_left.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), [&] {
        return std::none_of(m_onBus.begin(), m_onBus.end(),
                            [ticket](const Access &access) { return access.ticket < ticket; });
    });
}

std::optional<uint64_t> AccessGate::Enter(kernel::Overlapped &request)
{
    const std::lock_guard lock(m_mutex);
    if (m_closer && *m_closer != std::this_thread::get_id())
        return std::nullopt;
    m_onBus.push_back({m_nextTicket, &request});
    return m_nextTicket++;
}

void AccessGate::Leave(uint64_t ticket)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_onBus, [ticket](const Access &access) { return access.ticket == ticket; });
    m_left.notify_all();
}

} // namespace zerix::hal
