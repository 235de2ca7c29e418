// Readout frequency, bit depth, byte order, compression and image format.
#include "tests/camera/register_camera.h"

#include <limits>

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

struct Frequency {
    uint32_t code;
    float megahertz;
};
constexpr Frequency kFrequencies[] = {{0, 20.0f}, {1, 10.0f}, {2, 5.0f},  {3, 2.5f},
                                      {4, 25.0f}, {5, 30.0f}, {6, 35.0f}, {7, 40.0f}};

// Readout frequency
// --------------------------------------------------------------------------------

TEST(ReadoutFrequency, EveryCodeHasItsFrequency)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kFast);
    for (const auto &row : kFrequencies) {
        camera.SetControl(0x04, 0xFFFFF0FF | row.code << 8);
        EXPECT_EQ(camera.GetReadoutFrequency(), row.megahertz);
        EXPECT_EQ(camera.GetReadoutFrequencyIndex(row.megahertz), row.code);
    }
    for (uint32_t code = 8; code < 16; ++code) {
        camera.SetControl(0x04, code << 8);
        EXPECT_EQ(camera.GetReadoutFrequency(), 0.0f);
    }
}

TEST(ReadoutFrequency, EveryFrequencyIsWrittenAsItsCode)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kFast);
    for (const auto &row : kFrequencies) {
        camera.SetControl(0x04, 0xFFFFFFFF);
        camera.SetReadoutFrequency(row.megahertz);
        EXPECT_EQ(camera.ControlWord(0x04), 0xFFFFF0FF | row.code << 8) << row.megahertz;
    }
}

TEST(ReadoutFrequency, AnUnknownOneMeansTenMegahertz)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetReadoutFrequency(7.0f), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(10.0f), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(2.4999f), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x04, 0x100), Sent(0x04, 0x100), Sent(0x04, 0x100)}));
    EXPECT_EQ(camera.GetReadoutFrequencyIndex(0.0f), 1u);
}

TEST(ReadoutFrequency, TheDefaultIsTheLargest)
{
    RegisterCamera camera;
    std::vector<float> modes{99.0f};
    camera.GetReadoutFrequencyModes(modes);
    EXPECT_EQ(modes, (std::vector<float>{2.5f, 5.0f, 10.0f, 20.0f}));
    EXPECT_EQ(camera.GetReadoutFrequencyMin(), 2.5f);
    EXPECT_EQ(camera.GetReadoutFrequencyMax(), 20.0f);
    EXPECT_EQ(camera.GetReadoutFrequencyDefault(), 20.0f);
    camera.hasReadoutFrequencies = false;
    EXPECT_EQ(camera.GetReadoutFrequencyMin(), std::numeric_limits<float>::max());
    EXPECT_EQ(camera.GetReadoutFrequencyMax(), 0.0f);
}

TEST(ReadoutFrequency, AChangeStopsTheStream)
{
    RegisterCamera camera;
    camera.streaming = true;
    EXPECT_EQ(camera.SetReadoutFrequency(20.0f), 0);
    EXPECT_TRUE(camera.streaming);
    EXPECT_EQ(camera.SetReadoutFrequency(10.0f), 0);
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.IsRestartMarked());
}

TEST(ReadoutFrequency, OfAnUnbinnedCameraIsCutOnASmallPacket)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2));
    camera.SetControl(0x04, 1 << 8);
    EXPECT_EQ(camera.SetReadoutFrequency(30.0f), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(40.0f), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(25.0f), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0), Sent(0x04, 4 << 8)}));
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.SetReadoutFrequency(30.0f), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 5 << 8)}));
}

// The shadow has the 20 MHz, failed or not, so that nothing is left to do.
TEST(ReadoutFrequency, GoesOnAfterAFailedCut)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2), Wire::kBroken);
    camera.SetControl(0x04, 1 << 8);
    EXPECT_EQ(camera.SetReadoutFrequency(30.0f), 0);
    EXPECT_EQ(camera.GetReadoutFrequency(), 20.0f);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0)}));
    EXPECT_EQ(camera.SetReadoutFrequency(10.0f), 9);
}

TEST(ReadoutFrequency, IsNotCutOnABigPacket)
{
    RegisterCamera slow(kNewestInformation, kNewestControl, Wire::kBroken); // 5000 bytes
    slow.SetReadoutFrequency(30.0f);
    EXPECT_EQ(slow.TakeSent(), (SentQuadlets{Sent(0x04, 5 << 8)}));
}

// Bit depth
// ----------------------------------------------------------------------------------------

TEST(BitDepth, EveryCodeHasItsDepth)
{
    RegisterCamera camera;
    camera.SetInformation(0x20, 0xFFFFFFFF);
    EXPECT_EQ(camera.GetMaxBitDepth(), 16);
    for (const auto &[code, depth] :
         std::vector<std::pair<uint32_t, uint16_t>>{{0, 8}, {1, 16}, {2, 12}, {3, 14}}) {
        camera.SetControl(0x04, 0xFFFFFFE7 | code << 3);
        EXPECT_EQ(camera.GetBitDepth(), depth);
    }
    camera.SetInformation(0x20, 0xFFFFFFF0);
    EXPECT_EQ(camera.GetMaxBitDepth(), 1);
}

TEST(BitDepth, ElevenAndFourteenShareACode)
{
    RegisterCamera camera;
    camera.SetInformation(0x20, 11);
    struct Row {
        uint16_t depth;
        uint32_t code;
    };
    for (const Row &row :
         std::vector<Row>{{8, 0}, {10, 1}, {16, 1}, {14, 3}, {11, 3}, {0, 3}, {9, 3}}) {
        camera.SetControl(0x04, 2 << 3);
        EXPECT_EQ(camera.SetBitDepth(row.depth), 0);
        EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, row.code << 3)})) << row.depth;
    }
    camera.SetControl(0x04, 0);
    EXPECT_EQ(camera.SetBitDepth(12), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 1 << 3)}));
}

TEST(BitDepth, TheSameDepthOfAnotherCodeIsNotWritten)
{
    RegisterCamera camera;
    camera.SetInformation(0x20, 11);
    camera.SetControl(0x04, 2 << 3);
    EXPECT_EQ(camera.SetBitDepth(12), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(BitDepth, AChangeStopsTheStream)
{
    RegisterCamera camera;
    camera.streaming = true;
    EXPECT_EQ(camera.SetBitDepth(14), 0);
    EXPECT_FALSE(camera.streaming);
    EXPECT_TRUE(camera.IsRestartMarked());
}

TEST(BitDepth, AFastUnbinnedReadoutIsCutFirst)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2));
    camera.SetControl(0x04, 5 << 8);
    EXPECT_EQ(camera.SetBitDepth(8), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0)}));
}

TEST(BitDepth, GoesOnAfterAFailedCut)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2), Wire::kBroken);
    camera.SetControl(0x04, 5 << 8);
    EXPECT_EQ(camera.SetBitDepth(8), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0)}));
    camera.SetControl(0x04, 5 << 8);
    EXPECT_EQ(camera.SetBitDepth(14), 9);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0), Sent(0x04, 3 << 3)}));
}

// Byte order and compression
// -----------------------------------------------------------------------

TEST(ByteOrder, IsSwitchedToLittleEndianOnce)
{
    RegisterCamera camera;
    camera.SetControl(0x04, 0xFF000102);
    EXPECT_TRUE(camera.GetBigEndian());
    EXPECT_EQ(camera.SetBigEndian(true), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetBigEndian(false), 0);
    EXPECT_EQ(camera.SetBigEndian(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0xFF000106)}));
    EXPECT_FALSE(camera.GetBigEndian());
}

TEST(ByteOrder, BackToBigEndianClearsTheBitBeside)
{
    RegisterCamera camera;
    camera.SetControl(0x04, 0x106);
    EXPECT_EQ(camera.SetBigEndian(true), 0);
    EXPECT_EQ(camera.SetBigEndian(true), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0x104), Sent(0x04, 0x104)}));
    EXPECT_EQ(camera.ControlWord(0x04), 0x106u);
    EXPECT_FALSE(camera.GetBigEndian());
}

TEST(Compression, IsAByteThatStopsNothing)
{
    RegisterCamera camera;
    camera.streaming = true;
    camera.SetControl(0x04, 0x12345678);
    EXPECT_EQ(camera.GetCompression(), 0x34);
    EXPECT_EQ(camera.SetCompression(0x34), 0);
    EXPECT_EQ(camera.SetCompression(0xFF), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0x12FF5678)}));
    EXPECT_TRUE(camera.streaming);
}

// Image format
// -------------------------------------------------------------------------------------

TEST(ImageFormat, MonochromeBecomesThreeShotWithTheWheel)
{
    RegisterCamera camera;
    camera.SetInformation(0x44, 0xFFFFF0FF);
    EXPECT_EQ(camera.GetCCDImageFormat(), 1);
    EXPECT_EQ(camera.GetImageFormat(), 1);
    camera.SetControl(0x30, 1);
    EXPECT_EQ(camera.GetImageFormat(), 3);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.GetImageFormat(), 3);
}

TEST(ImageFormat, BinningMixesAMosaic)
{
    RegisterCamera camera;
    camera.SetInformation(0x44, 0x100);
    camera.SetControl(0x30, 1);
    EXPECT_EQ(camera.GetCCDImageFormat(), 2);
    EXPECT_EQ(camera.GetImageFormat(), 2);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.GetImageFormat(), 1);
}

TEST(ImageFormat, AnyOtherSensorHasNone)
{
    RegisterCamera camera;
    for (uint32_t format = 2; format < 16; ++format) {
        camera.SetInformation(0x44, format << 8);
        EXPECT_EQ(camera.GetCCDImageFormat(), 0);
        EXPECT_EQ(camera.GetImageFormat(), 0);
    }
}

} // namespace
} // namespace zerix::test
