// The table of camera models. Constant data.
#include "sim/model_names.h"

namespace zerix::sim {
namespace {

struct Model {
    uint32_t number;
    std::string_view name;
};

constexpr Model kModels[] = {
    {5, "Astrel A1"},          {6, "Astrel A2"},   {7, "Sparrow B"},     {8, "Benchmate"},
    {9, "Astrel Intensified"}, {10, "Sparrow IR"}, {12, "Astrel C1"},    {13, "Astrel B1"},
    {14, "NoctisA1"},          {15, "Astrel E1"},  {16, "OEM Camera 3"}, {18, "Astrel C2"},
    {19, "Astrel B2"},         {25, "Noctis C1"},  {26, "Astrel F1"},    {27, "Noctis A2"},
    {28, "Astrel E2"},         {29, "Astrel C3"},  {30, "Astrel B3"},    {31, "Merid Cobalt"},
    {32, "Merid Teal"},        {33, "Astrel G1"},  {1001, "OXA"},        {1002, "MT1"},
};

} // namespace

uint32_t FindModel(std::string_view name)
{
    for (const Model &model : kModels) {
        if (model.name == name)
            return model.number;
    }
    return 0;
}

std::string_view ModelName(uint32_t number)
{
    for (const Model &model : kModels) {
        if (model.number == number)
            return model.name;
    }
    return {};
}

std::string KnownModels()
{
    std::string models;
    for (const Model &model : kModels) {
        models += models.empty() ? "" : ", ";
        models += std::to_string(model.number) + " \"" + std::string(model.name) + "\"";
    }
    return models;
}

} // namespace zerix::sim
