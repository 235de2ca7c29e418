// Cameras that are read out from the far corner: what an application sees of a scene must not
// depend on it.
#include <gtest/gtest.h>

#include "tests/family/family_cameras.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

struct Region {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

// Of the 1392 x 1040 pixels of an ICX285: near the near corner, at the far one, a middle that is
// odd throughout, a single pixel.
constexpr Region kRegions[] = {
    {2, 4, 100, 80}, {1192, 940, 200, 100}, {333, 211, 401, 303}, {1391, 0, 1, 1}};

class FarCorner : public FamilySession, public testing::WithParamInterface<uint32_t> {
protected:
    static std::string Keys(uint32_t model, uint32_t format, uint32_t sensor)
    {
        return "model = " + std::to_string(model) + "\nstream-format = " + std::to_string(format) +
               "\nsensor = " + std::to_string(sensor) + "\nscene = \"positions\"\n";
    }

    void OpenWith(uint32_t format, uint32_t sensor) { OpenOnly(Keys(GetParam(), format, sensor)); }

    std::vector<uint8_t> PixelsOf(const Region &region)
    {
        EXPECT_EQ(Camera().SetROI(region.x, region.y, region.width, region.height), 0u);
        Grab();
        pixels.resize(frame.size);
        return pixels;
    }
};

// The same bytes from the near corner and from the far one.
TEST_P(FarCorner, ShowsTheSamePartOfTheScene)
{
    for (const uint16_t depth : {uint16_t{8}, uint16_t{12}}) {
        std::vector<std::vector<uint8_t>> upright;
        for (const uint32_t format : {1u, 2u}) {
            OpenWith(format, 6);
            ASSERT_EQ(Camera().SetBitDepth(depth), 0u);
            for (const Region &region : kRegions) {
                if (format == 1) {
                    upright.push_back(PixelsOf(region));
                    continue;
                }
                const auto turned = PixelsOf(region);
                EXPECT_TRUE(turned == upright[static_cast<size_t>(&region - kRegions)])
                    << region.x << ", " << region.y << " at " << depth << " bits";
            }
            Zerix_ReleaseDriver();
        }
    }
}

// And what the formula says of it.
TEST_P(FarCorner, CountsRegionsFromTheNearOne)
{
    OpenWith(2, 7);
    for (const Region &region : kRegions) {
        View view = WholeView(SensorOf(7), 12, true);
        view.isFromFarCorner = true;
        view.x = region.x;
        view.y = region.y;
        view.width = region.width;
        view.height = region.height;
        ASSERT_EQ(Camera().SetROI(view.x, view.y, view.width, view.height), 0u);
        EXPECT_EQ(Camera().GetROIX(), view.x);
        EXPECT_EQ(Camera().GetROIY(), view.y);
        ExpectPicture(view, {FormatOf(true, 8), 8, 1, 0});
    }
}

// The pattern is told of the pixel that is sent first, and turned with the picture: regions of even
// size have the pattern of their first pixel.
TEST_P(FarCorner, TellsTheMosaicOfTheTurnedPicture)
{
    OpenWith(2, 53);
    const struct {
        uint32_t x, y, pattern;
    } kPlaces[] = {{0, 0, 6}, {1, 0, 5}, {0, 1, 8}, {1, 1, 7}, {798, 600, 6}};
    for (const auto &place : kPlaces) {
        PixelsOf({place.x, place.y, 200, 100});
        EXPECT_EQ(frame.colourPattern, place.pattern) << place.x << ", " << place.y;
        EXPECT_EQ(frame.bayerPattern, place.pattern - 5);
    }
}

// 1392 and 1040 are multiples of the binning: the bins are the same from either corner.
TEST_P(FarCorner, BinsTheSamePixels)
{
    for (const uint16_t binning : {uint16_t{2}, uint16_t{4}, uint16_t{8}}) {
        std::vector<uint8_t> upright;
        for (const uint32_t format : {1u, 2u}) {
            OpenWith(format, 6);
            ASSERT_EQ(Camera().SetSymmetricalBinning(binning), 0u);
            Grab();
            pixels.resize(frame.size);
            EXPECT_EQ(frame.width, 1392u / binning);
            if (format == 1)
                upright = pixels;
            else
                EXPECT_TRUE(pixels == upright) << binning;
            Zerix_ReleaseDriver();
        }
    }
}

// At its near corner, at the far one, in a middle that is odd throughout, a single pixel.
std::vector<Region> RegionsOf(uint32_t width, uint32_t height)
{
    return {{2, 4, width / 2, height / 2},
            {width - 100, height - 60, 100, 60},
            {33, 21, 51, 33},
            {width - 1, 0, 1, 1}};
}

TEST_P(FarCorner, ShowsTheSamePartOfTheSceneBinned)
{
    for (const uint16_t binning : {uint16_t{2}, uint16_t{4}, uint16_t{8}}) {
        std::vector<std::vector<uint8_t>> upright;
        for (const uint32_t format : {1u, 2u}) {
            OpenWith(format, 6);
            ASSERT_EQ(Camera().SetSymmetricalBinning(binning), 0u);
            size_t next = 0;
            for (const Region &region : RegionsOf(1392u / binning, 1040u / binning)) {
                const auto picture = PixelsOf(region);
                EXPECT_EQ(Camera().GetROIX(), region.x);
                EXPECT_EQ(Camera().GetROIY(), region.y);
                if (format == 1)
                    upright.push_back(picture);
                else
                    EXPECT_TRUE(picture == upright.at(next++))
                        << region.x << ", " << region.y << " at binning " << binning;
            }
            Zerix_ReleaseDriver();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Family, FarCorner, testing::Values(kAstrelE1, 18u, 19u),
                         [](const auto &row) { return "Model" + std::to_string(row.param); });

class FarCornerOfAnAstrelE1 : public FamilySession {};

// What the formula says of a binned region; and the whole binned sensor, which no place has been
// told for, is told as the far part of the unbinned one.
TEST_F(FarCornerOfAnAstrelE1, ShowsTheBinnedRegionThatWasAskedFor)
{
    OpenOnly("model = 15\nstream-format = 2\nsensor = 6\nscene = \"positions\"\n");
    ASSERT_EQ(Camera().SetSymmetricalBinning(2), 0u);
    EXPECT_EQ(Camera().GetROIX(), 696u);
    EXPECT_EQ(Camera().GetROIY(), 520u);
    View view = WholeView(SensorOf(6), 12, true);
    view.columnsPerPixel = view.rowsPerPixel = 2;
    view.isFromFarCorner = true;
    view.width = 696;
    view.height = 520;
    ExpectPicture(view, {FormatOf(false, 8), 8, 2, 0});
    view.x = 10;
    view.y = 20;
    view.width = 100;
    view.height = 50;
    ASSERT_EQ(Camera().SetROI(10, 20, 100, 50), 0u);
    EXPECT_EQ(Camera().GetROIX(), 10u);
    ExpectPicture(view, {FormatOf(false, 8), 8, 2, 0});
}

// Regions as an application sends them, in a record.
class FarCornerRecord : public FamilySession, public testing::WithParamInterface<uint32_t> {
protected:
    void SetUp() override
    {
        FamilySession::SetUp();
        OpenOnly("model = " + std::to_string(GetParam()) +
                 "\nstream-format = 2\nsensor = 6\nscene = \"positions\"\n");
        Zerix_CreateCameraSettingsStruct(&settings);
        ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 0u);
    }

    void TearDown() override
    {
        Zerix_ReleaseCameraSettingsStruct(&settings);
        FamilySession::TearDown();
    }

    void Send(const Region &region)
    {
        EXPECT_EQ(Zerix_SetParam(&settings, zprmRoiX, region.x), 0u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmRoiY, region.y), 0u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmRoiWidth, region.width), 0u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmRoiHeight, region.height), 0u);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        EXPECT_EQ(RecordOf(),
                  (std::vector<uint32_t>{region.x, region.y, region.width, region.height}));
    }

    std::vector<uint32_t> RecordOf()
    {
        std::vector<uint32_t> values;
        for (const uint32_t key : {zprmRoiX, zprmRoiY, zprmRoiWidth, zprmRoiHeight})
            EXPECT_EQ(Zerix_GetParam(&settings, key, &values.emplace_back()), 0u);
        return values;
    }

    Zerix_Settings settings = {};
};

TEST_P(FarCornerRecord, ShowsEachRegionOfASequence)
{
    constexpr Region kSequence[] = {
        {0, 0, 696, 1040},    // left half
        {696, 0, 696, 1040},  // right half
        {0, 0, 1392, 1040},   // whole, after a half
        {0, 0, 1392, 520},    // upper half
        {0, 520, 1392, 520},  // lower half
        {696, 520, 696, 520}, // a quarter, and the opposite one
        {0, 0, 696, 520},     //
        {0, 0, 1392, 1040},
    };
    for (const Region &region : kSequence) {
        SCOPED_TRACE(testing::Message() << region.x << ", " << region.y << ", " << region.width
                                        << " x " << region.height);
        Send(region);
        View view = WholeView(SensorOf(6), 12, true);
        view.isFromFarCorner = true;
        view.x = region.x;
        view.y = region.y;
        view.width = region.width;
        view.height = region.height;
        ExpectPicture(view, {FormatOf(false, 8), 8, 1, 0});
    }
}

// Each start of the stream has a tag of its own.
TEST_P(FarCornerRecord, SentUnchangedLeavesTheStreamAlone)
{
    Send({100, 50, 400, 300});
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    const uint8_t tag = Camera().GetPSN();
    Send({100, 50, 400, 300});
    EXPECT_EQ(Camera().GetPSN(), tag);
    Send({600, 50, 400, 300});
    EXPECT_NE(Camera().GetPSN(), tag);
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
}

INSTANTIATE_TEST_SUITE_P(Family, FarCornerRecord, testing::Values(kAstrelE1, 18u),
                         [](const auto &row) { return "Model" + std::to_string(row.param); });

} // namespace
} // namespace zerix::family
