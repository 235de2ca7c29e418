// The image formats by number: name, bytes of one pixel of a colour format, and the properties that
// the format queries tell. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "zerix/zerix.h"

namespace zerix::tables {

struct ImageFormatRow {
    uint32_t format;
    const char *name;          // null: the format works but has no name
    uint32_t colourPixelBytes; // bytes of one output pixel of a colour format, 0 for the others
    uint32_t calculatedFactor; // bytes of a pixel as Zerix_CalcImageSize counts them
    bool is16Bit;
    bool is3Colour;
    bool isBayer;
    bool isColour;
    bool isMonochrome;
};

// Format 13 is a real output of the Bayer filter that the public queries know nothing of.
inline constexpr std::array<ImageFormatRow, 14> kImageFormats = {{
    {zfmtRaw8, "Raw 8-Bit", 0, 1, false, false, false, false, false},
    {zfmtRaw16, "Raw 16-Bit", 0, 2, true, false, false, false, false},
    {zfmtMono8, "Mono 8-Bit", 0, 1, false, false, false, false, true},
    {zfmtMono16, "Mono 16-Bit", 0, 2, true, false, false, false, true},
    {zfmtBayer8, "Bayer 8-Bit", 0, 1, false, false, true, true, false},
    {zfmtBayer16, "Bayer 16-Bit", 0, 2, true, false, true, true, false},
    {zfmtRgbPlane8, "RGB Plane 8-Bit", 3, 3, false, true, false, true, false},
    {zfmtRgbPlane16, "RGB Plane 16-Bit", 6, 6, true, true, false, true, false},
    {zfmtBgr24, "BGR24", 3, 3, false, true, false, true, false},
    {zfmtXrgb32, "XRGB32", 4, 4, false, true, false, true, false},
    {zfmtRgb48, "RGB48", 6, 6, true, true, false, true, false},
    {zfmtBgrx32, "BGRX32", 4, 4, false, true, false, true, false},
    {zfmtRgb24, "RGB24", 3, 3, false, true, false, true, false},
    {zfmtRgbx32, nullptr, 4, 0, false, false, false, false, false},
}};

inline constexpr const char *kUnknownImageFormat = "Unknown image format";

// The row of a format; null for a number beyond the table.
constexpr const ImageFormatRow *FindImageFormat(uint32_t format)
{
    return format < kImageFormats.size() ? &kImageFormats[format] : nullptr;
}

constexpr const char *ImageFormatName(uint32_t format)
{
    const ImageFormatRow *row = FindImageFormat(format);
    return row != nullptr && row->name != nullptr ? row->name : kUnknownImageFormat;
}

constexpr uint32_t ImageFormatByteSize(uint32_t format)
{
    const ImageFormatRow *row = FindImageFormat(format);
    return row != nullptr ? row->colourPixelBytes : 0;
}

constexpr bool ImageFormatsAreInOrder()
{
    for (std::size_t index = 0; index < kImageFormats.size(); ++index) {
        if (kImageFormats[index].format != index)
            return false;
    }
    return true;
}
static_assert(ImageFormatsAreInOrder());

} // namespace zerix::tables
