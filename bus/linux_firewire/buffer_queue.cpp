// Slots of receive buffers.
#include "bus/linux_firewire/buffer_queue.h"

#include <cstring>

#include "hal/kernel_requests.h"

namespace zerix::bus::linux_firewire {

void BufferQueue::Drop(kernel::RequestId id)
{
    if (!m_buffers.empty() && m_buffers.front().id == id)
        m_slotsFilled = 0;
    std::erase_if(m_buffers, [id](const Buffer &buffer) { return buffer.id == id; });
}

kernel::RequestId BufferQueue::Put(std::span<const uint8_t> payload)
{
    const Buffer front = m_buffers.front();
    const size_t slotBytes = front.bytes.size() / kernel::kSlotsPerBuffer;
    uint8_t *const slot = front.bytes.data() + m_slotsFilled * slotBytes;
    const auto length = static_cast<uint16_t>(payload.size());
    std::memset(slot, 0, kernel::kSlotLengthOffset);
    std::memcpy(slot + kernel::kSlotLengthOffset, &length, sizeof length);
    if (length > 0)
        std::memcpy(slot + kernel::kSlotPayloadOffset, payload.data(), length);
    if (++m_slotsFilled < kernel::kSlotsPerBuffer)
        return 0;
    m_slotsFilled = 0;
    m_buffers.erase(m_buffers.begin());
    return front.id;
}

std::optional<kernel::RequestId> BufferQueue::TakeAny()
{
    if (m_buffers.empty())
        return std::nullopt;
    const kernel::RequestId id = m_buffers.front().id;
    m_buffers.erase(m_buffers.begin());
    m_slotsFilled = 0;
    return id;
}

} // namespace zerix::bus::linux_firewire
