// The exposure step by step.
#include "tests/image/exposure_fixture.h"

namespace ZX {
namespace {

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

} // namespace
} // namespace ZX
