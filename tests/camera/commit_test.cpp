// What a commit means for the frames in work.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

class ExposingCamera : public RegisterCamera {
public:
    explicit ExposingCamera(Wire wire) : RegisterCamera(kNewestInformation, kNewestControl, wire)
    {
        SetControl(0x0C, 6u << 16 | 4);
        streaming = true;
    }
    // Let go of by the assembler at once, so that it ends with the camera.
    tStFrameInfo &Expose()
    {
        tStFrameInfo *const frame = PrivatePeekNewFrame();
        frame->finished = true;
        return *frame;
    }
};

TEST(Commit, ThrowsAwayWhatWasExposedUnderTheOldSettings)
{
    ExposingCamera camera(Wire::kNowhere);
    const tStFrameInfo &older = camera.Expose();
    const tStFrameInfo &newer = camera.Expose();
    EXPECT_TRUE(older.valid);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{SentCommit()});
    EXPECT_FALSE(older.valid);
    EXPECT_FALSE(newer.valid);
    EXPECT_TRUE(camera.Expose().valid);
}

TEST(Commit, ThatFailsLeavesTheOldSettingsTheirFrames)
{
    ExposingCamera camera(Wire::kBroken);
    const tStFrameInfo &frame = camera.Expose();
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 9);
    EXPECT_TRUE(frame.valid);
}

} // namespace
} // namespace zerix::test
