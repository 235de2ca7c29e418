// A picture file as a scene: it fills the sensor, what sticks out is cut off. Constant after it was
// read, safe from any thread.
#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "platform/file_path.h"
#include "sim/canvas.h"
#include "sim/exact_math.h"
#include "sim/scene_makers.h"
#include "sim/stb_image_options.h"

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

// The decoder takes a PGM or PPM whose end is missing for a whole one, with anything in the place
// of the rest, and 16-bit samples in the machine's own byte order. A text of three numbers stands
// before the samples: width, height, highest level.
bool IsBeyondTheDecoder(const std::vector<char> &bytes)
{
    if (bytes.size() < 2 || bytes[0] != 'P' || (bytes[1] != '5' && bytes[1] != '6'))
        return false;
    size_t at = 2;
    uint64_t numbers[3] = {};
    for (uint64_t &number : numbers) {
        while (at < bytes.size() && (bytes[at] < '0' || bytes[at] > '9')) {
            const bool comment = bytes[at] == '#';
            ++at;
            while (comment && at < bytes.size() && bytes[at] != '\n')
                ++at;
        }
        for (; at < bytes.size() && bytes[at] >= '0' && bytes[at] <= '9' && number < 1000000; ++at)
            number = number * 10 + static_cast<uint64_t>(bytes[at] - '0');
    }
    const uint64_t bytesOfPixel = bytes[1] == '6' ? 3 : 1;
    return numbers[2] > 255 || at + 1 + numbers[0] * numbers[1] * bytesOfPixel > bytes.size();
}

std::shared_ptr<const Scene> Decode(const std::vector<char> &bytes)
{
    if (IsBeyondTheDecoder(bytes))
        return nullptr;
    int width = 0;
    int height = 0;
    int channels = 0;
    std::unique_ptr<stbi_uc, void (*)(void *)> levels(
        stbi_load_from_memory(reinterpret_cast<const stbi_uc *>(bytes.data()),
                              static_cast<int>(bytes.size()), &width, &height, &channels, 3),
        stbi_image_free);
    if (levels == nullptr || width <= 0 || height <= 0)
        return nullptr;
    const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * 3;
    return std::make_shared<PictureScene>(static_cast<uint32_t>(width),
                                          static_cast<uint32_t>(height),
                                          std::vector<uint8_t>(levels.get(), levels.get() + size));
}

} // namespace

std::shared_ptr<const Scene> MakePicture(const std::string &file, std::string *error)
{
    constexpr size_t kMostBytes = 0x40000000;
    std::ifstream stream(os::FilePath(file), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream),
                                  std::istreambuf_iterator<char>()};
    if (bytes.empty() || bytes.size() > kMostBytes) {
        *error = "scene \"picture:" + file + "\": the file can't be read.";
        return nullptr;
    }
    auto scene = Decode(bytes);
    if (scene == nullptr)
        *error = "scene \"picture:" + file +
                 "\": the file is no picture; expected PNG, JPEG or 8-bit PGM/PPM.";
    return scene;
}

} // namespace zerix::sim
