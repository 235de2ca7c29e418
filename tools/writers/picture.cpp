// Formats by the file's ending, the metadata as JSON, and writing without half files.
#include "tools/writers/picture.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <filesystem>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/writers/json_text.h"
#include "tools/writers/whole_file.h"

namespace zerix::tool {

namespace {

namespace fs = std::filesystem;

#if defined(ZERIX_HAS_TIFF)
constexpr bool kHasTiff = true;
#else
constexpr bool kHasTiff = false;
#endif
#if defined(ZERIX_HAS_FITS)
constexpr bool kHasFits = true;
#else
constexpr bool kHasFits = false;
#endif
#if defined(ZERIX_HAS_PNG)
constexpr bool kHasPng = true;
#else
constexpr bool kHasPng = false;
#endif

std::string LowerCaseEnding(const std::string &path)
{
    std::string ending = fs::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending;
}

std::string KnownEndings()
{
    std::string list;
    for (const auto &format : PictureFormats()) {
        if (!format.available)
            continue;
        for (const auto &ending : format.endings)
            list += (list.empty() ? "" : ", ") + ending;
    }
    return list;
}

} // namespace

std::string IsoTime(uint64_t unixNanoseconds)
{
    const auto seconds = static_cast<std::time_t>(unixNanoseconds / 1'000'000'000u);
    const uint64_t microseconds = unixNanoseconds / 1000u % 1'000'000u;
    // Days to a date by hand: the C library's own conversion isn't safe for threads everywhere.
    const int64_t days = static_cast<int64_t>(seconds) / 86400;
    const int64_t secondOfDay = static_cast<int64_t>(seconds) % 86400;
    const int64_t z = days + 719468;
    const int64_t era = z / 146097;
    const int64_t dayOfEra = z - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t shifted = (5 * dayOfYear + 2) / 153;
    const int64_t day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    const int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}", year, month, day,
                       secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60, microseconds);
}

std::string FormatName(const Picture &picture)
{
    const uint32_t bits = 8 * picture.bytesPerSample;
    if (picture.samplesPerPixel == 3)
        return fmt::format("rgb{}", 3 * bits);
    return fmt::format("{}{}", picture.bayerPattern.empty() ? "mono" : "bayer", bits);
}

std::string MetadataJson(const Picture &picture)
{
    nlohmann::ordered_json json;
    json["camera"] = picture.cameraModel;
    json["serial"] = picture.serialNumber;
    json["time"] = IsoTime(picture.unixNanoseconds) + "Z";
    json["exposure_ns"] = picture.exposureNanoseconds;
    json["gain"] = picture.gain;
    json["binning"] = {picture.horizontalBinning, picture.verticalBinning};
    if (picture.setTemperatureCelsius)
        json["set_temperature_c"] = *picture.setTemperatureCelsius;
    json["width"] = picture.width;
    json["height"] = picture.height;
    json["format"] = FormatName(picture);
    json["samples_per_pixel"] = picture.samplesPerPixel;
    json["bytes_per_sample"] = picture.bytesPerSample;
    json["significant_bits"] = picture.significantBits;
    if (!picture.bayerPattern.empty())
        json["bayer_pattern"] = picture.bayerPattern;
    json["frame_number"] = picture.frameNumber;
    json["missing_data"] = picture.hasMissingData;
    return JsonText(json, 2);
}

const std::vector<PictureFormat> &PictureFormats()
{
    static const std::vector<PictureFormat> formats = {
        {"TIFF", {".tif", ".tiff"}, kHasTiff, WriteTiff},
        {"FITS", {".fits", ".fit"}, kHasFits, WriteFits},
        {"PNG", {".png"}, kHasPng, WritePng},
        {"raw", {".raw"}, true, WriteRaw, true},
    };
    return formats;
}

const PictureFormat *FormatOfFile(const std::string &path, std::string *error)
{
    const std::string ending = LowerCaseEnding(path);
    for (const auto &format : PictureFormats()) {
        if (std::find(format.endings.begin(), format.endings.end(), ending) == format.endings.end())
            continue;
        if (format.available)
            return &format;
        *error = fmt::format("{}: this build of the tool has no {} files; it knows {}.", path,
                             format.name, KnownEndings());
        return nullptr;
    }
    *error = fmt::format("{}: the ending \"{}\" is no picture format that the tool knows; "
                         "known endings are {}.",
                         path, ending, KnownEndings());
    return nullptr;
}

std::string WritePicture(const std::string &path, const Picture &picture)
{
    std::string error;
    const PictureFormat *format = FormatOfFile(path, &error);
    if (format == nullptr)
        return error;
    error = WriteWhole(
        path, [&](const std::string &temporary) { return format->write(temporary, picture); });
    if (error.empty() && format->metadataBeside)
        error = WriteWhole(path + ".json", [&](const std::string &temporary) {
            return WriteMetadata(temporary, picture);
        });
    return error;
}

} // namespace zerix::tool
