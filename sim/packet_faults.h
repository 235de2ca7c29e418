// What a bad cable does to one packet. Pure functions.
#pragma once

#include <cstdint>
#include <vector>

namespace zerix::sim {

// The second half of the packet never comes, the trailer with it.
void CutPacket(std::vector<uint8_t> &packet);

// One data byte in the middle has other bits; header and trailer stand.
void CorruptPacket(std::vector<uint8_t> &packet);

// The marker byte is not the one that every packet begins with (in format 0, every group).
void SpoilMarker(std::vector<uint8_t> &packet, uint16_t streamingVersion);

// The trailer is another one. Format 0 has none, and its packets stay as they are.
void SpoilTrailer(std::vector<uint8_t> &packet, uint16_t streamingVersion);

} // namespace zerix::sim
