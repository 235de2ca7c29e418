// What a camera can't tell about itself: one row for each model.
#pragma once

#include <cstdint>
#include <memory>

#include "camera/tolvane_fw_camera.h"

namespace zerix::models {

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
    kBase,     // 0 to 5
    kExtended, // 0 to 7
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

struct ModelRow {
    uint32_t number;
    ReadoutList readouts = ReadoutList::kBase;
    ReadoutDefault readoutDefault = ReadoutDefault::kHighest;
    TriggerList triggers = TriggerList::kBase;
    BinningRule binnings = BinningRule::kTo8;
    GainCurve gainCurve = GainCurve::k2;
    uint16_t tagCode = 1;
    std::unique_ptr<ZX::TolvaneFWCamera> (*make)(HALCamera camera);

    [[nodiscard]] const char *DisplayName() const;
};

// The row of cameras whose number no other row has.
inline constexpr uint32_t kUnknownModel = 0;

// The row of a model number; that of kUnknownModel for a number without one.
const ModelRow &FindModel(uint32_t number);

// An object of the class that the model number selects. It has the device's record, but hasn't
// opened it.
std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera, uint32_t number);

} // namespace zerix::models
