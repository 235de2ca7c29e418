// The exposure step by step, and the search on a camera whose images the test makes.
#include "image/z_auto_exposure.h"

#include <gtest/gtest.h>

#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;
using Calls = std::vector<std::string>;

class Exposure : public testing::Test {
protected:
    Exposure()
    {
        camera.getExposure = 1'000'000;
        camera.getMinExposure = 1'000;
        camera.getMaxExposure = 1'000'000'000;
        camera.getBitDepth = 14;
        camera.GetBayerPipeline()->Setup(8, 8);
        camera.GetBayerPipeline()->AddFilter(camera.GetBenchmateRatioCorrectionFilter());
    }

    uint64_t MonoStep(uint64_t exposure, uint32_t maximum, uint32_t depth = 8)
    {
        camera.getExposure = exposure;
        EXPECT_EQ(filter.AutoExposeMono(&camera, depth, maximum), 0);
        EXPECT_EQ(camera.getRGBFilterRedExposure, camera.getExposure);
        EXPECT_EQ(camera.getRGBFilterBlueExposure, camera.getExposure);
        return camera.getExposure;
    }

    uint64_t ColourStep(uint64_t exposure, uint32_t red, uint32_t green, uint32_t blue,
                        uint32_t depth = 8)
    {
        camera.getExposure = exposure;
        camera.getRGBFilterRedExposure = 7;
        camera.getRGBFilterBlueExposure = 8;
        EXPECT_EQ(filter.AutoExposeRGB(&camera, depth, red, green, blue), 0);
        EXPECT_EQ(camera.getRGBFilterRedExposure, 7u);
        EXPECT_EQ(camera.getRGBFilterBlueExposure, 8u);
        return camera.getExposure;
    }

    int16_t Process(const Bytes &bytes, uint32_t width, uint32_t height, uint32_t format,
                    uint32_t depth = 8)
    {
        const ExactBuffer input(bytes);
        ZInImageBufferStruct in{.pBuffer = input.Data(),
                                .size = input.Size(),
                                .width = width,
                                .height = height,
                                .bitDepth = depth,
                                .imageFormat = format,
                                .camera = &camera};
        const int16_t status = filter.Process(&in, nullptr);
        EXPECT_EQ(input.Bytes(), bytes);
        return status;
    }

    // Images of 8 x 8 whose light grows with the exposure.
    void LightUp(double levelsPerNanosecond)
    {
        camera.makeImage = [this, levelsPerNanosecond] {
            const double level = static_cast<double>(camera.getExposure) * levelsPerNanosecond;
            return MakeImage(Bytes(64, static_cast<uint8_t>(std::min(level, 255.0))), 8, 8, 2, 0,
                             static_cast<ZCamera *>(&camera));
        };
    }

    Calls TakeCalls()
    {
        Calls taken;
        taken.swap(camera.calls);
        return taken;
    }

    FilterCamera camera;
    ZAutoExposure filter{true};
};

TEST_F(Exposure, MonoSteps)
{
    EXPECT_EQ(MonoStep(1'000'003, 255), 250'000u);
    EXPECT_EQ(MonoStep(1'000'000, 254), 984'251u); // 250 / 254
    EXPECT_EQ(MonoStep(1'000'000, 250), 1'000'000u);
    EXPECT_EQ(MonoStep(1'000'000, 101), 2'475'247u); // 250 / 101
    EXPECT_EQ(MonoStep(1'000'000, 100), 2'000'000u);
    EXPECT_EQ(MonoStep(1'000'000, 51), 2'000'000u);
    EXPECT_EQ(MonoStep(1'000'000, 50), 4'000'000u);
    EXPECT_EQ(MonoStep(1'000'000, 0), 4'000'000u); // black counts as 1
    EXPECT_EQ(MonoStep(1'000'000, 65535), 250'000u);
}

TEST_F(Exposure, ColourSteps)
{
    EXPECT_EQ(ColourStep(1'000'003, 255, 0, 0), 250'000u);
    EXPECT_EQ(ColourStep(1'000'003, 0, 255, 0), 250'000u);
    EXPECT_EQ(ColourStep(1'000'003, 0, 0, 300), 250'000u);
    EXPECT_EQ(ColourStep(1'000'000, 50, 50, 50), 4'000'000u);
    EXPECT_EQ(ColourStep(1'000'000, 0, 0, 0), 4'000'000u);
    EXPECT_EQ(ColourStep(1'000'000, 51, 50, 50), 2'000'000u);
    EXPECT_EQ(ColourStep(1'000'000, 100, 100, 100), 2'000'000u);
    // 1,000,000 x 256 x 0.9800000190734863 = 250,880,004.88...
    EXPECT_EQ(ColourStep(1'000'000, 50, 101, 50), 2'483'960u);  // / 101 = 2,483,960.4
    EXPECT_EQ(ColourStep(1'000'000, 200, 101, 50), 1'254'400u); // / 200 = 1,254,400.02
    EXPECT_EQ(ColourStep(1'000'000, 10, 20, 254), 987'716u);    // / 254 = 987,716.55
}

// Only 8 bits can be judged.
TEST_F(Exposure, AnyOtherDepthDividesByFour)
{
    for (const uint32_t depth : {7u, 10u, 14u, 16u}) {
        EXPECT_EQ(MonoStep(1'000'000, 0, depth), 250'000u) << depth;
        EXPECT_EQ(MonoStep(1'000'000, 100, depth), 250'000u) << depth;
        EXPECT_EQ(ColourStep(1'000'000, 0, 1, 100, depth), 250'000u) << depth;
    }
}

TEST_F(Exposure, StaysWithinTheCamerasLimits)
{
    EXPECT_EQ(MonoStep(4'003, 255), 1'000u); // 1000 is the minimum
    EXPECT_EQ(MonoStep(3, 255), 1'000u);     // 0, raised
    EXPECT_EQ(MonoStep(300'000'000, 10), 1'000'000'000u);
    EXPECT_EQ(ColourStep(3, 255, 0, 0), 1'000u);
    EXPECT_EQ(ColourStep(300'000'000, 10, 10, 10), 1'000'000'000u);
    camera.getMaxExposure = ~uint64_t{0};
    EXPECT_EQ(MonoStep(~uint64_t{0} / 2, 10), ~uint64_t{0}); // no step wraps
    EXPECT_EQ(MonoStep(~uint64_t{0} / 2, 200), ~uint64_t{0} / 200);
}

TEST_F(Exposure, AStepTellsTheCameraInOrder)
{
    MonoStep(1'000, 100);
    EXPECT_EQ(TakeCalls(), (Calls{"SetExposure 2000", "SetRGBFilterRedExposure 2000",
                                  "SetRGBFilterBlueExposure 2000", "UpdateSettingsOnCamera"}));
    ColourStep(1'000, 100, 1, 1);
    EXPECT_EQ(TakeCalls(), (Calls{"SetExposure 2000", "UpdateSettingsOnCamera"}));
}

TEST_F(Exposure, ProcessDoesNothingUnlessItIsToWorkOnAllFrames)
{
    filter.SetCalculateValuesOnAllFrames(false);
    EXPECT_EQ(Process(Bytes(4, 255), 2, 2, 2), 31);
    EXPECT_EQ(TakeCalls(), Calls{});
}

TEST_F(Exposure, ProcessMeasuresTheBrightestPixelOfItsRegion)
{
    filter.Init(2, 2); // the region
    Bytes pixels(9, 255);
    pixels[0] = 10;
    pixels[1] = 51;
    pixels[3] = 20;
    pixels[4] = 30;
    EXPECT_EQ(Process(pixels, 3, 3, 2), 31);
    EXPECT_EQ(camera.getExposure, 2'000'000u);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 2'000'000u);
    // In colour the same pixels are measured by channel, and the wheel's exposures stay.
    camera.getExposure = 1'000'000;
    const Bytes rgb{10, 10, 10, 20, 20, 101, 255, 0, 0, 10, 10, 10, 10, 10, 10, 0, 255, 0};
    EXPECT_EQ(Process(rgb, 3, 2, 12), 31);
    EXPECT_EQ(camera.getExposure, 2'483'960u);
    EXPECT_EQ(camera.getRGBFilterRedExposure, 2'000'000u);
}

TEST_F(Exposure, ProcessTellsOfAnImageThatCannotBeMeasured)
{
    EXPECT_EQ(Process(Bytes(4, 255), 2, 2, 14), 29);
    EXPECT_EQ(TakeCalls(), Calls{});
}

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

} // namespace
} // namespace ZX
