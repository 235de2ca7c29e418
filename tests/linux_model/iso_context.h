// A receive context: a queue of places for packets, and the headers of those that came. Guarded by
// the model's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

#include "tests/linux_model/event_record.h"

namespace zerix::linux_model {

struct IsoPacket {
    std::span<const uint8_t> payload;
    uint32_t channel = 0;
    uint32_t tag = 0;
    uint16_t cycleStamp = 0; // 3 bits of seconds, 13 of cycles
};

class IsoContext {
public:
    struct Settings {
        uint32_t channel = 0;
        uint32_t headerBytes = 0; // of a packet in the interrupt's event
        uint64_t closure = 0;
        bool dropsOverflow = false; // clients of an interface below 5
    };
    // Takes the interrupt events.
    using Sink = std::function<void(Event)>;

    IsoContext(const Settings &settings, Sink sink);

    // One entry of a queue: places for as many packets as its headers say, at an offset of the
    // mapped buffer. The lengths have been checked.
    void Queue(uint32_t headerBytes, uint32_t payloadBytes, bool hasInterrupt, size_t offset);
    // 0, or -ENODATA for an empty queue. Nothing if it runs.
    int Start(uint32_t tags);
    // Keeps the queue.
    void Stop() { m_isRunning = false; }
    // Reports the headers so far.
    void Flush();

    [[nodiscard]] const Settings &Set() const { return m_settings; }
    [[nodiscard]] bool IsRunning() const { return m_isRunning; }
    [[nodiscard]] size_t PlaceCount() const { return m_places.size(); }
    [[nodiscard]] uint32_t LargestPlace() const;

    // Stores the packet in the next place. It is lost if the context doesn't run, doesn't want its
    // tag or has no place. `memory` is the mapped buffer; empty once it is unmapped.
    void Put(const IsoPacket &packet, std::span<uint8_t> memory);

private:
    struct Place {
        size_t offset;
        uint32_t bytes;
        bool hasInterrupt;
    };

    void AddHeader(const IsoPacket &packet);
    void AddBigEndian(uint32_t quadlet);

    Settings m_settings;
    Sink m_sink;
    std::deque<Place> m_places;
    std::vector<uint8_t> m_headers;
    uint16_t m_lastStamp = 0;
    uint32_t m_tags = 0;
    bool m_isRunning = false;
};

} // namespace zerix::linux_model
