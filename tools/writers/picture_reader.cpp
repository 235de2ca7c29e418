// Raw and TIFF files back to pictures, by the description that the tool writes with them.
#include "tools/writers/picture_reader.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#if defined(ZERIX_HAS_TIFF)
#include <memory>

#include <tiffio.h>
#endif

namespace zerix::tool {

namespace {

using Json = nlohmann::json;

constexpr uint32_t kLongestSide = 65536; // pixels

// Throws what the JSON library throws.
Picture PictureOf(const Json &json)
{
    Picture picture;
    picture.width = json.at("width");
    picture.height = json.at("height");
    picture.bytesPerSample = json.at("bytes_per_sample");
    picture.significantBits = json.at("significant_bits");
    picture.samplesPerPixel = json.value("samples_per_pixel", 1u);
    picture.bayerPattern = json.value("bayer_pattern", "");
    picture.cameraModel = json.value("camera", "");
    picture.serialNumber = json.value("serial", "");
    picture.exposureNanoseconds = json.value("exposure_ns", uint64_t{0});
    picture.gain = json.value("gain", 1.0);
    picture.horizontalBinning = json.at("binning").at(0);
    picture.verticalBinning = json.at("binning").at(1);
    if (json.contains("set_temperature_c"))
        picture.setTemperatureCelsius = json["set_temperature_c"].get<int32_t>();
    picture.unixNanoseconds = ParseIsoTime(json.value("time", ""));
    picture.frameNumber = json.value("frame_number", 0u);
    picture.hasMissingData = json.value("missing_data", false);
    return picture;
}

void Check(const Picture &picture)
{
    const bool hasSize = picture.width >= 1 && picture.width <= kLongestSide &&
                         picture.height >= 1 && picture.height <= kLongestSide;
    const bool hasSamples = (picture.samplesPerPixel == 1 || picture.samplesPerPixel == 3) &&
                            (picture.bytesPerSample == 1 || picture.bytesPerSample == 2);
    const bool hasBits =
        picture.significantBits >= 1 && picture.significantBits <= 8 * picture.bytesPerSample;
    if (!hasSize || !hasSamples || !hasBits)
        throw std::runtime_error("its description makes no picture");
}

// A pipe would have the tool wait for a writer.
void RefusePipes(const std::string &path, const std::string &name)
{
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw std::runtime_error(name + " is no regular file");
}

std::vector<uint8_t> BytesOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::error_code code;
    const auto size = std::filesystem::file_size(path, code);
    if (!file || code)
        throw std::runtime_error(code ? code.message() : "it can't be opened");
    if (size > SIZE_MAX / 2)
        throw std::runtime_error("it is larger than this build can hold");
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(size));
    if (!file)
        throw std::runtime_error("it can't be read");
    return bytes;
}

KeptPicture KeptOf(const Json &json, std::span<const uint8_t> samples)
{
    KeptPicture kept;
    kept.picture = PictureOf(json);
    Check(kept.picture);
    const size_t size = RowBytes(kept.picture) * kept.picture.height;
    if (samples.size() < size)
        throw std::runtime_error(fmt::format("it has {} bytes of {}", samples.size(), size));
    kept.samples.assign(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(size));
    return kept;
}

// A recording describes what its frames share once, and has a list of the rest.
std::vector<KeptPicture> ReadRaw(const std::string &path)
{
    RefusePipes(path + ".json", path + ".json");
    std::ifstream file(path + ".json");
    if (!file)
        throw std::runtime_error(fmt::format("there is no {}.json that describes it", path));
    const Json all = Json::parse(file);
    const std::vector<uint8_t> bytes = BytesOf(path);
    std::span<const uint8_t> rest = bytes;
    std::vector<KeptPicture> pictures;
    for (const Json &frame :
         all.contains("frames") ? all["frames"] : Json::array({Json::object()})) {
        Json json = all;
        json.update(frame);
        pictures.push_back(KeptOf(json, rest));
        rest = rest.subspan(pictures.back().samples.size());
    }
    return pictures;
}

#if defined(ZERIX_HAS_TIFF)
using TiffFile = std::unique_ptr<TIFF, void (*)(TIFF *)>;

// libtiff turns the samples to the machine's order.
KeptPicture ReadPage(TIFF *tiff)
{
    const char *text = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) != 1)
        throw std::runtime_error("it has no description");
    const Json json = Json::parse(text);
    const auto rowBytes = static_cast<size_t>(TIFFScanlineSize64(tiff));
    KeptPicture kept;
    kept.picture = PictureOf(json);
    Check(kept.picture);
    if (rowBytes != RowBytes(kept.picture))
        throw std::runtime_error("its description is of another picture");
    kept.samples.resize(rowBytes * kept.picture.height);
    for (uint32_t row = 0; row < kept.picture.height; ++row)
        if (TIFFReadScanline(tiff, &kept.samples[row * rowBytes], row, 0) != 1)
            throw std::runtime_error("it is cut short or damaged");
    return kept;
}

std::vector<KeptPicture> ReadTiff(const std::string &path)
{
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    const TiffFile tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (tiff == nullptr)
        throw std::runtime_error("it is no TIFF file, or can't be opened");
    std::vector<KeptPicture> pictures;
    do {
        pictures.push_back(ReadPage(tiff.get()));
    } while (TIFFReadDirectory(tiff.get()) == 1);
    return pictures;
}
#endif

std::vector<KeptPicture> Read(const std::string &path)
{
    RefusePipes(path, "it");
    std::string unknown;
    const PictureFormat *format = FormatOfFile(path, &unknown);
    if (format != nullptr && format->name == "raw")
        return ReadRaw(path);
#if defined(ZERIX_HAS_TIFF)
    if (format != nullptr && format->name == "TIFF")
        return ReadTiff(path);
#endif
    throw std::runtime_error(
        "only .raw files with a FILE.json beside them and .tif files are read");
}

} // namespace

std::vector<KeptPicture> ReadPictures(const std::string &path, std::string *error)
{
    try {
        auto pictures = Read(path);
        for (KeptPicture &kept : pictures)
            kept.picture.pixels = kept.samples;
        if (pictures.empty())
            *error = fmt::format("{} holds no picture.", path);
        return pictures;
    } catch (const Json::exception &) {
        *error = fmt::format("{} can't be read: its description is none of this tool's.", path);
    } catch (const std::exception &exception) {
        *error = fmt::format("{} can't be read: {}.", path, exception.what());
    }
    return {};
}

uint64_t ParseIsoTime(const std::string &text)
{
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    unsigned microsecond = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2uT%2u:%2u:%2u.%6u", &year, &month, &day, &hour,
                    &minute, &second, &microsecond) != 7)
        return 0;
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    if (!date.ok() || year < 1970)
        return 0;
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    const uint64_t seconds =
        static_cast<uint64_t>(days) * 86400 + hour * 3600ull + minute * 60ull + second;
    return seconds * 1'000'000'000u + microsecond * 1000ull;
}

} // namespace zerix::tool
