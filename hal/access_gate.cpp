// The register accesses of a device that are on the bus.
#include "hal/access_gate.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace zerix::hal {

namespace {

// Longer than any write of a stream's end takes; a thread that was ended against its will in one
// holds up nobody for ever.
constexpr auto kLongestNextWrite = std::chrono::seconds(5);

bool IsAnother(const std::optional<std::thread::id> &thread)
{
    return thread && *thread != std::this_thread::get_id();
}

} // namespace

void AccessGate::BeginClosing()
{
    const std::lock_guard lock(m_mutex);
    if (!m_closer)
        m_closer = std::this_thread::get_id();
    m_changed.notify_all();
}

void AccessGate::EndClosing()
{
    const std::lock_guard lock(m_mutex);
    if (!IsAnother(m_closer))
        m_closer.reset();
}

void AccessGate::Reopen()
{
    const std::lock_guard lock(m_mutex);
    m_closer.reset();
}

bool AccessGate::IsClosing() const
{
    const std::lock_guard lock(m_mutex);
    return m_closer.has_value();
}

void AccessGate::SetNextWriter(std::optional<std::thread::id> thread)
{
    const std::lock_guard lock(m_mutex);
    m_nextWriter = thread;
    m_changed.notify_all();
}

// Cancelled under the lock, so that no request goes away meanwhile.
void AccessGate::EndPresent()
{
    std::unique_lock lock(m_mutex);
    const uint64_t next = m_nextTicket;
    if (AwaitBefore(next, kAccessPatienceMilliseconds, lock))
        return;
    for (const Access &access : m_onBus) {
        if (access.ticket < next)
            access.request->Cancel();
    }
    if (AwaitBefore(next, kCancelPatienceMilliseconds, lock))
        return;
    std::erase_if(m_onBus, [next](const Access &access) { return access.ticket < next; });
    m_changed.notify_all();
}

bool AccessGate::AwaitEmpty(uint32_t timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                              [this] { return m_inside == 0; });
}

bool AccessGate::AwaitBefore(uint64_t ticket, uint32_t timeoutMilliseconds,
                             std::unique_lock<std::mutex> &lock)
{
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), [&] {
        return std::none_of(m_onBus.begin(), m_onBus.end(),
                            [ticket](const Access &access) { return access.ticket < ticket; });
    });
}

bool AccessGate::IsShutOut() const { return IsAnother(m_closer); }

bool AccessGate::HasToWait(Kind kind) const
{
    return kind == Kind::kWrite && IsAnother(m_nextWriter);
}

std::optional<uint64_t> AccessGate::Enter(DeviceRequest &request, Kind kind)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, kLongestNextWrite, [&] { return IsShutOut() || !HasToWait(kind); });
    if (IsShutOut())
        return std::nullopt;
    try {
        m_onBus.push_back({m_nextTicket, &request});
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
    ++m_inside;
    return m_nextTicket++;
}

void AccessGate::Leave(uint64_t ticket)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_onBus, [ticket](const Access &access) { return access.ticket == ticket; });
    --m_inside;
    m_changed.notify_all();
}

bool AccessGate::IsOnBus(uint64_t ticket) const
{
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_onBus.begin(), m_onBus.end(),
                       [ticket](const Access &access) { return access.ticket == ticket; });
}

} // namespace zerix::hal
