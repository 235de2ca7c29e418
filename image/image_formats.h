// The numbers of image formats and mosaic patterns, and the statuses that filters and the pipeline
// answer with.
#pragma once

#include <cstdint>

namespace ZX {

// The value of the key zprmImageFormat. 6 to 13 are the colour formats.
enum ZImageFormatEnum : uint32_t {
    kFormatRaw8 = 0,
    kFormatRaw16 = 1,
    kFormatMono8 = 2,
    kFormatMono16 = 3,
    kFormatBayer8 = 4,
    kFormatBayer16 = 5,
    kFormatRgbPlane8 = 6,
    kFormatRgbPlane16 = 7,
    kFormatBgr24 = 8,
    kFormatXrgb32 = 9,
    kFormatRgb48 = 10,
    kFormatBgrx32 = 11,
    kFormatRgb24 = 12,
    kFormatRgbx32 = 13, // a real output format, although it has no name anywhere
};
inline constexpr uint32_t kImageFormatCount = 14;

[[nodiscard]] constexpr bool IsColourFormat(uint32_t format)
{
    return format >= kFormatRgbPlane8 && format <= kFormatRgbx32;
}

[[nodiscard]] constexpr bool IsBayerFormat(uint32_t format)
{
    return format == kFormatBayer8 || format == kFormatBayer16;
}

// The colours of a mosaic's first two rows. Any other number means kPatternRGGB.
enum ZColourPatternEnum : uint32_t {
    kPatternRGGB = 5,
    kPatternGRBG = 6,
    kPatternGBRG = 7,
    kPatternBGGR = 8,
};

// The colour of one exposure through the filter wheel. Black is never stored.
enum ZWheelColourEnum : uint32_t {
    kWheelRed = 0,
    kWheelGreen = 1,
    kWheelBlack = 2,
    kWheelBlue = 3,
};

// What a camera's GetImageFormat says of its images.
enum ZCameraImageClassEnum : uint16_t {
    kCameraImageMono = 1,
    kCameraImageBayer = 2,
    kCameraImageWheel = 3,
};

enum ZFilterStatus : int16_t {
    kFilterOk = 0,               // the result is in the output record
    kFilterBadFormat = 5,        // the output format doesn't fit; also: memory ran out
    kFilterIncomplete = 6,       // more input frames are needed
    kPipelineNotSetUp = 27,      // Setup has not run
    kFilterNotInitialised = 28,  // Init has not run
    kFilterBadOutputFormat = 29, // the output stage has no such format
    kPipelineEmpty = 30,         // the chain holds no filter
    kFilterNothingToDo = 31,     // the image stays as it was
};

} // namespace ZX
