// What the filters are made with, and what can be set and asked without an image.
#include <gtest/gtest.h>
#include <limits>
#include <memory>

#include "image/z_auto_exposure.h"
#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_rgb_filter_wheel.h"

namespace ZX {
namespace {

ZInImageBufferStruct InputOf(uint32_t size, uint32_t format, uint32_t filterColour = 0)
{
    return {.size = size, .imageFormat = format, .filterColour = filterColour};
}

TEST(ZImageFilter, IsEnabledFromTheStart)
{
    ZBenchmateRatioCorrection filter(0);
    EXPECT_TRUE(filter.IsEnabled());
    filter.Disable();
    EXPECT_FALSE(filter.IsEnabled());
    filter.Enable();
    EXPECT_TRUE(filter.IsEnabled());
}

TEST(ZImageFilter, NeedsRoomForItsInput)
{
    ZBenchmateRatioCorrection filter(0);
    auto in = InputOf(1234, 4);
    EXPECT_EQ(filter.GetNeededOutputBufferSize(&in), 1234u);
}

TEST(ZBayerInterpolation, KeepsAlgorithmAndFormat)
{
    ZBayerInterpolation filter(4, 12);
    EXPECT_EQ(filter.GetAlgorithm(), 4u);
    EXPECT_EQ(filter.GetOutputFormat(), 12u);
    EXPECT_EQ(filter.SetAlgorithm(77), 0);
    EXPECT_EQ(filter.GetAlgorithm(), 77u);
    EXPECT_EQ(filter.SetOutputFormat(99), 0);
    EXPECT_EQ(filter.GetOutputFormat(), 99u);
}

TEST(ZBayerInterpolation, CanBeInitialisedAgain)
{
    ZBayerInterpolation filter(4, 12);
    EXPECT_EQ(filter.Init(16, 8), 0);
    EXPECT_EQ(filter.Init(32, 16), 0);
    EXPECT_EQ(filter.Init(0, 0), 0);
}

TEST(ZBayerInterpolation, NeedsRoomForTheColoursOfAMosaic)
{
    const uint32_t bytesOfAPixel[] = {0, 0, 0, 0, 0, 0, 3, 6, 3, 4, 6, 4, 3, 4, 0};
    for (uint32_t format = 0; format < std::size(bytesOfAPixel); ++format) {
        ZBayerInterpolation filter(4, static_cast<uint16_t>(format));
        auto mosaic8 = InputOf(100, 4);
        auto mosaic16 = InputOf(200, 5);
        auto mono = InputOf(100, 2);
        EXPECT_EQ(filter.GetNeededOutputBufferSize(&mosaic8), 100 * bytesOfAPixel[format])
            << format;
        EXPECT_EQ(filter.GetNeededOutputBufferSize(&mosaic16), 200 * bytesOfAPixel[format])
            << format;
        EXPECT_EQ(filter.GetNeededOutputBufferSize(&mono), 100u) << format;
    }
}

TEST(ZAutoWhiteBalance, BeginsWithTheFirstScales)
{
    const auto filter = std::make_unique<ZAutoWhiteBalance>(false);
    EXPECT_EQ(filter->GetRedScale(), 1.16f);
    EXPECT_EQ(filter->GetGreenScale(), 1.0f);
    EXPECT_EQ(filter->GetBlueScale(), 1.88f);
    EXPECT_EQ(filter->GetRedTables().for8Bit[100], 115); // the float lies below 1.16
    EXPECT_EQ(filter->GetGreenTables().for8Bit[100], 100);
    EXPECT_EQ(filter->GetBlueTables().for8Bit[100], 187); // and this below 1.88
    EXPECT_EQ(filter->GetRedTables().for16Bit[65535], 65535);
    EXPECT_EQ(filter->GetBlueTables().for16Bit[1000], 1879);
    EXPECT_EQ(filter->Init(10, 10), 0);
    EXPECT_EQ(filter->SetOutputFormat(12), 0);
}

TEST(ZAutoWhiteBalance, BuildsTheTablesOfTheChannelThatIsSet)
{
    const auto filter = std::make_unique<ZAutoWhiteBalance>(false);
    filter->SetRedScale(1.5f);
    filter->SetGreenScale(0.5f);
    filter->SetBlueScale(2.0f);
    EXPECT_EQ(filter->GetRedScale(), 1.5f);
    EXPECT_EQ(filter->GetGreenScale(), 0.5f);
    EXPECT_EQ(filter->GetBlueScale(), 2.0f);
    EXPECT_EQ(filter->GetRedTables().for8Bit[3], 4); // 4.5 is cut
    EXPECT_EQ(filter->GetRedTables().for8Bit[170], 255);
    EXPECT_EQ(filter->GetRedTables().for8Bit[200], 255); // saturated
    EXPECT_EQ(filter->GetGreenTables().for8Bit[254], 127);
    EXPECT_EQ(filter->GetGreenTables().for8Bit[255], 127);
    EXPECT_EQ(filter->GetBlueTables().for16Bit[0], 0);
    EXPECT_EQ(filter->GetBlueTables().for16Bit[32767], 65534);
    EXPECT_EQ(filter->GetBlueTables().for16Bit[32768], 65535);
}

TEST(ZAutoWhiteBalance, AnInfiniteScaleSaturatesEveryLevelAbove0)
{
    const auto filter = std::make_unique<ZAutoWhiteBalance>(false);
    filter->SetRedScale(std::numeric_limits<float>::infinity());
    EXPECT_EQ(filter->GetRedTables().for8Bit[0], 0);
    EXPECT_EQ(filter->GetRedTables().for8Bit[1], 255);
    EXPECT_EQ(filter->GetRedTables().for16Bit[1], 65535);
    filter->SetRedScale(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(filter->GetRedTables().for8Bit[255], 0);
}

TEST(ZAutoExposure, CanBeMadeAndInitialised)
{
    ZAutoExposure filter(false);
    EXPECT_EQ(filter.Init(1392, 1040), 0);
    EXPECT_EQ(filter.SetOutputFormat(12), 0);
    filter.SetCalculateValuesOnAllFrames(true);
    auto in = InputOf(77, 4);
    EXPECT_EQ(filter.GetNeededOutputBufferSize(&in), 77u);
}

TEST(ZBenchmateRatioCorrection, TakesAnyFormat)
{
    ZBenchmateRatioCorrection filter(0);
    EXPECT_EQ(filter.Init(10, 10), 0);
    EXPECT_EQ(filter.SetOutputFormat(99), 0);
}

TEST(ZRGBFilterWheel, KeepsItsOutputFormat)
{
    ZRGBFilterWheel filter(6);
    EXPECT_EQ(filter.GetOutputFormat(), 6u);
    EXPECT_EQ(filter.SetOutputFormat(13), 0);
    EXPECT_EQ(filter.GetOutputFormat(), 13u);
}

TEST(ZRGBFilterWheel, MakesAndFreesItsBuffersInAnyOrder)
{
    ZRGBFilterWheel filter(6);
    filter.FreeBuffers();
    EXPECT_EQ(filter.Init(16, 8), 0);
    EXPECT_EQ(filter.Init(32, 16), 0);
    filter.Disable();
    EXPECT_FALSE(filter.IsEnabled());
    filter.Disable();
    filter.Enable();
    EXPECT_TRUE(filter.IsEnabled());
    filter.FreeBuffers();
    filter.AllocateBuffers(4, 4);
    filter.AllocateBuffers(4, 4);
    filter.Reset();
}

TEST(ZRGBFilterWheel, AFirstFrameNeedsRoomForItselfAlone)
{
    ZRGBFilterWheel filter(12);
    EXPECT_EQ(filter.Init(16, 8), 0);
    for (const uint32_t colour : {0u, 1u, 2u, 3u, 4u}) {
        auto in = InputOf(128, 2, colour);
        EXPECT_EQ(filter.GetNeededOutputBufferSize(&in), 128u) << colour;
    }
}

} // namespace
} // namespace ZX
