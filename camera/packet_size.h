// The size of the isochronous packets that a readout rate and a bit depth need. Pure; any thread.
#pragma once

#include <cstdint>

namespace zerix {

struct PacketDemand {
    uint16_t binning; // 1 and above
    uint16_t bitDepth;
    float megahertz;
};

struct PacketLimits {
    uint16_t firmware; // the camera's firmware version
    uint16_t speed;    // of the bus, Mb/s
    uint16_t fastest;  // the biggest packet at that speed, bytes
};

// Bytes of a packet, a multiple of 4 unless `limits.fastest` cuts it, and never above that.
[[nodiscard]] uint16_t RequiredPacketSize(const PacketDemand &demand, PacketLimits limits);

// The same for cameras whose control block has no packet size, whatever the bus gives.
[[nodiscard]] uint16_t FixedPacketSize(const PacketDemand &demand);

// The biggest packet of such a camera.
inline constexpr uint16_t kFixedFastest = 4080;

} // namespace zerix
