// A receive context on a device file of its own, with its ring.
#pragma once

#include "device_file.h"

#include <cstdint>
#include <string>
#include <vector>

namespace linux_kernel {

// One entry of a queue call; `flags` are FW_CDEV_ISO_... bits.
struct Entry {
    std::uint32_t payloadBytes;
    std::uint32_t headerBytes = 8;
    std::uint32_t flags = 0;
};

struct PacketHeader {
    std::uint32_t length, tag, channel, tcode, sy;
    std::uint32_t stamp; // 3 bits of seconds, 13 of cycles
};

class Stream {
public:
    explicit Stream(const std::string &path) : m_device(path) { (void)m_device.GetInfo(); }
    ~Stream();
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    [[nodiscard]] const DeviceFile &Device() const { return m_device; }
    void Close() { m_device.Close(); }

    // Results are the calls' own, or negative errnos.
    int Map(std::size_t bytes);
    void Unmap();
    [[nodiscard]] std::uint8_t *Ring() const { return m_ring; }
    int Create(std::uint32_t channel, std::uint32_t headerSize = 8);
    // Queues from this place of the ring on. `left`: bytes of entries that were not taken.
    int Queue(std::size_t place, const std::vector<Entry> &entries, std::uint32_t *left = nullptr);
    int Start(std::uint32_t tags = FW_CDEV_ISO_CONTEXT_MATCH_ALL_TAGS, std::uint32_t sync = 0);
    int Stop();
    int Flush();

    // The quadlets of the next event's headers, in host order; empty after the time.
    [[nodiscard]] std::vector<std::uint32_t> NextQuadlets(int timeoutMilliseconds = 1000) const;
    // The same for headers of 8 bytes.
    [[nodiscard]] std::vector<PacketHeader> NextHeaders(int timeoutMilliseconds = 1000) const;

private:
    DeviceFile m_device;
    std::uint8_t *m_ring = nullptr;
    std::size_t m_bytes = 0;
};

} // namespace linux_kernel
