// Means over blocks of samples, a colour at a time; then a stretch and a curve.
#include "tools/preview.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "tools/writers/whole_file.h"

namespace zerix::tool {

namespace {

using Planes = std::array<std::vector<float>, 3>; // red, green, blue

constexpr std::string_view kColours = "RGB";
constexpr double kDarkest = 0.01; // of the pixels may be cut off at either end
constexpr double kBrightest = 0.998;
constexpr float kCurve = 0.6F; // for a screen

float SampleAt(const Picture &picture, uint32_t column, uint32_t row)
{
    const size_t index = size_t{row} * picture.width + column;
    if (picture.bytesPerSample == 1)
        return picture.pixels[index];
    const auto low = static_cast<float>(picture.pixels[2 * index]);
    return low + 256.0F * static_cast<float>(picture.pixels[2 * index + 1]);
}

// 0 to 2 behind a mosaic; a monochrome picture has one plane.
size_t PlaneOf(const Picture &picture, uint32_t column, uint32_t row)
{
    if (picture.bayerPattern.size() != 4)
        return 0;
    return kColours.find(picture.bayerPattern[(row % 2) * 2 + column % 2]);
}

// The mean of a block's samples, for each colour that it has.
std::array<float, 3> MeanOfBlock(const Picture &picture, uint32_t column, uint32_t row,
                                 uint32_t block)
{
    std::array<float, 3> sum{};
    std::array<float, 3> count{};
    for (uint32_t y = row; y < std::min(row + block, picture.height); ++y) {
        for (uint32_t x = column; x < std::min(column + block, picture.width); ++x) {
            const size_t plane = PlaneOf(picture, x, y);
            sum[plane] += SampleAt(picture, x, y);
            count[plane] += 1.0F;
        }
    }
    for (size_t plane = 0; plane < 3; ++plane)
        sum[plane] /= std::max(count[plane], 1.0F);
    return sum;
}

float Quantile(std::vector<float> values, double part)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

// Each colour for itself, so that the brightest patch is white.
std::vector<uint8_t> Stretched(const std::vector<float> &plane)
{
    const float black = Quantile(plane, kDarkest);
    const float white = std::max(Quantile(plane, kBrightest), black + 1.0F);
    std::vector<uint8_t> bytes;
    bytes.reserve(plane.size());
    for (const float value : plane) {
        const float part = std::clamp((value - black) / (white - black), 0.0F, 1.0F);
        bytes.push_back(static_cast<uint8_t>(std::lround(255.0F * std::pow(part, kCurve))));
    }
    return bytes;
}

} // namespace

Preview MakePreview(const Picture &picture, uint32_t longestSide)
{
    const bool isMosaic = picture.bayerPattern.size() == 4;
    const uint32_t longest = std::max(picture.width, picture.height);
    uint32_t block = std::max((longest + longestSide - 1) / longestSide, 1U);
    if (isMosaic)
        block += block % 2; // whole cells of the mosaic
    Preview preview{.width = picture.width / block, .height = picture.height / block, .rgb = {}};
    if (preview.width == 0 || preview.height == 0)
        return {};
    Planes planes;
    for (uint32_t y = 0; y < preview.height; ++y) {
        for (uint32_t x = 0; x < preview.width; ++x) {
            const auto mean = MeanOfBlock(picture, x * block, y * block, block);
            for (size_t plane = 0; plane < 3; ++plane)
                planes[plane].push_back(mean[isMosaic ? plane : 0]);
        }
    }
    const std::array bytes{Stretched(planes[0]), Stretched(planes[1]), Stretched(planes[2])};
    for (size_t i = 0; i < bytes[0].size(); ++i)
        preview.rgb.insert(preview.rgb.end(), {bytes[0][i], bytes[1][i], bytes[2][i]});
    return preview;
}

std::string WritePreview(const std::string &path, const Preview &preview)
{
    std::string bytes = fmt::format("P6\n{} {}\n255\n", preview.width, preview.height);
    bytes.append(preview.rgb.begin(), preview.rgb.end());
    return WriteWhole(path,
                      [&](const std::string &temporary) { return WriteBytes(temporary, bytes); });
}

} // namespace zerix::tool
