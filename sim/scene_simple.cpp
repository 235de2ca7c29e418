// The scenes that a formula gives: even light, a gradient, and the pattern that tells positions.
// Constant after construction, safe from any thread.
#include <cstddef>

#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// White light is a third of each colour.
Light White(float photons)
{
    const float third = photons / 3.0F;
    return {.red = third, .green = third, .blue = third};
}

class FlatScene final : public Scene {
public:
    explicit FlatScene(float photons) : m_photons(photons) {}

    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        light.assign(static_cast<size_t>(width) * height, White(m_photons));
    }

private:
    float m_photons;
};

class GradientScene final : public Scene {
public:
    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        light.resize(static_cast<size_t>(width) * height);
        for (uint32_t row = 0; row < height; ++row) {
            const bool inSteps = row >= height - height / 4;
            for (uint32_t column = 0; column < width; ++column) {
                const float part = Part(column, width, inSteps);
                light[static_cast<size_t>(row) * width + column] = White(kBrightest * part);
            }
        }
    }

private:
    static constexpr float kBrightest = 42000.0F;
    static constexpr uint32_t kSteps = 16;

    static float Part(uint32_t column, uint32_t width, bool inSteps)
    {
        const uint32_t step = column * kSteps / width;
        if (inSteps)
            return static_cast<float>(step) / static_cast<float>(kSteps - 1);
        return (static_cast<float>(column) + 0.5F) / static_cast<float>(width);
    }
};

class PositionScene final : public Scene {
public:
    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        light.resize(static_cast<size_t>(width) * height);
        for (uint32_t row = 0; row < height; ++row) {
            for (uint32_t column = 0; column < width; ++column)
                light[static_cast<size_t>(row) * width + column] =
                    White(static_cast<float>(Count(column, row)));
        }
    }

    [[nodiscard]] bool IsInCounts() const override { return true; }

    // 61 is odd and no divisor of a width in use, so that a row is not taken for another.
    [[nodiscard]] uint32_t Count(uint32_t column, uint32_t row) const override
    {
        return (column + 61 * row) & 0xFFFFU;
    }
};

} // namespace

std::shared_ptr<const Scene> MakeFlat(float photons)
{
    return std::make_shared<FlatScene>(photons);
}
std::shared_ptr<const Scene> MakeGradient() { return std::make_shared<GradientScene>(); }
std::shared_ptr<const Scene> MakePosition() { return std::make_shared<PositionScene>(); }

} // namespace zerix::sim
