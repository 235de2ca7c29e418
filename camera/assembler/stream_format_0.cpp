// Format 0: a block of numbered sub-packets. 1, 2, 4 or 8 of them make a group; the first of a
// group begins with a marker and room for a frame header, the others are data from end to end.
#include <algorithm>

#include "camera/assembler/frame_assembler.h"
#include "camera/assembler/packet_words.h"

namespace zerix {

namespace {

constexpr uint32_t kLeadBytes = 8;
constexpr uint32_t kLeadQuadlets = kLeadBytes / 4;
constexpr uint32_t kGroupLeadBytes = 2 + kFrameHeaderBytes;
constexpr uint32_t kLargestSubPacket = 1024;
constexpr uint32_t kGroupBytesWord = 10; // of the frame header
constexpr uint8_t kMarker = 1;
constexpr uint8_t kFrameStartFlag = 0x80;

} // namespace

void FrameAssembler::Block(std::span<uint8_t> block)
{
    if (block.size() < kLeadBytes)
        return;
    SwapQuadlets(block.data(), kLeadQuadlets);
    const uint8_t first = block[0];
    const uint32_t groupSize = 1u << (block[1] >> 6);
    const size_t subPacketBytes = block[2] == 0 ? kLargestSubPacket : block[2] * 4u;
    const auto subPackets = block.subspan(kLeadBytes);
    const size_t count = subPackets.size() / subPacketBytes;
    for (size_t i = 0; i < count; ++i)
        SubPacket(subPackets.subspan(i * subPacketBytes, subPacketBytes),
                  static_cast<uint8_t>(first + i), groupSize);
    // Whoever fills the buffer may have come round to it again in the meantime.
    if (*static_cast<const volatile uint8_t *>(block.data()) == first)
        return;
    m_callbacks.overrun(m_callbacks.context);
    Drop();
}

void FrameAssembler::SubPacket(std::span<uint8_t> bytes, uint8_t number, uint32_t groupSize)
{
    const bool startsGroup = (number & (groupSize - 1)) == 0;
    if (number != m_expectedPacket) {
        if (!startsGroup)
            return;
        if (m_frame != nullptr)
            FillLostGroups(number, groupSize);
    }
    m_expectedPacket = static_cast<uint8_t>(number + 1);
    if (startsGroup) {
        if (!StartGroup(bytes))
            return;
        bytes = bytes.subspan(kGroupLeadBytes);
    }
    const auto count = static_cast<uint16_t>(std::min<size_t>(bytes.size(), m_bytesInGroup));
    Copy(bytes.data(), count);
    m_bytesInGroup = static_cast<uint16_t>(m_bytesInGroup - count);
}

// What was left of the present group, and the whole groups between it and the one that begins.
void FrameAssembler::FillLostGroups(uint8_t number, uint32_t groupSize)
{
    const uint32_t lost = static_cast<uint8_t>(number - m_expectedPacket);
    m_frame->status = kFrameDataMissing;
    Fill(m_bytesInGroup + lost / groupSize * m_groupBytes);
    m_bytesInGroup = 0;
}

// False if it is no group that can be read.
bool FrameAssembler::StartGroup(std::span<uint8_t> bytes)
{
    if (bytes.size() < kGroupLeadBytes)
        return false;
    SwapWords(bytes.data(), 1);
    if (bytes[0] != kMarker)
        return false;
    if ((bytes[1] & kFrameStartFlag) != 0) {
        uint8_t *header = bytes.data() + 2;
        SwapWords(header, kFrameHeaderWords);
        StartFrame(header);
        m_groupBytes = static_cast<uint16_t>(WordAt(header + kGroupBytesWord));
    }
    m_bytesInGroup = m_groupBytes;
    return true;
}

} // namespace zerix
