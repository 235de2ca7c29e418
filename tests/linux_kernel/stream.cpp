#include "stream.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>

namespace linux_kernel {

namespace {

constexpr std::size_t kPage = 4096;

std::uint64_t AsNumber(const void *pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

} // namespace

Stream::~Stream() { Unmap(); }

int Stream::Map(std::size_t bytes)
{
    bytes = (bytes + kPage - 1) / kPage * kPage;
    void *ring = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_device.File(), 0);
    if (ring == MAP_FAILED)
        return -errno;
    m_ring = static_cast<std::uint8_t *>(ring);
    m_bytes = bytes;
    return 0;
}

void Stream::Unmap()
{
    if (m_ring)
        munmap(m_ring, m_bytes);
    m_ring = nullptr;
}

int Stream::Create(std::uint32_t channel, std::uint32_t headerSize)
{
    fw_cdev_create_iso_context request{};
    request.type = FW_CDEV_ISO_CONTEXT_RECEIVE;
    request.header_size = headerSize;
    request.channel = channel;
    return m_device.Call(FW_CDEV_IOC_CREATE_ISO_CONTEXT, &request);
}

int Stream::Queue(std::size_t place, const std::vector<Entry> &entries, std::uint32_t *left)
{
    std::vector<std::uint32_t> controls;
    for (const Entry &entry : entries)
        controls.push_back(entry.payloadBytes | entry.flags | entry.headerBytes << 24);
    fw_cdev_queue_iso request{};
    request.packets = AsNumber(controls.data());
    request.data = m_ring ? AsNumber(m_ring + place) : 0;
    request.size = static_cast<std::uint32_t>(controls.size() * 4);
    const int result = m_device.Call(FW_CDEV_IOC_QUEUE_ISO, &request);
    if (left)
        *left = request.size;
    return result;
}

int Stream::Start(std::uint32_t tags, std::uint32_t sync)
{
    fw_cdev_start_iso request{};
    request.cycle = -1;
    request.sync = sync;
    request.tags = tags;
    return m_device.Call(FW_CDEV_IOC_START_ISO, &request);
}

int Stream::Stop()
{
    fw_cdev_stop_iso request{};
    return m_device.Call(FW_CDEV_IOC_STOP_ISO, &request);
}

int Stream::Flush()
{
    fw_cdev_flush_iso request{};
    return m_device.Call(FW_CDEV_IOC_FLUSH_ISO, &request);
}

std::vector<std::uint32_t> Stream::NextQuadlets(int timeoutMilliseconds) const
{
    while (const auto event = m_device.ReadEvent(timeoutMilliseconds)) {
        if (event->Type() != FW_CDEV_EVENT_ISO_INTERRUPT)
            continue;
        std::vector<std::uint32_t> quadlets(event->As<fw_cdev_event_iso_interrupt>().header_length /
                                            4);
        std::memcpy(quadlets.data(),
                    event->bytes.data() + offsetof(fw_cdev_event_iso_interrupt, header),
                    quadlets.size() * 4);
        for (std::uint32_t &quadlet : quadlets)
            quadlet = ntohl(quadlet);
        return quadlets;
    }
    return {};
}

std::vector<PacketHeader> Stream::NextHeaders(int timeoutMilliseconds) const
{
    const std::vector<std::uint32_t> quadlets = NextQuadlets(timeoutMilliseconds);
    std::vector<PacketHeader> headers;
    for (std::size_t i = 0; i + 1 < quadlets.size(); i += 2)
        headers.push_back({quadlets[i] >> 16, quadlets[i] >> 14 & 3, quadlets[i] >> 8 & 63,
                           quadlets[i] >> 4 & 15, quadlets[i] & 15, quadlets[i + 1] & 0xffff});
    return headers;
}

} // namespace linux_kernel
