// Display names of the camera models by model number. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zerix::tables {

struct CameraModelRow {
    uint32_t model;
    const char *displayName;
};

// 16, 25 and the OEM models show other names than those of their classes: applications match on
// them.
inline constexpr std::array<CameraModelRow, 24> kCameraModels = {{
    {5, "Astrel A1"},          {6, "Astrel A2"},   {7, "Sparrow B"},     {8, "Benchmate"},
    {9, "Astrel Intensified"}, {10, "Sparrow IR"}, {12, "Astrel C1"},    {13, "Astrel B1"},
    {14, "NoctisA1"},          {15, "Astrel E1"},  {16, "OEM Camera 3"}, {18, "Astrel C2"},
    {19, "Astrel B2"},         {25, "Noctis C1"},  {26, "Astrel F1"},    {27, "Noctis A2"},
    {28, "Astrel E2"},         {29, "Astrel C3"},  {30, "Astrel B3"},    {31, "Merid Cobalt"},
    {32, "Merid Teal"},        {33, "Astrel G1"},  {1001, "OXA"},        {1002, "MT1"},
}};

inline constexpr const char *kUnknownCameraModel = "Unknown";

constexpr const char *CameraModelName(uint32_t model)
{
    for (const CameraModelRow &row : kCameraModels) {
        if (row.model == model)
            return row.displayName;
    }
    return kUnknownCameraModel;
}

constexpr bool CameraModelsAscend()
{
    for (std::size_t index = 1; index < kCameraModels.size(); ++index) {
        if (kCameraModels[index].model <= kCameraModels[index - 1].model)
            return false;
    }
    return true;
}
static_assert(CameraModelsAscend());

} // namespace zerix::tables
