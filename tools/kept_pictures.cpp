// The exported filters over pictures from files.
#include "tools/kept_pictures.h"

#include <algorithm>
#include <charconv>
#include <memory>

#include <fmt/format.h>

#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_rgb_filter_wheel.h"
#include "tools/command_error.h"
#include "tools/writers/samples.h"

namespace zerix::tool {

namespace {

constexpr std::array<const char *, 4> kPatterns = {"RGGB", "GRBG", "GBRG", "BGGR"};

uint32_t PatternOf(const std::string &mosaic)
{
    const auto *const found = std::find(kPatterns.begin(), kPatterns.end(), mosaic);
    if (found == kPatterns.end())
        throw CommandError(fmt::format("\"{}\" is no mosaic that is known: RGGB, GRBG, GBRG and "
                                       "BGGR are.",
                                       mosaic));
    return ZX::kPatternRGGB + static_cast<uint32_t>(found - kPatterns.begin());
}

// Room for three samples a pixel, described as what it was made of.
KeptPicture ColourLike(const Picture &source)
{
    KeptPicture colour;
    colour.picture = source;
    colour.picture.samplesPerPixel = 3;
    colour.picture.bayerPattern.clear();
    colour.samples.resize(RowBytes(colour.picture) * source.height);
    colour.picture.pixels = colour.samples;
    return colour;
}

bool IsAlike(const Picture &one, const Picture &other)
{
    return one.width == other.width && one.height == other.height &&
           one.bytesPerSample == other.bytesPerSample &&
           one.significantBits == other.significantBits && other.samplesPerPixel == 1 &&
           other.bayerPattern.empty();
}

} // namespace

uint16_t BayerAlgorithmOf(const std::string &method)
{
    constexpr uint16_t kLinear = 1;
    constexpr uint16_t kNearest = 2;
    constexpr uint16_t kCubic = 4;
    if (method == "nearest")
        return kNearest;
    return method == "linear" ? kLinear : kCubic;
}

std::array<float, 3> ParseGains(const std::string &text)
{
    std::array<float, 3> gains{};
    const char *at = text.data();
    const char *const end = at + text.size();
    for (size_t i = 0; i < gains.size(); ++i) {
        const auto [next, error] = std::from_chars(at, end, gains[i]);
        const bool isSeparated = i == 2 ? next == end : next != end && *next == ',';
        if (error != std::errc{} || !isSeparated || !(gains[i] >= 0.01F && gains[i] <= 100.0F))
            throw CommandError(fmt::format("\"{}\" are no gains: write RED,GREEN,BLUE, each from "
                                           "0.01 to 100, such as 1.2,1,0.8.",
                                           text));
        at = next + (i == 2 ? 0 : 1);
    }
    return gains;
}

KeptPicture Interpolated(const KeptPicture &mosaic, uint16_t algorithm)
{
    KeptPicture colour = ColourLike(mosaic.picture);
    const bool isWide = mosaic.picture.bytesPerSample == 2;
    std::vector<uint8_t> samples = mosaic.samples; // the filters take what they may write to
    ZX::ZInImageBufferStruct in{.pBuffer = samples.data(),
                                .size = static_cast<uint32_t>(samples.size()),
                                .width = mosaic.picture.width,
                                .height = mosaic.picture.height,
                                .bitDepth = mosaic.picture.significantBits,
                                .colourPattern = PatternOf(mosaic.picture.bayerPattern),
                                .imageFormat = isWide ? ZX::kFormatBayer16 : ZX::kFormatBayer8};
    const uint16_t format = isWide ? ZX::kFormatRgb48 : ZX::kFormatRgb24;
    ZX::ZOutImageBufferStruct out{.pBuffer = colour.samples.data(),
                                  .size = static_cast<uint32_t>(colour.samples.size()),
                                  .width = mosaic.picture.width,
                                  .height = mosaic.picture.height,
                                  .imageFormat = format};
    ZX::ZBayerInterpolation filter(algorithm, format);
    filter.Init(mosaic.picture.width, mosaic.picture.height);
    if (const int16_t status = filter.Process(&in, &out))
        throw CommandError(
            fmt::format("the mosaic can't be turned into colours (status {}).", status));
    return colour;
}

KeptPicture Composed(const std::vector<KeptPicture> &exposures)
{
    const Picture &first = exposures.front().picture;
    for (const KeptPicture &exposure : exposures)
        if (exposures.size() != 3 || !IsAlike(first, exposure.picture))
            throw CommandError("three files are the red, green and blue exposures of a filter "
                               "wheel: monochrome pictures of one size and depth.");
    KeptPicture colour = ColourLike(first);
    const bool isWide = first.bytesPerSample == 2;
    ZX::ZRGBFilterWheel wheel(isWide ? ZX::kFormatRgb48 : ZX::kFormatRgb24);
    wheel.Init(first.width, first.height);
    constexpr uint32_t kCycle[] = {ZX::kWheelRed, ZX::kWheelGreen, ZX::kWheelBlue};
    int16_t status = ZX::kFilterIncomplete;
    for (size_t i = 0; i < std::size(kCycle) && status == ZX::kFilterIncomplete; ++i) {
        std::vector<uint8_t> samples = exposures[i].samples;
        ZX::ZInImageBufferStruct in{.pBuffer = samples.data(),
                                    .size = static_cast<uint32_t>(samples.size()),
                                    .width = first.width,
                                    .height = first.height,
                                    .bitDepth = 8 * first.bytesPerSample,
                                    .colourPattern = kCycle[i],
                                    .imageFormat = isWide ? ZX::kFormatMono16 : ZX::kFormatMono8,
                                    .filterColour = kCycle[i]};
        ZX::ZOutImageBufferStruct out{.pBuffer = colour.samples.data()};
        status = wheel.Process(&in, &out);
        colour.picture.hasMissingData |= exposures[i].picture.hasMissingData;
    }
    if (status != ZX::kFilterOk)
        throw CommandError(fmt::format("the exposures can't be put together (status {}).", status));
    return colour;
}

void Balance(KeptPicture &kept, const std::array<float, 3> &gains)
{
    const auto filter = std::make_unique<ZX::ZAutoWhiteBalance>(false);
    filter->SetRedScale(gains[0]);
    filter->SetGreenScale(gains[1]);
    filter->SetBlueScale(gains[2]);
    const Picture &picture = kept.picture;
    const uint32_t count = picture.width * picture.height;
    if (picture.bytesPerSample == 1) {
        uint8_t *const bytes = kept.samples.data();
        filter->GreyWorld(bytes, bytes, bytes + 1, bytes + 2, picture.width, picture.height, count,
                          3, ZX::kFormatRgb24);
        return;
    }
    auto *const words = reinterpret_cast<uint16_t *>(kept.samples.data());
    filter->GreyWorld_16Bit(words, words, words + 1, words + 2, picture.width, picture.height,
                            count, 3, ZX::kFormatRgb48);
    LimitSamples(kept.samples, picture.significantBits);
}

} // namespace zerix::tool
