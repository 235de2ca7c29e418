// Damages packets in the ways that fault plans name.
#include "sim/packet_faults.h"

#include <algorithm>

namespace zerix::sim {
namespace {

constexpr uint8_t kWrongMarker = 3;
constexpr uint8_t kWrongTrailer = 0x55;
constexpr size_t kTrailerBytes = 4;
constexpr size_t kLeadWithHeader = 20;
constexpr uint8_t kFrameHeaderFlag = 2; // in the first byte on the wire; format 0 has 0 there

} // namespace

void CutPacket(std::vector<uint8_t> &packet) { packet.resize((packet.size() / 2) & ~size_t{3}); }

void CorruptPacket(std::vector<uint8_t> &packet)
{
    if (packet.empty())
        return;
    const bool hasFrameHeader = (packet[0] & kFrameHeaderFlag) != 0;
    const size_t middle = std::max(packet.size() / 2, hasFrameHeader ? kLeadWithHeader : size_t{0});
    packet[std::min(middle, packet.size() - 1)] ^= 0xFF;
}

void SpoilMarker(std::vector<uint8_t> &packet, uint16_t streamingVersion)
{
    const size_t place = streamingVersion == 0 ? 9 : 1; // the first byte after the receiver's swap
    if (place < packet.size())
        packet[place] = kWrongMarker;
}

void SpoilTrailer(std::vector<uint8_t> &packet, uint16_t streamingVersion)
{
    if (streamingVersion != 0 && packet.size() >= kTrailerBytes)
        std::fill(packet.end() - kTrailerBytes, packet.end(), kWrongTrailer);
}

} // namespace zerix::sim
