// The search for an exposure on a camera whose images the test makes.
#include "image/z_bayer_interpolation.h"
#include "platform/frame_buffer_pool.h"
#include "tests/image/exposure_fixture.h"

namespace ZX {
namespace {

TEST_F(Exposure, TheSearchSettlesAndPutsTheDepthBack)
{
    LightUp(1e-5); // 250 levels at 25,000,000
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.getBitDepth, 14u);
    EXPECT_NEAR(static_cast<double>(camera.getExposure), 25e6, 0.3e6);
    // 10, 40, 160, 245 (of 250): 16,000,000 x 250 / 160 and then a step of 2 percent.
    EXPECT_EQ(camera.imagesTaken, 4);
}

TEST_F(Exposure, TheSearchTellsTheCameraInOrder)
{
    LightUp(0);
    camera.getExposure = camera.getMaxExposure;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 1); // nothing changed at the maximum
    EXPECT_EQ(TakeCalls(),
              (Calls{"SetBitDepth 8", "UpdateSettingsOnCamera", "SetExposure 1000000000",
                     "SetRGBFilterRedExposure 1000000000", "SetRGBFilterBlueExposure 1000000000",
                     "UpdateSettingsOnCamera", "SetBitDepth 14", "UpdateSettingsOnCamera"}));
}

TEST_F(Exposure, TheSearchStopsTheWheelAtGreenAndTurnsItAgain)
{
    camera.getRGBFilterCycleMode = true;
    camera.getRGBFilterStartColour = 3;
    camera.getRGBFilterRedExposure = 5'000'000;
    camera.getRGBFilterBlueExposure = 3'000'000;
    camera.makeImage = [this] { // 200 of 250 for ever: 1.25 times, then settled at 245
        const bool isFirst = camera.imagesTaken == 1;
        return MakeImage(Bytes(64, isFirst ? 200 : 245), 8, 8, 2, 0,
                         static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    // 1,250,000 x 250 / 245 = 1,275,510: the last pass moved it by 25,510.
    EXPECT_EQ(camera.getExposure, 1'275'510u);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 5'025'510u);
    EXPECT_EQ(camera.getRGBFilterBlueExposure, 3'025'510u);
    EXPECT_EQ(camera.getRGBFilterStartColour, 3u);
    EXPECT_TRUE(camera.getRGBFilterCycleMode);
    const Calls calls = TakeCalls();
    ASSERT_EQ(calls.size(), 19u);
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + 5),
              (Calls{"SetBitDepth 8", "UpdateSettingsOnCamera", "SetRGBFilterStartColour 1",
                     "SetRGBFilterCycle 0", "UpdateSettingsOnCamera"}));
    EXPECT_EQ(Calls(calls.begin() + 13, calls.end()),
              (Calls{"SetBitDepth 14", "SetRGBFilterRedExposure 5025510",
                     "SetRGBFilterBlueExposure 3025510", "SetRGBFilterStartColour 3",
                     "SetRGBFilterCycle 1", "UpdateSettingsOnCamera"}));
}

// Exposures of the wheel don't fall below none.
TEST_F(Exposure, AWheelExposureShorterThanTheStepBecomesNone)
{
    camera.getRGBFilterCycleMode = true;
    camera.getRGBFilterRedExposure = 1'000;
    camera.getRGBFilterBlueExposure = 3'000'000;
    camera.getMinExposure = 0;
    camera.makeImage = [this] {
        return MakeImage(Bytes(64, 255), 8, 8, 2, 0, static_cast<ZCamera *>(&camera));
    };
    // Ten times a quarter, from 1,000,000 down to 3, and at last from 3 to 0.
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 10);
    EXPECT_EQ(camera.getExposure, 0u);
    camera.getExposure = 5'000'000;
    camera.getRGBFilterRedExposure = 1'000;
    camera.getMinExposure = 4'500'000;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.getExposure, 4'500'000u);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 0u); // 1,000 less 500,000
    EXPECT_EQ(camera.getRGBFilterBlueExposure, 2'499'997u);
}

TEST_F(Exposure, TheSearchEndsAfterTenPasses)
{
    camera.makeImage = [this] {
        const bool isOdd = camera.imagesTaken % 2 != 0;
        return MakeImage(Bytes(64, isOdd ? 255 : 10), 8, 8, 2, 0, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 10);
    EXPECT_EQ(camera.getExposure, 1'000'000u);
    EXPECT_EQ(camera.getBitDepth, 14u);
}

TEST_F(Exposure, ARegionShrinksToTheImageAndKeepsItsOrigin)
{
    camera.makeImage = [this] {
        Bytes pixels(64, 255);
        for (size_t row = 6; row < 8; ++row)
            for (size_t column = 5; column < 8; ++column)
                pixels[row * 8 + column] = 245;
        return MakeImage(pixels, 8, 8, 2, 0, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(5, 6, 100, 100, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 1);
    EXPECT_EQ(camera.getExposure, 1'020'408u); // 250 / 245: only the corner was looked at
}

TEST_F(Exposure, AFailureLeavesTheCameraAsItIsThen)
{
    LightUp(1e-5);
    camera.getRGBFilterCycleMode = true;
    camera.getOneImageStatus = 21;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 21);
    EXPECT_EQ(camera.getBitDepth, 8u);
    EXPECT_FALSE(camera.getRGBFilterCycleMode);
    camera.getOneImageStatus = 0;
    camera.makeImage = {}; // no image, and no error
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 21);
}

TEST_F(Exposure, TheSearchPutsBackWhetherAllFramesCount)
{
    LightUp(1e-5);
    filter.SetCalculateValuesOnAllFrames(false);
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_GT(camera.imagesTaken, 1);
    TakeCalls();
    EXPECT_EQ(Process(Bytes(4, 255), 2, 2, 2), 31);
    EXPECT_EQ(TakeCalls(), Calls{});
}

// A change of 10 percent in single precision, a hair more than a tenth, is settled. The maximum
// makes the steps here.
TEST_F(Exposure, ATenthIsSettledAndANanosecondMoreIsNot)
{
    LightUp(0);
    camera.getMaxExposure = 1'100'000;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 1);
    camera.getExposure = 1'000'000;
    camera.getMaxExposure = 1'100'001;
    camera.imagesTaken = 0;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 2);
    EXPECT_EQ(camera.getExposure, 1'100'001u);
}

// 98 percent of 256 levels for the brightest channel: 250.88 / 200 and then 250.88 / 250.
TEST_F(Exposure, TheSearchInColourGoesByTheBrightestChannelAndKeepsTheOtherExposures)
{
    camera.getRGBFilterRedExposure = 7;
    camera.getRGBFilterBlueExposure = 8;
    camera.makeImage = [this] {
        const auto level = static_cast<uint8_t>(camera.imagesTaken == 1 ? 200 : 250);
        Bytes rgb;
        for (int pixel = 0; pixel < 64; ++pixel)
            rgb.insert(rgb.end(), {30, 101, level});
        return MakeImage(rgb, 8, 8, 12, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 2);
    EXPECT_EQ(camera.getExposure, 1'258'815u); // 1,254,400 x 250.88 / 250 = 1,258,815.5
    EXPECT_EQ(camera.getRGBFilterRedExposure, 7u);
    EXPECT_EQ(camera.getRGBFilterBlueExposure, 8u);
}

// A camera of more than 8 bits whose pictures are RGB48. As words the mosaic's bytes would all look
// clipped.
TEST_F(Exposure, TheSearchMakesBytesOfAMosaicWhateverIsWantedOfPictures)
{
    camera.GetBayerFilter()->SetOutputFormat(10);
    camera.GetBayerPipeline()->AddFilter(camera.GetBayerFilter());
    uint32_t formatInTheSearch = 0;
    camera.makeImage = [&] {
        formatInTheSearch = camera.GetBayerFilter()->GetOutputFormat();
        return MakeImage(Bytes(64, 200), 8, 8, 4, 5, static_cast<ZCamera *>(&camera));
    };
    camera.getMaxExposure = 1'050'000;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.getExposure, 1'050'000u);
    EXPECT_EQ(formatInTheSearch, 12u);
    EXPECT_EQ(camera.GetBayerFilter()->GetOutputFormat(), 10u);
    camera.getOneImageStatus = 9;
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 9);
    EXPECT_EQ(camera.GetBayerFilter()->GetOutputFormat(), 10u);
}

TEST_F(Exposure, AMosaicThatCannotBecomeColourEndsTheSearch)
{
    camera.GetBayerFilter()->SetOutputFormat(6); // planes aren't made of mosaics
    camera.GetBayerPipeline()->AddFilter(camera.GetBayerFilter());
    camera.makeImage = [this] {
        return MakeImage(Bytes(64, 200), 8, 8, 4, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 5);
    EXPECT_EQ(camera.imagesTaken, 1);
    EXPECT_EQ(camera.getBitDepth, 8u);
    EXPECT_EQ(camera.getExposure, 1'000'000u);
}

// Nothing is put back: all frames count from then on.
TEST_F(Exposure, AnImageThatCannotBeMeasuredEndsTheSearch)
{
    filter.SetCalculateValuesOnAllFrames(false);
    camera.makeImage = [this] {
        return MakeImage(Bytes(64, 200), 8, 8, 14, 5, static_cast<ZCamera *>(&camera));
    };
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 29);
    EXPECT_EQ(camera.getBitDepth, 8u);
    TakeCalls();
    EXPECT_EQ(Process(Bytes(4, 255), 2, 2, 2), 31);
    EXPECT_EQ(camera.getExposure, 250'000u);
}

TEST_F(Exposure, TheSearchFreesEachImage)
{
    zerix::FrameBuffers().Trim();
    LightUp(1e-5);
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 0);
    EXPECT_EQ(camera.imagesTaken, 4);
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u); // the same buffer again and again
    camera.getOneImageStatus = 9;                     // an image all the same
    EXPECT_EQ(filter.CalculateExposure(0, 0, 8, 8, &camera), 9);
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u);
}

} // namespace
} // namespace ZX
