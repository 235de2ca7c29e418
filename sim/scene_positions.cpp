// The pattern for tests that compare every pixel of every mode: each pixel's level tells its place,
// and each filter of the wheel its own picture. Constant, safe from any thread.
#include <cstddef>

#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// Primes above 256, so that neighbours differ in 8 bits too, and so small that the mean over a bin
// of 64 rows still tells where the bin is.
constexpr uint32_t kLevelsPerColumn = 1031;
constexpr uint32_t kLevelsPerRow = 389;
constexpr uint32_t kLevelsPerFilter = 16384;
constexpr uint8_t kBlackFilter = 2;
constexpr uint8_t kNoFilter = 0xFF;

// Red, green and blue are 0, 1 and 3 on the wheel.
uint32_t FilterNumber(uint8_t filterColour)
{
    if (filterColour == kNoFilter)
        return 0;
    return filterColour < kBlackFilter ? filterColour + 1U : 3U;
}

class PositionsScene final : public Scene {
public:
    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        light.clear();
        light.reserve(static_cast<size_t>(width) * height);
        for (uint32_t row = 0; row < height; ++row) {
            for (uint32_t column = 0; column < width; ++column) {
                const auto third = static_cast<float>(Level(column, row, kNoFilter)) / 3.0F;
                light.push_back({.red = third, .green = third, .blue = third});
            }
        }
    }

    [[nodiscard]] bool IsInLevels() const override { return true; }

    [[nodiscard]] uint32_t Level(uint32_t column, uint32_t row, uint8_t filterColour) const override
    {
        if (filterColour == kBlackFilter)
            return 0;
        const uint32_t sum = kLevelsPerColumn * column + kLevelsPerRow * row +
                             kLevelsPerFilter * FilterNumber(filterColour);
        return sum & 0xFFFFU;
    }
};

} // namespace

std::shared_ptr<const Scene> MakePositions() { return std::make_shared<PositionsScene>(); }

} // namespace zerix::sim
