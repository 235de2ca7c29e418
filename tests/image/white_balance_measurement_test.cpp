// The measurement of the white balance on a camera whose images the test makes.
#include <cmath>
#include <gtest/gtest.h>

#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "platform/frame_buffer_pool.h"
#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Calls = std::vector<std::string>;

class Measurement : public testing::Test {
protected:
    Measurement() : filter(std::make_unique<ZAutoWhiteBalance>(false))
    {
        camera.getImageFormat = 2;
        camera.GetBayerPipeline()->Setup(4, 4);
        camera.GetBayerPipeline()->AddFilter(camera.GetBenchmateRatioCorrectionFilter());
    }

    // Images of 4 x 4 of one colour.
    void Paint(uint8_t red, uint8_t green, uint8_t blue)
    {
        camera.makeImage = [=, this] {
            Bytes rgb;
            for (int pixel = 0; pixel < 16; ++pixel)
                rgb.insert(rgb.end(), {red, green, blue});
            return MakeImage(rgb, 4, 4, 12, 5, static_cast<ZCamera *>(&camera));
        };
    }

    int16_t Measure() { return filter->Preprocess(0, 0, 4, 4, &camera); }

    FilterCamera camera;
    std::unique_ptr<ZAutoWhiteBalance> filter;
};

TEST_F(Measurement, ScalesRedAndBlueToGreen)
{
    Paint(80, 120, 160);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.imagesTaken, 1);
    EXPECT_FLOAT_EQ(filter->GetRedScale(), 1.5f);
    EXPECT_EQ(filter->GetGreenScale(), 1.0f);
    EXPECT_FLOAT_EQ(filter->GetBlueScale(), 0.75f);
    EXPECT_EQ(filter->GetRedTables().for8Bit[100], 150);
    EXPECT_EQ(filter->GetBlueTables().for16Bit[1000], 750);
}

TEST_F(Measurement, ComputesInFloat)
{
    Paint(131, 97, 113);
    EXPECT_EQ(Measure(), 0);
    const float average = (131.0f + 97.0f + 113.0f) / 3.0f;
    const float factor = 1.0f / (average / 97.0f);
    EXPECT_EQ(filter->GetRedScale(), average / 131.0f * factor);
    EXPECT_EQ(filter->GetBlueScale(), average / 113.0f * factor);
}

TEST_F(Measurement, EndsOnceEachMeanLiesWithinTheRange)
{
    const auto imagesFor = [this](uint8_t red, uint8_t green, uint8_t blue) {
        Paint(red, green, blue);
        camera.imagesTaken = 0;
        EXPECT_EQ(Measure(), 0);
        return camera.imagesTaken;
    };
    EXPECT_EQ(imagesFor(80, 80, 80), 1);
    EXPECT_EQ(imagesFor(199, 199, 199), 1);
    EXPECT_EQ(imagesFor(79, 80, 80), 6);
    EXPECT_EQ(imagesFor(80, 79, 80), 6);
    EXPECT_EQ(imagesFor(80, 80, 79), 6);
    EXPECT_EQ(imagesFor(200, 199, 199), 6);
    EXPECT_EQ(imagesFor(199, 199, 200), 6);
}

TEST_F(Measurement, TheRangeOfOtherDepthsIsThatOf16Bits)
{
    const auto imagesFor = [this](uint16_t mean) {
        camera.makeImage = [=, this] {
            const Bytes bytes = BytesOfWords(std::vector<uint16_t>(48, mean));
            uint8_t *const buffer = ZExImage::AllocateBuffer(96);
            std::memcpy(buffer, bytes.data(), 96);
            return std::make_unique<ZExImage>(
                buffer, 96, 4, 4, uint16_t{12}, 0, 1.0, 10, uint16_t{2}, uint16_t{5}, uint16_t{0},
                false, uint16_t{0}, uint16_t{0}, uint16_t{1}, false, uint16_t{0}, uint16_t{0},
                static_cast<ZCamera *>(&camera), true, 0);
        };
        camera.imagesTaken = 0;
        EXPECT_EQ(Measure(), 0);
        return camera.imagesTaken;
    };
    EXPECT_EQ(imagesFor(20559), 6);
    EXPECT_EQ(imagesFor(20560), 1);
    EXPECT_EQ(imagesFor(51400), 1);
    EXPECT_EQ(imagesFor(51401), 6);
}

TEST_F(Measurement, AChannelWithoutLightSaturates)
{
    Paint(0, 100, 50);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.imagesTaken, 6);
    EXPECT_EQ(filter->GetRedScale(), 65535.0f);
    EXPECT_EQ(filter->GetRedTables().for8Bit[0], 0);
    EXPECT_EQ(filter->GetRedTables().for8Bit[1], 255);
    EXPECT_EQ(filter->GetRedTables().for16Bit[1], 65535);
    EXPECT_FLOAT_EQ(filter->GetBlueScale(), 2.0f);
}

TEST_F(Measurement, ABlackGreenScalesTheOthersToNothing)
{
    Paint(100, 0, 50);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(filter->GetRedScale(), 0.0f);
    EXPECT_EQ(filter->GetGreenScale(), 1.0f);
    EXPECT_EQ(filter->GetBlueScale(), 0.0f);
    Paint(0, 0, 50); // red has no light either: no number comes out of that, and 0 is taken
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(filter->GetRedScale(), 0.0f);
}

TEST_F(Measurement, AWhollyBlackImageLeavesTheScales)
{
    filter->SetRedScale(1.25f);
    filter->SetGreenScale(1.5f);
    Paint(0, 0, 0);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.imagesTaken, 6);
    EXPECT_EQ(filter->GetRedScale(), 1.25f);
    EXPECT_EQ(filter->GetGreenScale(), 1.5f);
    EXPECT_EQ(filter->GetBlueScale(), 1.88f);
}

TEST_F(Measurement, ARegionIsClippedOnceAndStaysSo)
{
    camera.makeImage = [this] { // first a small image, then larger ones
        const uint32_t side = camera.imagesTaken == 1 ? 2 : 4;
        Bytes rgb;
        for (uint32_t pixel = 0; pixel < side * side; ++pixel) {
            const bool isInside = pixel / side < 2 && pixel % side < 2;
            const auto level = static_cast<uint8_t>(isInside ? 50 : 250);
            rgb.insert(rgb.end(), {level, 100, 100});
        }
        return MakeImage(rgb, side, side, 12, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter->Preprocess(0, 0, 4, 4, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 6);
    EXPECT_FLOAT_EQ(filter->GetRedScale(), 2.0f); // of the 2 x 2 alone
}

TEST_F(Measurement, AMosaicIsMadeColourFirst)
{
    ZBayerInterpolation bayer(2, 12);
    camera.GetBayerPipeline()->AddFilter(&bayer);
    camera.makeImage = [this] {
        Bytes mosaic;
        for (int row = 0; row < 2; ++row) {
            mosaic.insert(mosaic.end(), {100, 120, 100, 120});
            mosaic.insert(mosaic.end(), {120, 160, 120, 160});
        }
        return MakeImage(mosaic, 4, 4, 4, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(Measure(), 0);
    EXPECT_FLOAT_EQ(filter->GetRedScale(), 1.2f);
    EXPECT_FLOAT_EQ(filter->GetBlueScale(), 0.75f);
}

TEST_F(Measurement, AWheelsExposuresFollowTheScales)
{
    camera.getImageFormat = 3;
    camera.getRGBFilterRedExposure = 1'000'001;
    camera.getExposure = 2'000'000;
    camera.getRGBFilterBlueExposure = 4'000'000;
    Paint(80, 120, 160);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.calls, (Calls{"SetRGBFilterRedExposure 1500001", "SetExposure 2000000",
                                   "SetRGBFilterBlueExposure 3000000", "UpdateSettingsOnCamera"}));
}

TEST_F(Measurement, AnotherCamerasExposuresStay)
{
    Paint(80, 120, 160);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.calls, Calls{});
}

TEST_F(Measurement, FailuresAreTold)
{
    camera.getOneImageStatus = 9;
    EXPECT_EQ(Measure(), 9);
    camera.getOneImageStatus = 0;
    EXPECT_EQ(Measure(), 21); // neither an error nor an image
    camera.makeImage = [this] {
        return MakeImage(Bytes(16, 100), 4, 4, 2, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(Measure(), 29); // what has no colours can't be balanced
    ZBayerInterpolation bayer(2, 6);
    camera.GetBayerPipeline()->AddFilter(&bayer);
    camera.makeImage = [this] {
        return MakeImage(Bytes(16, 100), 4, 4, 4, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(Measure(), 5); // a planar format
}

TEST_F(Measurement, EveryImageIsFreedTheLastOneToo)
{
    for (const uint8_t green : {uint8_t{100}, uint8_t{20}}) { // one pass, and six
        zerix::FrameBuffers().Trim();
        Paint(100, green, 100);
        EXPECT_EQ(Measure(), 0);
        EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u);
    }
    EXPECT_EQ(camera.imagesTaken, 7);
    camera.getOneImageStatus = 9; // an image all the same
    EXPECT_EQ(Measure(), 9);
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u);
}

// Nothing is measured there: the means are those that the filter begins with, 128 each.
TEST_F(Measurement, ARegionOutsideTheImageLeavesTheFirstMeans)
{
    Paint(10, 250, 10);
    EXPECT_EQ(filter->Preprocess(4, 0, 4, 4, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 1);
    EXPECT_EQ(filter->GetRedScale(), 1.0f);
    EXPECT_EQ(filter->GetGreenScale(), 1.0f);
    EXPECT_EQ(filter->GetBlueScale(), 1.0f);
}

// 20 of 100: five times longer in each of the six passes.
TEST_F(Measurement, AWheelsExposuresMoveInEveryPass)
{
    camera.getImageFormat = 3;
    camera.getRGBFilterRedExposure = 1'000;
    camera.getExposure = 2'000;
    camera.getRGBFilterBlueExposure = 64'000'000;
    Paint(20, 100, 200);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.imagesTaken, 6);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 15'625'000u);
    EXPECT_EQ(camera.getExposure, 2'000u);
    EXPECT_EQ(camera.getRGBFilterBlueExposure, 1'000'000u);
    EXPECT_EQ(camera.calls.size(), 24u);
}

// The scales that stand move them, in this case twice blue.
TEST_F(Measurement, AWheelWithoutLightIsMovedByTheScalesThatStand)
{
    camera.getImageFormat = 3;
    camera.getRGBFilterRedExposure = 1'000;
    camera.getExposure = 2'000;
    camera.getRGBFilterBlueExposure = 1'000;
    filter->SetRedScale(1.0f);
    filter->SetBlueScale(2.0f);
    Paint(0, 0, 0);
    EXPECT_EQ(Measure(), 0);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 1'000u);
    EXPECT_EQ(camera.getExposure, 2'000u);
    EXPECT_EQ(camera.getRGBFilterBlueExposure, 64'000u);
}

} // namespace
} // namespace ZX
