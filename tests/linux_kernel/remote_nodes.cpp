#include "remote_nodes.h"

#include <chrono>
#include <utility>

namespace linux_kernel {

namespace {

constexpr std::size_t kRegisterBytes = 1 << 16;
constexpr std::chrono::seconds kPatience{10};
constexpr std::uint32_t kComplete = 0, kAddressError = 7;
// Transaction codes of reads: quadlet and block.
constexpr std::uint32_t kReadQuadlet = 4, kReadBlock = 5;

} // namespace

RemoteNodes::RemoteNodes() : m_registers(kRegisterBytes), m_thread([this] { Run(); }) {}

RemoteNodes::~RemoteNodes()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    // A reset is what the thread wakes up for.
    m_wire.Reset();
    m_thread.join();
}

void RemoteNodes::HandleWith(Handler handler)
{
    const std::lock_guard lock(m_mutex);
    m_handler = std::move(handler);
}

std::vector<std::uint8_t> RemoteNodes::Registers(std::size_t place, std::size_t length)
{
    const std::lock_guard lock(m_mutex);
    return {m_registers.begin() + static_cast<std::ptrdiff_t>(place),
            m_registers.begin() + static_cast<std::ptrdiff_t>(place + length)};
}

void RemoteNodes::SetRegisters(std::size_t place, std::vector<std::uint8_t> bytes)
{
    const std::lock_guard lock(m_mutex);
    std::copy(bytes.begin(), bytes.end(), m_registers.begin() + static_cast<std::ptrdiff_t>(place));
}

std::vector<Record> RemoteNodes::Requests()
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::optional<Record> RemoteNodes::WaitForRequest(std::size_t number)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, kPatience, [&] { return m_requests.size() > number; }))
        return std::nullopt;
    return m_requests[number];
}

std::optional<Record> RemoteNodes::WaitForNotice(fwbus_kind kind)
{
    std::optional<Record> found;
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, kPatience, [&] {
        for (auto notice = m_notices.begin(); notice != m_notices.end(); ++notice) {
            if (notice->head.kind != kind)
                continue;
            found = *notice;
            m_notices.erase(notice);
            return true;
        }
        return false;
    });
    return found;
}

void RemoteNodes::Run()
{
    for (;;) {
        for (const Record &record : m_wire.Read(-1))
            Take(record);
        const std::lock_guard lock(m_mutex);
        if (m_ending)
            return;
    }
}

void RemoteNodes::Take(const Record &record)
{
    Handler handler;
    {
        const std::lock_guard lock(m_mutex);
        (record.head.kind == FWBUS_REQUEST ? m_requests : m_notices).push_back(record);
        handler = m_handler;
    }
    m_changed.notify_all();
    if (record.head.kind != FWBUS_REQUEST)
        return;
    if (handler)
        handler(record);
    else
        AnswerFromRegisters(record);
}

void RemoteNodes::AnswerFromRegisters(const Record &request)
{
    const std::uint64_t place = request.head.offset - kRegisters;
    if (request.head.offset < kRegisters || place + request.head.length > kRegisterBytes) {
        m_wire.Answer(request.head.id, kAddressError);
        return;
    }
    if (request.head.code == kReadQuadlet || request.head.code == kReadBlock) {
        m_wire.Answer(request.head.id, kComplete, Registers(place, request.head.length));
        return;
    }
    SetRegisters(place, request.payload);
    m_wire.Answer(request.head.id, kComplete);
}

} // namespace linux_kernel
