// Sending a record to a camera without hardware: every setter's call in its order, what is checked
// and what isn't, what comes back into the record, and when the camera is told to commit.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/sending_fixture.h"

namespace zerix::api {
namespace {

using Calls = std::vector<std::string>;

const char *const kName = "Zerix_SendSettingsToCam";

class Sending : public SendingTest {
protected:
    // A value of its own for every key that is sent.
    void FillWithMarks(Zerix_Settings *settings)
    {
        constexpr struct {
            uint32_t key;
            uint32_t value;
        } kMarks[] = {
            {zprmImageFormat, 3},
            {zprmCameraMode, 0},
            {zprmBinning, 2},
            {zprmHorizontalBinning, 3},
            {zprmVerticalBinning, 4},
            {zprmRoiX, 11},
            {zprmRoiY, 12},
            {zprmRoiWidth, 130},
            {zprmRoiHeight, 140},
            {zprmReadoutSpeed, 2},
            {zprmTriggerType, 5},
            {zprmCoolerActive, 7},
            {zprmColorWheel, 3},
            {zprmDoubleShot, 2},
            {zprmMetrolShutterDelay, 77},
            {zprmSyncb, 1},
            {zprmFan, 2},
            {zprmBlackoutMode, 9},
            {zprmHighSensitivityMode, 0},
            {zprmReadoutPort, 6},
            {zprmEMGain, 55},
            {zprmDither, 1},
            {zprmHighGainMode, 0},
            {zprmVClockPeriod, 4000},
        };
        for (const auto &mark : kMarks)
            Set(settings, mark.key, mark.value);
        tables::SetSlotS32(settings, zprmS32NormalizedGaindB, -5);
        tables::SetSlotS32(settings, zprmS32AbsoluteOffset, 21);
        tables::SetSlotS32(settings, zprmS32RegulatedCoolingTemp, -20);
        tables::SetSlot64(settings, zprm64Exposure, 5'000'000);
        tables::SetSlot64(settings, zprm64ExposureRed, 6'000'000);
        tables::SetSlot64(settings, zprm64ExposureBlue, 7'000'000);
        tables::SetSlot64(settings, zprm64NormIntensGain, 8'000'000'000);
    }

    void FillCurrentWithMarks()
    {
        FillWithMarks(&current);
        Set(&current, zprmFrameBufferLength, 0x105);
        Set(&current, zprmKeelEmMode, 1);
        Set(&current, zprmLockedGainMode, 1);
        Set(&current, zprmKeelEmGainValue10, 110);
        Set(&current, zprmKeelEmGainValue20, 120);
        Set(&current, zprmKeelEmGainValue40, 140);
    }
};

const Calls kAllCalls = {
    "SetBitDepth 14",
    "SetLVWMode 0",
    "SetSymmetricalBinning 2",
    "SetROI 11 12 130 140",
    "SetReadoutFrequency 5",
    "SetTriggerMode 5",
    "SetCoolerStatus 1",
    "SetRGBFilterStartColour 3",
    "SetRGBFilterCycle 0",
    "SetDoubleShotMode 1",
    "SetMetrolShutterDelay 77",
    "SetFrameBufferLength 5",
    "SetNormalizedGaindB -5",
    "SetNormalizedIntensifierGain 8000000000",
    "SetAbsoluteOffset 21",
    "SetExposure 5000000",
    "SetRGBFilterRedExposure 5000000",
    "SetRGBFilterBlueExposure 5000000",
    "SetSyncBMode 1",
    "SetFanSpeed 2",
    "SetBlackoutMode 1",
    "SetHighSensitivityMode 0",
    "SetReadoutPort 6",
    "SetRegulatedCoolingTemp -20",
    "SetSyncBMode 1",
    "SetKeelEmMode 1",
    "SetLockedGainMode 1",
    "SetEMGain 140",
    "SetDither 1",
    "SetHighGainMode 0",
    "SetVClockPeriod 4000",
    "UpdateSettingsOnCamera",
};

TEST_F(Sending, CallsEverySetterInItsOrder)
{
    camera->isCoolerAvailable = true;
    FillCurrentWithMarks();
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(camera->calls, kAllCalls);
}

// What only a current record has is left out, and the gain is the record's own.
TEST_F(Sending, LeavesOutWhatALegacyRecordHasNot)
{
    camera->isCoolerAvailable = true;
    FillWithMarks(Legacy());
    EXPECT_EQ(Send(Legacy()), 0u);
    Calls expected;
    for (const std::string &call : kAllCalls) {
        if (call != "SetFrameBufferLength 5" && call != "SetKeelEmMode 1" &&
            call != "SetLockedGainMode 1")
            expected.push_back(call == "SetEMGain 140" ? "SetEMGain 55" : call);
    }
    EXPECT_EQ(camera->calls, expected);
}

TEST_F(Sending, ChoosesTheDepthByTheFormat)
{
    for (uint32_t format = 0; format < 16; ++format) {
        Set(&current, zprmImageFormat, format);
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        const bool isDeep =
            format == 1 || format == 3 || format == 5 || format == 7 || format == 10;
        const bool isKnown = format <= 12;
        EXPECT_EQ(WasCalled("SetBitDepth 14"), isDeep) << format;
        EXPECT_EQ(WasCalled("SetBitDepth 8"), isKnown && !isDeep) << format;
        // The wheel turns for the formats 6 to 12.
        const bool turns = format >= 6 && format <= 12;
        EXPECT_EQ(WasCalled("SetRGBFilterActive 1"), turns) << format;
        EXPECT_EQ(WasCalled("SetRGBFilterCycle 1"), turns) << format;
        EXPECT_EQ(WasCalled("SetRGBFilterCycle 0"), !turns) << format;
    }
    Set(&current, zprmImageFormat, 8);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(ContextOf(*camera)->filterWheel->GetOutputFormat(), 8u);
}

TEST_F(Sending, TurnsNoWheelInFrontOfAMosaic)
{
    camera->getCCDImageFormat = 2;
    Set(&current, zprmImageFormat, 8);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_FALSE(WasCalled("SetRGBFilterActive 1"));
    EXPECT_FALSE(WasCalled("SetRGBFilterCycle 1"));
    EXPECT_FALSE(WasCalled("SetRGBFilterCycle 0"));
}

TEST_F(Sending, SetsTheModesThatItKnows)
{
    constexpr const char *kCalls[] = {"SetLVWMode 0", "SetLVWMode 1", nullptr};
    for (uint32_t mode = 0; mode < 3; ++mode) {
        Set(&current, zprmCameraMode, mode);
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        for (const char *call : {"SetLVWMode 0", "SetLVWMode 1"})
            EXPECT_EQ(WasCalled(call), kCalls[mode] != nullptr && kCalls[mode] == std::string(call))
                << mode;
    }
}

TEST_F(Sending, BinsTheAxesWhereTheCameraCan)
{
    Set(&current, zprmBinning, 2);
    Set(&current, zprmHorizontalBinning, 3);
    Set(&current, zprmVerticalBinning, 4);
    camera->isVerticalBinningSupported = true;
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_TRUE(WasCalled("SetVerticalBinning 4"));
    EXPECT_FALSE(WasCalled("SetSymmetricalBinning 2"));
    EXPECT_FALSE(WasCalled("SetHorizontalBinning 3"));
    camera->calls.clear();
    Set(&current, zprmBinning, 2);
    Set(&current, zprmHorizontalBinning, 3);
    camera->isVerticalBinningSupported = false;
    camera->isHorizontalBinningSupported = true;
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_TRUE(WasCalled("SetSymmetricalBinning 2"));
    EXPECT_TRUE(WasCalled("SetHorizontalBinning 3"));
}

TEST_F(Sending, SendsTheFrequencyOfEachIndex)
{
    constexpr struct {
        uint32_t index;
        const char *call;
    } kRows[] = {{0, "SetReadoutFrequency 20"}, {1, "SetReadoutFrequency 10"},
                 {2, "SetReadoutFrequency 5"},  {3, "SetReadoutFrequency 2.5"},
                 {4, "SetReadoutFrequency 9"},  {5, "SetReadoutFrequency 9"},
                 {6, "SetReadoutFrequency 9"},  {7, "SetReadoutFrequency 40"},
                 {8, "SetReadoutFrequency 30"}, {9, "SetReadoutFrequency 9"},
                 {99, "SetReadoutFrequency 9"}};
    for (const auto &row : kRows) {
        Set(&current, zprmReadoutSpeed, row.index);
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_TRUE(WasCalled(row.call)) << row.index;
    }
}

TEST_F(Sending, ExposesTheColoursAloneWhileTheWheelTurns)
{
    camera->getRGBFilterCycleMode = true;
    FillCurrentWithMarks();
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_TRUE(WasCalled("SetRGBFilterRedExposure 6000000"));
    EXPECT_TRUE(WasCalled("SetRGBFilterBlueExposure 7000000"));
}

TEST_F(Sending, TakesTheMultiplyingGainOfTheReadoutSpeed)
{
    constexpr struct {
        uint32_t speed;
        uint32_t gain;
    } kRows[] = {{0, 120}, {1, 110}, {2, 140}, {3, 140}, {7, 140}};
    for (const auto &row : kRows) {
        FillCurrentWithMarks();
        Set(&current, zprmImageFormat, 2);
        Set(&current, zprmReadoutSpeed, row.speed);
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_EQ(Get(&current, zprmEMGain), row.gain) << row.speed;
        EXPECT_TRUE(WasCalled("SetEMGain " + std::to_string(row.gain)));
    }
    FillCurrentWithMarks();
    Set(&current, zprmKeelEmMode, 0);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(Get(&current, zprmEMGain), 55u);
}

// Which failures end the call, and after which the rest goes on.
TEST_F(Sending, ChecksTheStepsThatAreToBeChecked)
{
    camera->isCoolerAvailable = true;
    camera->isHorizontalBinningSupported = true;
    constexpr const char *kUnchecked[] = {"SetBitDepth", "SetLVWMode", "SetRGBFilterCycle",
                                          "SetRGBFilterStartColour", "UpdateSettingsOnCamera"};
    constexpr const char *kChecked[] = {"SetSymmetricalBinning",
                                        "SetHorizontalBinning",
                                        "SetROI",
                                        "SetReadoutFrequency",
                                        "SetTriggerMode",
                                        "SetCoolerStatus",
                                        "SetDoubleShotMode",
                                        "SetMetrolShutterDelay",
                                        "SetFrameBufferLength",
                                        "SetNormalizedGaindB",
                                        "SetNormalizedIntensifierGain",
                                        "SetAbsoluteOffset",
                                        "SetExposure",
                                        "SetRGBFilterRedExposure",
                                        "SetRGBFilterBlueExposure",
                                        "SetSyncBMode",
                                        "SetFanSpeed",
                                        "SetBlackoutMode",
                                        "SetHighSensitivityMode",
                                        "SetReadoutPort",
                                        "SetRegulatedCoolingTemp",
                                        "SetKeelEmMode",
                                        "SetLockedGainMode",
                                        "SetEMGain",
                                        "SetDither",
                                        "SetHighGainMode",
                                        "SetVClockPeriod"};
    FillCurrentWithMarks();
    for (const char *name : kUnchecked) {
        camera->statusOf = {{name, 9}};
        EXPECT_EQ(Send(&current), 0u) << name;
        EXPECT_FALSE(ContextOf(*camera)->isSending.load()) << name;
    }
    for (const char *name : kChecked) {
        camera->statusOf = {{name, 15}};
        EXPECT_EQ(Send(&current), 0u) << name; // a feature that is lacking
        camera->statusOf = {{name, 7}};
        EXPECT_EQ(Send(&current), 30u) << name;
        camera->statusOf = {{name, 25}};
        EXPECT_EQ(Send(&current), 15u) << name;
        camera->statusOf = {{name, 9}};
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 16u) << name;
        ASSERT_FALSE(camera->calls.empty());
        EXPECT_EQ(camera->calls.back().rfind(name, 0), 0u) << camera->calls.back();
        // The flag stays, and the semaphore is free.
        EXPECT_TRUE(ContextOf(*camera)->isSending.load()) << name;
        camera->statusOf.clear();
        EXPECT_EQ(Send(&current), 0u) << name;
        EXPECT_FALSE(ContextOf(*camera)->isSending.load()) << name;
    }
}

TEST_F(Sending, KeepsTheCacheAndTheRecordWhenAStepFails)
{
    EXPECT_EQ(Send(&current), 0u);
    Set(&current, zprmTriggerType, 3);
    camera->statusOf = {{"SetTriggerMode", 9}};
    EXPECT_EQ(Send(&current), 16u);
    EXPECT_EQ(Get(&ContextOf(*camera)->cachedSettings, zprmTriggerType), 0u);
    EXPECT_EQ(Get(&current, zprmTriggerType), 3u);
}

TEST_F(Sending, WritesTheGeometryThatCameOfItIntoTheRecord)
{
    camera->getROIX = 1;
    camera->getROIY = 2;
    camera->getROIWidth = 3;
    camera->getROIHeight = 4;
    camera->getSymmetricalBinningMode = 5;
    camera->getVerticalBinningMode = 6;
    camera->getHorizontalBinningMode = 7;
    camera->getReadoutFrequency = 2.5f;
    for (Zerix_Settings *settings : {&current, Legacy()}) {
        EXPECT_EQ(Send(settings), 0u);
        EXPECT_EQ(Get(settings, zprmRoiX), 1u);
        EXPECT_EQ(Get(settings, zprmRoiY), 2u);
        EXPECT_EQ(Get(settings, zprmRoiWidth), 3u);
        EXPECT_EQ(Get(settings, zprmRoiHeight), 4u);
        EXPECT_EQ(Get(settings, zprmBinning), 5u);
        EXPECT_EQ(Get(settings, zprmVerticalBinning), 6u);
        EXPECT_EQ(Get(settings, zprmHorizontalBinning), 7u);
        EXPECT_EQ(Get(settings, zprmReadoutSpeed), 3u);
    }
}

TEST_F(Sending, MendsTheRecordFirst)
{
    tables::SetSlot64(&current, zprm64Exposure, 2'000'000'000'000);
    Set(&current, zprmRoiWidth, 1001);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(tables::GetSlot64(&current, zprm64Exposure), 1'000'000'000'000u);
    EXPECT_TRUE(WasCalled("SetExposure 1000000000000"));
    EXPECT_TRUE(WasCalled("SetROI 0 0 1000 800"));
}

TEST_F(Sending, SetsThePostProcessing)
{
    ZerixContext &context = *ContextOf(*camera);
    Set(&current, zprmDoPostProcessing, 2);
    Set(&current, zprmPostProcessGainRed, 1500);
    Set(&current, zprmPostProcessGainGreen, 2000);
    Set(&current, zprmPostProcessGainBlue, 2500);
    Set(&current, zprmPostProcessImageFormat, 8);
    constexpr struct {
        uint32_t value;
        uint16_t algorithm;
    } kRows[] = {{1, 1}, {2, 2}, {3, 4}, {2, 2}, {4, 4}, {0, 4}, {5, 4}};
    for (const auto &row : kRows) {
        Set(&current, zprmPostProcessBayerAlgorithm, row.value);
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_EQ(context.bayerFilter->GetAlgorithm(), row.algorithm) << row.value;
    }
    EXPECT_TRUE(context.isPostProcessingOn.load());
    EXPECT_EQ(context.whiteBalance->GetRedScale(), 1.5f);
    EXPECT_EQ(context.whiteBalance->GetGreenScale(), 2.0f);
    EXPECT_EQ(context.whiteBalance->GetBlueScale(), 2.5f);
    EXPECT_EQ(context.bayerFilter->GetOutputFormat(), 8u);
    Set(&current, zprmDoPostProcessing, 0);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_FALSE(context.isPostProcessingOn.load());
}

TEST_F(Sending, AppliesTheTweekingRegister)
{
    constexpr struct {
        uint32_t word;
        const char *call;
    } kRows[] = {{0x1FFF0003, "SetSubCpAd 3000"}, {0x20001234, "SetSubAd 4660"},
                 {0x30000001, "SetResetVhAd 1"},  {0x40000002, "SetV1VmAd 2"},
                 {0x50000003, "SetV2VmAd 3"},     {0x60000004, "SetV3VmAd 4"},
                 {0x70000005, "SetV4VmAd 5"},     {0x8000FFFF, "SetMiscCtrlAd 65535"}};
    for (const auto &row : kRows) {
        Set(&current, zprmTweekingRegister, row.word);
        camera->isTweekingRegisterSupported = false;
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_FALSE(WasCalled(row.call)) << row.call;
        camera->isTweekingRegisterSupported = true;
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_EQ(camera->calls[camera->calls.size() - 2], row.call);
    }
    for (const uint32_t word : {0x00000005u, 0x90000005u, 0xF0000005u}) {
        Set(&current, zprmTweekingRegister, word);
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        EXPECT_EQ(camera->calls[camera->calls.size() - 2], "SetVClockPeriod 0");
    }
}

// Which keys count, and which are remembered.
TEST_F(Sending, CommitsWhenAKeyThatCountsDiffersFromTheCache)
{
    const auto commits = [&] {
        camera->calls.clear();
        EXPECT_EQ(Send(&current), 0u);
        return WasCalled("UpdateSettingsOnCamera");
    };
    ZerixContext &context = *ContextOf(*camera);
    const auto equal = [&] { MakeCacheEqual(&current); };
    Set(&current, zprmKeelEmMode, 0);
    EXPECT_TRUE(commits());
    equal();
    EXPECT_FALSE(commits());
    for (uint32_t key = 0; key < 53; ++key) {
        equal();
        Set(&context.cachedSettings, key, Get(&current, key) + 1);
        const bool counts = key <= 26 || (key >= 33 && key <= 45) || key == 47 || key == 48;
        EXPECT_EQ(commits(), counts) << key;
        // A key beyond 16 goes on to count.
        EXPECT_EQ(commits(), counts && key > 16) << key;
    }
    for (uint32_t key = 0; key < 3; ++key) {
        equal();
        tables::SetSlotS32(&context.cachedSettings, key, 12345);
        EXPECT_TRUE(commits()) << key;
    }
    for (uint32_t key = 0; key < 4; ++key) {
        equal();
        tables::SetSlot64(&context.cachedSettings, key, 12345);
        EXPECT_TRUE(commits()) << key;
    }
}

// Of a legacy record 63 bytes are remembered: 15 keys and three bytes of the next.
TEST_F(Sending, RemembersSomewhatLessOfALegacyRecord)
{
    Zerix_Settings &cached = ContextOf(*camera)->cachedSettings;
    for (uint32_t key = 0; key < 53; ++key)
        Set(&cached, key, kUntouched);
    camera->getROIWidth = 0x11223344;
    camera->getROIHeight = 0x55667788;
    Set(Legacy(), zprmRoiX, 0);
    EXPECT_EQ(Send(Legacy()), 0u);
    EXPECT_EQ(Get(&cached, zprmRoiY), 0u);
    EXPECT_EQ(Get(&cached, zprmRoiWidth), 0xA5223344u);
    EXPECT_EQ(Get(&cached, zprmRoiHeight), kUntouched);
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(Get(&cached, zprmRoiWidth), 0x11223344u);
    EXPECT_EQ(Get(&cached, zprmRoiHeight), 0x55667788u);
    EXPECT_EQ(Get(&cached, zprmReserved17), kUntouched);
}

TEST_F(Sending, ChecksInItsOrder)
{
    FakeCamera &closed = AddCamera();
    const char *const corrupted =
        "the Zerix_Settings structure is corrupted or the size is invalid.";
    EXPECT_EQ(Zerix_SendSettingsToCam(nullptr, nullptr), 9u);
    EXPECT_EQ(Zerix_SendSettingsToCam(HandleOf(closed), nullptr), 3u);
    EXPECT_EQ(Zerix_SendSettingsToCam(HandleOf(closed), &current), 9u);
    closed.isHeldByAnother = true;
    closed.OpenCamera();
    EXPECT_EQ(Zerix_SendSettingsToCam(HandleOf(closed), &current), 9u);
    tables::SetMagic(&current, 0);
    tables::SetMagic(Legacy(), 0);
    Take();
    EXPECT_EQ(Send(&current), 3u);
    EXPECT_EQ(Take(), (Lines{"Zerix_SendSettingsToCam start",
                             EndingLine("CheckForBadSettingsEx", corrupted, 3)}));
    EXPECT_EQ(Send(Legacy()), 3u);
    EXPECT_EQ(Take(), (Lines{"Zerix_SendSettingsToCam start", EndingLine(kName, corrupted, 3)}));
    EXPECT_EQ(camera->calls, Calls{});
}

TEST_F(Sending, LogsWhatChangedAndItsNestedCallsOnDemand)
{
    Configure("outputEnabled = 1\noutputSettings = 1\n");
    EXPECT_EQ(Send(&current), 0u);
    diag::ZLogOpen();
    Set(&current, zprmTriggerType, 3);
    Zerix_Settings &cached = ContextOf(*camera)->cachedSettings;
    for (uint32_t key = 17; key < 53; ++key)
        Set(&cached, key, Get(&current, key));
    Take();
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_SendSettingsToCam start",
                             "Settings that changed:", "Trigger type: 3", EndLine(kName)}));
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_SendSettingsToCam start", "Settings that changed:", "Nothing",
                             EndLine(kName)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
