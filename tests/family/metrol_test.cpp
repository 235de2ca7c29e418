// The Metrol: columns and rows binned apart, the rows by up to 64, and always words.
#include <algorithm>

#include <gtest/gtest.h>

#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

constexpr uint32_t kPlaceInTheRack = 8;
constexpr uint32_t kSensorOfTheRack = 11; // and the oldest stream format

class Metrols : public FamilySession, public testing::WithParamInterface<uint32_t> {
protected:
    void SetUp() override
    {
        FamilySession::SetUp();
        if (GetParam() == kSensorOfTheRack) {
            UseFamilyRack("family-3");
            OpenAt(kPlaceInTheRack);
            ASSERT_EQ(ZerixSim_SetScene(kPlaceInTheRack, "positions"), 0u);
            return;
        }
        OpenOnly("model = 1002\nbit-depth = 16\nscene = \"positions\"\nsensor = " +
                 std::to_string(GetParam()) + "\n");
    }

    void SetBinning(uint16_t horizontal, uint16_t vertical)
    {
        ASSERT_EQ(Camera().SetHorizontalBinning(horizontal), 0u);
        ASSERT_EQ(Camera().SetVerticalBinning(vertical), 0u);
    }

    View BinnedView(uint32_t horizontal, uint32_t vertical) const
    {
        View view = WholeView(sensor, 16, false);
        view.columnsPerPixel = horizontal;
        view.rowsPerPixel = vertical;
        view.width = sensor.columns / horizontal;
        view.height = std::max(sensor.rows / vertical, 1u);
        return view;
    }

    const Sensor sensor = SensorOf(GetParam());
    // Neither of its binnings is a symmetrical one.
    const FrameFacts facts = {zfmtMono16, 16, 1, 0};
};

TEST_P(Metrols, BinRowsByUpToSixtyFour)
{
    std::vector<uint16_t> modes;
    Camera().GetVerticalBinningModes(modes);
    ASSERT_EQ(modes.size(), 64u);
    for (const uint16_t vertical : modes) {
        SCOPED_TRACE(vertical);
        SetBinning(1, vertical);
        ExpectPicture(BinnedView(1, vertical), facts);
    }
}

TEST_P(Metrols, BinColumnsAndRowsApart)
{
    std::vector<uint16_t> modes;
    Camera().GetHorizontalBinningModes(modes);
    ASSERT_EQ(modes, (std::vector<uint16_t>{1, 2, 3, 4}));
    for (const uint16_t horizontal : modes) {
        for (const uint16_t vertical : {uint16_t{1}, uint16_t{3}, uint16_t{10}, uint16_t{64}}) {
            SCOPED_TRACE(testing::Message() << horizontal << " by " << vertical);
            SetBinning(horizontal, vertical);
            ExpectPicture(BinnedView(horizontal, vertical), facts);
        }
    }
}

// The region counts pixels of the picture, and the binning leaves it alone.
TEST_P(Metrols, CutARegionOutOfTheBinnedSensor)
{
    SetBinning(2, 5);
    ASSERT_EQ(Camera().SetROI(33, 3, 100, 7), 0u);
    View view = BinnedView(2, 5);
    view.x = 33;
    view.y = 3;
    view.width = 100;
    view.height = 7;
    ExpectPicture(view, facts);
    SetBinning(1, 1);
    view.columnsPerPixel = view.rowsPerPixel = 1;
    ExpectPicture(view, facts);
}

// It has words and 5 MHz whatever it is told.
TEST_P(Metrols, HaveOneDepthAndOneReadout)
{
    std::vector<float> readouts;
    Camera().GetReadoutFrequencyModes(readouts);
    EXPECT_EQ(readouts, std::vector<float>{5.0f});
    EXPECT_EQ(Camera().GetReadoutFrequency(), 5.0f);
    for (const uint16_t depth : {uint16_t{8}, uint16_t{16}}) {
        ASSERT_EQ(Camera().SetBitDepth(depth), 0u);
        ExpectPicture(BinnedView(1, 1), facts);
    }
}

INSTANTIATE_TEST_SUITE_P(Family, Metrols, testing::Values(kSensorOfTheRack, 13u),
                         [](const auto &row) { return "Sensor" + std::to_string(row.param); });

} // namespace
} // namespace zerix::family
