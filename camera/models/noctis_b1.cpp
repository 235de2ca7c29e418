// The Noctis B1.
#include "camera/models/noctis_b1.h"

#include <algorithm>

#include "camera/truncated.h"

namespace zerix {

namespace {

constexpr int32_t kHeader = 40;
constexpr uint16_t kPacketOf800 = 0x2000;

int32_t RateOf(uint16_t fastest)
{
    if (fastest > kPacketOf800 && fastest <= 0x2360)
        return 78;
    return fastest >= 0x1395 && fastest <= kPacketOf800 ? 70 : 40;
}

uint16_t RoundedUpToQuadlet(uint16_t size) { return static_cast<uint16_t>((size + 3) / 4 * 4); }

} // namespace

// Payload and divisor pass through single precision, as the bookings were tuned.
uint16_t NoctisB1PacketSize(const PacketDemand &demand, const PacketLimits &limits)
{
    const bool isBelow800 = limits.fastest < kPacketOf800 && limits.speed == 800;
    const int32_t room = (isBelow800 ? kPacketOf800 : limits.fastest) - kHeader;
    const int32_t bytesPerSample = (demand.bitDepth + 7) / 8;
    const auto payload = static_cast<float>(room * bytesPerSample);
    const auto divisor = static_cast<float>(RateOf(limits.fastest) * demand.binning);
    const double frequency = demand.megahertz == 2.5f ? 3.0 : static_cast<double>(demand.megahertz);
    const double size =
        static_cast<double>(payload) * frequency / static_cast<double>(divisor) + kHeader;
    return RoundedUpToQuadlet(static_cast<uint16_t>(Truncated<int64_t>(size)));
}

} // namespace zerix

namespace ZX {

NoctisB1::NoctisB1(HALCamera camera) : ModelCamera(camera, 25) {}

uint32_t NoctisB1::GetReadoutPort() { return 1; }

uint16_t NoctisB1::SetReadoutPort(uint32_t) { return kStatusOk; }

uint16_t NoctisB1::CalculateRequiredPacketSize(bool limit)
{
    zerix::PacketLimits limits{.firmware = GetFirmwareVersion(), .speed = 0, .fastest = 0};
    HAL_CameraConnectionSpeed(CameraForThreads(), &limits.speed);
    HAL_CameraFastestPacketSizeSupported(CameraForThreads(), &limits.fastest);
    const uint16_t size = zerix::NoctisB1PacketSize({.binning = GetHorizontalBinningMode(),
                                                     .bitDepth = GetBitDepth(),
                                                     .megahertz = GetReadoutFrequency()},
                                                    limits);
    return limit ? std::min(size, limits.fastest) : size;
}

} // namespace ZX
