// Reads control words the way the camera's firmware does.
#include "sim/frame_plan.h"

#include <algorithm>

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/register_map.h"
#include "sim/sensor_drive.h"

namespace zerix::sim {
namespace {

using Words = std::span<const uint32_t>;

constexpr float kMegahertz[] = {20.0f, 10.0f, 5.0f, 2.5f, 25.0f, 30.0f, 35.0f, 40.0f};
constexpr uint64_t kMillisecond = 1'000'000; // nanoseconds
// The places of the filter wheel, in the order in which it turns.
constexpr uint32_t kWheelRed = 0;
constexpr uint32_t kWheelGreen = 1;
constexpr uint32_t kWheelBlack = 2;
constexpr uint32_t kWheelBlue = 3;
constexpr uint32_t kWheelPlaces = 4;
constexpr uint8_t kNoFilter = 0xFF;
constexpr uint32_t kBlackLevelParts = 128; // black is this part of the converter's range
constexpr uint32_t kLegacyPacket = 4080;
constexpr uint32_t kLegacyFastPacket = 4980; // deep pixels at 20 MHz without binning

struct Binning {
    uint32_t horizontal = 1;
    uint32_t vertical = 1;
    bool symmetrical = true;
};

Binning BinningOf(const CameraDescription &description, Words words)
{
    const uint32_t vertical = ReadField(words, control::kVerticalBinningLess1) + 1;
    if (description.model == model::kMetrol)
        return {ReadField(words, control::kHorizontalBinningLess1) + 1, vertical, false};
    if (description.model == model::kBenchmate)
        return {1, vertical, false};
    const uint32_t third = (CapabilitiesOf(description) & kEightfoldBinning) != 0 ? 8 : 3;
    const uint32_t factors[] = {1, 2, third, 4};
    const uint32_t factor = factors[ReadField(words, control::kBinningCode)];
    return {factor, factor, true};
}

uint16_t OutputBits(const CameraDescription &description, Words words)
{
    if (description.model == model::kMetrol)
        return std::max<uint16_t>(description.bitDepth,
                                  9); // its pixels are words, whatever the code
    switch (ReadField(words, control::kDepthCode)) {
    case 0:
        return 8;
    case 1:
        return description.bitDepth;
    case 2:
        return 12;
    default:
        return 14;
    }
}

uint64_t ExposureOf(const CameraDescription &description, Words words, RegisterField upper,
                    RegisterField lower)
{
    const uint64_t word = ReadField(words, upper);
    return description.control.major == 1 ? word * 1000 : word << 32 | ReadField(words, lower);
}

// Red, green, blue, and round again from the start colour. Black is passed over, unless the cycle
// begins there.
uint32_t WheelPlace(Words words, uint32_t wheelFrame)
{
    constexpr uint32_t kCycle[] = {kWheelRed, kWheelGreen, kWheelBlue};
    switch (ReadField(words, control::kWheelStart)) {
    case kWheelGreen:
        return kCycle[(1 + wheelFrame) % 3];
    case kWheelBlack:
        return wheelFrame == 0 ? kWheelBlack : kCycle[(1 + wheelFrame) % 3];
    case kWheelBlue:
        return kCycle[(2 + wheelFrame) % 3];
    default:
        return kCycle[wheelFrame % 3];
    }
}

// The wheel waits at black for a cycle to begin, and turns one way.
uint64_t WheelNanoseconds(const CameraDescription &description, Words words, uint32_t wheelFrame)
{
    const uint32_t from = wheelFrame == 0 ? kWheelBlack : WheelPlace(words, wheelFrame - 1);
    const uint32_t steps = (WheelPlace(words, wheelFrame) + kWheelPlaces - from) % kWheelPlaces;
    uint32_t step = ReadField(words, control::kWheelStep);
    if ((CapabilitiesOf(description) & kDoubleShot) != 0)
        step &= ~1u; // that bit is the double shot's
    const uint64_t rest = steps == 0 ? 0 : ReadField(words, control::kWheelRest);
    return (uint64_t{steps} * step + rest) * kMillisecond;
}

bool IsWheelTurning(Words words) { return ReadField(words, control::kWheelTurns) != 0; }

// The filter before a monochrome sensor. A wheel that stands still lets through the colour that it
// is told to begin with; at red, where cameras come up, it is out of the light.
uint8_t FilterOf(Words words, uint32_t wheelFrame)
{
    if (IsWheelTurning(words))
        return static_cast<uint8_t>(WheelPlace(words, wheelFrame));
    const uint32_t start = ReadField(words, control::kWheelStart);
    return start == kWheelGreen || start == kWheelBlue ? static_cast<uint8_t>(start) : kNoFilter;
}

// Red and blue have exposures of their own only while the wheel turns.
void PlanExposureTime(const CameraDescription &description, Words words, FramePlan &plan)
{
    RegisterField upper = control::kExposure;
    RegisterField lower = control::kExposureLow;
    const uint8_t filter = IsWheelTurning(words) ? plan.exposure.filterColour : kNoFilter;
    if (filter == kWheelRed) {
        upper = control::kRedExposure;
        lower = control::kRedExposureLow;
    } else if (filter == kWheelBlue) {
        upper = control::kBlueExposure;
        lower = control::kBlueExposureLow;
    }
    plan.exposure.exposureNanoseconds = ExposureOf(description, words, upper, lower);
}

// Where the region begins, in binned pixels from the near corner, clamped to the sensor. Registers
// count it from there, wherever the readout begins. Only an Astrel E1 leaves the turning to its
// driver, which counts from the far corner of the sensor as it is unbinned, whatever the binning.
uint32_t NearPlace(uint32_t place, uint32_t size, uint32_t binnedSensor, uint32_t sensor,
                   bool isTurnedByDriver)
{
    const uint32_t furthest = binnedSensor - size;
    if (!isTurnedByDriver)
        return std::min(place, furthest);
    return std::min(sensor - size - std::min(place, sensor - size), furthest);
}

bool IsLive(const CameraDescription &description, Words words)
{
    return description.model == model::kBenchmate && ReadField(words, control::kLiveMode) != 0;
}

bool IsTurnedByDriver(const CameraDescription &description)
{
    return description.streamingVersion == 2 && description.model == model::kAstrelE1;
}

// The sensor in the pixels that regions are counted in.
struct Size {
    uint32_t columns;
    uint32_t rows;
};

Size BinnedSensor(const CameraDescription &description, const SensorType &sensor, Words words)
{
    const Binning binning = BinningOf(description, words);
    const uint32_t rowFactor =
        IsLive(description, words) ? 2 * LiveModeStep(sensor) : binning.vertical;
    return {.columns = std::max(sensor.columns / binning.horizontal, 1u),
            .rows = std::max(sensor.rows / rowFactor, 1u)};
}

// Whether a region along one axis ends within the sensor, counted as in NearPlace. Binned, a camera
// reads no more than there is, and drivers count on it; then there is but one place, and they leave
// the far corner's where the change of the binning has put it.
bool IsWithin(uint32_t place, uint32_t size, uint32_t binnedSensor, uint32_t sensor,
              bool isTurnedByDriver)
{
    if (binnedSensor < sensor)
        size = std::min(size, binnedSensor);
    if (size > binnedSensor)
        return false;
    if (!isTurnedByDriver)
        return place <= binnedSensor - size;
    const bool isWhole = size == binnedSensor && place == 0;
    return isWhole || (place <= sensor - size && sensor - place <= binnedSensor);
}

// `sensor` is the whole of it, `part` what is read out.
void PlanRegion(const CameraDescription &description, const SensorType &sensor,
                const SensorType &part, Words words, FramePlan &plan)
{
    const Binning binning = BinningOf(description, words);
    const auto [columns, rows] = BinnedSensor(description, part, words);
    // Charge of rows under different mosaic colours is never added: such rows are left out instead.
    const bool leavesOut = description.model == model::kBenchmate;
    if (leavesOut)
        plan.keptRowPairs =
            IsLive(description, words) ? 2 * LiveModeStep(sensor) : binning.vertical;

    ExposureSettings &exposure = plan.exposure;
    exposure.horizontalBinning = binning.horizontal;
    exposure.verticalBinning = leavesOut ? 1 : binning.vertical;
    exposure.width = std::min(ReadField(words, control::kWidth), columns);
    exposure.height = std::min(ReadField(words, control::kHeight), rows);
    if (leavesOut)
        exposure.height &= ~1u;
    exposure.fromFarCorner = description.streamingVersion == 2;
    const bool isTurned = IsTurnedByDriver(description);
    exposure.x =
        NearPlace(ReadField(words, control::kX), exposure.width, columns, part.columns, isTurned);
    exposure.y =
        NearPlace(ReadField(words, control::kY), exposure.height, rows, part.rows, isTurned);
    if (exposure.fromFarCorner) {
        const Size whole = BinnedSensor(description, sensor, words);
        exposure.x = whole.columns - exposure.width - exposure.x;
        exposure.y = whole.rows - exposure.height - exposure.y;
    }
    if (leavesOut) {
        exposure.y *= plan.keptRowPairs;
        exposure.height *= plan.keptRowPairs;
    }
}

// 5 is red first, 6 green before red, 7 green before blue, 8 blue first, in the order of sending.
uint8_t MosaicCode(const SensorType &sensor, const ExposureSettings &exposure)
{
    uint32_t column = exposure.x;
    uint32_t row = exposure.y;
    if (exposure.fromFarCorner) {
        column = sensor.columns - 1 - column;
        row = sensor.rows - 1 - row;
    }
    if (sensor.mosaic == Mosaic::kGrbg)
        column ^= 1u;
    return static_cast<uint8_t>(5 + (column & 1u) + 2 * (row & 1u));
}

uint8_t ColourCode(const SensorType &sensor, const ExposureSettings &exposure, bool isTurning)
{
    if (isTurning && exposure.filterColour != kNoFilter)
        return exposure.filterColour;
    const bool binned = exposure.horizontalBinning > 1 || exposure.verticalBinning > 1;
    return sensor.mosaic == Mosaic::kNone || binned ? 0 : MosaicCode(sensor, exposure);
}

void PlanAnalogue(const CameraDescription &description, const SensorType &sensor, Words words,
                  FramePlan &plan)
{
    ExposureSettings &exposure = plan.exposure;
    exposure.noise = description.noise;
    exposure.outputBits = OutputBits(description, words);
    exposure.converterBits = exposure.outputBits > 8 ? exposure.outputBits : description.bitDepth;
    exposure.bigEndian = ReadField(words, control::kLittleEndian) == 0;
    const uint32_t rate = ReadField(words, control::kRateCode);
    exposure.megahertz = rate < std::size(kMegahertz) ? kMegahertz[rate] : kMegahertz[1];
    exposure.gaindB = GainDecibels(description, ReadField(words, control::kGain));
    // The black level, so that noise isn't cut off, and above it the offset, which has 12 bits on
    // every converter.
    const uint32_t range = 1u << exposure.converterBits;
    const uint32_t offset = ReadField(words, control::kOffset) * (range / 256) / 16;
    exposure.offsetCounts = static_cast<int32_t>(range / kBlackLevelParts + offset);
    if (description.model == model::kIntensified)
        exposure.intensification = IntensifierFactor(ReadField(words, control::kIntensifierGain));
    const bool hasGainWord = control::kMultiplicationBelowMost.offset / 4 < words.size();
    if (sensor.electronMultiplying && hasGainWord) {
        const uint32_t below = ReadField(words, control::kMultiplicationBelowMost);
        exposure.electronMultiplication =
            MultiplicationFactor(below < kMostMultiplication ? kMostMultiplication - below : 0);
    }
}

void PlanLayout(const CameraDescription &description, const SensorType &sensor, Words words,
                FramePlan &plan)
{
    const ExposureSettings &exposure = plan.exposure;
    FrameLayout &layout = plan.layout;
    layout.streamingVersion = description.streamingVersion;
    layout.tag = static_cast<uint8_t>(ReadField(words, control::kTag));
    layout.colourCode = ColourCode(sensor, exposure, IsWheelTurning(words));
    layout.bitDepth = static_cast<uint8_t>(exposure.outputBits);
    layout.lineBytes = exposure.width * (exposure.outputBits > 8 ? 2 : 1);
    layout.twoFields =
        description.model == model::kBenchmate && ReadField(words, control::kLiveMode) == 0;
}

bool HasMetrolShutter(const CameraDescription &description)
{
    return description.model == model::kMetrol && description.control.major == 1 &&
           description.control.minor == 2;
}

// Mode 1 shows the exposure, mode 0 how long no trigger is taken.
uint64_t SyncNanoseconds(Words words, const FramePlan &plan)
{
    const uint64_t exposure = plan.exposure.exposureNanoseconds;
    if (ReadField(words, control::kSyncB) != 0)
        return exposure;
    return plan.leadNanoseconds + exposure + plan.readoutNanoseconds;
}

} // namespace

FramePlan PlanFrame(const CameraDescription &description, const SensorType &sensor, Words words,
                    uint32_t wheelFrame)
{
    FramePlan plan;
    if (HasMetrolShutter(description))
        plan.leadNanoseconds += uint64_t{ReadField(words, control::kMetrolShutterDelay)} * 1000;
    if (HasWheel(description, sensor)) {
        plan.exposure.filterColour = FilterOf(words, wheelFrame);
        if (IsWheelTurning(words))
            plan.leadNanoseconds += WheelNanoseconds(description, words, wheelFrame);
    }
    if (TriggerOf(words) != Trigger::kFree)
        plan.leadNanoseconds += ReadField(words, control::kTriggerDelay);
    PlanExposureTime(description, words, plan);
    const SensorType part = ReadPart(description, sensor, words);
    PlanRegion(description, sensor, part, words, plan);
    PlanAnalogue(description, sensor, words, plan);
    PlanDrive(description, words, plan.exposure);
    PlanLayout(description, sensor, words, plan);
    const uint64_t pixels =
        uint64_t{plan.exposure.width} * plan.exposure.height / plan.keptRowPairs;
    // Rates are multiples of 0.5 MHz.
    const auto halfMegahertz = static_cast<uint64_t>(plan.exposure.megahertz * 2.0f);
    const uint64_t byPixels = pixels * 2000 / halfMegahertz;
    const int64_t extra = ExtraReadoutNanoseconds(description, sensor, words);
    plan.readoutNanoseconds = static_cast<uint64_t>(
        std::max(static_cast<int64_t>(byPixels) + extra, static_cast<int64_t>(byPixels / 2)));
    plan.syncNanoseconds = SyncNanoseconds(words, plan);
    return plan;
}

bool LeavesSensor(const CameraDescription &description, const SensorType &whole, Words words)
{
    const SensorType sensor = ReadPart(description, whole, words);
    const Size binned = BinnedSensor(description, sensor, words);
    const bool isTurned = IsTurnedByDriver(description);
    return !IsWithin(ReadField(words, control::kX), ReadField(words, control::kWidth),
                     binned.columns, sensor.columns, isTurned) ||
           !IsWithin(ReadField(words, control::kY), ReadField(words, control::kHeight), binned.rows,
                     sensor.rows, isTurned);
}

uint32_t PacketLimit(const CameraDescription &description, Words words)
{
    if (IsAtLeast(description.control, 2, 3))
        return ReadField(words, control::kPacketBytes);
    const Binning binning = BinningOf(description, words);
    const bool deep = OutputBits(description, words) > 8;
    const bool at20 = ReadField(words, control::kRateCode) == 0;
    return deep && at20 && binning.horizontal == 1 ? kLegacyFastPacket : kLegacyPacket;
}

Trigger TriggerOf(Words words)
{
    switch (ReadField(words, control::kTriggerCode)) {
    case 1:
        return Trigger::kSoftware;
    case 2:
    case 3:
    case 5:
        return Trigger::kHardware;
    case 4:
        return ReadField(words, control::kTwoShots) != 0 ? Trigger::kHardwareTwoShots
                                                         : Trigger::kHardware;
    default:
        return Trigger::kFree;
    }
}

std::vector<uint8_t> KeepRowPairs(const FramePlan &plan, std::span<const uint8_t> pixels)
{
    std::vector<uint8_t> kept;
    const size_t pairBytes = size_t{plan.layout.lineBytes} * 2;
    const size_t step = pairBytes * plan.keptRowPairs;
    for (size_t start = 0; start + pairBytes <= pixels.size(); start += step)
        kept.insert(kept.end(), pixels.begin() + static_cast<std::ptrdiff_t>(start),
                    pixels.begin() + static_cast<std::ptrdiff_t>(start + pairBytes));
    return kept;
}

} // namespace zerix::sim
