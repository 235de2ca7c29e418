// What no correct driver would do is counted, each kind apart; what a correct one does is not.
#include "bus_fixture.h"

namespace zerix::test {
namespace {

using Mistakes = BusTest;

uint32_t Total(const ZerixSimMistakes &mistakes)
{
    return mistakes.registersOutside + mistakes.valuesReserved + mistakes.regionsOutside;
}

TEST_F(Mistakes, AreCountedByKindAndTheFirstIsTold)
{
    BusClient client;
    const uint32_t control = client.Control();
    std::vector<uint32_t> words;
    EXPECT_EQ(31u, client.Read(0x12345678, 1, &words));
    EXPECT_EQ(31u, client.Write(control + 43 * 4, {1}));
    EXPECT_EQ(0u, client.Write(control + 0x24, {1}));
    EXPECT_EQ(0u, client.Write(control + 0x0C, {1393u << 16 | 1040u}));
    EXPECT_EQ(0u, client.Commit());
    const ZerixSimMistakes mistakes = TakeMistakes();
    EXPECT_EQ(2u, mistakes.registersOutside);
    EXPECT_EQ(1u, mistakes.valuesReserved);
    EXPECT_EQ(1u, mistakes.regionsOutside);
    EXPECT_STREQ("camera T-0001: access outside of its registers, at 0x12345678: 0x00000000",
                 mistakes.first);
    EXPECT_EQ(0u, Total(TakeMistakes()));
    EXPECT_STREQ("", TakeMistakes().first);
}

TEST_F(Mistakes, OfEarlierRacksAreStillCounted)
{
    {
        BusClient client;
        EXPECT_EQ(0u, client.Write(client.Control() + 0x24, {1}));
    }
    OneCamera();
    EXPECT_EQ(1u, TakeMistakes().valuesReserved);
}

// One of the two model registers is tried in vain.
TEST_F(Mistakes, LookingForTheModelRegisterIsNone)
{
    OneCamera("alternate-model-address = true\n");
    BusClient client;
    std::vector<uint32_t> words;
    EXPECT_EQ(31u, client.Read(0xE0010038, 1, &words));
    EXPECT_EQ(0u, Total(TakeMistakes()));
    EXPECT_EQ(31u, client.Read(0xE0010038, 2, &words));
    EXPECT_EQ(1u, TakeMistakes().registersOutside);
}

TEST_F(Mistakes, CommandsAreOnesAndAStreamIsAChannelAndASwitch)
{
    BusClient client;
    const uint32_t command = client.Command();
    const uint32_t streaming = client.Streaming();
    EXPECT_EQ(0u, client.Write(command + 4, {1}));
    EXPECT_EQ(0u, client.Write(command + 8, {1}));
    EXPECT_EQ(0u, client.Write(streaming + 4, {63u << 24}));
    EXPECT_EQ(0u, Total(TakeMistakes()));
    EXPECT_EQ(0u, client.Write(command + 4, {0}));
    EXPECT_EQ(0u, client.Write(command + 4, {3}));
    EXPECT_EQ(0u, client.Write(command + 12, {1}));
    EXPECT_EQ(0u, client.Write(streaming + 4, {64u << 24}));
    EXPECT_EQ(0u, client.Write(streaming + 4, {2}));
    EXPECT_EQ(0u, client.Write(streaming + 8, {1}));
    EXPECT_EQ(6u, TakeMistakes().valuesReserved);
}

struct Bits {
    uint32_t offset;
    uint32_t bits; // that may be set, one at a time
};

constexpr Bits kOfEveryCamera[] = {
    {0x04, 0xFFFF071C}, {0x08, 0x00000003}, {0x0C, 0x0FFF0FFF}, {0x10, 0x0FFF0FFF},
    {0x14, 0xFFF0FFF0}, {0x18, 0xFFFFFFFF}, {0x1C, 0xFFFFFFFF}, {0x20, 0xFFFFFFFF},
    {0x24, 0},          {0x28, 0},          {0x30, 0x00000311}, {0x34, 0xFFFFFFFF},
    {0x38, 0xFFFF0001}, {0x3C, 0xFFFFFFFF}, {0x40, 0xFFFFFFFF}, {0x44, 0xFFFFFFFF},
    {0x48, 0},          {0x4C, 0xFFFFFFFF}, {0x50, 0x0000FFFF}, {0x5C, 0},
    {0x68, 0},          {0x6C, 0},          {0x70, 0},          {0x74, 0},
    {0x84, 0},          {0xA8, 0},
};
// Of the trigger's codes 1, 2 and 4 are bits; 4 is the double shot's.
constexpr Bits kOfPlainCameras[] = {
    {0x2C, 0x00010103}, {0x54, 0}, {0x58, 0}, {0x60, 0}, {0x64, 0}, {0x78, 0}, {0x7C, 0}, {0x80, 0},
    {0x88, 0},          {0x8C, 0}, {0x90, 0}, {0x94, 0}, {0x98, 0}, {0x9C, 0}, {0xA0, 0}, {0xA4, 0},
};
// Of the fan's speeds 1, 2 and 4 are bits. 2048 is the highest bit of a gain up to 3200.
constexpr Bits kOfCamerasWithEverything[] = {
    {0x2C, 0x00010107}, {0x54, 0x0000000F}, {0x58, 0x00070000}, {0x60, 0x00000FFF},
    {0x64, 0x0000FFFF}, {0x78, 0x00000003}, {0x7C, 0x0000FFFF}, {0x80, 0x000000FF},
    {0x88, 0x0000FFFF}, {0x8C, 0x0000FFFF}, {0x90, 0x0000FFFF}, {0x94, 0x0000FFFF},
    {0x98, 0x0000FFFF}, {0x9C, 0x0000FFFF}, {0xA0, 0x0000FFFF}, {0xA4, 0x0000FFFF},
};

template <size_t kCount>
void ExpectBits(BusClient &client, const Bits (&rows)[kCount])
{
    const uint32_t control = client.Control();
    for (const Bits &row : rows) {
        for (uint32_t bit = 0; bit < 32; ++bit) {
            EXPECT_EQ(0u, client.Write(control + row.offset, {1u << bit}));
            ZerixSimMistakes mistakes{};
            EXPECT_EQ(0u, ZerixSim_TakeMistakes(&mistakes));
            EXPECT_EQ((row.bits >> bit & 1u) == 0 ? 1u : 0u, mistakes.valuesReserved)
                << std::hex << row.offset << " bit " << std::dec << bit;
            EXPECT_EQ(mistakes.valuesReserved, Total(mistakes));
        }
        EXPECT_EQ(0u, client.Write(control + row.offset, {0}));
    }
}

TEST_F(Mistakes, AreTheBitsThatACameraHasNot)
{
    Choose("[[camera]]\nmodel = 18\nsensor = 6\nhardware = 1\ninformation = \"2.9\"\n"
           "capabilities = []\n");
    BusClient client;
    ExpectBits(client, kOfEveryCamera);
    ExpectBits(client, kOfPlainCameras);
}

TEST_F(Mistakes, AreNotTheBitsOfWhatACameraCanDo)
{
    Choose("[[camera]]\nmodel = 18\nsensor = 78\n"
           "capabilities = [\"high-sensitivity\", \"blackout\", \"fan\", \"em-gain\", "
           "\"shutter-delay\", \"dither\", \"high-gain\", \"vertical-clock\", "
           "\"dual-channel\", \"keel-em\", \"locked-gain\", \"double-shot\"]\n");
    BusClient client;
    ExpectBits(client, kOfEveryCamera);
    ExpectBits(client, kOfCamerasWithEverything);
}

TEST_F(Mistakes, AreCodesThatAreNotGiven)
{
    Choose("[[camera]]\nmodel = 25\nsensor = 78\n");
    BusClient client;
    const uint32_t control = client.Control();
    const auto reserved = [&](uint32_t offset, uint32_t value) {
        EXPECT_EQ(0u, client.Write(control + offset, {value}));
        return TakeMistakes().valuesReserved;
    };
    EXPECT_EQ(0u, reserved(0x04, 7u << 8));
    EXPECT_EQ(1u, reserved(0x04, 8u << 8));
    EXPECT_EQ(0u, reserved(0x2C, 5));
    EXPECT_EQ(1u, reserved(0x2C, 6));
    EXPECT_EQ(0u, reserved(0x58, 4u << 16));
    EXPECT_EQ(1u, reserved(0x58, 5u << 16));
    EXPECT_EQ(0u, reserved(0x60, 3200));
    EXPECT_EQ(1u, reserved(0x60, 3201));
}

struct Region {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
    uint32_t isOutside;
};

void ExpectRegions(BusClient &client, uint32_t binningWord, const std::vector<Region> &regions)
{
    const uint32_t control = client.Control();
    EXPECT_EQ(0u, client.Write(control + 0x08, {binningWord}));
    for (const Region &region : regions) {
        EXPECT_EQ(0u, client.Write(control + 0x0C, {region.width << 16 | region.height}));
        EXPECT_EQ(0u, client.Write(control + 0x10, {region.x << 16 | region.y}));
        EXPECT_EQ(0u, client.Commit());
        ZerixSimMistakes mistakes{};
        EXPECT_EQ(0u, ZerixSim_TakeMistakes(&mistakes));
        EXPECT_EQ(region.isOutside, mistakes.regionsOutside)
            << region.x << "," << region.y << " " << region.width << "x" << region.height;
        EXPECT_EQ(region.isOutside, Total(mistakes));
    }
}

// 1392 x 1040; 696 x 520 binned by two.
TEST_F(Mistakes, ARegionMayReachTheEdgeAndNotBeyond)
{
    BusClient client;
    ExpectRegions(client, 0,
                  {{0, 0, 1392, 1040, 0},
                   {1376, 1036, 16, 4, 0},
                   {1377, 1036, 16, 4, 1},
                   {1376, 1037, 16, 4, 1},
                   {0, 0, 1393, 1, 1},
                   {0, 0, 1, 1041, 1},
                   {1392, 0, 0, 4, 0}, // a picture of no pixel
                   {0, 0, 0, 0, 0}});
    ExpectRegions(client, 1, {{0, 0, 696, 520, 0}, {1, 0, 696, 520, 1}});
}

// Drivers leave a larger region where they bin, and count on the camera to read what there is.
TEST_F(Mistakes, ABinnedRegionMayBeLargerThanTheBinnedSensorFromItsCorner)
{
    BusClient client;
    ExpectRegions(client, 1, {{0, 0, 1392, 1040, 0}, {1, 0, 1392, 1040, 1}, {0, 0, 697, 1, 0}});
}

// It counts from the far corner of the unbinned sensor: place 0 is the last column, and what lies
// beyond the bins of the near corner is out of reach.
TEST_F(Mistakes, AnAstrelE1sRegionsCountFromTheOtherSide)
{
    Choose("[[camera]]\nmodel = 15\nsensor = 6\nstream-format = 2\n");
    BusClient client;
    ExpectRegions(client, 0,
                  {{0, 0, 1392, 1040, 0},
                   {0, 0, 16, 4, 0},
                   {1376, 1036, 16, 4, 0},
                   {1377, 1036, 16, 4, 1},
                   {800, 0, 1600 - 800, 4, 1}});
    // Column 0 of 696 is at 1392 - 0 - 696; place 0 is what changing the binning leaves.
    ExpectRegions(client, 1,
                  {{696, 520, 696, 520, 0},
                   {0, 0, 696, 520, 0},
                   {1, 0, 696, 520, 1},
                   {0, 0, 64, 48, 1},
                   {1376, 1036, 16, 4, 0},
                   {695, 1036, 16, 4, 1}});
}

// 2048 x 1536: rows are left out by two, and in the live mode five of six pairs.
TEST_F(Mistakes, ABenchmateCountsTheRowsThatItSends)
{
    Choose("[[camera]]\nmodel = 8\nsensor = 10\ninformation = \"2.3\"\ncontrol = \"2.3\"\n"
           "bit-depth = 12\n");
    BusClient client;
    ExpectRegions(client, 0x10101, {{0, 0, 2048, 768, 0}, {0, 2, 2048, 768, 1}});
    ExpectRegions(client, 4, {{0, 0, 2048, 256, 0}, {0, 2, 2048, 256, 1}});
}

} // namespace
} // namespace zerix::test
