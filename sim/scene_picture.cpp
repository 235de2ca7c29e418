// A picture file as a scene: it fills the sensor, what sticks out is cut off. Constant after it was
// read, safe from any thread.
#include <algorithm>
#include <array>
#include <utility>

#include "platform/file_path.h"
#include "sim/canvas.h"
#include "sim/exact_math.h"
#include "sim/picture_file.h"
#include "sim/regular_file.h"
#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// White of the picture, photons a second and square micrometre.
constexpr float kWhite = 40000.0F;

// Levels of a picture file are made for a display; light is linear.
std::array<float, 256> LinearLevels()
{
    std::array<float, 256> levels{};
    for (size_t i = 0; i < levels.size(); ++i) {
        const double value = static_cast<double>(i) / 255.0;
        levels[i] = static_cast<float>(value <= 0.04045 ? value / 12.92
                                                        : Power((value + 0.055) / 1.055, 2.4));
    }
    return levels;
}

class PictureScene final : public Scene {
public:
    PictureScene(uint32_t width, uint32_t height, std::vector<uint8_t> levels)
        : m_width(width), m_height(height), m_levels(std::move(levels)), m_linear(LinearLevels())
    {
    }

    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        light.resize(static_cast<size_t>(width) * height);
        if (light.empty())
            return;
        const float scale = std::min(static_cast<float>(m_width) / static_cast<float>(width),
                                     static_cast<float>(m_height) / static_cast<float>(height));
        for (uint32_t row = 0; row < height; ++row) {
            for (uint32_t column = 0; column < width; ++column) {
                const float x =
                    (static_cast<float>(column) + 0.5F - 0.5F * static_cast<float>(width)) * scale;
                const float y =
                    (static_cast<float>(row) + 0.5F - 0.5F * static_cast<float>(height)) * scale;
                light[static_cast<size_t>(row) * width + column] =
                    Between(x + 0.5F * static_cast<float>(m_width) - 0.5F,
                            y + 0.5F * static_cast<float>(m_height) - 0.5F);
            }
        }
    }

private:
    [[nodiscard]] Light At(int32_t x, int32_t y) const
    {
        const auto column =
            static_cast<uint32_t>(std::clamp(x, 0, static_cast<int32_t>(m_width) - 1));
        const auto row =
            static_cast<uint32_t>(std::clamp(y, 0, static_cast<int32_t>(m_height) - 1));
        const uint8_t *level = &m_levels[(static_cast<size_t>(row) * m_width + column) * 3];
        return Light{.red = m_linear[level[0]],
                     .green = m_linear[level[1]],
                     .blue = m_linear[level[2]]} *
               (kWhite / 3.0F);
    }

    [[nodiscard]] Light Between(float x, float y) const
    {
        const int32_t column = FloorToInt(static_cast<double>(x));
        const int32_t row = FloorToInt(static_cast<double>(y));
        const float across = x - static_cast<float>(column);
        const float down = y - static_cast<float>(row);
        const Light top = At(column, row) * (1.0F - across) + At(column + 1, row) * across;
        const Light bottom =
            At(column, row + 1) * (1.0F - across) + At(column + 1, row + 1) * across;
        return top * (1.0F - down) + bottom * down;
    }

    uint32_t m_width;
    uint32_t m_height;
    std::vector<uint8_t> m_levels; // red, green, blue
    std::array<float, 256> m_linear;
};

std::shared_ptr<const Scene> Decode(const std::string &file)
{
    DecodedPicture picture;
    if (!DecodePng(file, &picture) && !DecodePnm(file, &picture))
        return nullptr;
    return std::make_shared<PictureScene>(picture.width, picture.height, std::move(picture.levels));
}

} // namespace

std::shared_ptr<const Scene> MakePicture(const std::string &file, std::string *error)
{
    constexpr uint64_t kMostBytes = 0x10000000;
    const std::string scene = "scene \"picture:" + file + "\": ";
    std::string bytes;
    const FileResult result = ReadRegularFile(os::FilePath(file), kMostBytes, &bytes);
    if (result != FileResult::kRead) {
        *error = scene + WhyNotRead(result, kMostBytes) + ".";
        return nullptr;
    }
    auto picture = Decode(bytes);
    if (picture == nullptr)
        *error = scene + "the file is no picture; expected " + std::string(kPictureKinds) +
                 " of at most 32768 pixels a side and 64 million in all.";
    return picture;
}

} // namespace zerix::sim
