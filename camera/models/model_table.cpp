// What a camera can't tell about itself: one row for each model. Constant data.
#include "camera/models/model_table.h"

#include <algorithm>
#include <iterator>

#include "camera/models/models.h"
#include "tables/camera_models.h"

namespace zerix::models {

namespace {

template <typename Model>
std::unique_ptr<ZX::TolvaneFWCamera> Make(HALCamera camera)
{
    return std::make_unique<Model>(camera);
}

// What a row leaves out: the base readouts, the highest of them as default, the base triggers,
// binning 1, 2, 4, 8, gain curve 2, tag 1.
constexpr ModelRow kModels[] = {
    {.number = kUnknownModel, .binnings = BinningRule::kByFirmware, .make = Make<ZX::Unknown>},
    {.number = 5,
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware100,
     .make = Make<ZX::AstrelA1>},
    {.number = 6,
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware6,
     .make = Make<ZX::AstrelA2>},
    {.number = 7,
     .binnings = BinningRule::kTo4OrEight,
     .gainCurve = GainCurve::k1BeforeFirmware100,
     .make = Make<ZX::SparrowB>},
    {.number = 8,
     .triggers = TriggerList::kSoftware,
     .binnings = BinningRule::kNone,
     .gainCurve = GainCurve::k1,
     .make = Make<ZX::Benchmate>},
    {.number = 9, .binnings = BinningRule::kTo2OrEight, .make = Make<ZX::AstrelIntensified>},
    {.number = 10, .binnings = BinningRule::kTo2, .make = Make<ZX::SparrowIR>},
    {.number = 12,
     .readouts = ReadoutList::kFrom10,
     .gainCurve = GainCurve::k1BeforeFirmware100,
     .make = Make<ZX::AstrelC1>},
    {.number = 13,
     .readouts = ReadoutList::kFrom10,
     .gainCurve = GainCurve::k1BeforeFirmware100,
     .make = Make<ZX::AstrelB1>},
    {.number = 14,
     .binnings = BinningRule::kByFirmware,
     .gainCurve = GainCurve::k1BeforeFirmware100,
     .make = Make<ZX::NoctisA1>},
    {.number = 15,
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended,
     .make = Make<ZX::AstrelE1>},
    {.number = 16, .triggers = TriggerList::kExtended, .make = Make<ZX::AstrelD1>},
    {.number = 18,
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended,
     .make = Make<ZX::AstrelC2>},
    {.number = 19,
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended,
     .make = Make<ZX::AstrelB2>},
    {.number = 25,
     .readouts = ReadoutList::k40First,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::NoctisB1>},
    {.number = 26,
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::AstrelF1>},
    {.number = 27,
     .readouts = ReadoutList::kFrom10To30,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .binnings = BinningRule::kTo4,
     .tagCode = 0,
     .make = Make<ZX::NoctisA2>},
    {.number = 28,
     .readouts = ReadoutList::kFrom10To30,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::AstrelE2>},
    {.number = 29,
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended,
     .make = Make<ZX::AstrelC3>},
    {.number = 30,
     .readouts = ReadoutList::kFrom5,
     .triggers = TriggerList::kExtended,
     .make = Make<ZX::AstrelB3>},
    {.number = 31,
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::MeridCobalt>},
    {.number = 32,
     .readouts = ReadoutList::kFrom10,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::MeridTeal>},
    {.number = 33,
     .readouts = ReadoutList::k30OnFastBus,
     .readoutDefault = ReadoutDefault::k20,
     .triggers = TriggerList::kExtended,
     .tagCode = 0,
     .make = Make<ZX::AstrelG1>},
    {.number = 1001,
     .binnings = BinningRule::kByFirmware,
     .gainCurve = GainCurve::k1,
     .make = Make<ZX::AstrelOem1>},
    {.number = 1002,
     .readouts = ReadoutList::k5,
     .binnings = BinningRule::kNone,
     .tagCode = 0,
     .make = Make<ZX::Metrol>},
};

// One row for each name, in the order of the numbers, behind the row of the unknown.
constexpr bool MatchesNames()
{
    if (std::size(kModels) != tables::kCameraModels.size() + 1 ||
        kModels[0].number != kUnknownModel)
        return false;
    for (std::size_t index = 1; index < std::size(kModels); ++index)
        if (kModels[index].number != tables::kCameraModels[index - 1].model)
            return false;
    return true;
}
static_assert(MatchesNames());

} // namespace

const char *ModelRow::DisplayName() const { return tables::CameraModelName(number); }

const ModelRow &FindModel(uint32_t number)
{
    const auto *row = std::find_if(std::begin(kModels), std::end(kModels),
                                   [&](const ModelRow &model) { return model.number == number; });
    return row == std::end(kModels) ? kModels[0] : *row;
}

std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera, uint32_t number)
{
    return FindModel(number).make(camera);
}

} // namespace zerix::models
