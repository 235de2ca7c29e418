// Fills the information block. The whole of the newest layout is filled and then cut to the
// version's length: what a version lacks lies past its end.
#include "sim/information_block.h"

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/register_map.h"

namespace zerix::sim {
namespace {

constexpr uint32_t kNewestWords = 215;
constexpr uint64_t kShortestExposure = 10'000; // nanoseconds
constexpr uint64_t kLongestExposure = 1'073'741'823'000;
constexpr uint32_t kSerialOffset = 0x48;
constexpr uint32_t kSerialBytes = 28;

using Words = std::vector<uint32_t>;

uint32_t Halves(uint32_t upper, uint32_t lower) { return upper << 16 | (lower & 0xFFFFu); }
uint32_t Limits(uint32_t first, uint32_t second) { return first << 20 | second << 4; }

void Put(Words &words, uint32_t offset, uint32_t value) { WriteField(words, {offset}, value); }

void PutIdentity(Words &words, const CameraDescription &description, const SensorType &sensor)
{
    Put(words, 0x00, VersionWord(description.information));
    Put(words, 0x30, static_cast<uint32_t>(description.uniqueId >> 32));
    Put(words, 0x34, static_cast<uint32_t>(description.uniqueId));
    Put(words, 0x38, Halves(description.model, 0));
    Put(words, 0x3C, description.hardwareVersion);
    Put(words, 0x40, Halves(description.firmwareBuild, description.firmwareVersion));
    Put(words, 0x44, Halves(description.ccdModel, sensor.mosaic == Mosaic::kNone ? 0 : 1u << 8));
    Put(words, 0x324, description.hardwareVersion <= 3 ? description.hardwareVersion : 0);
    for (uint32_t i = 0; i < kSerialBytes && i < description.serial.size(); ++i)
        WriteField(words, {kSerialOffset + (i & ~3u), 24 - 8 * (i & 3u), 8},
                   static_cast<uint8_t>(description.serial[i]));
}

void PutFormat(Words &words, const CameraDescription &description, const SensorType &sensor)
{
    const bool eightfold = (CapabilitiesOf(description) & kEightfoldBinning) != 0;
    Put(words, 0x20, description.bitDepth - 1u);
    Put(words, 0x28, description.cooler ? 1u << 31 : 0);
    Put(words, 0xA4, description.streamingVersion);
    Put(words, 0xA8, eightfold ? 1 : 0);
    if (description.model == model::kBenchmate) {
        // The live mode's size stands where others have the second binning mode and the cooler.
        Put(words, 0x14, Halves(sensor.columns, sensor.rows / 2));
        Put(words, 0x28, sensor.rows / (2 * LiveModeStep(sensor)));
    }
}

// Version 1 gives microseconds in one word, later ones nanoseconds in two.
void PutExposure(Words &words, const CameraDescription &description, uint32_t upper, uint32_t lower,
                 uint64_t nanoseconds)
{
    if (description.information.major == 1)
        return Put(words, upper, static_cast<uint32_t>(nanoseconds / 1000));
    Put(words, upper, static_cast<uint32_t>(nanoseconds >> 32));
    Put(words, lower, static_cast<uint32_t>(nanoseconds));
}

void PutTiming(Words &words, const CameraDescription &description)
{
    PutExposure(words, description, 0x0C, 0x9C, kShortestExposure);
    PutExposure(words, description, 0x68, 0xA0, kLongestExposure);
    Put(words, 0x24, 0x00500050); // the wheel: 80 ms to be at rest, 80 ms from place to place
    Put(words, 0x8C, 1000);
    Put(words, 0x90, 1'000'000'000);
    Put(words, 0x94, 0);
    Put(words, 0x98, 1000);
}

void PutAnalogue(Words &words, const CameraDescription &description)
{
    const bool live = description.model == model::kBenchmate;
    const bool doubleShot = (CapabilitiesOf(description) & kDoubleShot) != 0;
    Put(words, 0x08, Limits(kDefaultGain, kDefaultOffset));
    Put(words, 0x74, (doubleShot ? 1u : 0) | (live ? 2u : 0) | 4u);
    Put(words, 0x78, Limits(0, 4095));
    Put(words, 0x7C, Limits(0, 4095));
    const double slope =
        HasPiecewiseGain(description) ? kPiecewiseDecibels / 4096.0 : kDecibelsPerCount;
    Put(words, 0x108, static_cast<uint32_t>(slope * 1e9));
    if (description.model == model::kIntensified) {
        Put(words, 0x80, Halves(1, 0));
        Put(words, 0x88, Limits(0, 4095));
    }
}

void PutExtras(Words &words, const CameraDescription &description)
{
    const uint32_t capabilities = CapabilitiesOf(description);
    Put(words, 0x2A4, capabilities & kCapabilityWord);
    if (HasRegulatedCooling(description))
        Put(words, 0x29C, Halves(CountsOfCelsius(20.0), CountsOfCelsius(-30.0)));
    Put(words, 0x308, kDefaultCalibration);
    Put(words, 0x310, description.highGain && (capabilities & kHighGain) != 0 ? 2 : 0);
    if ((capabilities & kShutterDelay) != 0)
        Put(words, 0x2C4, kDefaultShutterDelay);
    if ((capabilities & kVerticalClock) != 0) {
        Put(words, 0x314, kDefaultVerticalClock); // counts: 1000, 500 and 5000 ns
        Put(words, 0x318, 10);
        Put(words, 0x31C, 100);
        Put(words, 0x320, 20'000'000);
    }
    if ((capabilities & kMultiplication) != 0) {
        Put(words, 0x2C0, kLeastMultiplication);
        Put(words, 0x300, kLeastMultiplication);
        Put(words, 0x304, kMostMultiplication);
        for (uint32_t offset : {0x350u, 0x354u, 0x358u})
            Put(words, offset, kHundredfoldMultiplication);
    }
}

void PutVoltages(Words &words, const CameraDescription &description)
{
    const uint32_t defaults[] = {voltage::kSubstratePulse, voltage::kResetLevel, voltage::kClock1,
                                 voltage::kClock2,         voltage::kClock3,     voltage::kClock4,
                                 description.miscellaneous};
    uint32_t offset = 0x328;
    for (uint32_t value : defaults) {
        Put(words, offset, value);
        offset += 4;
    }
    Put(words, 0x114, voltage::kSubstrate * 1000);
}

} // namespace

void PutSizes(const CameraDescription &description, const SensorType &part,
              std::span<uint32_t> words)
{
    const uint32_t third = (CapabilitiesOf(description) & kEightfoldBinning) != 0 ? 8 : 3;
    WriteField(words, {0x10}, Halves(part.columns, part.rows));
    WriteField(words, {0x14}, Halves(part.columns / 2, part.rows / 2));
    WriteField(words, {0x18}, Halves(part.columns / third, part.rows / third));
    WriteField(words, {0x1C}, Halves(part.columns / 4, part.rows / 4));
}

std::vector<uint32_t> MakeInformationBlock(const CameraDescription &description,
                                           const SensorType &sensor)
{
    Words words(kNewestWords);
    PutIdentity(words, description, sensor);
    PutSizes(description, sensor, words);
    PutFormat(words, description, sensor);
    PutTiming(words, description);
    PutAnalogue(words, description);
    PutExtras(words, description);
    PutVoltages(words, description);
    words.resize(InformationWords(description.information));
    return words;
}

} // namespace zerix::sim
