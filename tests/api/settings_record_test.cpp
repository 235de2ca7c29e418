// The settings record: making it, its bindings, its checks and its end.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "api/entry.h"
#include "tests/api/settings_fixture.h"

namespace zerix::api {
namespace {

class SettingsRecord : public SettingsTest {
protected:
    // A call that does nothing but its checks.
    template <typename Subject, typename CheckList>
    static uint32_t Check(const Start &start, const Subject &subject, const CheckList &checks)
    {
        return Enter(start, subject, checks,
                     [](ExportedCall &, const CameraUse &) { return ZERIX_SUCCESS; });
    }

    static uint32_t Check(const Start &start, const Zerix_Settings *settings)
    {
        return Check(start, OfRecord{settings}, Checks(GoodSettings(settings)));
    }
};

TEST_F(SettingsRecord, IsMadeWithItsSizeItsIdentifierAndAClearedBlock)
{
    Zerix_Settings made = {};
    EXPECT_EQ(Zerix_CreateCameraSettingsStruct(&made), 0u);
    EXPECT_EQ(made.size, 276u);
    constexpr uint8_t kIdentifier[16] = {0x0F, 0x06, 0xBF, 0xCB, 0x08, 0x58, 0xF0, 0x40,
                                         0x81, 0x0B, 0x71, 0x62, 0xE9, 0xB9, 0xFF, 0x87};
    EXPECT_EQ(std::memcmp(made.formatId, kIdentifier, 16), 0);
    ASSERT_NE(made.privateBlock, nullptr);
    EXPECT_EQ(std::memcmp(made.privateBlock, std::vector<uint8_t>(276).data(), 276), 0);
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(&made), 0u);
    EXPECT_EQ(made.privateBlock, nullptr);
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(&made), 0u);
}

TEST_F(SettingsRecord, OfTheLegacyLayoutIsNotReleased)
{
    const std::vector<uint8_t> before = legacy;
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(Legacy()), 0u);
    EXPECT_EQ(legacy, before);
    FillBoth(Zerix_ReadDefaultSettings);
    const std::vector<uint8_t> filled = legacy;
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(Legacy()), 0u);
    EXPECT_EQ(legacy, filled);
}

TEST_F(SettingsRecord, GetsItsCameraItsMagicAndALegacyOneItsSize)
{
    FillBoth(Zerix_ReadDefaultSettings);
    EXPECT_EQ(current.size, 276u);
    EXPECT_EQ(PrivateAt<void *>(256), HandleOf(*camera));
    EXPECT_EQ(PrivateAt<uint32_t>(264), 0xDEADBEEFu);
    EXPECT_EQ(LegacyAt<uint32_t>(0), 260u);
    EXPECT_EQ(LegacyAt<void *>(244), HandleOf(*camera));
    EXPECT_EQ(LegacyAt<uint32_t>(252), 0xDEADBEEFu);
    // Reserved words stay the application's.
    EXPECT_EQ(LegacyAt<uint32_t>(240), kUntouched);
    EXPECT_EQ(LegacyAt<uint32_t>(256), kUntouched);
    EXPECT_EQ(PrivateAt<uint32_t>(268), kUntouched);
}

TEST_F(SettingsRecord, IsLoggedWholeAfterAFill)
{
    Configure("outputEnabled = 1\noutputSettings = 1\n");
    diag::ZLogOpen();
    Zerix_ReadDefaultSettings(HandleOf(*camera), &current);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 2u + 55);
    EXPECT_EQ(lines[0], "Zerix_ReadDefaultSettings start");
    EXPECT_EQ(lines[1], "Zerix_Settings structure:");
    EXPECT_EQ(lines.back(), EndLine("Zerix_ReadDefaultSettings"));
}

TEST_F(SettingsRecord, ChecksInItsOrderAndLeavesTheRecordAlone)
{
    for (const auto fill : {Zerix_ReadDefaultSettings, Zerix_ReadSettingsFromCam}) {
        EXPECT_EQ(fill(nullptr, nullptr), 9u);
        EXPECT_EQ(fill(HandleOf(*camera), nullptr), 2u);
        FakeCamera &closed = AddCamera();
        EXPECT_EQ(fill(HandleOf(closed), nullptr), 2u);
        EXPECT_EQ(fill(HandleOf(closed), Legacy()), 9u);
        closed.isHeldByAnother = true;
        closed.OpenCamera();
        Take();
        EXPECT_EQ(fill(HandleOf(closed), Legacy()), 9u);
        EXPECT_NE(Take()[1].find("Another process has this camera open."), std::string::npos);
        EXPECT_EQ(legacy, std::vector<uint8_t>(260, 0xA5));
        EXPECT_EQ(fill(HandleOf(closed), &current), 9u);
        EXPECT_EQ(std::memcmp(current.privateBlock, legacy.data(), 260), 0);
        EXPECT_EQ(current.size, 276u);
    }
}

TEST_F(SettingsRecord, RefusesAReleasedRecord)
{
    Zerix_ReleaseCameraSettingsStruct(&current);
    EXPECT_EQ(Zerix_ReadDefaultSettings(HandleOf(*camera), &current), 3u);
}

TEST_F(SettingsRecord, IsInitialisedByItsDefaults)
{
    EXPECT_EQ(Zerix_InitializeCameraSettings(HandleOf(*camera), nullptr), 3u);
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(Zerix_InitializeCameraSettings(HandleOf(*camera), &current), 0u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_ReadDefaultSettings start", EndLine("Zerix_ReadDefaultSettings")}));
    EXPECT_EQ(Zerix_InitializeCameraSettings(nullptr, &current), 9u);
}

TEST_F(SettingsRecord, IsNeverTranslated)
{
    EXPECT_EQ(Zerix_TranslateSettings(HandleOf(*camera), &current), 1u);
}

// One start, one end: the check's own name stands in the end line of a current record.
TEST_F(SettingsRecord, WithoutItsMagicEndsTheCallOnce)
{
    const auto check = [](const Zerix_Settings *settings) {
        return Check(Start("Zerix_Example"), settings);
    };
    const char *const phrase = "the Zerix_Settings structure is corrupted or the size is invalid.";
    Zerix_Settings fresh = {};
    Zerix_CreateCameraSettingsStruct(&fresh);
    EXPECT_EQ(check(&fresh), 3u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_Example start", EndingLine("CheckForBadSettingsEx", phrase, 3)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
    EXPECT_EQ(check(Legacy()), 3u);
    EXPECT_EQ(Take(), (Lines{"Zerix_Example start", EndingLine("Zerix_Example", phrase, 3)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
    FillBoth(Zerix_ReadDefaultSettings);
    EXPECT_EQ(check(&current), 0u);
    EXPECT_EQ(check(Legacy()), 0u);
    Zerix_ReleaseCameraSettingsStruct(&fresh);
    EXPECT_EQ(check(&fresh), 3u);
}

TEST_F(SettingsRecord, ThatIsNullIsNoGoodRecord)
{
    EXPECT_EQ(Check(Start("Zerix_Example"), nullptr), 3u);
}

// The depth of an untraced call stays where it was, and why it failed is told.
TEST_F(SettingsRecord, WithoutItsMagicTellsSoInAnUntracedCall)
{
    Zerix_Settings fresh = {};
    Zerix_CreateCameraSettingsStruct(&fresh);
    EXPECT_EQ(Check(Start("Zerix_Example", TracedIf{false}), &fresh), 3u);
    EXPECT_EQ(Take(), Lines{EndingLine("CheckForBadSettingsEx",
                                       "the Zerix_Settings structure is corrupted or the size is "
                                       "invalid.",
                                       3)});
    EXPECT_EQ(diag::ZLogDepth(), 0);
    Zerix_ReleaseCameraSettingsStruct(&fresh);
}

// Whose fault it is stands in the log even where the call's other lines don't.
TEST_F(SettingsRecord, OfAnUntracedCallTellsOfAnotherProcess)
{
    FakeCamera &held = AddCamera();
    held.isHeldByAnother = true;
    held.OpenCamera();
    EXPECT_EQ(Check(Start("Zerix_Example", TracedIf{false}), OfCamera{HandleOf(held)},
                    Checks(Open(), Exclusive())),
              9u);
    EXPECT_EQ(Take(), (Lines{"Zerix_Example - Another process has this camera open.",
                             EndingLine("Zerix_Example", "error string not defined yet", 9)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

TEST_F(SettingsRecord, OfAClosedCameraEndsTheCall)
{
    const auto check = [](const Zerix_Settings *settings) {
        return Check(Start("Zerix_Example"), OfRecord{settings},
                     Checks(GoodSettings(settings), OpenRecord()));
    };
    FillBoth(Zerix_ReadDefaultSettings);
    EXPECT_EQ(check(&current), 0u);
    EXPECT_EQ(check(Legacy()), 0u);
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
    EXPECT_EQ(check(&current), 3u);
    EXPECT_EQ(check(Legacy()), 3u);
}

} // namespace
} // namespace zerix::api
