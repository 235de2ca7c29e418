// The Noctis B1: a fast readout with packets of its own reckoning, and one port for good.
#pragma once

#include "camera/models/model_camera.h"
#include "camera/packet_size.h"

namespace zerix {

// Bytes of a Noctis B1's packet, a multiple of 4; may be more than the bus gives. Every firmware
// alike.
[[nodiscard]] uint16_t NoctisB1PacketSize(const PacketDemand &demand, const PacketLimits &limits);

} // namespace zerix

namespace ZX {

class ZERIX_API NoctisB1 final : public ModelCamera {
public:
    explicit NoctisB1(HALCamera camera);

    // Setting a port does nothing, and says that it is done.
    uint32_t GetReadoutPort() override;
    uint16_t SetReadoutPort(uint32_t port) override;
    using ModelCamera::CalculateRequiredPacketSize;
    uint16_t CalculateRequiredPacketSize(bool limit) override;
};

} // namespace ZX
