// The colour filter wheel's registers.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

TEST(FilterWheel, TheCycleStopsTheStream)
{
    RegisterCamera camera;
    camera.SetControl(0x30, 0xFFFFFFFE);
    camera.streaming = true;
    EXPECT_EQ(camera.SetRGBFilterCycle(false), 0);
    EXPECT_TRUE(camera.streaming);
    EXPECT_EQ(camera.SetRGBFilterCycle(true), 0);
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.IsRestartMarked());
    EXPECT_TRUE(camera.GetRGBFilterCycleMode());
    EXPECT_EQ(camera.SetRGBFilterCycle(true), 0);
    EXPECT_EQ(camera.SetRGBFilterCycle(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x30, 0xFFFFFFFF), Sent(0x30, 0xFFFFFFFE)}));
}

TEST(FilterWheel, ActivityIsWrittenEachTimeAndStopsNothing)
{
    RegisterCamera camera;
    camera.streaming = true;
    EXPECT_EQ(camera.SetRGBFilterActive(true), 0);
    EXPECT_EQ(camera.SetRGBFilterActive(true), 0);
    EXPECT_EQ(camera.SetRGBFilterActive(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x30, 0x10), Sent(0x30, 0x10), Sent(0x30, 0)}));
    EXPECT_TRUE(camera.streaming);
}

TEST(FilterWheel, TheStartColourIsOneThreeOrNothing)
{
    RegisterCamera camera;
    camera.SetControl(0x30, 0xFFFFFCFF);
    for (const uint16_t colour : std::vector<uint16_t>{0, 1, 1, 3, 2, 3, 4, 256})
        EXPECT_EQ(camera.SetRGBFilterStartColour(colour), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x30, 0xFFFFFDFF), Sent(0x30, 0xFFFFFFFF),
                                               Sent(0x30, 0xFFFFFCFF), Sent(0x30, 0xFFFFFFFF),
                                               Sent(0x30, 0xFFFFFCFF), Sent(0x30, 0xFFFFFCFF)}));
    camera.SetControl(0x30, 0x200);
    EXPECT_EQ(camera.GetRGBFilterStartColour(), 2);
}

TEST(FilterWheel, RedAndBlueAreExposedLikeTheImage)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetRGBFilterRedExposure(0x100000002u), 0);
    EXPECT_EQ(camera.SetRGBFilterRedExposure(0x100000002u), 0);
    EXPECT_EQ(camera.SetRGBFilterBlueExposure(0x300000004u), 0);
    EXPECT_EQ(camera.SetRGBFilterBlueExposure(0x300000004u), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x1C, 1), Sent(0x40, 2), Sent(0x20, 3), Sent(0x44, 4)}));
    EXPECT_EQ(camera.GetRGBFilterRedExposure(), 0x100000002u);
    EXPECT_EQ(camera.GetRGBFilterBlueExposure(), 0x300000004u);
    EXPECT_EQ(camera.GetExposure(), 0u);
}

TEST(FilterWheel, VersionOneExposesMicroseconds)
{
    RegisterCamera camera(Version(1, 1), Version(1, 1));
    EXPECT_EQ(camera.SetRGBFilterRedExposure(28100000), 0);
    EXPECT_EQ(camera.SetRGBFilterBlueExposure(1), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x1C, 28100), Sent(0x20, 1)}));
    EXPECT_EQ(camera.GetRGBFilterRedExposure(), 28100000u);
    EXPECT_EQ(camera.GetRGBFilterBlueExposure(), 1000u);
}

TEST(FilterWheel, TheDelaysAreAWholeWordWrittenEachTime)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetRGBFilterDelays(0x12345678), 0);
    EXPECT_EQ(camera.SetRGBFilterDelays(0x12345678), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x34, 0x12345678), Sent(0x34, 0x12345678)}));
    camera.SetInformation(0x24, 0xCAFEBABE);
    EXPECT_EQ(camera.GetRGBFilterDefaultDelays(), 0xCAFEBABEu);
}

} // namespace
} // namespace zerix::test
