// Packet sizes: the formula at each of its corners, and what a camera does with them.
#include "camera/packet_size.h"

#include <gtest/gtest.h>

#include "tests/camera/register_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

struct Row {
    uint16_t firmware, speed, fastest, binning, bitDepth;
    float megahertz;
    uint16_t bytes;
};

void ExpectBytes(const std::vector<Row> &rows)
{
    for (const auto &row : rows)
        EXPECT_EQ(
            RequiredPacketSize(
                {.binning = row.binning, .bitDepth = row.bitDepth, .megahertz = row.megahertz},
                {.firmware = row.firmware, .speed = row.speed, .fastest = row.fastest}),
            row.bytes)
            << "firmware " << row.firmware << ", " << row.speed << " Mb/s, " << row.fastest
            << " bytes, binning " << row.binning << ", " << row.bitDepth << " bits, "
            << row.megahertz << " MHz";
}

TEST(PacketSize, GrowsWithRateAndDepthAndShrinksWithBinning)
{
    ExpectBytes({{102, 800, 9044, 1, 8, 20.0f, 2348},
                 {102, 800, 9044, 1, 16, 20.0f, 4656},
                 {102, 800, 9044, 1, 9, 20.0f, 4656},
                 {102, 800, 9044, 2, 12, 20.0f, 2348},
                 {102, 800, 9044, 8, 14, 10.0f, 328}});
}

TEST(PacketSize, NeverExceedsTheBus)
{
    ExpectBytes({{102, 800, 9044, 1, 16, 40.0f, 9044}, {102, 400, 5000, 1, 16, 20.0f, 5000}});
}

TEST(PacketSize, OldFirmwareHasABiggerHeaderAndRoundsUp)
{
    ExpectBytes({{101, 800, 9044, 1, 8, 20.0f, 2360},
                 {101, 400, 5000, 1, 8, 20.0f, 2528},
                 {102, 400, 5000, 1, 8, 20.0f, 2520},
                 // Both come to 4098 before the rounding.
                 {102, 800, 9044, 1, 8, 35.16f, 4096},
                 {101, 800, 9044, 1, 8, 35.08f, 4100}});
}

TEST(PacketSize, TwoAndAHalfMegahertzCountAsThree)
{
    ExpectBytes({{102, 800, 9044, 1, 8, 2.5f, 384}, {102, 800, 9044, 1, 8, 3.0f, 384}});
}

TEST(PacketSize, TheDivisorGoesByTheBus)
{
    ExpectBytes({{102, 400, 5012, 1, 8, 20.0f, 2524},
                 {102, 400, 5013, 1, 8, 20.0f, 1460},
                 {102, 400, 8192, 1, 8, 20.0f, 2368},
                 {102, 400, 8193, 1, 8, 20.0f, 2128},
                 {102, 400, 9056, 1, 8, 20.0f, 2348},
                 {102, 400, 9057, 1, 8, 20.0f, 4548}});
}

TEST(PacketSize, NewFirmwareReadsMoreDensely)
{
    ExpectBytes({{114, 400, 5000, 1, 8, 20.0f, 2580},
                 {114, 400, 4097, 1, 8, 20.0f, 2120},
                 {114, 400, 4096, 1, 8, 20.0f, 2356},
                 {113, 400, 4096, 1, 8, 20.0f, 2068},
                 {114, 800, 9044, 1, 8, 20.0f, 2368},
                 {114, 800, 9044, 1, 16, 30.0f, 7024},
                 {114, 800, 9044, 1, 16, 40.0f, 8180}});
}

TEST(PacketSize, AFastBusCountsAsItsFullPacket)
{
    ExpectBytes({{102, 800, 8191, 1, 8, 20.0f, 2368}, {102, 400, 8100, 1, 8, 20.0f, 2340}});
}

TEST(PacketSize, DemandsThatNoCameraMakesGiveNumbers)
{
    EXPECT_LE(RequiredPacketSize({0, 8, 20.0f}, {102, 800, 9044}), 9044);
    EXPECT_LE(RequiredPacketSize({1, 65535, 40.0f}, {102, 800, 9044}), 9044);
    EXPECT_EQ(RequiredPacketSize({1, 8, 20.0f}, {102, 0, 0}), 0);
}

TEST(PacketSize, FixedItKnowsTwoSizes)
{
    EXPECT_EQ(FixedPacketSize({1, 16, 20.0f}), 4980);
    EXPECT_EQ(FixedPacketSize({1, 9, 20.0f}), 4980);
    EXPECT_EQ(FixedPacketSize({1, 8, 20.0f}), 4080);
    EXPECT_EQ(FixedPacketSize({2, 16, 20.0f}), 4080);
    EXPECT_EQ(FixedPacketSize({1, 16, 10.0f}), 4080);
    EXPECT_EQ(FixedPacketSize({1, 16, 40.0f}), 4080);
}

// The camera
// ---------------------------------------------------------------------------------------

TEST(PacketSizeOfACamera, GoesByItsSettingsAndItsBus)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kFast);
    camera.SetInformation(0x40, 102);
    camera.SetInformation(0x20, 15);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(1, 16, 20.0f), 4656);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(true), 2348);
    camera.SetControl(0x04, 1 << 3);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(true), 4656);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(false), 4656);
    camera.SetControl(0x04, 7 << 8 | 1 << 3);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(false), 9044);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(true), 4656);
}

TEST(PacketSizeOfACamera, BeforeControl23DoesNotAskTheBus)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2)); // a bus without packets
    camera.SetInformation(0x20, 15);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(1, 8, 20.0f), 4080);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(1, 16, 20.0f), 4980);
    camera.SetControl(0x04, 1 << 3);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(false), 4980);
}

class GreedyCamera : public RegisterCamera {
public:
    using RegisterCamera::RegisterCamera;
    using TolvaneFWCamera::CalculateRequiredPacketSize;
    uint16_t CalculateRequiredPacketSize(uint16_t, uint16_t, float) override { return 9000; }
};

TEST(PacketSizeOfACamera, AModelsOwnFormulaIsCutOnlyWhenAskedFor)
{
    GreedyCamera camera(kNewestInformation, kNewestControl, Wire::kBroken);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(true), 5000);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(false), 9000);
}

TEST(PacketSizeOfACamera, AdjustsAFastUnbinnedReadoutAlone)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2));
    camera.SetControl(0x04, 5 << 8);
    float megahertz = 29.9f;
    EXPECT_EQ(camera.AdjustSettingsForMaxPacketSize(1, 8, &megahertz), 0);
    EXPECT_EQ(megahertz, 29.9f);
    megahertz = 30.0f;
    EXPECT_EQ(camera.AdjustSettingsForMaxPacketSize(2, 8, &megahertz), 0);
    EXPECT_EQ(megahertz, 30.0f);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.AdjustSettingsForMaxPacketSize(1, 8, &megahertz), 0);
    EXPECT_EQ(megahertz, 20.0f);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0)}));
}

TEST(PacketSizeOfACamera, TheAdjustmentTellsItsFailure)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2), Wire::kBroken);
    camera.SetControl(0x04, 5 << 8);
    float megahertz = 40.0f;
    EXPECT_EQ(camera.AdjustSettingsForMaxPacketSize(1, 8, &megahertz), 9);
    EXPECT_EQ(megahertz, 20.0f);
}

TEST(PacketSizeOfACamera, TheLimitIsWrittenFromControl23On)
{
    RegisterCamera old(Version(2, 2), Version(2, 2));
    EXPECT_EQ(old.SetMaxPacketSize(4000), 15);
    EXPECT_EQ(old.TakeSent(), SentQuadlets{});
    RegisterCamera camera(Version(2, 3), Version(2, 3));
    EXPECT_EQ(camera.SetMaxPacketSize(4000), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x50, 4000)}));
    EXPECT_EQ(camera.GetMaxPacketSize(), 4000u);
}

TEST(PacketSizeOfACamera, AReallocationIsCommitted)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.ReallocateBandwidth(4096), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x50, 4096), SentCommit()}));
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 4096);
}

TEST(PacketSizeOfACamera, AnOldCamerasReallocationIsNot)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2));
    EXPECT_EQ(camera.ReallocateBandwidth(4096), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 4096);
}

TEST(PacketSizeOfACamera, AFailedWriteEndsTheReallocationWithTheNewBooking)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kBroken);
    EXPECT_EQ(camera.ReallocateBandwidth(4096), 9);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x50, 4096)}));
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 4096);
}

TEST(PacketSizeOfACamera, ABusThatRefusesGives7)
{
    RegisterCamera camera(Version(2, 2), Version(2, 2), Wire::kBroken);
    EXPECT_EQ(camera.ReallocateBandwidth(4096), 7);
    EXPECT_EQ(camera.GetCurrentFireWirePacketSize(), 4096);
}

class TagOfTheStream : public VirtualBusTest {};

// The bus strips packets of other tags, so that a wrong one gives no pictures on real hardware.
TEST_F(TagOfTheStream, IsTheModelsOwnWhenBandwidthIsBookedAnew)
{
    const std::pair<uint32_t, uint32_t> tags[] = {
        {5, 1},  {6, 1},  {7, 1},  {8, 1},  {9, 1},  {10, 1},   {12, 1},  {13, 1}, {14, 1},
        {15, 1}, {16, 1}, {18, 1}, {19, 1}, {25, 0}, {26, 0},   {27, 0},  {28, 0}, {29, 1},
        {30, 1}, {31, 0}, {32, 0}, {33, 0}, {11, 1}, {1001, 1}, {1002, 0}};
    for (const auto &[model, tag] : tags) {
        ZX::TolvaneFWCamera &camera = OpenOne(Describe(model, 6));
        tap.TakeTags();
        ASSERT_EQ(camera.ReallocateBandwidth(2000), 0) << model;
        EXPECT_EQ(tap.TakeTags(), std::vector<uint32_t>{tag}) << model;
        FreeCameras();
    }
}

} // namespace
} // namespace zerix::test
