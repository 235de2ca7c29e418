// The packet layouts. Headers are built in the byte order that a receiver has after its swap, which
// is how they read best, and swapped at the end.
#include "sim/packetizer.h"

#include <algorithm>
#include <utility>

namespace zerix::sim {
namespace {

constexpr uint32_t kLeadBytes = 8;
constexpr uint32_t kFrameHeaderBytes = 12;
constexpr uint32_t kTrailerBytes = 4;
constexpr uint8_t kTrailerByte = 0xAA;
constexpr uint8_t kMarker = 1;
constexpr uint8_t kFrameHeaderFlag = 2;
constexpr uint32_t kSmallestPacket = kLeadBytes + kFrameHeaderBytes + kTrailerBytes + 4;

// Format 0: four sub-packets make a group, and a packet holds one group.
constexpr uint32_t kSubPacketsPerGroup = 4;
constexpr uint32_t kGroupSizeCode = 2; // 1 << 2
constexpr uint32_t kGroupLeadBytes = 2 + kFrameHeaderBytes;
constexpr uint32_t kLargestSubPacket = 1024;
constexpr uint32_t kSmallestSubPacket = 20;
constexpr uint8_t kFrameStartFlag = 0x80;

void SwapWords(uint8_t *bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
        std::swap(bytes[2 * i], bytes[2 * i + 1]);
}

// A word as the receiver's host has it, low byte first.
void PutHostWord(uint8_t *bytes, uint32_t value)
{
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}

void PutBigQuadlet(uint8_t *bytes, uint32_t value)
{
    for (uint32_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

uint32_t SubPacketBytes(uint32_t packetBytes)
{
    const uint32_t fits = (packetBytes - kLeadBytes) / kSubPacketsPerGroup & ~3u;
    return std::clamp(fits, kSmallestSubPacket, kLargestSubPacket);
}

} // namespace

void Packetizer::Begin(const FrameLayout &layout, std::span<const uint8_t> pixels)
{
    m_layout = layout;
    m_layout.packetBytes = std::max(layout.packetBytes & ~3u, kSmallestPacket);
    m_pixels.assign(pixels.begin(), pixels.end());
    m_firstFieldBytes = static_cast<uint32_t>(m_pixels.size());
    if (m_layout.twoFields)
        SplitFields();
    m_sent = 0;
    m_fieldStart = 0;
    m_atFieldStart = true;
}

bool Packetizer::Next(std::vector<uint8_t> &packet)
{
    if (m_sent >= m_pixels.size())
        return false;
    if (m_layout.streamingVersion == 0)
        MakeGroup(packet);
    else
        MakePositioned(packet);
    if (m_sent == m_firstFieldBytes && m_layout.twoFields) {
        m_fieldStart = m_sent;
        m_atFieldStart = true;
    }
    return true;
}

uint32_t Packetizer::BytesTaken() const { return m_sent; }

std::vector<uint8_t> Packetizer::IdlePacket()
{
    std::vector<uint8_t> packet(kLeadBytes + kTrailerBytes);
    packet[0] = kMarker;
    SwapWords(packet.data(), kLeadBytes / 2);
    std::fill(packet.begin() + kLeadBytes, packet.end(), kTrailerByte);
    return packet;
}

// Formats 1 and 2: every packet tells where in the frame its pixels belong.
void Packetizer::MakePositioned(std::vector<uint8_t> &packet)
{
    const bool withHeader = m_atFieldStart;
    const uint32_t lead = kLeadBytes + (withHeader ? kFrameHeaderBytes : 0);
    const uint32_t room = m_layout.packetBytes - lead - kTrailerBytes;
    const uint32_t count = std::min(room, FieldEnd() - m_sent);
    const uint32_t position = m_sent - m_fieldStart;
    if (withHeader)
        ++m_frameId;
    m_atFieldStart = false;

    packet.assign(lead + count + kTrailerBytes, 0);
    packet[0] = kMarker;
    packet[1] = withHeader ? kFrameHeaderFlag : 0;
    packet[2] = m_frameId;
    packet[4] = static_cast<uint8_t>(position >> 16);
    PutHostWord(&packet[6], position);
    SwapWords(packet.data(), kLeadBytes / 2);
    if (withHeader) {
        WriteFrameHeader(&packet[kLeadBytes], 0);
        SwapWords(&packet[kLeadBytes], kFrameHeaderBytes / 2);
    }
    std::copy_n(m_pixels.begin() + m_sent, count, packet.begin() + lead);
    std::fill_n(packet.begin() + lead + count, kTrailerBytes, kTrailerByte);
    m_sent += count;
}

// Format 0: a packet is one group of numbered sub-packets. The last group of a frame is filled up,
// so that the next frame's group begins at a number that starts one.
void Packetizer::MakeGroup(std::vector<uint8_t> &packet)
{
    const uint32_t subPacket = SubPacketBytes(m_layout.packetBytes);
    const uint32_t groupBytes = subPacket * kSubPacketsPerGroup - kGroupLeadBytes;
    const uint32_t count = std::min(groupBytes, FieldEnd() - m_sent);
    const uint32_t sizeCode = subPacket == kLargestSubPacket ? 0 : subPacket / 4;

    packet.assign(kLeadBytes + subPacket * kSubPacketsPerGroup, 0);
    PutBigQuadlet(packet.data(), m_subPacket | kGroupSizeCode << 14 | sizeCode << 16);
    uint8_t *group = &packet[kLeadBytes];
    group[0] = kMarker;
    group[1] = m_atFieldStart ? kFrameStartFlag : 0;
    if (m_atFieldStart)
        WriteFrameHeader(group + 2, static_cast<uint16_t>(groupBytes));
    SwapWords(group, kGroupLeadBytes / 2);
    std::copy_n(m_pixels.begin() + m_sent, count, packet.begin() + kLeadBytes + kGroupLeadBytes);
    m_subPacket = static_cast<uint8_t>(m_subPacket + kSubPacketsPerGroup);
    m_atFieldStart = false;
    m_sent += count;
}

void Packetizer::WriteFrameHeader(uint8_t *header, uint16_t lastWord) const
{
    const bool secondField = m_layout.twoFields && m_fieldStart > 0;
    std::fill_n(header, kFrameHeaderBytes, uint8_t{0});
    PutHostWord(header, m_layout.rollingFrameNumber);
    header[2] = m_layout.colourCode & 0x0F;
    header[3] = m_layout.tag;
    PutHostWord(header + 4, m_layout.time >> 16);
    PutHostWord(header + 6, m_layout.time);
    header[8] = secondField ? 0 : 1;
    header[9] = static_cast<uint8_t>((m_layout.bitDepth - 1) & 0x0F);
    PutHostWord(header + 10, lastWord);
}

uint32_t Packetizer::FieldEnd() const
{
    return m_sent < m_firstFieldBytes ? m_firstFieldBytes : static_cast<uint32_t>(m_pixels.size());
}

void Packetizer::SplitFields()
{
    const std::vector<uint8_t> lines = m_pixels;
    const size_t lineBytes = m_layout.lineBytes;
    const size_t count = lineBytes == 0 ? 0 : lines.size() / lineBytes;
    auto target = m_pixels.begin();
    for (size_t first : {size_t{0}, size_t{1}}) {
        for (size_t line = first; line < count; line += 2)
            target = std::copy_n(lines.begin() + static_cast<std::ptrdiff_t>(line * lineBytes),
                                 lineBytes, target);
        if (first == 0)
            m_firstFieldBytes = static_cast<uint32_t>(target - m_pixels.begin());
    }
}

} // namespace zerix::sim
