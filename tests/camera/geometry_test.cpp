// Region of interest, binning and image size: the order of the writes, the clamps, and the stream
// that stops for them.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

constexpr uint16_t kBadValue = 3;

// A sensor of 1392 x 1040: 696 x 520 at two-fold, 174 x 130 at code 2, 348 x 260 at four-fold
// binning.
class Geometry : public ::testing::Test {
protected:
    Geometry() { Fill(camera); }

    static void Fill(RegisterCamera &filled)
    {
        filled.SetInformation(0x10, 1392u << 16 | 1040);
        filled.SetInformation(0x14, 696u << 16 | 520);
        filled.SetInformation(0x18, 174u << 16 | 130);
        filled.SetInformation(0x1C, 348u << 16 | 260);
        filled.SetInformation(0x20, 13);
        filled.SetInformation(0xA8, 1);
        filled.SetControl(0x0C, 1392u << 16 | 1040);
    }

    RegisterCamera camera;
};

// Sizes
// --------------------------------------------------------------------------------------------

TEST_F(Geometry, EachBinningHasItsLargestRegion)
{
    struct Row {
        uint16_t mode;
        uint32_t width, height;
    };
    for (const Row &row : std::vector<Row>{{0, 0, 0},
                                           {1, 1392, 1040},
                                           {2, 696, 520},
                                           {3, 174, 130},
                                           {4, 348, 260},
                                           {8, 174, 130},
                                           {9, 0, 0},
                                           {65535, 0, 0}}) {
        EXPECT_EQ(camera.GetMaxCCDWidthForBinningMode(row.mode), row.width) << row.mode;
        EXPECT_EQ(camera.GetMaxCCDHeightForBinningMode(row.mode), row.height) << row.mode;
        EXPECT_EQ(camera.GetROIMaxWidthForBinningMode(row.mode), row.width) << row.mode;
        EXPECT_EQ(camera.GetROIMaxHeightForBinningMode(row.mode), row.height) << row.mode;
    }
    EXPECT_EQ(camera.GetCCDWidth(), 1392u);
    EXPECT_EQ(camera.GetCCDHeight(), 1040u);
    EXPECT_EQ(camera.GetROIMaxWidthForLVWMode(), 1u);
    EXPECT_EQ(camera.GetROIMaxHeightForLVWMode(), 1u);
}

TEST_F(Geometry, TheRegionIsFourFieldsOfTwoWords)
{
    camera.SetControl(0x0C, 0xF123F456);
    camera.SetControl(0x10, 0xF789FABC);
    EXPECT_EQ(camera.GetROIWidth(), 0x123u);
    EXPECT_EQ(camera.GetROIHeight(), 0x456u);
    EXPECT_EQ(camera.GetROIX(), 0x789u);
    EXPECT_EQ(camera.GetROIY(), 0xABCu);
}

TEST_F(Geometry, TheImageIsTheRegionButNoLargerThanTheBinning)
{
    camera.SetControl(0x0C, 800u << 16 | 500);
    EXPECT_EQ(camera.GetImageWidth(), 800u);
    EXPECT_EQ(camera.GetImageHeight(), 500u);
    EXPECT_EQ(camera.GetImageSize(), 400000u);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.GetImageWidth(), 696u);
    EXPECT_EQ(camera.GetImageHeight(), 500u);
    camera.SetControl(0x0C, 696u << 16 | 521);
    EXPECT_EQ(camera.GetImageWidth(), 696u);
    EXPECT_EQ(camera.GetImageHeight(), 520u);
    camera.SetControl(0x04, 1 << 3); // 14 bits
    EXPECT_EQ(camera.GetImageSize(), 723840u);
}

TEST_F(Geometry, UnbinnedTheImageIsTheRegionEvenBeyondTheSensor)
{
    camera.SetControl(0x0C, 2000u << 16 | 1500);
    EXPECT_EQ(camera.GetImageWidth(), 2000u);
    EXPECT_EQ(camera.GetImageHeight(), 1500u);
}

// Region
// -------------------------------------------------------------------------------------------

TEST_F(Geometry, TheRegionIsWrittenPositionFirst)
{
    EXPECT_EQ(camera.SetROI(10, 20, 300, 200), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x10, 0x000A0000), Sent(0x10, 0x000A0014),
                            Sent(0x0C, 300u << 16 | 1040), Sent(0x0C, 300u << 16 | 200)}));
    EXPECT_EQ(camera.SetROI(10, 20, 300, 200), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetROI(10, 21, 300, 200), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x10, 0x000A0015)}));
}

TEST_F(Geometry, OneFieldCanBeSetAlone)
{
    EXPECT_EQ(camera.SetROIX(1), 0);
    EXPECT_EQ(camera.SetROIY(2), 0);
    EXPECT_EQ(camera.SetROIWidth(3), 0);
    EXPECT_EQ(camera.SetROIHeight(4), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x10, 0x00010000), Sent(0x10, 0x00010002),
                            Sent(0x0C, 3u << 16 | 1040), Sent(0x0C, 0x00030004)}));
}

TEST_F(Geometry, ASizeBeyondTheBinningIsClampedAndWrittenEachTime)
{
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.SetROIWidth(5000), 0);
    EXPECT_EQ(camera.SetROIHeight(5000), 0);
    EXPECT_EQ(camera.SetROIWidth(5000), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x0C, 696u << 16 | 1040), Sent(0x0C, 696u << 16 | 520),
                            Sent(0x0C, 696u << 16 | 520)}));
}

TEST_F(Geometry, APositionBeyondItsBitsReachesTheNeighbours)
{
    EXPECT_EQ(camera.SetROIY(0x1001), 0);
    EXPECT_EQ(camera.SetROIX(0x2002), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x10, 0x00001001), Sent(0x10, 0x20021001)}));
}

TEST_F(Geometry, AFailedWriteEndsTheRegion)
{
    RegisterCamera broken(kNewestInformation, kNewestControl, Wire::kBroken);
    Fill(broken);
    EXPECT_EQ(broken.SetROI(10, 20, 300, 200), 9);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x10, 0x000A0000)}));
    EXPECT_EQ(broken.GetROIX(), 10u);
    // Nobody knows whether the camera has it: the same region begins with it again.
    EXPECT_EQ(broken.SetROI(10, 20, 300, 200), 9);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x10, 0x000A0000)}));
    EXPECT_EQ(broken.SetROIY(20), 9);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x10, 0x000A0014)}));
    EXPECT_EQ(broken.SetROIWidth(300), 9);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x0C, 300u << 16 | 1040)}));
    EXPECT_EQ(broken.SetROIHeight(200), 9);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x0C, 300u << 16 | 200)}));
}

TEST_F(Geometry, AChangeOfTheRegionStopsTheStream)
{
    camera.streaming = true;
    EXPECT_EQ(camera.SetROI(0, 0, 1392, 1040), 0);
    EXPECT_TRUE(camera.streaming);
    EXPECT_EQ(camera.SetROIX(8), 0);
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.IsRestartMarked());
}

// A sensor that is read from the far corner tells other coordinates than it stores.
class MirroredCamera : public RegisterCamera {
public:
    uint32_t GetROIX() override { return 1392 - GetROIWidth() - RegisterCamera::GetROIX(); }
    uint32_t GetROIY() override { return 540 - RegisterCamera::GetROIY(); }
};

TEST_F(Geometry, ThePositionIsComparedWithTheRegister)
{
    MirroredCamera mirrored;
    Fill(mirrored);
    mirrored.SetControl(0x0C, 500u << 16 | 1040);
    mirrored.SetControl(0x10, 100u << 16 | 60);
    EXPECT_EQ(mirrored.GetROIX(), 792u);
    EXPECT_EQ(mirrored.GetROIY(), 480u);
    EXPECT_EQ(mirrored.SetROIX(100), 0);
    EXPECT_EQ(mirrored.SetROIY(60), 0);
    EXPECT_EQ(mirrored.TakeSent(), SentQuadlets{});
    EXPECT_EQ(mirrored.SetROIX(792), 0);
    EXPECT_EQ(mirrored.SetROIY(480), 0);
    EXPECT_EQ(mirrored.TakeSent(),
              (SentQuadlets{Sent(0x10, 792u << 16 | 60), Sent(0x10, 792u << 16 | 480)}));
}

// Binning
// ------------------------------------------------------------------------------------------

TEST_F(Geometry, CodeTwoIsEightfoldWhereTheCameraSaysSo)
{
    for (const auto &[code, mode] :
         std::vector<std::pair<uint32_t, uint16_t>>{{0, 1}, {1, 2}, {2, 8}, {3, 4}}) {
        camera.SetControl(0x08, code);
        EXPECT_EQ(camera.GetSymmetricalBinningMode(), mode);
        EXPECT_EQ(camera.GetHorizontalBinningMode(), mode);
        EXPECT_EQ(camera.GetVerticalBinningMode(), mode);
    }
    camera.SetControl(0x08, 2);
    camera.SetInformation(0xA8, 0xFFFFFFFE);
    EXPECT_EQ(camera.GetSymmetricalBinningMode(), 3);
    RegisterCamera first(Version(2, 2));
    first.SetInformation(0xA8, 1);
    first.SetControl(0x08, 2);
    EXPECT_EQ(first.GetSymmetricalBinningMode(), 8);
    RegisterCamera old(Version(2, 1));
    old.SetControl(0x08, 2);
    EXPECT_EQ(old.GetSymmetricalBinningMode(), 3);
}

TEST_F(Geometry, ThereAreNoModesOfOneDirection)
{
    std::vector<uint16_t> modes{1, 2};
    camera.GetHorizontalBinningModes(modes);
    EXPECT_TRUE(modes.empty());
    modes = {1, 2};
    camera.GetVerticalBinningModes(modes);
    EXPECT_TRUE(modes.empty());
    EXPECT_EQ(camera.SetHorizontalBinning(2), 15);
    EXPECT_EQ(camera.SetVerticalBinning(2), 15);
}

TEST_F(Geometry, EveryBinningHasItsCode)
{
    struct Row {
        uint16_t mode;
        uint32_t code;
    };
    for (const Row &row : std::vector<Row>{{2, 1}, {3, 2}, {8, 2}, {4, 3}}) {
        camera.SetControl(0x08, 0xFFFFFFF0);
        EXPECT_EQ(camera.SetSymmetricalBinning(row.mode), 0) << row.mode;
        EXPECT_EQ(camera.ControlWord(0x08), 0xFFFFFFF0 | row.code) << row.mode;
    }
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.ControlWord(0x08), 0xFFFFFFF0u);
}

TEST_F(Geometry, BinningGrowsTheRegionToTheWholeSensor)
{
    camera.SetControl(0x0C, 300u << 16 | 200);
    camera.SetControl(0x10, 10u << 16 | 20);
    EXPECT_EQ(camera.SetSymmetricalBinning(2), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x08, 1), Sent(0x0C, 696u << 16 | 200), Sent(0x10, 20),
                            Sent(0x0C, 696u << 16 | 520), Sent(0x10, 0)}));
}

TEST_F(Geometry, WithoutBinningTheSizeComesBeforeThePosition)
{
    camera.SetControl(0x08, 1);
    camera.SetControl(0x0C, 300u << 16 | 200);
    camera.SetControl(0x10, 10u << 16 | 20);
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x08, 0), Sent(0x0C, 1392u << 16 | 200),
                            Sent(0x0C, 1392u << 16 | 1040), Sent(0x10, 20), Sent(0x10, 0)}));
}

TEST_F(Geometry, WhatIsRightAlreadyIsNotWritten)
{
    camera.SetControl(0x08, 1);
    camera.SetControl(0x0C, 1392u << 16 | 1040);
    EXPECT_EQ(camera.SetSymmetricalBinning(2), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x08, 0)}));
}

TEST_F(Geometry, AnUnknownBinningIsRefused)
{
    for (const uint16_t mode : std::vector<uint16_t>{0, 5, 6, 7, 9, 256})
        EXPECT_EQ(camera.SetSymmetricalBinning(mode), kBadValue) << mode;
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetSymmetricalBinning(2), 0); // the settings are free again
}

TEST_F(Geometry, BinningGoesOnAfterAFailedWrite)
{
    RegisterCamera broken(kNewestInformation, kNewestControl, Wire::kBroken);
    Fill(broken);
    EXPECT_EQ(broken.SetSymmetricalBinning(2), 0);
    EXPECT_EQ(broken.TakeSent(), (SentQuadlets{Sent(0x08, 1), Sent(0x0C, 696u << 16 | 1040),
                                               Sent(0x0C, 696u << 16 | 520)}));
    EXPECT_EQ(broken.SetSymmetricalBinning(1), 0); // the settings are free again, and once only
}

TEST_F(Geometry, BinningStopsTheStreamUntilTheCommit)
{
    camera.streaming = true;
    EXPECT_EQ(camera.SetSymmetricalBinning(2), 0);
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.IsRestartMarked());
    EXPECT_EQ(camera.SetROI(1, 1, 10, 10), 0);
    EXPECT_TRUE(camera.IsRestartMarked());
}

// The other two setters that drop it go on; see the readout's.
TEST(GeometryOfASlowBus, AFailedDropEndsTheBinning)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2), Wire::kBroken);
    camera.SetControl(0x04, 7 << 8); // 40 MHz
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 9);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0)}));
    EXPECT_EQ(camera.GetSymmetricalBinningMode(), 2);
}

TEST(GeometryOfASlowBus, UnbinningDropsTheFrequencyFirst)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2));
    camera.SetControl(0x04, 5 << 8); // 30 MHz
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.SetSymmetricalBinning(2), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0), Sent(0x08, 0)}));
}

} // namespace
} // namespace zerix::test
