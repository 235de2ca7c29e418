// Packet size and bandwidth. The bandwidth is booked by the packet: what a readout needs is
// computed before streaming starts, and the booking only grows while the camera is open.
#include "camera/packet_size.h"

#include <algorithm>

#include "camera/tolvane_fw_camera.h"
#include "camera/truncated.h"
#include "hal/camera_connection.h"

namespace zerix {

namespace {

constexpr uint16_t kFirmwareOfShortHeader = 102; // also rounds down, not up
constexpr uint16_t kFirmwareOfDenseReadout = 114;
constexpr uint16_t kFastestOfDenseReadout = 8180;
constexpr uint16_t kPacketOf800 = 8192;
constexpr uint16_t kFixedBiggest = 4980;

int32_t HeaderAllowance(uint16_t firmware) { return firmware >= kFirmwareOfShortHeader ? 40 : 56; }

// Pixels' worth of readout that a packet slot covers.
int32_t Divisor(const PacketLimits &limits)
{
    if (limits.fastest > kPacketOf800 && limits.fastest <= 9056)
        return 78;
    if (limits.fastest >= 5013 && limits.fastest <= kPacketOf800)
        return 70;
    if (limits.firmware < kFirmwareOfDenseReadout)
        return 40;
    return limits.fastest <= 4096 ? 35 : 39;
}

// Single precision up to the quotient and double precision from there, as the bookings were tuned.
uint16_t UnroundedPacketSize(const PacketDemand &demand, const PacketLimits &limits)
{
    const int32_t header = HeaderAllowance(limits.firmware);
    const bool isBelow800 = limits.fastest < kPacketOf800 && limits.speed == 800;
    const int32_t room = (isBelow800 ? kPacketOf800 : limits.fastest) - header;
    const int32_t bytesPerSample = (demand.bitDepth + 7) / 8;
    const auto bytes = static_cast<float>(int64_t{room} * bytesPerSample);
    const auto divisor = static_cast<float>(Divisor(limits) * demand.binning);
    const float frequency = demand.megahertz == 2.5f ? 3.0f : demand.megahertz;
    const double size =
        static_cast<double>(bytes) * static_cast<double>(frequency) / static_cast<double>(divisor) +
        header;
    return static_cast<uint16_t>(Truncated<int64_t>(size));
}

uint16_t RoundedToQuadlet(uint16_t size, uint16_t firmware)
{
    const int excess = size % 4;
    if (excess == 0)
        return size;
    return static_cast<uint16_t>(firmware >= kFirmwareOfShortHeader ? size - excess
                                                                    : size - excess + 4);
}

} // namespace

uint16_t RequiredPacketSize(const PacketDemand &demand, PacketLimits limits)
{
    if (limits.firmware >= kFirmwareOfDenseReadout)
        limits.fastest = std::min(limits.fastest, kFastestOfDenseReadout);
    const uint16_t size = RoundedToQuadlet(UnroundedPacketSize(demand, limits), limits.firmware);
    return std::min(size, limits.fastest);
}

uint16_t FixedPacketSize(const PacketDemand &demand)
{
    const bool isBiggest = demand.bitDepth > 8 && demand.binning == 1 && demand.megahertz == 20.0f;
    return isBiggest ? kFixedBiggest : kFixedFastest;
}

} // namespace zerix

namespace ZX {

namespace control = zerix::registers::control;

namespace {

constexpr float kFastReadout = 30.0f; // needs more than the slow bus gives, unless binned
constexpr float kReadoutInstead = 20.0f;
constexpr uint16_t kSmallPacket = 4096;

uint16_t FastestOf(const HALCamera &camera)
{
    uint16_t fastest = 0;
    HAL_CameraFastestPacketSizeSupported(camera, &fastest);
    return fastest;
}

uint16_t SpeedOf(const HALCamera &camera)
{
    uint16_t speed = 0;
    HAL_CameraConnectionSpeed(camera, &speed);
    return speed;
}

} // namespace

uint32_t TolvaneFWCamera::GetMaxPacketSize() { return Control(control::kMaxPacketSize); }

uint16_t TolvaneFWCamera::SetMaxPacketSize(uint32_t bytes)
{
    if (!controlBlock.IsAtLeast(2, 3))
        return kStatusNotSupported;
    return WriteField(control::kMaxPacketSize, bytes);
}

uint16_t TolvaneFWCamera::CalculateRequiredPacketSize(uint16_t binning, uint16_t bitDepth,
                                                      float megahertz)
{
    const zerix::PacketDemand demand{
        .binning = binning, .bitDepth = bitDepth, .megahertz = megahertz};
    if (!controlBlock.IsAtLeast(2, 3))
        return zerix::FixedPacketSize(demand);
    return zerix::RequiredPacketSize(demand, {.firmware = GetFirmwareVersion(),
                                              .speed = SpeedOf(CameraForThreads()),
                                              .fastest = FastestOf(CameraForThreads())});
}

uint16_t TolvaneFWCamera::CalculateRequiredPacketSize(bool limit)
{
    const uint16_t fastest = FastestOf(CameraForThreads());
    const uint16_t required = CalculateRequiredPacketSize(GetHorizontalBinningMode(), GetBitDepth(),
                                                          GetReadoutFrequency());
    return limit ? std::min(required, fastest) : required;
}

uint16_t TolvaneFWCamera::AdjustSettingsForMaxPacketSize(uint16_t binning, uint16_t,
                                                         float *megahertz)
{
    const bool isFast = *megahertz >= kFastReadout;
    if (!isFast || binning != 1)
        return kStatusOk;
    const uint16_t fastest =
        controlBlock.IsAtLeast(2, 3) ? FastestOf(CameraForThreads()) : zerix::kFixedFastest;
    if (fastest > kSmallPacket)
        return kStatusOk;
    *megahertz = kReadoutInstead;
    return SetReadoutFrequency(kReadoutInstead);
}

// What the start needs is compared with what the connection holds, and not with the size that is
// remembered: that also tells of sizes which were refused or only asked for.
uint16_t TolvaneFWCamera::BookPackets()
{
    const uint16_t required = CalculateRequiredPacketSize(true);
    if (required <= zerix::hal::HeldPacketBytes(CameraForThreads()))
        return kStatusOk;
    SetCurrentFireWirePacketSize(required);
    return ReallocateBandwidth(required);
}

// The booking is stored before it is tried, and stays so when the bus refuses it.
uint16_t TolvaneFWCamera::ReallocateBandwidth(uint16_t packetBytes)
{
    const uint16_t told = SetMaxPacketSize(packetBytes);
    SetCurrentFireWirePacketSize(packetBytes);
    if (told != kStatusOk && told != kStatusNotSupported)
        return told;
    if (told == kStatusOk)
        if (const uint16_t status = Commit())
            return status;
    const uint32_t error = HAL_CameraReallocateBandwidth(&halCamera, packetBytes, GetTagCode());
    if (error == HAL_NO_ERROR)
        return kStatusOk;
    ReportHalError(error);
    return kStatusNoBandwidth;
}

} // namespace ZX
