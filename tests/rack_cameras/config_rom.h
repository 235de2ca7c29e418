// The configuration ROM of a node, in host order as the kernel keeps it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zerix::rack_cameras {

// What the virtual cameras announce themselves as.
inline constexpr uint32_t kUnitSpecifier = 0x00A1B2;
inline constexpr uint32_t kUnitVersion = 0x000101;

struct RomContents {
    uint64_t guid = 0;
    uint32_t vendor = 0; // 24 bits
    uint32_t model = 0;  // 24 bits
    uint32_t maxRec = 10;
    uint32_t linkSpeed = 3; // as the kernel's speed codes: 2 for 400 Mb/s, 3 for 800
    bool hasUnit = false;
    uint32_t unitSpecifier = 0; // 24 bits
    uint32_t unitVersion = 0;   // 24 bits
};

std::vector<uint32_t> MakeConfigRom(const RomContents &contents);

// The checksum that a ROM's blocks carry in the lower half of their first quadlet.
uint16_t RomChecksum(std::span<const uint32_t> quadlets);

} // namespace zerix::rack_cameras
