// The book of pending requests: a chain through the callers' blocks.
#include "hal/requests/request_book.h"

#include <algorithm>
#include <cstring>

namespace zerix::kernel {
namespace {

enum State : uintptr_t {
    kNeverUsed,
    kOver,
    kInService,         // the bus's operation has not come back
    kInServiceUnwanted, // the same, and it is to be cancelled then
    kPending,
};

// The words of a block. Some hold one thing while the request is pending and another after it.
enum Word : size_t {
    kState = 0,
    kCompletion = 1,
    kCode = 1,
    kSystemError = 2,
    kOutBytes = 2,
    kBytesReturned = 3,
    kId = 4,
    kDevice = 5,
    kNext = 6,
    kOut = 7,
};

Overlapped *NextOf(const Overlapped &block)
{
    return reinterpret_cast<Overlapped *>(block.driverWords[kNext]);
}

bool Matches(const Overlapped &block, DeviceHandle device, uint32_t code)
{
    return block.driverWords[kDevice] == device && (code == 0 || block.driverWords[kCode] == code);
}

bool IsUnfinished(const Overlapped &block) { return block.driverWords[kState] >= kInService; }

ControlResult ResultOf(const Overlapped &block)
{
    if (block.driverWords[kState] == kNeverUsed)
        return {Completion::kFailed, kErrorInvalidParameter, 0};
    return {static_cast<Completion>(block.driverWords[kCompletion]),
            static_cast<uint32_t>(block.driverWords[kSystemError]),
            static_cast<uint32_t>(block.driverWords[kBytesReturned])};
}

} // namespace

RequestId RequestBook::Begin(Overlapped &block, DeviceHandle device, uint32_t code,
                             std::span<uint8_t> out)
{
    const std::lock_guard lock(m_mutex);
    auto &words = block.driverWords;
    if (IsUnfinished(block))
        return 0;
    if (++m_lastId == 0)
        ++m_lastId;
    words[kState] = kInService;
    words[kCode] = code;
    words[kOutBytes] = out.size();
    words[kBytesReturned] = 0;
    words[kId] = m_lastId;
    words[kDevice] = device;
    words[kNext] = reinterpret_cast<uintptr_t>(m_first);
    words[kOut] = reinterpret_cast<uintptr_t>(out.data());
    m_first = &block;
    return m_lastId;
}

bool RequestBook::EndService(RequestId id)
{
    const std::lock_guard lock(m_mutex);
    Overlapped **const link = LinkTo(id);
    if (link == nullptr)
        return true;
    uintptr_t &state = (*link)->driverWords[kState];
    const bool isWanted = state != kInServiceUnwanted;
    state = kPending;
    return isWanted;
}

bool RequestBook::MayCancel(RequestId id)
{
    const std::lock_guard lock(m_mutex);
    Overlapped **const link = LinkTo(id);
    if (link == nullptr)
        return false;
    uintptr_t &state = (*link)->driverWords[kState];
    if (state != kPending)
        state = kInServiceUnwanted;
    return state == kPending;
}

// The link that leads to the request: the book's own or the one in the block before. Null without.
Overlapped **RequestBook::LinkTo(RequestId id)
{
    static_assert(sizeof(uintptr_t) == sizeof(void *));
    Overlapped **link = &m_first;
    while (*link != nullptr && (*link)->driverWords[kId] != id)
        link = reinterpret_cast<Overlapped **>(&(*link)->driverWords[kNext]);
    return *link != nullptr ? link : nullptr;
}

void RequestBook::Settle(Overlapped **link, ControlResult result)
{
    Overlapped &block = **link;
    *link = kernel::NextOf(block);
    block.driverWords[kCompletion] = static_cast<uintptr_t>(result.completion);
    block.driverWords[kSystemError] = result.systemError;
    block.driverWords[kBytesReturned] = result.bytesReturned;
    block.driverWords[kState] = kOver;
    m_finished.notify_all();
}

bool RequestBook::Finish(RequestId id, ControlResult result)
{
    const std::lock_guard lock(m_mutex);
    Overlapped **const link = LinkTo(id);
    if (link == nullptr)
        return false;
    Settle(link, result);
    return true;
}

bool RequestBook::FinishWith(RequestId id, std::span<const uint8_t> bytes)
{
    const std::lock_guard lock(m_mutex);
    Overlapped **const link = LinkTo(id);
    if (link == nullptr)
        return false;
    const auto &words = (*link)->driverWords;
    const size_t size = std::min<size_t>(bytes.size(), words[kOutBytes]);
    if (size > 0)
        std::memcpy(reinterpret_cast<void *>(words[kOut]), bytes.data(), size);
    Settle(link, {Completion::kDone, 0, static_cast<uint32_t>(size)});
    return true;
}

bool RequestBook::IsPending(const Overlapped &block) const
{
    const std::lock_guard lock(m_mutex);
    return IsUnfinished(block);
}

RequestId RequestBook::PendingIn(const Overlapped &block) const
{
    const std::lock_guard lock(m_mutex);
    return IsUnfinished(block) ? block.driverWords[kId] : 0;
}

RequestId RequestBook::NextOf(DeviceHandle device, RequestId after, uint32_t code) const
{
    const std::lock_guard lock(m_mutex);
    RequestId next = 0;
    for (const Overlapped *block = m_first; block != nullptr; block = kernel::NextOf(*block)) {
        const RequestId id = block->driverWords[kId];
        if (Matches(*block, device, code) && id > after && (next == 0 || id < next))
            next = id;
    }
    return next;
}

uint32_t RequestBook::CountOf(DeviceHandle device, uint32_t code) const
{
    const std::lock_guard lock(m_mutex);
    uint32_t count = 0;
    for (const Overlapped *block = m_first; block != nullptr; block = kernel::NextOf(*block))
        count += Matches(*block, device, code) ? 1 : 0;
    return count;
}

void RequestBook::EndAll(DeviceHandle device, uint32_t systemError, uint32_t code)
{
    const ControlResult ended = {Completion::kFailed, systemError, 0};
    for (RequestId id = NextOf(device, 0, code); id != 0; id = NextOf(device, id, code))
        Finish(id, ended);
}

ControlResult RequestBook::Wait(Overlapped &block)
{
    std::unique_lock lock(m_mutex);
    m_finished.wait(lock, [&] { return !IsUnfinished(block); });
    return ResultOf(block);
}

ControlResult RequestBook::WaitFor(Overlapped &block, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    if (!m_finished.wait_for(lock, timeout, [&] { return !IsUnfinished(block); }))
        return {Completion::kPending, 0, 0};
    return ResultOf(block);
}

} // namespace zerix::kernel
