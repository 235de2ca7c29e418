// Mending a settings record: each repair with its line, in both layouts.
#include <gtest/gtest.h>

#include "tests/api/sending_fixture.h"

namespace zerix::api {
namespace {

class Preflight : public SendingTest {
protected:
    // The remarks of one run, which must succeed.
    Lines Mend(Zerix_Settings *settings)
    {
        Take();
        EXPECT_EQ(RunPreflight(settings), 0u);
        return Remarks("Zerix_PreflightSettings");
    }
};

TEST_F(Preflight, ChecksInItsOrder)
{
    FakeCamera &held = AddCamera();
    held.isHeldByAnother = true;
    held.OpenCamera();
    EXPECT_EQ(Zerix_PreflightSettings(nullptr, nullptr), 9u);
    EXPECT_EQ(Zerix_PreflightSettings(HandleOf(held), nullptr), 2u);
    Take();
    EXPECT_EQ(Zerix_PreflightSettings(HandleOf(held), &current), 9u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_PreflightSettings start",
                     "Zerix_PreflightSettings - Another process has this camera open.",
                     EndingLine("Zerix_PreflightSettings", "error string not defined yet", 9)}));
}

TEST_F(Preflight, TestsNoMagic)
{
    tables::SetMagic(&current, 0);
    Set(&current, zprmRoiX, 2000);
    // The limits of the exposure are asked through the record, which is refused there.
    EXPECT_EQ(RunPreflight(&current), 3u);
    EXPECT_EQ(Get(&current, zprmRoiX), 0u);
}

TEST_F(Preflight, LeavesAGoodRecordAlone)
{
    EXPECT_EQ(Mend(&current), Lines{});
    EXPECT_EQ(Mend(Legacy()), Lines{});
    EXPECT_EQ(camera->calls, std::vector<std::string>{});
}

TEST_F(Preflight, SlowsDeepPixelsDownOnTheFirstStreamFormat)
{
    camera->getStreamingVersion = 0;
    for (uint32_t format = 0; format < 15; ++format) {
        const bool isDeep =
            format == 1 || format == 3 || format == 5 || format == 7 || format == 10;
        for (Zerix_Settings *settings : {&current, Legacy()}) {
            Set(settings, zprmReadoutSpeed, 0);
            Set(settings, zprmImageFormat, format);
            EXPECT_EQ(Mend(settings), isDeep ? Lines{"Readout speed is now 10MHz"} : Lines{});
            EXPECT_EQ(Get(settings, zprmReadoutSpeed), isDeep ? 1u : 0u) << format;
        }
    }
    Set(&current, zprmImageFormat, 3);
    Set(&current, zprmReadoutSpeed, 2);
    EXPECT_EQ(Mend(&current), Lines{});
    camera->getStreamingVersion = 1;
    Set(&current, zprmReadoutSpeed, 0);
    EXPECT_EQ(Mend(&current), Lines{});
}

TEST_F(Preflight, KeepsTheCellsOfAMosaicWhole)
{
    camera->getCCDImageFormat = 2;
    constexpr struct {
        uint32_t key;
        uint32_t before;
        uint32_t after;
        const char *remark;
    } kRows[] = {
        {zprmRoiX, 1, 0, "Roi X is now 0"},
        {zprmRoiX, 7, 6, "Roi X is now 6"},
        {zprmRoiX, 6, 6, nullptr},
        {zprmRoiY, 1, 0, "Roi Y is now 0"},
        {zprmRoiY, 33, 32, "Roi Y is now 32"},
        {zprmRoiWidth, 101, 100, "Roi Width is now 100"},
        {zprmRoiWidth, 1, 2, "Roi Width is now 2"},
        {zprmRoiWidth, 0, 0, nullptr},
        {zprmRoiWidth, 100, 100, nullptr},
        {zprmRoiHeight, 77, 76, "Roi Height is now 76"},
        {zprmRoiHeight, 1, 2, "Roi Height is now 2"},
    };
    for (const auto &row : kRows) {
        Set(&current, zprmRoiX, 0);
        Set(&current, zprmRoiY, 0);
        Set(&current, zprmRoiWidth, 10);
        Set(&current, zprmRoiHeight, 10);
        Set(&current, row.key, row.before);
        EXPECT_EQ(Mend(&current), row.remark != nullptr ? Lines{row.remark} : Lines{});
        EXPECT_EQ(Get(&current, row.key), row.after);
    }
    camera->getCCDImageFormat = 1;
    Set(&current, zprmRoiX, 7);
    EXPECT_EQ(Mend(&current), Lines{});
}

TEST_F(Preflight, EntersLiveModeWithItsWholeRegion)
{
    camera->getROIMaxWidthForLVWMode = 640;
    camera->getROIMaxHeightForLVWMode = 480;
    for (const uint32_t key : {zprmBinning, zprmVerticalBinning, zprmHorizontalBinning})
        Set(&current, key, 2);
    Set(&current, zprmCameraMode, 1);
    EXPECT_EQ(Mend(&current), (Lines{"Roi Width is now 640", "Roi Height is now 480"}));
    for (const uint32_t key : {zprmBinning, zprmVerticalBinning, zprmHorizontalBinning})
        EXPECT_EQ(Get(&current, key), 1u);
    EXPECT_EQ(Mend(&current), Lines{}); // where they differ
    // Within the mode the region is free, and the binning is not.
    camera->getLVWMode = true;
    Set(&current, zprmRoiWidth, 100);
    Set(&current, zprmBinning, 2);
    EXPECT_EQ(Mend(&current), Lines{});
    EXPECT_EQ(Get(&current, zprmRoiWidth), 100u);
    EXPECT_EQ(Get(&current, zprmBinning), 1u);
    EXPECT_EQ(camera->calls, std::vector<std::string>{});
}

TEST_F(Preflight, AsksForTheLimitsOfTheModeThatTheRecordLeadsTo)
{
    camera->getLVWMode = true;
    EXPECT_EQ(Mend(&current), Lines{});
    EXPECT_EQ(camera->calls, (std::vector<std::string>{"SetLVWMode 0", "SetLVWMode 1"}));
    camera->calls.clear();
    Set(&current, zprmCameraMode, 2);
    EXPECT_EQ(Mend(&current), Lines{});
    EXPECT_EQ(camera->calls, std::vector<std::string>{});
}

// Each axis goes by its own binning where the camera has one, by the symmetrical one otherwise.
TEST_F(Preflight, AsksForTheLimitsOfTheBinningOfEachAxis)
{
    constexpr struct {
        bool hasVertical;
        bool hasHorizontal;
        uint16_t heightMode;
        uint16_t widthMode;
    } kRows[] = {
        {false, false, 2, 2}, {true, false, 4, 2}, {false, true, 2, 3}, {true, true, 4, 3}};
    for (Zerix_Settings *settings : {&current, Legacy()}) {
        Set(settings, zprmBinning, 2);
        Set(settings, zprmHorizontalBinning, 3);
        Set(settings, zprmVerticalBinning, 4);
        for (const auto &row : kRows) {
            camera->isVerticalBinningSupported = row.hasVertical;
            camera->isHorizontalBinningSupported = row.hasHorizontal;
            EXPECT_EQ(RunPreflight(settings), 0u);
            EXPECT_EQ(camera->heightAskedFor, row.heightMode);
            EXPECT_EQ(camera->widthAskedFor, row.widthMode);
        }
    }
    // Live mode has no binning, and that is settled before.
    Set(&current, zprmCameraMode, 1);
    EXPECT_EQ(RunPreflight(&current), 0u);
    EXPECT_EQ(camera->heightAskedFor, 1);
    EXPECT_EQ(camera->widthAskedFor, 1);
}

// A repair is told under its own name, whoever asked for it, and used.
TEST_F(Preflight, IsSeenInTheLogOfASend)
{
    camera->getStreamingVersion = 0;
    camera->getReadoutFrequency = 10.0f;
    Set(&current, zprmImageFormat, 3);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_SendSettingsToCam start",
                             "Zerix_PreflightSettings - Readout speed is now 10MHz",
                             EndLine("Zerix_SendSettingsToCam")}));
    EXPECT_TRUE(WasCalled("SetReadoutFrequency 10"));
    EXPECT_EQ(Get(&current, zprmReadoutSpeed), 1u);
}

// What the repair itself answers is nobody's concern: the exposure is sent as it came.
TEST_F(Preflight, MayFailWithinASend)
{
    // Another camera's record, of which the limits can't be asked once that camera is closed.
    FakeCamera &other = AddOpenCamera();
    tables::SetCamera(&current, HandleOf(other));
    other.CloseCamera();
    tables::SetSlot64(&current, zprm64Exposure, 1);
    Forget();
    EXPECT_EQ(RunPreflight(&current), 3u);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_TRUE(WasCalled("SetExposure 1"));
}

TEST_F(Preflight, CutsTheRegionToTheSensor)
{
    constexpr struct {
        uint32_t x, y, width, height;
        uint32_t newX, newY, newWidth, newHeight;
    } kRows[] = {
        {0, 0, 1000, 800, 0, 0, 1000, 800},      {10, 20, 990, 780, 10, 20, 990, 780},
        {10, 20, 991, 781, 10, 20, 990, 780},    {1001, 801, 1000, 800, 0, 0, 1000, 800},
        {1001, 801, 50, 60, 0, 0, 50, 60},       {1000, 800, 50, 60, 1000, 800, 0, 0},
        {1001, 801, 1001, 801, 0, 0, 1000, 800}, {1, 1, 0xFFFFFFFF, 0xFFFFFFFF, 1, 1, 999, 799},
    };
    for (const auto &row : kRows) {
        Set(&current, zprmRoiX, row.x);
        Set(&current, zprmRoiY, row.y);
        Set(&current, zprmRoiWidth, row.width);
        Set(&current, zprmRoiHeight, row.height);
        EXPECT_EQ(RunPreflight(&current), 0u);
        EXPECT_EQ(Get(&current, zprmRoiX), row.newX);
        EXPECT_EQ(Get(&current, zprmRoiY), row.newY);
        EXPECT_EQ(Get(&current, zprmRoiWidth), row.newWidth);
        EXPECT_EQ(Get(&current, zprmRoiHeight), row.newHeight);
    }
}

// Height before width, and the start before the size.
TEST_F(Preflight, TellsTheCutsInOrder)
{
    for (const uint32_t key : {zprmRoiX, zprmRoiY, zprmRoiWidth, zprmRoiHeight})
        Set(Legacy(), key, 5000);
    EXPECT_EQ(Mend(Legacy()), (Lines{"Roi Y is now 0", "Roi Height is now 800", "Roi X is now 0",
                                     "Roi Width is now 1000"}));
}

TEST_F(Preflight, PutsTheExposureWithinItsLimits)
{
    for (Zerix_Settings *settings : {&current, Legacy()}) {
        tables::SetSlot64(settings, zprm64Exposure, 999);
        EXPECT_EQ(Mend(settings), Lines{"Exposure is now 1000"});
        EXPECT_EQ(tables::GetSlot64(settings, zprm64Exposure), 1'000u);
        tables::SetSlot64(settings, zprm64Exposure, 1'000'000'000'001);
        EXPECT_EQ(Mend(settings), Lines{"Exposure is now 1000000000000"});
        EXPECT_EQ(tables::GetSlot64(settings, zprm64Exposure), 1'000'000'000'000u);
        EXPECT_EQ(Get(settings, zprmExposure), 16'384u); // the other view is left alone
    }
}

TEST_F(Preflight, PutsTheColoursExposuresWithinTheirLimitsWhereThereIsAWheel)
{
    tables::SetSlot64(&current, zprm64ExposureRed, 1);
    tables::SetSlot64(&current, zprm64ExposureBlue, 2'000'000'000'000);
    EXPECT_EQ(Mend(&current), Lines{});
    EXPECT_EQ(tables::GetSlot64(&current, zprm64ExposureRed), 1u);
    camera->isRGBFilterSupported = true;
    EXPECT_EQ(Mend(&current),
              (Lines{"Red Exposure is now 1000", "Blue Exposure is now 1000000000000"}));
    EXPECT_EQ(tables::GetSlot64(&current, zprm64ExposureRed), 1'000u);
    EXPECT_EQ(tables::GetSlot64(&current, zprm64ExposureBlue), 1'000'000'000'000u);
}

} // namespace
} // namespace zerix::api
