// The writes of a set-up, all of them and in order, for one model of each version of the control
// block. Every sensor has 640 x 480 pixels, every default gain is 600 counts.
#include <algorithm>
#include <vector>

#include "tests/camera/register_bus_fixture.h"

namespace zerix::test {
namespace {

using Writes = std::vector<RegisterWrite>;

constexpr uint32_t kMonochrome = 0x000;
constexpr uint32_t kColour = 0x100;
constexpr uint32_t kGainsTo4095 = 0x0000FFF0;
constexpr uint32_t kRangeOf34Decibels = 8'337'793; // billionths of a decibel to the count
constexpr uint32_t kCooler = 0x80000000;

class SetUpWrites : public RegisterBusTest {
protected:
    void Describe(uint32_t model, BlockShape information, BlockShape control, uint32_t firmware,
                  uint32_t sensor)
    {
        bus.modelWord = model << 16;
        Make(Block::kInformation, information);
        Make(Block::kControl, control);
        Inform({{0x08, 0x25800000},
                {0x10, 0x028001E0},
                {0x14, 0x014000F0},
                {0x24, 0x00500050},
                {0x38, model << 16},
                {0x40, firmware},
                {0x44, sensor}});
    }

    void ExpectWrites(size_t count, const Writes &expected)
    {
        ASSERT_EQ(List(), 0);
        const Writes writes = bus.TakeWrites();
        EXPECT_EQ(writes.size(), count);
        EXPECT_EQ(writes, expected);
        EXPECT_EQ(bus.StrayCount(), 0u);
    }
};

// An Astrel A1 with a filter wheel. Exposures are microseconds.
TEST_F(SetUpWrites, OfControl11)
{
    Describe(5, {0x00010001, 29}, {0x00010001, 15}, 99, kMonochrome);
    ExpectWrites(24, {ControlWrite(0x04, 0x00000000), ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00004000), ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00006DC4), ControlWrite(0x20, 0x00008854),
                      ControlWrite(0x08, 0x00000001), ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0), ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x2C, 0x00010000), ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x04, 0x00000004), CommitWrite()});
}

// A Metrol with a cooler. It reads out at 5 MHz, and its depth is 16 whatever was written, so that
// 8 is always written; its default exposure is 100 ms.
TEST_F(SetUpWrites, OfControl12)
{
    Describe(1002, {0x00010002, 30}, {0x00010002, 16}, 114, kColour);
    Inform({{0x28, kCooler}});
    ExpectWrites(26, {ControlWrite(0x04, 0x00000000), ControlWrite(0x04, 0x00000200),
                      ControlWrite(0x04, 0x00000200), ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x000186A0), ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00006DC4), ControlWrite(0x20, 0x00008854),
                      ControlWrite(0x08, 0x00000001), ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0), ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x2C, 0x00010000), ControlWrite(0x38, 0x00000001),
                      ControlWrite(0x04, 0x00000204), CommitWrite()});
}

// A Sparrow B with a filter wheel. From here on exposures are nanoseconds, in two words.
TEST_F(SetUpWrites, OfControl21)
{
    Describe(7, {0x00020001, 42}, {0x00020001, 20}, 100, kMonochrome);
    Inform({{0x78, kGainsTo4095}});
    ExpectWrites(27, {ControlWrite(0x04, 0x00000000),
                      ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000),
                      ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001),
                      ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001),
                      ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000),
                      ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0),
                      ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820),
                      ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x2C, 0x00010000),
                      ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x04, 0x00000004),
                      CommitWrite()});
}

// An Astrel Intensified of 100 to 200 counts: the least normalised gain is 56.8 times, 100 counts.
TEST_F(SetUpWrites, OfControl22)
{
    Describe(9, {0x00020002, 44}, {0x00020002, 20}, 114, kMonochrome);
    Inform({{0x78, kGainsTo4095}, {0x88, 0x06400C80}, {0xA8, 1}});
    ExpectWrites(28, {ControlWrite(0x04, 0x00000000), ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000), ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050), ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0), ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820), ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0), ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000), ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0), ControlWrite(0x2C, 0x00010000),
                      ControlWrite(0x48, 0x00000640), ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x04, 0x00000004), CommitWrite()});
}

// An Astrel B1 with a colour sensor: no filter wheel.
TEST_F(SetUpWrites, OfControl23)
{
    Describe(13, {0x00020003, 62}, {0x00020003, 21}, 114, kColour);
    Inform({{0x78, kGainsTo4095}});
    ExpectWrites(26, {ControlWrite(0x04, 0x00000000), ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000), ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050), ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0), ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820), ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0), ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000), ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0), ControlWrite(0x2C, 0x00010000),
                      ControlWrite(0x04, 0x00000004), CommitWrite()});
}

// A Benchmate with a live mode, which is off already, and without SyncB. Binning leaves its width
// at 640, the next multiple of a cell.
TEST_F(SetUpWrites, OfControl24)
{
    Describe(8, {0x00020004, 67}, {0x00020004, 21}, 114, kColour);
    Inform({{0x28, 120}, {0x74, 2}, {0x78, kGainsTo4095}});
    ExpectWrites(23, {ControlWrite(0x04, 0x00000000),
                      ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000),
                      ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001),
                      ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001),
                      ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000),
                      ControlWrite(0x3C, 0x05F5E100),
                      ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0),
                      ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820),
                      ControlWrite(0x08, 0x00010101),
                      ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x04, 0x00000004),
                      CommitWrite()});
}

// A Noctis B1, which reads out at 40 MHz.
TEST_F(SetUpWrites, OfControl25)
{
    Describe(25, {0x00020005, 68}, {0x00020005, 24}, 114, kMonochrome);
    Inform({{0x78, kGainsTo4095}, {0x108, kRangeOf34Decibels}});
    ExpectWrites(28, {ControlWrite(0x04, 0x00000000), ControlWrite(0x04, 0x00000700),
                      ControlWrite(0x14, 0x25800000), ControlWrite(0x10, 0x00010000),
                      ControlWrite(0x10, 0x00010001), ControlWrite(0x0C, 0x00000001),
                      ControlWrite(0x0C, 0x00010001), ControlWrite(0x10, 0x00000001),
                      ControlWrite(0x10, 0x00000000), ControlWrite(0x0C, 0x000101E0),
                      ControlWrite(0x0C, 0x028001E0), ControlWrite(0x18, 0x00000000),
                      ControlWrite(0x3C, 0x00FA0000), ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00000000), ControlWrite(0x40, 0x01ACC5A0),
                      ControlWrite(0x20, 0x00000000), ControlWrite(0x44, 0x02148820),
                      ControlWrite(0x08, 0x00000001), ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0), ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x2C, 0x00010000), ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x04, 0x00000704), CommitWrite()});
}

// An Astrel E1 that reads from the far corner: the places of the set-up are not turned.
TEST_F(SetUpWrites, OfControl26)
{
    Describe(15, {0x00020006, 79}, {0x00020006, 26}, 114, kMonochrome);
    Inform({{0x78, kGainsTo4095}, {0xA4, 2}, {0x108, kRangeOf34Decibels}});
    ExpectWrites(27, {ControlWrite(0x04, 0x00000000),
                      ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000),
                      ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001),
                      ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001),
                      ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000),
                      ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0),
                      ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820),
                      ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x2C, 0x00010000),
                      ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x04, 0x00000004),
                      CommitWrite()});
}

// An Astrel C2 with every capability of its version, cooled to -30 degrees at least. The defaults
// of its vertical clock, its multiplication and its shutter came with later versions: they are 0.
TEST_F(SetUpWrites, OfControl27)
{
    Describe(18, {0x00020007, 176}, {0x00020007, 34}, 114, kMonochrome);
    Inform({{0x28, kCooler},
            {0x78, kGainsTo4095},
            {0x108, kRangeOf34Decibels},
            {0x29C, 0x0F0003CE},
            {0x2A4, 0xFFFFFFFF}});
    ExpectWrites(32, {ControlWrite(0x04, 0x00000000), ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0), ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000), ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050), ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0), ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820), ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0), ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000), ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0), ControlWrite(0x7C, 0x00000000),
                      ControlWrite(0x2C, 0x00010000), ControlWrite(0x60, 0x00000000),
                      ControlWrite(0x30, 0x00000010), ControlWrite(0x64, 0x00000000),
                      ControlWrite(0x38, 0x03CE0000), ControlWrite(0x38, 0x03CE0001),
                      ControlWrite(0x04, 0x00000004), CommitWrite()});
}

// A Noctis A2 with all that a camera can have: vertical clock of 20 ticks at 20 MHz, a
// multiplication of 100 out of 50 to 3200, a shutter delay of 500 counts, voltages, and a MiscCtrl
// of 5, so that the first commit of its own reads the information block once more.
TEST_F(SetUpWrites, OfControl28)
{
    Describe(27, {0x0002000B, 215}, {0x00020008, 43}, 114, kMonochrome);
    Inform({{0x28, kCooler},
            {0x78, kGainsTo4095},
            {0x108, kRangeOf34Decibels},
            {0x114, 185'999},
            {0x29C, 0x0F0003CE},
            {0x2A4, 0xFFFFFFFF},
            {0x2C0, 100},
            {0x2C4, 500},
            {0x300, 50},
            {0x304, 3200},
            {0x314, 20},
            {0x320, 20'000'000},
            {0x328, 0xABC111},
            {0x32C, 0x222},
            {0x330, 0x333},
            {0x334, 0x444},
            {0x338, 0x555},
            {0x33C, 0x666},
            {0x340, 5}});
    ExpectWrites(41, {ControlWrite(0x10, 0x00010000),
                      ControlWrite(0x10, 0x00010001),
                      ControlWrite(0x0C, 0x00000001),
                      ControlWrite(0x0C, 0x00010001),
                      ControlWrite(0xA4, 0x00000005),
                      CommitWrite(),
                      ControlWrite(0x04, 0x00000000),
                      ControlWrite(0x14, 0x25800000),
                      ControlWrite(0x10, 0x00000001),
                      ControlWrite(0x10, 0x00000000),
                      ControlWrite(0x0C, 0x000101E0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x18, 0x00000000),
                      ControlWrite(0x3C, 0x00FA0000),
                      ControlWrite(0x34, 0x00500050),
                      ControlWrite(0x1C, 0x00000000),
                      ControlWrite(0x40, 0x01ACC5A0),
                      ControlWrite(0x20, 0x00000000),
                      ControlWrite(0x44, 0x02148820),
                      ControlWrite(0x08, 0x00000001),
                      ControlWrite(0x0C, 0x014001E0),
                      ControlWrite(0x0C, 0x014000F0),
                      ControlWrite(0x08, 0x00000000),
                      ControlWrite(0x0C, 0x028000F0),
                      ControlWrite(0x0C, 0x028001E0),
                      ControlWrite(0x7C, 0x00000014),
                      ControlWrite(0x2C, 0x00010000),
                      ControlWrite(0x60, 0x00000C1C),
                      ControlWrite(0x30, 0x00000010),
                      ControlWrite(0x64, 0x000001F4),
                      ControlWrite(0x38, 0x03CE0000),
                      ControlWrite(0x38, 0x03CE0001),
                      ControlWrite(0x88, 0x0000C111),
                      ControlWrite(0x8C, 0x000000B9),
                      ControlWrite(0x90, 0x00000222),
                      ControlWrite(0x94, 0x00000333),
                      ControlWrite(0x98, 0x00000444),
                      ControlWrite(0x9C, 0x00000555),
                      ControlWrite(0xA0, 0x00000666),
                      ControlWrite(0x04, 0x00000004),
                      CommitWrite()});
    // Found, after the first commit, and after the second.
    const auto reads = bus.TakeReads();
    EXPECT_EQ(
        std::count(reads.begin(), reads.end(), RegisterBus::BlockRead{Block::kInformation, 215}),
        3);
}

// 40 MHz need more than a camera can book that isn't told its packets' size: 20 are there already.
TEST_F(SetUpWrites, OfAFastReadoutOnAnOldControlBlock)
{
    Describe(25, {0x00020002, 44}, {0x00020002, 20}, 114, kColour);
    Inform({{0x78, kGainsTo4095}});
    ASSERT_EQ(List(), 0);
    const Writes writes = bus.TakeWrites();
    EXPECT_EQ(writes.size(), 26u);
    ASSERT_GE(writes.size(), 2u);
    EXPECT_EQ(writes[0], ControlWrite(0x04, 0x00000000));
    EXPECT_EQ(writes[1], ControlWrite(0x14, 0x25800000));
    EXPECT_EQ(writes[24], ControlWrite(0x04, 0x00000004));
}

// The newest version that is told is the newest one that is written to.
TEST_F(SetUpWrites, OfAVersionToComeAreTheCommitsAlone)
{
    Describe(18, {0x0002000B, 215}, {0x00020009, 60}, 114, kMonochrome);
    Inform({{0x78, kGainsTo4095}, {0x108, kRangeOf34Decibels}});
    ExpectWrites(2, {CommitWrite(), CommitWrite()});
}

} // namespace
} // namespace zerix::test
