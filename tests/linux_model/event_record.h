// The events of a device file, laid out as a 64-bit kernel does, whatever the program is.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include <linux/firewire-cdev.h>

namespace zerix::linux_model {

using Event = std::vector<uint8_t>;

class EventRecord {
public:
    EventRecord(uint64_t closure, uint32_t type) { Put(closure).Put(type); }
    explicit EventRecord(Event bytes) : m_bytes(std::move(bytes)) {}

    template <typename Word>
    EventRecord &Put(Word word) requires(std::is_arithmetic_v<Word>)
    {
        const size_t at = m_bytes.size();
        m_bytes.resize(at + sizeof word);
        std::memcpy(m_bytes.data() + at, &word, sizeof word);
        return *this;
    }
    EventRecord &Put(std::span<const uint8_t> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    // Zeros up to so many bytes.
    Event Take(size_t leastBytes = 0)
    {
        if (m_bytes.size() < leastBytes)
            m_bytes.resize(leastBytes);
        return std::move(m_bytes);
    }

private:
    Event m_bytes;
};

// The fields, then padding to eight bytes, of which the records with data at their end count the
// padding twice.
inline constexpr size_t kBusResetBytes = 40;
inline constexpr size_t kBusResetFieldBytes = 36; // what GET_INFO writes
inline constexpr size_t kResponseBytes = 24;
inline constexpr size_t kResponseHeadBytes = 20;
inline constexpr size_t kIsoInterruptBytes = 24;

} // namespace zerix::linux_model
