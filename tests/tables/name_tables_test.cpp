// The other tables: image formats, error phrases, camera and CCD models, names of values.
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "tables/camera_models.h"
#include "tables/ccd_models.h"
#include "tables/error_phrases.h"
#include "tables/image_formats.h"
#include "tables/value_names.h"

namespace zerix::tables {
namespace {

TEST(ImageFormats, HaveTheirNamesAndByteSizes)
{
    constexpr struct {
        uint32_t format;
        const char *name;
        uint32_t byteSize;
    } kExpected[] = {
        {0, "Raw 8-Bit", 0},
        {1, "Raw 16-Bit", 0},
        {2, "Mono 8-Bit", 0},
        {3, "Mono 16-Bit", 0},
        {4, "Bayer 8-Bit", 0},
        {5, "Bayer 16-Bit", 0},
        {6, "RGB Plane 8-Bit", 3},
        {7, "RGB Plane 16-Bit", 6},
        {8, "BGR24", 3},
        {9, "XRGB32", 4},
        {10, "RGB48", 6},
        {11, "BGRX32", 4},
        {12, "RGB24", 3},
        {13, "Unknown image format", 4},
        {14, "Unknown image format", 0},
        {0xFFFFFFFFu, "Unknown image format", 0},
    };
    for (const auto &expected : kExpected) {
        EXPECT_STREQ(ImageFormatName(expected.format), expected.name) << expected.format;
        EXPECT_EQ(ImageFormatByteSize(expected.format), expected.byteSize) << expected.format;
    }
}

TEST(ErrorPhrases, AreTheLogsPhrases)
{
    constexpr struct {
        uint32_t code;
        const char *phrase;
    } kExpected[] = {
        {0, ""},
        {1, "the function is not supported for this device."},
        {2, "one of the parameters used is not valid."},
        {3, "the Zerix_Settings structure is corrupted or the size is invalid."},
        {7, "Zerix has already been loaded through Zerix_LoadDriver()."},
        {8, "Zerix has not been loaded. Call Zerix_LoadDriver()."},
        {11, "the camera ID used is invalid."},
        {13, "general internal error occurred (hardware fault)."},
        {14, "general internal error occurred (firewire fault)."},
        {15, "general internal error occurred (camera fault)."},
        {16, "general internal error occurred (driver fault)."},
        {18, "the size of pBuffer in the Zerix_Frame structure is too small."},
        {21, "the function cannot be processed at this time."},
        {22, "the queue for frame and settings changes is full."},
        {24, "streaming is not on and is required for this call.  Call Zerix_SetStreaming()."},
        {25, "the host and the computer are out of sync, the frame returned is invalid."},
        {26, "data in the frame is missing and has been filled in with black."},
        {27, "the host has more data than it can process, restart streaming."},
        {28, "the camera has been unplugged or turned off."},
        {32, "the ROI used is too small."},
    };
    EXPECT_EQ(kErrorPhrases.size(), std::size(kExpected));
    for (const auto &expected : kExpected)
        EXPECT_STREQ(ErrorPhrase(expected.code), expected.phrase) << expected.code;
}

TEST(ErrorPhrases, AreUndefinedForEveryOtherCode)
{
    for (const uint32_t code :
         {4u, 5u, 6u, 9u, 10u, 12u, 17u, 19u, 20u, 23u, 29u, 30u, 31u, 33u, 65535u})
        EXPECT_STREQ(ErrorPhrase(code), "error string not defined yet") << code;
}

TEST(CameraModels, HaveTheirDisplayNames)
{
    constexpr struct {
        uint32_t model;
        const char *name;
    } kExpected[] = {
        {5, "Astrel A1"},          {6, "Astrel A2"},   {7, "Sparrow B"},     {8, "Benchmate"},
        {9, "Astrel Intensified"}, {10, "Sparrow IR"}, {12, "Astrel C1"},    {13, "Astrel B1"},
        {14, "NoctisA1"},          {15, "Astrel E1"},  {16, "OEM Camera 3"}, {18, "Astrel C2"},
        {19, "Astrel B2"},         {25, "Noctis C1"},  {26, "Astrel F1"},    {27, "Noctis A2"},
        {28, "Astrel E2"},         {29, "Astrel C3"},  {30, "Astrel B3"},    {31, "Merid Cobalt"},
        {32, "Merid Teal"},        {33, "Astrel G1"},  {1001, "OXA"},        {1002, "MT1"},
    };
    EXPECT_EQ(kCameraModels.size(), std::size(kExpected));
    for (const auto &expected : kExpected)
        EXPECT_STREQ(CameraModelName(expected.model), expected.name) << expected.model;
}

TEST(CameraModels, AreUnknownForEveryOtherNumber)
{
    for (const uint32_t model : {0u, 4u, 11u, 17u, 20u, 21u, 22u, 23u, 24u, 34u, 1000u, 1003u})
        EXPECT_STREQ(CameraModelName(model), "Unknown") << model;
}

TEST(CcdModels, HaveTheirTexts)
{
    constexpr const char *kExpected[] = {
        "KAF1400",
        "KAF1600",
        "KAF1600L",
        "KAF4200",
        "ICX085AL",
        "ICX085AK",
        "ICX285AL",
        "ICX285AK",
        "ICX205AL",
        "ICX205AK",
        "ICX252AQ",
        "S70311006",
        "ICX282AQ",
        "ICX407AL",
        "S70310908",
        "VQE3618L",
        "KAI-2001 Quartz Glass",
        "KAI-2001 No Glass",
        "KAI-2001M AR Glass",
        "KAI-2001CM AR Glass",
        "KAI-4020 No Glass",
        "KAI-4020M AR Glass",
        "KAI-4020M No Glass",
        "KAI-4020CM AR Glass",
        "KAI-1020 No Glass",
        "KAI-1020M AR Glass",
        "KAI-1020M Clear Glass",
        "KAI-1020CM AR Glass",
        "KAI-2001M Clear Glass",
        "KAI-2001 AR Glass",
        "KAI-2001 Clear Glass",
        "KAI-2001M No Glass",
        "KAI-2001CM Clear Glass",
        "KAI-2001CM No Glass",
        "KAI-4020M Clear Glass",
        "KAI-4020 AR Glass",
        "KAI-4020 Quartz Glass",
        "KAI-4020 Clear Glass",
        "KAI-4020CM Clear Glass",
        "KAI-4020CM No Glass",
        "KAI-1020 AR Glass",
        "KAI-1020 Quartz Glass",
        "KAI-1020 Clear Glass",
        "KAI-1020M No Glass",
        "KAI-1020CM Clear Glass",
        "KAI-1020CM No Glass",
        "KAI-2020M AR Glass",
        "KAI-2020M Clear Glass",
        "KAI-2020 AR Glass",
        "KAI-2020 Quartz Glass",
        "KAI-2020 Clear Glass",
        "KAI-2020M No Glass",
        "KAI-2020 No Glass",
        "KAI-2020CM AR Glass",
        "KAI-2020CM Clear Glass",
        "KAI-2020CM No Glass",
        "KAI-2021M Clear Glass",
        "KAI-2021CM Clear Glass",
        "KAI-2021M AR Glass",
        "KAI-2021CM AR Glass",
        "KAI-2021 AR Glass",
        "KAI-2021 Quartz Glass",
        "KAI-2021 Clear Glass",
        "KAI-2021 No Glass",
        "KAI-2021M No Glass",
        "KAI-2021CM No Glass",
        "KAI-4021M Clear Glass",
        "KAI-4021CM Clear Glass",
        "KAI-4021CM AR Glass",
        "KAI-4021M AR Glass",
        "KAI-4021 AR Glass",
        "KAI-4021 Quartz Glass",
        "KAI-4021 Clear Glass",
        "KAI-4021 No Glass",
        "KAI-4021M No Glass",
        "KAI-4021CM No Glass",
        "KAF-3200",
        "KAF-3200",
    };
    ASSERT_EQ(std::size(kExpected), 78u);
    for (uint32_t model = 0; model < 78; ++model)
        EXPECT_STREQ(CcdModelText(model), kExpected[model]) << model;
}

TEST(CcdModels, ReadNothingBeyondTheTable)
{
    EXPECT_STREQ(CcdModelText(78), "Unknown");
    EXPECT_STREQ(CcdModelText(0xFFFFFFFFu), "Unknown");
}

TEST(CcdModels, HaveTheirPixelSizesAndFullWells)
{
    struct Figures {
        uint32_t pixelSize;
        uint32_t fullWell;
    };
    const auto expected = [](uint32_t model) -> Figures {
        if (model == 4 || model == 5)
            return {6700, 36000};
        if (model == 6 || model == 7)
            return {6450, 22000};
        if (model == 8 || model == 9)
            return {4650, 10000};
        if (model == 10)
            return {3450, 0};
        if (model == 12)
            return {3400, 0};
        if (model == 15)
            return {13700, 22000};
        if ((model >= 20 && model <= 23) || (model >= 34 && model <= 39) ||
            (model >= 46 && model <= 75))
            return {7400, 80000};
        if (model == 76 || model == 77)
            return {6800, 55000};
        if (model == 78)
            return {16000, 0};
        return {0, 0};
    };
    for (uint32_t model = 0; model < 100; ++model) {
        EXPECT_EQ(CcdPixelSize(model), expected(model).pixelSize) << model;
        EXPECT_EQ(CcdFullWellCapacity(model), expected(model).fullWell) << model;
    }
}

TEST(ValueNames, NameEveryValueAndNothingElse)
{
    constexpr struct {
        const ValueNames *names;
        uint32_t value;
        const char *name;
    } kExpected[] = {
        {&kWheelColourNames, 0, "Red"},
        {&kWheelColourNames, 1, "Green"},
        {&kWheelColourNames, 2, "Black"},
        {&kWheelColourNames, 3, "Blue"},
        {&kWheelColourNames, 4, "Unknown"},
        {&kSyncbNames, 0, "Trigger Mask"},
        {&kSyncbNames, 1, "Expose"},
        {&kSyncbNames, 2, "Unknown"},
        {&kCameraModeNames, 0, "Standard Mode"},
        {&kCameraModeNames, 1, "LVW Mode"},
        {&kCameraModeNames, 2, "Oversample Mode"},
        {&kCameraModeNames, 3, "Unknown Mode"},
        {&kBayerAlgorithmNames, 0, ""},
        {&kBayerAlgorithmNames, 1, "Average"},
        {&kBayerAlgorithmNames, 2, "Fast"},
        {&kBayerAlgorithmNames, 3, "Bicubic"},
        {&kBayerAlgorithmNames, 4, "Bicubic - Faster"},
        {&kBayerAlgorithmNames, 5, ""},
        {&kFanSpeedNames, 0, "Unknown"},
        {&kFanSpeedNames, 1, "Low"},
        {&kFanSpeedNames, 2, "Medium"},
        {&kFanSpeedNames, 3, "High"},
        {&kFanSpeedNames, 4, "Full"},
        {&kFanSpeedNames, 5, "Unknown"},
        {&kCcdTypeNames, 0, "Monochrome"},
        {&kCcdTypeNames, 1, "Bayer"},
        {&kCcdTypeNames, 2, "Unknown"},
        {&kCcdTypeNames, 0xFFFFFFFFu, "Unknown"},
    };
    for (const auto &expected : kExpected)
        EXPECT_STREQ(NameOf(*expected.names, expected.value), expected.name) << expected.value;
}

TEST(ValueNames, GiveTheMegahertzOfAReadoutIndex)
{
    constexpr double kExpected[] = {20.0, 10.0, 5.0, 2.5, 1.0, 24.0, 48.0, 40.0, 30.0, 0.0};
    for (uint32_t index = 0; index < std::size(kExpected); ++index)
        EXPECT_EQ(ReadoutSpeedMegahertz(index), kExpected[index]) << index;
    EXPECT_EQ(ReadoutSpeedMegahertz(0xFFFFFFFFu), 0.0);
}

} // namespace
} // namespace zerix::tables
