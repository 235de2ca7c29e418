// The camera models: everything that a camera can't tell about itself and that isn't behaviour, one
// row for each model number. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zerix::tables {

// Readout frequencies in megahertz, in the order that applications see.
enum class ReadoutList : uint8_t {
    kBase,        // 2.5, 5, 10, 20
    kFrom5,       // 5, 10, 20
    kFrom10,      // 10, 20
    kFrom10To30,  // 10, 20, 30
    k30OnFastBus, // 10, 20, and 30 while the bus runs at 800 Mb/s
    k40First,     // 40, 10, 20
    k5,           // 5
};

enum class ReadoutDefault : uint8_t { kHighest, k20 };

enum class TriggerList : uint8_t {
    kBase,     // 0 to 5; 0 and 5 while the filter wheel turns
    kExtended, // 0 to 7; the same
    kSoftware, // 0 and 5, whatever the filter wheel does
};

// "Or eight" is for cameras whose information block says that their third binning code is 8.
enum class BinningRule : uint8_t {
    kNone,
    kTo2,        // 1, 2
    kTo4,        // 1, 2, 4
    kTo8,        // 1, 2, 4, 8
    kTo2OrEight, // 1, 2; or 1, 2, 4, 8
    kTo4OrEight, // 1, 2, 3, 4; or 1, 2, 4, 8
    kByFirmware, // 1, 2 before firmware 102; then 1, 2, 4, 3, or 1, 2, 4, 8
};

// Which kind of analogue board the camera has: 2, but for old ones.
enum class GainCurve : uint8_t { k2, k1, k1BeforeFirmware100, k1BeforeFirmware6 };

// What a row leaves out: the base readouts, the highest of them as default, the base triggers,
// binning 1, 2, 4, 8, gain curve 2, tag 1.
struct CameraModelRow {
    uint32_t model;
    const char *displayName;
    ReadoutList readouts = ReadoutList::kBase;
    ReadoutDefault readoutDefault = ReadoutDefault::kHighest;
    TriggerList triggers = TriggerList::kBase;
    BinningRule binnings = BinningRule::kTo8;
    GainCurve gainCurve = GainCurve::k2;
    uint16_t tagCode = 1; // of the isochronous stream
};

// 16, 25 and the OEM models show other names than those of their classes: applications match on
// them.
inline constexpr std::array<CameraModelRow, 24> kCameraModels = {{
    {.model = 5,
     .displayName = "Astrel A1",
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware100},
    {.model = 6,
     .displayName = "Astrel A2",
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware6},
    {.model = 7,
     .displayName = "Sparrow B",
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware100},
    {.model = 8,
     .displayName = "Benchmate",
     .triggers = TriggerList::kSoftware,
     .binnings = BinningRule::kNone,
     .gainCurve = GainCurve::k1},
    {.model = 9, .displayName = "Astrel Intensified", .binnings = BinningRule::kTo2OrEight},
    {.model = 10, .displayName = "Sparrow IR", .binnings = BinningRule::kTo2},
    {.model = 12,
     .displayName = "Astrel C1",
     .readouts = ReadoutList::kFrom10,
     .gainCurve = GainCurve::k1BeforeFirmware100},
    {.model = 13,
     .displayName = "Astrel B1",
     .readouts = ReadoutList::kFrom10,
     .gainCurve = GainCurve::k1BeforeFirmware100},
    {.model = 14,
     .displayName = "NoctisA1",
     .binnings = BinningRule::kByFirmware,
     .gainCurve = GainCurve::k1BeforeFirmware100},
    {.model = 15,
     .displayName = "Astrel E1",
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended},
    {.model = 16, .displayName = "OEM Camera 3", .triggers = TriggerList::kExtended},
    {.model = 18,
     .displayName = "Astrel C2",
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended},
    {.model = 19,
     .displayName = "Astrel B2",
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended},
    {.model = 25,
     .displayName = "Noctis C1",
     .readouts = ReadoutList::k40First,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 26,
     .displayName = "Astrel F1",
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 27,
     .displayName = "Noctis A2",
     .readouts = ReadoutList::kFrom10To30,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .binnings = BinningRule::kTo4,
     .tagCode = 0},
    {.model = 28,
     .displayName = "Astrel E2",
     .readouts = ReadoutList::kFrom10To30,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 29,
     .displayName = "Astrel C3",
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended},
    {.model = 30,
     .displayName = "Astrel B3",
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended},
    {.model = 31,
     .displayName = "Merid Cobalt",
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 32,
     .displayName = "Merid Teal",
     .readouts = ReadoutList::kFrom10,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 33,
     .displayName = "Astrel G1",
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0},
    {.model = 1001,
     .displayName = "OXA",
     .binnings = BinningRule::kByFirmware,
     .gainCurve = GainCurve::k1},
    {.model = 1002,
     .displayName = "MT1",
     .readouts = ReadoutList::k5,
     .binnings = BinningRule::kNone,
     .tagCode = 0},
}};

// The row of every number without one of its own. No camera has its number.
inline constexpr CameraModelRow kUnknownCameraModel{
    .model = 0, .displayName = "Unknown", .binnings = BinningRule::kByFirmware};

constexpr const CameraModelRow &FindCameraModel(uint32_t model)
{
    for (const CameraModelRow &row : kCameraModels) {
        if (row.model == model)
            return row;
    }
    return kUnknownCameraModel;
}

constexpr const char *CameraModelName(uint32_t model) { return FindCameraModel(model).displayName; }

constexpr bool CameraModelsAscend()
{
    uint32_t previous = kUnknownCameraModel.model;
    for (const CameraModelRow &row : kCameraModels) {
        if (row.model <= previous || row.displayName == nullptr)
            return false;
        previous = row.model;
    }
    return true;
}
static_assert(CameraModelsAscend());

} // namespace zerix::tables
