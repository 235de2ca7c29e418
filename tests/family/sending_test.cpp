// Every camera of the family through its settings record: a region at a binning is sent, sent again
// as it came back, and photographed.
#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/family/family_cameras.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

constexpr uint32_t kSettingsOutOfRange = 16;

struct Region {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
    bool operator==(const Region &) const = default;
};

void PrintTo(const Region &region, std::ostream *stream)
{
    *stream << region.x << ", " << region.y << ", " << region.width << ", " << region.height;
}

class SendingSession : public FamilySession {
protected:
    ~SendingSession() override { Zerix_ReleaseCameraSettingsStruct(&settings); }

    // Opens a camera of a family's rack, with a record of its defaults.
    void OpenOf(const FamilyCamera &camera)
    {
        UseFamilyRack(camera.rack);
        OpenAt(camera.place);
        ASSERT_EQ(ZerixSim_SetScene(camera.place, "positions"), 0u);
        Zerix_CreateCameraSettingsStruct(&settings);
        ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    }

    void Ask(uint32_t binning, const Region &region)
    {
        tables::SetSlot32(&settings, zprmBinning, binning);
        tables::SetSlot32(&settings, zprmRoiX, region.x);
        tables::SetSlot32(&settings, zprmRoiY, region.y);
        tables::SetSlot32(&settings, zprmRoiWidth, region.width);
        tables::SetSlot32(&settings, zprmRoiHeight, region.height);
    }

    Region Told() const
    {
        const auto slot = [this](uint32_t key) { return tables::GetSlot32(&settings, key); };
        return {slot(zprmRoiX), slot(zprmRoiY), slot(zprmRoiWidth), slot(zprmRoiHeight)};
    }

    uint32_t Send()
    {
        const uint32_t error = Zerix_SendSettingsToCam(handle, &settings);
        Take(); // what was traced
        return error;
    }

    // In bytes, as every camera comes up, but for the one whose pixels are words always.
    static View ViewOf(const FamilyCamera &camera, uint32_t binning, const Region &region)
    {
        View view = WholeView(SensorOf(camera.sensor), camera.bitDepth, true);
        view.columnsPerPixel = view.rowsPerPixel = binning;
        view.isFromFarCorner = camera.streamFormat == 2;
        view.x = region.x;
        view.y = region.y;
        view.width = region.width;
        view.height = region.height;
        return view;
    }

    void ExpectPictureOf(const FamilyCamera &camera, uint32_t binning, const Region &region)
    {
        const View view = ViewOf(camera, binning, region);
        const bool hasMosaic = view.sensor.mosaic != Mosaic::kNone && binning == 1;
        ExpectPicture(view, {FormatOf(hasMosaic, 8), 8, binning, 0});
    }

    Zerix_Settings settings = {};
};

std::vector<FamilyCamera> CamerasThatBinBothWaysAlike()
{
    std::vector<FamilyCamera> cameras;
    for (const FamilyCamera &camera : FamilyCameras())
        if (!camera.binnings.empty())
            cameras.push_back(camera);
    return cameras;
}

class Sending : public SendingSession, public testing::WithParamInterface<FamilyCamera> {};

// The smallest sensor has 512 x 250 pixels: 64 x 31 at the most binning.
TEST_P(Sending, ARegionTwiceShowsIt)
{
    constexpr Region kRegion = {10, 6, 40, 20};
    OpenOf(GetParam());
    for (const uint16_t binning : GetParam().binnings) {
        SCOPED_TRACE(binning);
        Ask(binning, kRegion);
        for (int time = 0; time < 2; ++time) {
            ASSERT_EQ(Send(), 0u);
            EXPECT_EQ(Told(), kRegion);
        }
        ExpectPictureOf(GetParam(), binning, kRegion);
    }
}

INSTANTIATE_TEST_SUITE_P(Family, Sending, testing::ValuesIn(CamerasThatBinBothWaysAlike()),
                         [](const auto &row) { return TestNameOf(row.param); });

class SendingToAnAstrelE1 : public SendingSession {
protected:
    void SetUp() override
    {
        SendingSession::SetUp();
        OpenOf(Camera15());
    }

    // 1000 x 1000, read from the far corner.
    static const FamilyCamera &Camera15()
    {
        for (const FamilyCamera &camera : FamilyCameras())
            if (camera.model == kAstrelE1)
                return camera;
        throw std::logic_error("The racks have no Astrel E1.");
    }
};

TEST_F(SendingToAnAstrelE1, TheWholeBinnedSensorComesBackAsItWasAskedFor)
{
    Ask(2, {0, 0, 1000, 1000});
    for (int time = 0; time < 2; ++time) {
        ASSERT_EQ(Send(), 0u);
        EXPECT_EQ(Told(), (Region{0, 0, 500, 500}));
        ExpectPictureOf(Camera15(), 2, {0, 0, 500, 500});
    }
}

// Kept: a binned camera to which no place was sent reports the far part of the unbinned sensor,
// which lies beyond the binned one when it is sent. Put where it is meant, all is well.
TEST_F(SendingToAnAstrelE1, TheFarPartOfTheBinnedSensorIsRefused)
{
    Ask(2, {500, 500, 500, 500});
    EXPECT_EQ(Send(), kSettingsOutOfRange);
    EXPECT_EQ(Told(), (Region{500, 500, 0, 0}));

    Ask(2, {0, 0, 500, 500});
    ASSERT_EQ(Send(), 0u);
    ExpectPictureOf(Camera15(), 2, {0, 0, 500, 500});
    Ask(1, {0, 0, 1000, 1000});
    ASSERT_EQ(Send(), 0u);
    EXPECT_EQ(Told(), (Region{0, 0, 1000, 1000}));
    ExpectPictureOf(Camera15(), 1, {0, 0, 1000, 1000});
}

TEST_F(SendingToAnAstrelE1, EveryCornerOfTheBinnedSensorIsShown)
{
    for (const uint32_t binning : {2u, 4u, 8u}) {
        const uint32_t size = 1000 / binning;
        for (const Region &region :
             {Region{0, 0, 64, 48}, Region{size - 64, 2, 64, 48}, Region{4, size - 48, 64, 48},
              Region{size - 32, size - 24, 32, 24}}) {
            SCOPED_TRACE(testing::PrintToString(region) + " at " + std::to_string(binning));
            Ask(binning, region);
            ASSERT_EQ(Send(), 0u);
            EXPECT_EQ(Told(), region);
            ExpectPictureOf(Camera15(), binning, region);
        }
    }
}

} // namespace
} // namespace zerix::family
