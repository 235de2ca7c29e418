// The Benchmate, with either of its sensors: two interlaced fields, binning that leaves rows out,
// and the live mode.
#include <gtest/gtest.h>

#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

constexpr uint32_t kOfItsOwn = 99; // no place in the family's rack

// One pair of rows of so many is sent in live mode, and the two sensors differ in it.
struct Kind {
    const char *test;
    uint32_t place; // in the first of the racks
    uint32_t sensor;
    uint32_t livePairs;
    uint32_t liveRows;
};

void PrintTo(const Kind &kind, std::ostream *stream) { *stream << kind.test; }

class Benchmates : public FamilySession, public testing::WithParamInterface<Kind> {
protected:
    void SetUp() override
    {
        FamilySession::SetUp();
        Open();
        // Words at 20 MHz don't fit on the slow bus of the rack.
        ASSERT_EQ(Camera().SetReadoutFrequency(10), 0u);
    }

    void Open()
    {
        if (GetParam().place == kOfItsOwn)
            return OpenOnly("model = 8\nbit-depth = 12\nscene = \"positions\"\nsensor = " +
                            std::to_string(GetParam().sensor) + "\n");
        UseFamilyRack("family-1");
        OpenAt(GetParam().place);
        ASSERT_EQ(ZerixSim_SetScene(GetParam().place, "positions"), 0u);
    }

    View BinnedView(uint32_t binning, bool isInBytes) const
    {
        View view = WholeView(sensor, 12, isInBytes);
        view.rowPairsPerPair = binning;
        view.width = sensor.columns / (2 * binning) * (2 * binning);
        view.height = sensor.rows / binning & ~1u;
        return view;
    }

    View LiveView(bool isInBytes) const
    {
        View view = WholeView(sensor, 12, isInBytes);
        view.rowPairsPerPair = GetParam().livePairs;
        view.height = GetParam().liveRows;
        return view;
    }

    // Rows are left out, never added, so that every picture has its mosaic.
    FrameFacts Facts(const View &view, uint32_t binning, bool isLive) const
    {
        const uint16_t depth = view.isInBytes ? 8 : 12;
        return {FormatOf(true, depth), depth, binning, isLive ? 1u : 0u};
    }

    void ExpectRegion(View view, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                      const FrameFacts &facts)
    {
        ASSERT_EQ(Camera().SetROI(x, y, width, height), 0u);
        view.x = x;
        view.y = y;
        view.width = width;
        view.height = height;
        SCOPED_TRACE("of a region");
        ExpectPicture(view, facts);
    }

    // The whole view, and a region of it.
    void ExpectAtEveryReadout(const View &view, uint32_t binning, bool isLive)
    {
        const FrameFacts facts = Facts(view, binning, isLive);
        ASSERT_EQ(Camera().SetBitDepth(facts.bitDepth), 0u);
        for (const float megahertz : {2.5f, 5.0f, 10.0f, 20.0f}) {
            if (GetParam().place != kOfItsOwn && !FitsSlowBus(view.isInBytes, 1, megahertz))
                continue; // refused, as the tests of the bus's speed show
            SCOPED_TRACE(testing::Message() << megahertz << " MHz, bytes: " << view.isInBytes);
            ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
            ASSERT_EQ(Camera().SetROI(0, 0, view.width, view.height), 0u);
            ExpectPicture(view, facts);
            ExpectRegion(view, 102, 36, 240, 120, facts);
        }
    }

    const Sensor sensor = SensorOf(GetParam().sensor);
};

// The two fields are put together again.
TEST_P(Benchmates, AreInterlaced)
{
    EXPECT_TRUE(Camera().IsInterlaced());
    for (const bool isInBytes : {true, false})
        ExpectAtEveryReadout(BinnedView(1, isInBytes), 1, false);
}

TEST_P(Benchmates, LeaveRowsOutWhereTheyBin)
{
    std::vector<uint16_t> modes;
    Camera().GetVerticalBinningModes(modes);
    ASSERT_EQ(modes, (std::vector<uint16_t>{1, 2, 3, 4}));
    for (const uint16_t binning : modes) {
        SCOPED_TRACE(binning);
        ASSERT_EQ(Camera().SetVerticalBinning(binning), 0u);
        EXPECT_EQ(Camera().GetVerticalBinningMode(), binning);
        EXPECT_EQ(Camera().GetHorizontalBinningMode(), 1);
        for (const bool isInBytes : {true, false})
            ExpectAtEveryReadout(BinnedView(binning, isInBytes), binning, false);
    }
}

TEST_P(Benchmates, SendFewerRowsInLiveMode)
{
    ASSERT_TRUE(Camera().IsLVWModeSupported());
    ASSERT_EQ(Camera().SetVerticalBinning(2), 0u); // ends with it
    ASSERT_EQ(Camera().SetLVWMode(true), 0u);
    EXPECT_FALSE(Camera().IsInterlaced());
    EXPECT_EQ(Camera().GetVerticalBinningMode(), 1);
    for (const bool isInBytes : {true, false})
        ExpectAtEveryReadout(LiveView(isInBytes), 1, true);
}

TEST_P(Benchmates, ShowAllOfTheSensorAgainAfterLiveMode)
{
    ASSERT_EQ(Camera().SetLVWMode(true), 0u);
    Grab();
    EXPECT_EQ(frame.isLvw, 1u);
    ASSERT_EQ(Camera().SetLVWMode(false), 0u);
    const View view = BinnedView(1, true);
    ExpectPicture(view, Facts(view, 1, false));
}

// 1536 rows by 6, and 1920 by 8.
INSTANTIATE_TEST_SUITE_P(Family, Benchmates,
                         testing::Values(Kind{"Older", 4, 10, 6, 256}, Kind{"Newer", 5, 12, 8, 240},
                                         Kind{"WithTheNewestBlocks", kOfItsOwn, 10, 6, 256}),
                         [](const auto &row) { return std::string(row.param.test); });

class OneBenchmate : public FamilySession {};

// Its third binning is by three, however new its blocks: those of an eightfold camera would make
// the driver wait for pictures of another size.
TEST_F(OneBenchmate, BinsByThreeAndNotByEight)
{
    OpenOnly("model = 8\nsensor = 10\nscene = \"positions\"\ninformation = \"2.11\"\n");
    ASSERT_EQ(Camera().SetVerticalBinning(3), 0u);
    EXPECT_EQ(Camera().GetSymmetricalBinningMode(), 3);
    Grab();
    EXPECT_EQ(frame.binning, 3u);
    EXPECT_EQ(frame.width, 2046u);
    EXPECT_EQ(frame.height, 512u);
}

// Every number becomes even, and in live mode the width is a multiple of so many groups.
TEST_F(OneBenchmate, HasRegionsOfWholeCells)
{
    OpenOnly("model = 8\nsensor = 10\nscene = \"positions\"\n");
    ASSERT_EQ(Camera().SetROI(101, 51, 301, 201), 0u);
    View view = WholeView(SensorOf(10), 12, true);
    view.x = 100;
    view.y = 50;
    view.width = 300;
    view.height = 200;
    ExpectPicture(view, {zfmtBayer8, 8, 1, 0});
    ASSERT_EQ(Camera().SetLVWMode(true), 0u);
    ASSERT_EQ(Camera().SetROI(101, 51, 100, 200), 0u); // a third of 100 is odd: 97 columns
    view.rowPairsPerPair = 6;
    view.width = 97;
    ExpectPicture(view, {zfmtBayer8, 8, 1, 1});
}

} // namespace
} // namespace zerix::family
