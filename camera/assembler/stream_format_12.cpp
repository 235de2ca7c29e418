// Formats 1 and 2: every packet tells its place in the frame, and ends with a trailer. They differ
// in nothing but the turn of the finished image.
#include "camera/assembler/frame_assembler.h"
#include "camera/assembler/packet_words.h"

namespace zerix {

namespace {

constexpr uint32_t kLeadBytes = 8;
constexpr uint32_t kTrailerBytes = 4;
constexpr uint32_t kTrailer = 0xAAAAAAAA;
constexpr uint8_t kMarker = 1;
constexpr uint8_t kForeignFlag = 1;
constexpr uint8_t kFrameHeaderFlag = 2;

bool TakeTrailer(uint8_t *trailer)
{
    uint32_t value = 0;
    std::memcpy(&value, trailer, kTrailerBytes);
    if (value != kTrailer)
        return false;
    std::memset(trailer, 0, kTrailerBytes);
    return true;
}

} // namespace

void FrameAssembler::PositionedPacket(std::span<uint8_t> packet)
{
    if (packet.size() < kLeadBytes)
        return;
    uint8_t *bytes = packet.data();
    SwapFourWords(bytes);
    if (bytes[0] != kMarker || (bytes[1] & kForeignFlag) != 0)
        return;
    const uint8_t id = bytes[2];
    FillGapBefore(uint32_t{bytes[4]} << 16 | WordAt(bytes + 6), id);

    const bool hasHeader = (bytes[1] & kFrameHeaderFlag) != 0;
    const uint32_t begin = kLeadBytes + (hasHeader ? kFrameHeaderBytes : 0);
    if (packet.size() < begin + kTrailerBytes)
        return;
    const uint32_t count = static_cast<uint32_t>(packet.size()) - begin - kTrailerBytes;
    if (!TakeTrailer(bytes + begin + count))
        return;
    if (hasHeader) {
        SwapWords(bytes + kLeadBytes, kFrameHeaderWords);
        StartFrame(bytes + kLeadBytes);
        m_framePosition = 0;
        m_frameId = id;
    }
    Copy(bytes + begin, count);
    m_framePosition += count;
}

// A lost packet shows in the next one, also if that one is then dropped itself. The difference is
// unsigned, so a position that goes back blackens the rest of the frame.
void FrameAssembler::FillGapBefore(uint32_t position, uint8_t id)
{
    if (m_frame == nullptr || m_remaining == 0)
        return;
    if (position == m_framePosition && id == m_frameId)
        return;
    m_frame->status = kFrameDataMissing;
    const uint32_t gap = id == m_frameId ? position - m_framePosition : m_remaining;
    m_framePosition = position;
    Fill(gap);
}

} // namespace zerix
