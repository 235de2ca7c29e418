// Trigger modes both ways, the double shot, the trigger delay and the synchronisation output.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

struct Row {
    uint32_t mode, code, polarity;
};
constexpr Row kSingleShot[] = {{0, 0, 0}, {1, 2, 0}, {2, 2, 1}, {3, 3, 0},
                               {4, 3, 1}, {5, 1, 0}, {6, 5, 0}, {7, 5, 1}};
constexpr Row kDoubleShot[] = {{0, 0, 0}, {1, 4, 0}, {2, 4, 1}, {3, 3, 0},
                               {4, 3, 1}, {5, 1, 0}, {6, 5, 0}, {7, 5, 1}};
constexpr uint32_t kOtherBits = 0xFFFFFEF0;

void TurnDoubleShotOn(RegisterCamera &camera)
{
    camera.SetInformation(0x74, 1);
    camera.SetControl(0x34, 1);
}

void ExpectModes(RegisterCamera &camera, const Row (&rows)[8])
{
    for (const Row &row : rows) {
        const uint32_t word = kOtherBits | row.code | row.polarity << 8;
        camera.SetControl(0x2C, word);
        EXPECT_EQ(camera.GetTriggerMode(), row.mode);
        EXPECT_EQ(camera.SetTriggerMode(row.mode), 0);
        EXPECT_EQ(camera.TakeSent(), SentQuadlets{}) << row.mode;
        camera.SetControl(0x2C, kOtherBits | (row.mode == 3 ? 0x001 : 0x003));
        EXPECT_EQ(camera.SetTriggerMode(row.mode), 0);
        EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x2C, word)})) << row.mode;
    }
}

TEST(Trigger, EveryModeIsACodeAndAPolarity)
{
    RegisterCamera camera;
    ExpectModes(camera, kSingleShot);
}

TEST(Trigger, TheDoubleShotHasItsOwnCode)
{
    RegisterCamera camera;
    TurnDoubleShotOn(camera);
    ExpectModes(camera, kDoubleShot);
}

TEST(Trigger, BothShotsCodesMeanTheSameMode)
{
    RegisterCamera camera;
    camera.SetControl(0x2C, 0x004);
    EXPECT_EQ(camera.GetTriggerMode(), 1u);
    camera.SetControl(0x2C, 0x104);
    EXPECT_EQ(camera.GetTriggerMode(), 2u);
    TurnDoubleShotOn(camera);
    camera.SetControl(0x2C, 0x002);
    EXPECT_EQ(camera.GetTriggerMode(), 1u);
}

TEST(Trigger, UnknownCodesAndModesRunFreely)
{
    RegisterCamera camera;
    for (uint32_t code = 6; code < 16; ++code) {
        camera.SetControl(0x2C, 0x100 | code);
        EXPECT_EQ(camera.GetTriggerMode(), 0u) << code;
    }
    camera.SetControl(0x2C, 0x30103);
    camera.abortPending = true;
    EXPECT_EQ(camera.SetTriggerMode(8), 0);
    EXPECT_EQ(camera.SetTriggerMode(4000000000u), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x2C, 0x30000), Sent(0x2C, 0x30000)}));
    EXPECT_TRUE(camera.abortPending);
}

TEST(Trigger, HardwareModesTakeAnAbortBackAndTheSoftwareTriggerAborts)
{
    RegisterCamera camera;
    for (const uint32_t mode : {1u, 2u, 3u, 4u, 6u, 7u}) {
        camera.abortPending = true;
        EXPECT_EQ(camera.SetTriggerMode(mode), 0);
        EXPECT_FALSE(camera.abortPending) << mode;
    }
    EXPECT_EQ(camera.SetTriggerMode(5), 0);
    EXPECT_TRUE(camera.abortPending);
    EXPECT_EQ(camera.SetTriggerMode(0), 0);
    EXPECT_TRUE(camera.abortPending);
    EXPECT_EQ(camera.SetTriggerMode(1), 0);
    EXPECT_FALSE(camera.abortPending);
    EXPECT_EQ(camera.SetTriggerMode(0), 0);
    EXPECT_FALSE(camera.abortPending);
}

TEST(Trigger, AFailedWriteAbortsNothing)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kBroken);
    EXPECT_EQ(camera.SetTriggerMode(5), 9);
    EXPECT_FALSE(camera.abortPending);
    EXPECT_EQ(camera.GetTriggerMode(), 5u);
}

TEST(Trigger, TheWheelLeavesFreeRunningAndSoftware)
{
    RegisterCamera camera;
    std::vector<uint32_t> modes{9};
    camera.GetTriggerModes(modes);
    EXPECT_EQ(modes, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5}));
    camera.SetControl(0x30, 1);
    camera.GetTriggerModes(modes);
    EXPECT_EQ(modes, (std::vector<uint32_t>{0, 5}));
}

TEST(Trigger, TheDelayIsReadAlone)
{
    RegisterCamera camera;
    camera.SetControl(0x4C, 0x80000001);
    camera.SetInformation(0x90, 3);
    camera.SetInformation(0x94, 2);
    camera.SetInformation(0x98, 4);
    EXPECT_EQ(camera.GetTriggerDelay(), 0x80000001u);
    EXPECT_EQ(camera.GetTriggerDelayMin(), 2u);
    EXPECT_EQ(camera.GetTriggerDelayMax(), 3u);
    EXPECT_EQ(camera.GetTriggerDelayResolution(), 4u);
}

// Double shot
// --------------------------------------------------------------------------------------

TEST(DoubleShot, IsOffWhereItIsNotSupported)
{
    RegisterCamera camera;
    camera.SetControl(0x34, 1);
    EXPECT_FALSE(camera.GetDoubleShotMode());
    EXPECT_EQ(camera.SetDoubleShotMode(true), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(DoubleShot, IsTurnedOnWhicheverWayItIsAskedFor)
{
    RegisterCamera camera;
    camera.SetInformation(0x74, 1);
    camera.SetControl(0x34, 0xFFFFFFFE);
    EXPECT_FALSE(camera.GetDoubleShotMode());
    EXPECT_EQ(camera.SetDoubleShotMode(false), 0);
    EXPECT_TRUE(camera.GetDoubleShotMode());
    EXPECT_EQ(camera.SetDoubleShotMode(true), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x34, 1), Sent(0x34, 1)}));
}

// Synchronisation output
// ---------------------------------------------------------------------------

TEST(SyncB, EitherBitIsModeOne)
{
    RegisterCamera camera;
    for (const uint32_t bits : {1u, 2u, 3u}) {
        camera.SetControl(0x2C, bits << 16);
        EXPECT_EQ(camera.GetSyncBMode(), 1u);
        EXPECT_EQ(camera.SetSyncBMode(1), 0);
    }
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    std::vector<uint32_t> modes{9};
    camera.GetSyncBModes(modes);
    EXPECT_EQ(modes, (std::vector<uint32_t>{0, 1}));
}

TEST(SyncB, WritesTheLowerBitForModeOneAndNoneForOthers)
{
    RegisterCamera camera;
    camera.SetControl(0x2C, 0xFFFCFFFF);
    EXPECT_EQ(camera.SetSyncBMode(0), 0);
    EXPECT_EQ(camera.SetSyncBMode(1), 0);
    EXPECT_EQ(camera.SetSyncBMode(7), 0);
    EXPECT_EQ(camera.SetSyncBMode(7), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x2C, 0xFFFDFFFF), Sent(0x2C, 0xFFFCFFFF),
                                               Sent(0x2C, 0xFFFCFFFF)}));
}

} // namespace
} // namespace zerix::test
