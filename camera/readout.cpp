// How pixels leave the camera: readout frequency, bit depth, byte order, compression, image format.
// Rate and depth stop the stream until the next commit. On the caller's thread, without a lock.
#include <limits>

#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

// Megahertz by code.
constexpr float kFrequencies[] = {20.0f, 10.0f, 5.0f, 2.5f, 25.0f, 30.0f, 35.0f, 40.0f};
constexpr uint32_t kCodeOf10 = 1;
constexpr uint32_t kFrequencyCodes = sizeof kFrequencies / sizeof *kFrequencies;

// Values of the depth's code.
constexpr uint32_t kDepth8 = 0;
constexpr uint32_t kDepthMaximum = 1;
constexpr uint32_t kDepth12 = 2;
constexpr uint32_t kDepth14 = 3;

// What switching back to big-endian data clears instead of the little-endian bit.
constexpr zerix::registers::Field kBesideLittleEndian{0x04, 1, 1};

// Values of the sensor's image format in the information block.
constexpr uint32_t kMonochromeSensor = 0;
constexpr uint32_t kBayerSensor = 1;

uint32_t CodeOfDepth(uint16_t depth)
{
    if (depth == 8)
        return kDepth8;
    return depth == 10 || depth == 12 || depth == 16 ? kDepthMaximum : kDepth14;
}

} // namespace

// Readout frequency ------------------------------------------------------------------------------

float TolvaneFWCamera::GetReadoutFrequency()
{
    const uint32_t code = Control(control::kReadoutFrequency);
    return code < kFrequencyCodes ? kFrequencies[code] : 0.0f;
}

void TolvaneFWCamera::GetReadoutFrequencyModes(std::vector<float> &modes)
{
    modes = {2.5f, 5.0f, 10.0f, 20.0f};
}

float TolvaneFWCamera::GetReadoutFrequencyDefault() { return GetReadoutFrequencyMax(); }

float TolvaneFWCamera::GetReadoutFrequencyMin()
{
    std::vector<float> modes;
    GetReadoutFrequencyModes(modes);
    float smallest = std::numeric_limits<float>::max();
    for (const float mode : modes)
        smallest = mode < smallest ? mode : smallest;
    return smallest;
}

float TolvaneFWCamera::GetReadoutFrequencyMax()
{
    std::vector<float> modes;
    GetReadoutFrequencyModes(modes);
    float largest = 0.0f;
    for (const float mode : modes)
        largest = mode > largest ? mode : largest;
    return largest;
}

// A frequency that no camera has means 10 MHz.
uint32_t TolvaneFWCamera::GetReadoutFrequencyIndex(float megahertz) const
{
    for (uint32_t code = 0; code < kFrequencyCodes; ++code)
        if (kFrequencies[code] == megahertz)
            return code;
    return kCodeOf10;
}

// Where the bus is too slow, 20 MHz take the place of what was asked for; a drop that failed has
// been printed, and counts as done until the next setting.
uint16_t TolvaneFWCamera::SetReadoutFrequency(float megahertz)
{
    const uint16_t drop =
        AdjustSettingsForMaxPacketSize(GetHorizontalBinningMode(), GetBitDepth(), &megahertz);
    const bool isSettled = drop != kStatusOk || IsKnown(control::kReadoutFrequency);
    if (megahertz == GetReadoutFrequency() && isSettled)
        return kStatusOk;
    return WriteStopped(control::kReadoutFrequency, GetReadoutFrequencyIndex(megahertz));
}

// Bit depth --------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::GetMaxBitDepth()
{
    return static_cast<uint16_t>(Information(information::kMaxBitDepthMinus1) + 1);
}

uint16_t TolvaneFWCamera::GetBitDepth()
{
    switch (Control(control::kBitDepth)) {
    case kDepth8:
        return 8;
    case kDepth12:
        return 12;
    case kDepth14:
        return 14;
    default:
        return GetMaxBitDepth();
    }
}

uint16_t TolvaneFWCamera::SetBitDepth(uint16_t depth)
{
    float frequency = GetReadoutFrequency();
    const uint16_t drop =
        AdjustSettingsForMaxPacketSize(GetHorizontalBinningMode(), depth, &frequency);
    const bool isSettled = drop != kStatusOk || IsKnown(control::kBitDepth);
    if (depth == GetBitDepth() && isSettled)
        return kStatusOk;
    return WriteStopped(control::kBitDepth, CodeOfDepth(depth));
}

// Byte order and compression ---------------------------------------------------------------------

bool TolvaneFWCamera::GetBigEndian() { return Control(control::kLittleEndian) == 0; }

// Bit 2 is only ever set: cameras come up big-endian and are switched once.
uint16_t TolvaneFWCamera::SetBigEndian(bool on)
{
    using zerix::registers::Insert;
    if (on == GetBigEndian() && IsKnown(control::kLittleEndian))
        return kStatusOk;
    const uint32_t offset = control::kMode.offset;
    if (!controlBlock.HasWord(offset))
        return kStatusNotSupported;
    const uint32_t before = controlBlock.Word(offset);
    const uint32_t sent =
        on ? Insert(before, kBesideLittleEndian, 0) : Insert(before, control::kLittleEndian, 1);
    const uint16_t status = WriteControlQuadlet(offset, sent);
    controlBlock.Store(offset, Insert(before, control::kLittleEndian, 0) | sent);
    return status;
}

uint8_t TolvaneFWCamera::GetCompression()
{
    return static_cast<uint8_t>(Control(control::kCompression));
}

uint16_t TolvaneFWCamera::SetCompression(uint8_t value)
{
    return UpdateField(control::kCompression, value);
}

// Image format -----------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::GetCCDImageFormat()
{
    switch (Information(information::kCcdImageFormat)) {
    case kMonochromeSensor:
        return 1;
    case kBayerSensor:
        return 2;
    default:
        return 0;
    }
}

// Binning mixes the colours of a mosaic: what comes out is monochrome.
uint16_t TolvaneFWCamera::GetImageFormat()
{
    switch (Information(information::kCcdImageFormat)) {
    case kMonochromeSensor:
        return GetRGBFilterCycleMode() ? 3 : 1;
    case kBayerSensor:
        return GetSymmetricalBinningMode() > 1 ? 1 : 2;
    default:
        return 0;
    }
}

} // namespace ZX
