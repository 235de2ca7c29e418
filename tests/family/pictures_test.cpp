// Every camera that bins both ways alike: at each binning, readout frequency and depth, the whole
// sensor and a region of it.
#include <gtest/gtest.h>

#include "tests/family/family_cameras.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

std::vector<FamilyCamera> CamerasThatBinBothWaysAlike()
{
    std::vector<FamilyCamera> cameras;
    for (const FamilyCamera &camera : FamilyCameras())
        if (!camera.binnings.empty())
            cameras.push_back(camera);
    return cameras;
}

class Pictures : public FamilySession, public testing::WithParamInterface<FamilyCamera> {
protected:
    void SetUp() override
    {
        FamilySession::SetUp();
        UseFamilyRack(GetParam().rack);
        OpenAt(GetParam().place);
        ASSERT_EQ(ZerixSim_SetScene(GetParam().place, "positions"), 0u);
    }

    // The converter's depth, or a byte.
    View ViewOf(uint16_t binning, bool isInBytes) const
    {
        View view = WholeView(sensor, GetParam().bitDepth, isInBytes);
        view.columnsPerPixel = view.rowsPerPixel = binning;
        view.width = sensor.columns / binning;
        view.height = sensor.rows / binning;
        view.isFromFarCorner = GetParam().streamFormat == 2;
        return view;
    }

    // Begins at odd places, and ends short of the edges.
    static View RegionOf(const View &whole)
    {
        View view = whole;
        view.x = whole.width / 5 | 1u;
        view.y = whole.height / 7 | 1u;
        view.width = whole.width / 2 & ~1u;
        view.height = whole.height / 3 & ~1u;
        return view;
    }

    FrameFacts FactsOf(const View &view) const
    {
        const uint16_t depth = view.isInBytes ? 8 : GetParam().bitDepth;
        const bool hasMosaic = sensor.mosaic != Mosaic::kNone && view.columnsPerPixel == 1;
        return {FormatOf(hasMosaic, depth), depth, view.columnsPerPixel, 0};
    }

    void ExpectAtEveryReadout(const View &view)
    {
        ASSERT_EQ(Camera().SetBitDepth(view.isInBytes ? 8 : GetParam().bitDepth), 0u);
        ASSERT_EQ(Camera().SetROI(view.x, view.y, view.width, view.height), 0u);
        const std::vector<uint8_t> expected = ExpectedBytes(view);
        for (const float megahertz : GetParam().readouts) {
            SCOPED_TRACE(testing::Message() << megahertz << " MHz");
            if (IsOnSlowBus(GetParam()) &&
                !FitsSlowBus(view.isInBytes, view.columnsPerPixel, megahertz))
                continue; // refused, as the tests of the bus's speed show
            ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
            ASSERT_EQ(Camera().GetReadoutFrequency(), megahertz);
            ExpectPicture(view, expected, FactsOf(view));
        }
    }

    const Sensor sensor = SensorOf(GetParam().sensor);
};

TEST_P(Pictures, AreTheSceneAtEverySetting)
{
    for (const uint16_t binning : GetParam().binnings) {
        ASSERT_EQ(Camera().SetSymmetricalBinning(binning), 0u);
        for (const bool isInBytes : {true, false}) {
            SCOPED_TRACE(testing::Message()
                         << "binning " << binning << ", in " << (isInBytes ? "bytes" : "words"));
            const View whole = ViewOf(binning, isInBytes);
            ExpectAtEveryReadout(whole);
            SCOPED_TRACE("of a region");
            ExpectAtEveryReadout(RegionOf(whole));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Family, Pictures, testing::ValuesIn(CamerasThatBinBothWaysAlike()),
                         [](const auto &row) { return TestNameOf(row.param); });

} // namespace
} // namespace zerix::family
