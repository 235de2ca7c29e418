// The models with a class of their own. Their lists and rules stand in their rows of the model
// table.
#include "camera/models/model_table.h"

#include <algorithm>
#include <iterator>

#include "camera/models/models.h"

namespace zerix::models {

namespace {

struct ModelClass {
    uint32_t model;
    std::unique_ptr<ZX::TolvaneFWCamera> (*make)(HALCamera camera);
};

template <typename Model>
std::unique_ptr<ZX::TolvaneFWCamera> Make(HALCamera camera)
{
    return std::make_unique<Model>(camera);
}

constexpr ModelClass kClasses[] = {
    {tables::kUnknownCameraModel.model, Make<ZX::Unknown>},
    {5, Make<ZX::AstrelA1>},
    {6, Make<ZX::AstrelA2>},
    {7, Make<ZX::SparrowB>},
    {8, Make<ZX::Benchmate>},
    {9, Make<ZX::AstrelIntensified>},
    {10, Make<ZX::SparrowIR>},
    {12, Make<ZX::AstrelC1>},
    {13, Make<ZX::AstrelB1>},
    {14, Make<ZX::NoctisA1>},
    {15, Make<ZX::AstrelE1>},
    {16, Make<ZX::AstrelD1>},
    {18, Make<ZX::AstrelC2>},
    {19, Make<ZX::AstrelB2>},
    {25, Make<ZX::NoctisB1>},
    {26, Make<ZX::AstrelF1>},
    {27, Make<ZX::NoctisA2>},
    {28, Make<ZX::AstrelE2>},
    {29, Make<ZX::AstrelC3>},
    {30, Make<ZX::AstrelB3>},
    {31, Make<ZX::MeridCobalt>},
    {32, Make<ZX::MeridTeal>},
    {33, Make<ZX::AstrelG1>},
    {1001, Make<ZX::AstrelOem1>},
    {1002, Make<ZX::Metrol>},
};

// Each class once, for a number that has a row.
constexpr bool AllHaveTheirRows()
{
    for (size_t index = 0; index < std::size(kClasses); ++index) {
        if (tables::FindCameraModel(kClasses[index].model).model != kClasses[index].model)
            return false;
        if (index > 0 && kClasses[index].model <= kClasses[index - 1].model)
            return false;
    }
    return true;
}
static_assert(AllHaveTheirRows());

} // namespace

std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera, const tables::CameraModelRow &row)
{
    const auto *own = std::find_if(std::begin(kClasses), std::end(kClasses),
                                   [&](const ModelClass &its) { return its.model == row.model; });
    return own == std::end(kClasses) ? std::make_unique<ZX::ModelCamera>(camera, row)
                                     : own->make(camera);
}

std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera, uint32_t model)
{
    return MakeCamera(camera, tables::FindCameraModel(model));
}

} // namespace zerix::models
