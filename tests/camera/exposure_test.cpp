// Exposure times: microseconds of the first version, nanoseconds of the others.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

TEST(Exposure, VersionOneCountsMicroseconds)
{
    RegisterCamera camera(Version(1, 2), Version(1, 2));
    EXPECT_EQ(camera.SetExposure(16384000), 0);
    EXPECT_EQ(camera.SetExposure(16384000), 0);
    EXPECT_EQ(camera.SetExposure(16384999), 0); // not the value that is read back
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 16384), Sent(0x18, 16384)}));
    EXPECT_EQ(camera.GetExposure(), 16384000u);
}

TEST(Exposure, VersionOneRaisesNothingToAMicrosecond)
{
    RegisterCamera camera(Version(1, 2), Version(1, 2));
    EXPECT_EQ(camera.SetExposure(999), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 1)}));
    EXPECT_EQ(camera.GetExposure(), 1000u);
}

TEST(Exposure, VersionOneStopsAtItsLongest)
{
    RegisterCamera camera(Version(1, 2), Version(1, 2));
    EXPECT_EQ(camera.SetExposure(4294967294999u), 0);
    EXPECT_EQ(camera.SetExposure(4294967295000u), 0);
    EXPECT_EQ(camera.SetExposure(5000000000000u), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 0xFFFFFFFE), Sent(0x18, 0xFFFFFFFF),
                                               Sent(0x18, 0xFFFFFFFF)}));
    EXPECT_EQ(camera.GetExposure(), 4294967295000u);
}

TEST(Exposure, LaterVersionsTakeTwoWordsUpperFirst)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetExposure(0x123456789ABCDEF0u), 0);
    EXPECT_EQ(camera.SetExposure(0x123456789ABCDEF0u), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 0x12345678), Sent(0x3C, 0x9ABCDEF0)}));
    EXPECT_EQ(camera.GetExposure(), 0x123456789ABCDEF0u);
    EXPECT_EQ(camera.SetExposure(5), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 0), Sent(0x3C, 5)}));
}

TEST(Exposure, AFailedUpperHalfEndsTheCall)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kBroken);
    EXPECT_EQ(camera.SetExposure(0x100000005u), 9);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x18, 1)}));
}

TEST(Exposure, LimitsFollowTheInformationBlock)
{
    RegisterCamera first(Version(1, 2), Version(2, 8));
    first.SetInformation(0x0C, 100);
    first.SetInformation(0x68, 0xFFFFFFFF);
    EXPECT_EQ(first.GetMinExposure(), 100000u);
    EXPECT_EQ(first.GetMaxExposure(), 4294967295000u);
    EXPECT_EQ(first.GetExposureResolution(), 1000u);

    RegisterCamera later(Version(2, 1));
    later.SetInformation(0x0C, 1);
    later.SetInformation(0x9C, 2);
    later.SetInformation(0x68, 3);
    later.SetInformation(0xA0, 4);
    later.SetInformation(0x8C, 250);
    EXPECT_EQ(later.GetMinExposure(), 0x100000002u);
    EXPECT_EQ(later.GetMaxExposure(), 0x300000004u);
    EXPECT_EQ(later.GetExposureResolution(), 250u);
}

TEST(Exposure, TheDefaultIsSixteenMilliseconds)
{
    EXPECT_EQ(RegisterCamera().GetDefaultExposure(), 16384000u);
}

} // namespace
} // namespace zerix::test
