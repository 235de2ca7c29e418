// Where packets go, and what is reported of them.
#include "tests/linux_model/iso_context.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace zerix::linux_model {
namespace {

constexpr size_t kHeaderRoom = 4096;             // the kernel's page for headers
constexpr uint32_t kStreamData = 0xA;            // transaction code
constexpr uint32_t kTransferStatus = 0x84110000; // what the card leaves above a cycle stamp
constexpr uint32_t kPacketHeaderBytes = 4;
constexpr uint32_t kStampedHeaderBytes = 8;

} // namespace

IsoContext::IsoContext(const Settings &settings, Sink sink)
    : m_settings(settings), m_sink(std::move(sink))
{
}

void IsoContext::Queue(uint32_t headerBytes, uint32_t payloadBytes, bool hasInterrupt,
                       size_t offset)
{
    const uint32_t packets = headerBytes / m_settings.headerBytes;
    const uint32_t each = payloadBytes / packets;
    for (uint32_t i = 0; i < packets; ++i)
        m_places.push_back({offset + size_t{i} * each, each, hasInterrupt && i + 1 == packets});
}

int IsoContext::Start(uint32_t tags)
{
    if (m_places.empty())
        return -ENODATA;
    m_isRunning = true;
    m_tags = tags;
    return 0;
}

uint32_t IsoContext::LargestPlace() const
{
    uint32_t largest = 0;
    for (const Place &place : m_places)
        largest = std::max(largest, place.bytes);
    return largest;
}

void IsoContext::Put(const IsoPacket &packet, std::span<uint8_t> memory)
{
    if (!m_isRunning || m_places.empty() || (m_tags >> packet.tag & 1u) == 0)
        return;
    const Place place = m_places.front();
    m_places.pop_front();
    const size_t inHeader = m_settings.headerBytes > kStampedHeaderBytes
                                ? m_settings.headerBytes - kStampedHeaderBytes
                                : 0;
    const auto rest = packet.payload.subspan(std::min(inHeader, packet.payload.size()));
    if (!memory.empty())
        std::copy_n(rest.begin(), std::min<size_t>(rest.size(), place.bytes),
                    memory.begin() + static_cast<std::ptrdiff_t>(place.offset));
    AddHeader(packet);
    if (place.hasInterrupt)
        Flush();
}

// Before the room for headers overflows, what is there is reported; older clients lose the new
// ones instead.
void IsoContext::AddHeader(const IsoPacket &packet)
{
    if (m_headers.size() + m_settings.headerBytes > kHeaderRoom) {
        if (m_settings.dropsOverflow)
            return;
        Flush();
    }
    m_lastStamp = packet.cycleStamp;
    const size_t end = m_headers.size() + m_settings.headerBytes;
    AddBigEndian(static_cast<uint32_t>(packet.payload.size()) << 16 | packet.tag << 14 |
                 packet.channel << 8 | kStreamData << 4);
    if (m_settings.headerBytes > kPacketHeaderBytes)
        AddBigEndian(kTransferStatus | packet.cycleStamp);
    const size_t fromPayload = std::min(end - m_headers.size(), packet.payload.size());
    m_headers.insert(m_headers.end(), packet.payload.begin(),
                     packet.payload.begin() + static_cast<std::ptrdiff_t>(fromPayload));
    m_headers.resize(end);
}

void IsoContext::AddBigEndian(uint32_t quadlet)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        m_headers.push_back(static_cast<uint8_t>(quadlet >> shift));
}

void IsoContext::Flush()
{
    if (m_headers.empty())
        return;
    EventRecord record(m_settings.closure, FW_CDEV_EVENT_ISO_INTERRUPT);
    record.Put(uint32_t{m_lastStamp})
        .Put(static_cast<uint32_t>(m_headers.size()))
        .Put(std::span<const uint8_t>(m_headers));
    m_sink(record.Take(kIsoInterruptBytes + m_headers.size()));
    m_headers.clear();
}

} // namespace zerix::linux_model
