// What suits a camera of which a rack file tells nothing, and which block tells of what.
#include "sim/capabilities.h"

#include "sim/camera_traits.h"
#include "sim/register_map.h"
#include "sim/sensor.h"

namespace zerix::sim {
namespace {

uint32_t Suitable(const CameraDescription &description)
{
    uint32_t bits = kHighSensitivity | kBlackout;
    if (HasRegulatedCooling(description))
        bits |= kFan;
    if (description.model != model::kBenchmate) // it bins by three
        bits |= kEightfoldBinning;
    if (description.hardwareVersion >= 2)
        bits |= kDualChannel;
    if (description.model != model::kBenchmate && description.model != model::kMetrol)
        bits |= kDoubleShot;
    const SensorType *sensor = FindSensorType(description.ccdModel);
    if (sensor != nullptr && sensor->electronMultiplying)
        bits |= kMultiplication | kShutterDelay | kDither | kHighGain | kVerticalClock | kKeelEm |
                kLockedGain;
    return bits;
}

} // namespace

uint32_t CapabilitiesOf(const CameraDescription &description)
{
    uint32_t bits = description.capabilities.value_or(Suitable(description));
    if (HasRegulatedCooling(description))
        bits |= kRegulatedCooling;
    if (!IsAtLeast(description.information, 2, 2))
        bits &= ~static_cast<uint32_t>(kEightfoldBinning);
    return bits;
}

} // namespace zerix::sim
