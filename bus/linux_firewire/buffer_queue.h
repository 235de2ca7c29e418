// The receive buffers that the hardware layer has queued, and the one that is being filled.
//
// Threads: used under the lock of the node's handle.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hal/requests/request_book.h"

namespace zerix::bus::linux_firewire {

class BufferQueue {
public:
    // Makes room for so many at once: Add needs no memory up to there.
    void Reserve(size_t count) { m_buffers.reserve(count); }
    void Add(kernel::RequestId id, std::span<uint8_t> buffer) { m_buffers.push_back({id, buffer}); }
    // The buffer isn't written any more.
    void Drop(kernel::RequestId id);
    [[nodiscard]] size_t Count() const { return m_buffers.size(); }

    // Puts a packet into the next slot. The request whose buffer is full by that, and leaves the
    // queue; 0 for none. There must be a buffer.
    kernel::RequestId Put(std::span<const uint8_t> payload);

    // The request of any buffer, which leaves the queue; nothing from an empty one.
    std::optional<kernel::RequestId> TakeAny();

private:
    struct Buffer {
        kernel::RequestId id;
        std::span<uint8_t> bytes;
    };
    std::vector<Buffer> m_buffers; // the first to be filled first
    uint32_t m_slotsFilled = 0;    // of the first
};

} // namespace zerix::bus::linux_firewire
