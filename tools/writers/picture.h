// One picture and what is known about it, on its way to a file; and the file formats that it can go
// to.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zerix::tool {

struct Picture {
    std::span<const uint8_t> pixels; // rows top down; 16-bit samples in host order
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t samplesPerPixel = 1; // 3: red, green, blue
    uint32_t bytesPerSample = 1;  // 1 or 2
    uint32_t significantBits = 8; // of a sample
    std::string bayerPattern;     // "RGGB" …; empty for a monochrome picture

    // What was the case when it was taken.
    std::string cameraModel;
    std::string serialNumber;
    uint64_t exposureNanoseconds = 0;
    double gain = 1; // linear, relative to the camera's default
    uint32_t horizontalBinning = 1;
    uint32_t verticalBinning = 1;
    std::optional<int32_t> setTemperatureCelsius;
    uint64_t unixNanoseconds = 0; // start of the exposure, UTC
    uint32_t frameNumber = 0;     // the camera's rolling number
    bool hasMissingData = false;  // lost data was filled in with black
};

// Bytes of a row of pixels.
inline size_t RowBytes(const Picture &picture)
{
    return size_t{picture.width} * picture.samplesPerPixel * picture.bytesPerSample;
}

// "2025-01-01T00:00:00.016384", in UTC.
std::string IsoTime(uint64_t unixNanoseconds);

// "mono8", "bayer16", "rgb48" …
std::string FormatName(const Picture &picture);

// The metadata as a JSON text.
std::string MetadataJson(const Picture &picture);

// The formats, by the ending of a file's name.
struct PictureFormat {
    std::string name;                 // "TIFF"
    std::vector<std::string> endings; // ".tif", ".tiff"
    bool available;                   // this build has it
    // Writes to `path`; empty, or one sentence on what went wrong.
    std::string (*write)(const std::string &path, const Picture &picture);
    bool metadataBeside = false; // the metadata goes to FILE.json
};
const std::vector<PictureFormat> &PictureFormats();

// Null, and a sentence that lists the known endings, for an ending that is none of them.
const PictureFormat *FormatOfFile(const std::string &path, std::string *error);

// Writes the picture under a temporary name in the same folder and moves it to its place when it is
// whole, so that no half file is ever seen. Empty, or one sentence on what went wrong.
std::string WritePicture(const std::string &path, const Picture &picture);

std::string WriteTiff(const std::string &path, const Picture &picture);
std::string WriteFits(const std::string &path, const Picture &picture);
std::string WritePng(const std::string &path, const Picture &picture);
std::string WriteRaw(const std::string &path, const Picture &picture);
std::string WriteMetadata(const std::string &path, const Picture &picture);

} // namespace zerix::tool
