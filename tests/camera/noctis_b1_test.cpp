// The Noctis B1: its packets, and its only port.
#include <vector>

#include <gtest/gtest.h>

#include "camera/models/noctis_b1.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kNoctisB1 = 25;
constexpr uint32_t k40MHzAt14Bits = 7 << 8 | 3 << 3;

uint16_t SizeOf(uint16_t binning, uint16_t bitDepth, float megahertz, uint16_t speed,
                uint16_t fastest)
{
    return NoctisB1PacketSize({.binning = binning, .bitDepth = bitDepth, .megahertz = megahertz},
                              {.firmware = 114, .speed = speed, .fastest = fastest});
}

TEST(NoctisB1PacketSize, FollowsTheReadout)
{
    EXPECT_EQ(SizeOf(1, 14, 20.0f, 800, 9044), 4660); // 18008 x 20 / 78 + 40 = 4657.4
    EXPECT_EQ(SizeOf(1, 14, 40.0f, 800, 9044), 9276); // 9274.9: more than the bus gives
    EXPECT_EQ(SizeOf(2, 8, 40.0f, 800, 9044), 2348);  // 9004 x 40 / 156 + 40 = 2348.7
    EXPECT_EQ(SizeOf(1, 16, 20.0f, 400, 5000), 5000); // 9920 x 20 / 40 + 40
    EXPECT_EQ(SizeOf(1, 9, 20.0f, 400, 5000), 5000);
    EXPECT_EQ(SizeOf(4, 8, 10.0f, 400, 5000), 352); // 4960 x 10 / 160 + 40 = 350
    EXPECT_EQ(SizeOf(1, 8, 0.0f, 400, 5000), 40);
}

TEST(NoctisB1PacketSize, CountsTheSlowestReadoutAsThree)
{
    EXPECT_EQ(SizeOf(1, 8, 2.5f, 400, 5000), 412); // 4960 x 3 / 40 + 40
    EXPECT_EQ(SizeOf(1, 8, 3.0f, 400, 5000), 412);
}

// Short packets on a fast bus are reckoned as if they were whole.
TEST(NoctisB1PacketSize, ReckonsWithWholePacketsOnAFastBus)
{
    EXPECT_EQ(SizeOf(1, 14, 20.0f, 800, 4096), 8192); // 8152 x 2 x 20 / 40 + 40
    EXPECT_EQ(SizeOf(1, 14, 20.0f, 400, 4096), 4096);
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 800, 8191), 1204); // 8152 x 10 / 70 + 40 = 1204.6
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 7000), 1036); // 6960 x 10 / 70 + 40 = 1034.3
}

TEST(NoctisB1PacketSize, DividesByTheRateOfTheBus)
{
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 5012), 1284); // 4972 x 10 / 40 + 40 = 1283
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 5013), 752);  // 4973 x 10 / 70 + 40 = 750.4
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 8192), 1204); // 8152 x 10 / 70 + 40 = 1204.6
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 8193), 1088); // 8153 x 10 / 78 + 40 = 1085.3
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 9056), 1196); // 9016 x 10 / 78 + 40 = 1195.9
    EXPECT_EQ(SizeOf(1, 8, 10.0f, 400, 9057), 2296); // 9017 x 10 / 40 + 40 = 2294.3
}

TEST(NoctisB1, CutsThePacketToTheBusWhenAsked)
{
    ModelCamera camera(kNoctisB1, kNewestInformation, kNewestControl, Wire::kFast);
    camera.SetControl(0x04, k40MHzAt14Bits);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(true), 9044);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(false), 9276);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(true), 4660);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(false), 4660);
}

TEST(NoctisB1, ReckonsAlikeForEveryFirmwareAndBlock)
{
    ModelCamera camera(kNoctisB1, kNewestInformation, Version(2, 2), Wire::kBroken);
    for (const uint32_t firmware : {1u, 101u, 102u, 114u}) {
        camera.SetInformation(0x40, firmware);
        camera.SetControl(0x04, 3 << 3);
        EXPECT_EQ(camera->CalculateRequiredPacketSize(true), 5000) << firmware;
        camera.SetControl(0x04, k40MHzAt14Bits);
        EXPECT_EQ(camera->CalculateRequiredPacketSize(true), 5000) << firmware;
        EXPECT_EQ(camera->CalculateRequiredPacketSize(false), 9960) << firmware;
    }
}

TEST(NoctisB1, KeepsTheCommonReckoningForAnyOtherReadout)
{
    ModelCamera camera(kNoctisB1, kNewestInformation, Version(2, 2), Wire::kBroken);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(1, 14, 20.0f), 4980);
    EXPECT_EQ(camera->CalculateRequiredPacketSize(2, 14, 20.0f), 4080);
}

TEST(NoctisB1, ReadsOutThroughPort1)
{
    ModelCamera camera(kNoctisB1);
    for (const uint32_t port : {0u, 1u, 7u}) {
        EXPECT_EQ(camera->SetReadoutPort(port), 0);
        EXPECT_EQ(camera->GetReadoutPort(), 1u);
    }
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_FALSE(camera->IsReadoutPortSupported());
}

TEST(NoctisB1, ListsItsFastestReadoutFirst)
{
    ModelCamera camera(kNoctisB1);
    std::vector<float> modes;
    camera->GetReadoutFrequencyModes(modes);
    EXPECT_EQ(modes, (std::vector<float>{40.0f, 10.0f, 20.0f}));
}

class NoctisB1OnTheBus : public VirtualBusTest {};

TEST_F(NoctisB1OnTheBus, Opens)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kNoctisB1, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::NoctisB1));
    EXPECT_EQ(camera.GetReadoutFrequency(), 40.0f);
    EXPECT_EQ(camera.CalculateRequiredPacketSize(true),
              4660); // 8 bits: 9004 x 40 / 78 + 40 = 4657.4
}

} // namespace
} // namespace zerix::test
