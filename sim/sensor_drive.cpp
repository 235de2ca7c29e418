// Modes, voltages and clocks, relative to their defaults.
#include "sim/sensor_drive.h"

#include <algorithm>

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/register_map.h"

namespace zerix::sim {
namespace {

using Words = std::span<const uint32_t>;

constexpr double kHighSensitivityDecibels = 6.0205999132796239; // twice
constexpr double kHighGainDecibels = 12.041199826559248;        // four times
constexpr double kCalibrationSteps = 1024;
constexpr double kLostPerTransferCount = 1e-4; // of the charge
constexpr uint32_t kBorderPixels = 4;          // for a count of the miscellaneous word
constexpr uint32_t kBorderMask = 0xF;

bool Has(const CameraDescription &description, uint32_t capability)
{
    return (CapabilitiesOf(description) & capability) != 0;
}

// How far a register is from its default, which 0 stands for.
int32_t FromDefault(Words words, RegisterField field, uint32_t byDefault)
{
    const uint32_t value = ReadField(words, field);
    return value == 0 ? 0 : static_cast<int32_t>(value) - static_cast<int32_t>(byDefault);
}

double Away(Words words, RegisterField field, uint32_t byDefault)
{
    const int32_t away = FromDefault(words, field, byDefault);
    return away < 0 ? -away : away;
}

void PlanModes(const CameraDescription &description, Words words, ExposureSettings &exposure)
{
    const auto isOn = [&](uint32_t capability, RegisterField field) {
        return Has(description, capability) && ReadField(words, field) != 0;
    };
    exposure.isBlackedOut = isOn(kBlackout, control::kBlackoutMode);
    exposure.isDithered = isOn(kDither, control::kDitherMode);
    if (isOn(kHighSensitivity, control::kHighSensitivityMode))
        exposure.gaindB += kHighSensitivityDecibels;
    if (isOn(kHighGain, control::kHighGainMode))
        exposure.gaindB += kHighGainDecibels;
}

// The higher the substrate, the earlier a well overflows; clearing leaves charge where its pulse is
// off; the reset's level is the black level; a clock that is off leaves charge behind.
void PlanVoltages(Words words, ExposureSettings &exposure)
{
    const uint32_t substrate = ReadField(words, control::kSubstrate);
    if (substrate != 0)
        exposure.fullWell =
            std::clamp(static_cast<double>(voltage::kSubstrate) / substrate, 0.25, 4.0);
    exposure.leftOverElectrons = Away(words, control::kSubstratePulse, voltage::kSubstratePulse);
    const int32_t range = 1 << exposure.converterBits;
    exposure.offsetCounts +=
        FromDefault(words, control::kResetLevel, voltage::kResetLevel) * (range / 256) / 64;
    const double away = Away(words, control::kClock1, voltage::kClock1) +
                        Away(words, control::kClock2, voltage::kClock2) +
                        Away(words, control::kClock3, voltage::kClock3) +
                        Away(words, control::kClock4, voltage::kClock4);
    exposure.transferred = std::max(1.0 - away * kLostPerTransferCount, 0.0);
}

} // namespace

void PlanDrive(const CameraDescription &description, Words words, ExposureSettings &exposure)
{
    PlanModes(description, words, exposure);
    if (HasVoltages(description))
        PlanVoltages(words, exposure);
    if (HasSecondChannel(description))
        exposure.secondChannelGain =
            1.0 + FromDefault(words, control::kChannelCalibration, kDefaultCalibration) /
                      kCalibrationSteps;
    const uint32_t most = exposure.outputBits > 1 ? exposure.outputBits - 1u : 0;
    exposure.droppedBits = std::min(ReadField(words, control::kCompression), most);
}

int64_t ExtraReadoutNanoseconds(const CameraDescription &description, const SensorType &sensor,
                                Words words)
{
    int64_t extra = 0;
    if (Has(description, kVerticalClock))
        extra += int64_t{FromDefault(words, control::kVerticalClock, kDefaultVerticalClock)} *
                 kVerticalClockNanoseconds * sensor.rows;
    if (Has(description, kShutterDelay))
        extra += int64_t{FromDefault(words, control::kShutterCloseDelay, kDefaultShutterDelay)} *
                 kShutterDelayNanoseconds;
    return extra;
}

SensorType ReadPart(const CameraDescription &description, const SensorType &sensor, Words words)
{
    SensorType part = sensor;
    if (HasVoltages(description)) {
        const uint32_t border =
            kBorderPixels * (ReadField(words, control::kMiscellaneous) & kBorderMask);
        part.columns -= std::min(border, part.columns - 1);
        part.rows -= std::min(border, part.rows - 1);
    }
    return part;
}

} // namespace zerix::sim
