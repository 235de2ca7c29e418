// Loading and releasing, the version, opening and closing, with cameras that have no hardware.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/api_fixture.h"

namespace zerix::api {
namespace {

class Lifecycle : public ApiTest {};

TEST_F(Lifecycle, LoadsAndReleasesInPairsOfLines)
{
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_LoadDriver start", EndLine("Zerix_LoadDriver")}));
    Zerix_ReleaseDriver();
    EXPECT_EQ(Take(), (Lines{"Zerix_ReleaseDriver start", EndLine("Zerix_ReleaseDriver")}));
    Zerix_ReleaseDriver();
    EXPECT_EQ(Take(),
              (Lines{"Zerix_ReleaseDriver start",
                     EndingLine("Zerix_ReleaseDriver",
                                "Zerix has not been loaded. Call Zerix_LoadDriver().", 8)}));
}

TEST_F(Lifecycle, ASecondLoadGivesItsErrorWithoutAnEndLineAndAReleaseStillWorks)
{
    Load();
    EXPECT_EQ(Zerix_LoadDriver(), 7u);
    EXPECT_EQ(Take(), Lines{"Zerix_LoadDriver start"});
    EXPECT_EQ(diag::ZLogDepth(), 1);
    Zerix_ReleaseDriver();
    EXPECT_FALSE(ZX::ZCamera::IsInitalized());
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
}

TEST_F(Lifecycle, TakesTheRegisterTracesFromTheConfiguration)
{
    Configure("outputReads = 1\n");
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
    EXPECT_TRUE(ZX::ZCamera::GetShouldOutputReads());
    EXPECT_FALSE(ZX::ZCamera::GetShouldOutputWrites());
    Zerix_ReleaseDriver();
    Configure("outputWrites = 1\n");
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
    EXPECT_FALSE(ZX::ZCamera::GetShouldOutputReads());
    EXPECT_TRUE(ZX::ZCamera::GetShouldOutputWrites());
}

TEST_F(Lifecycle, TellsItsVersion)
{
    Load();
    uint16_t major = 0;
    uint16_t minor = 99;
    uint16_t build = 0;
    EXPECT_EQ(Zerix_LibVersion(&major, &minor, &build), 0u);
    EXPECT_EQ(major, 2);
    EXPECT_EQ(minor, 0);
    EXPECT_EQ(build, 13);
    EXPECT_EQ(Take(), (Lines{"Zerix_LibVersion start", "Zerix_LibVersion - Zerix version is 2.0.13",
                             EndLine("Zerix_LibVersion")}));
    major = 0;
    minor = 99;
    EXPECT_EQ(Zerix_Version(&major, &minor), 0u);
    EXPECT_EQ(major, 2);
    EXPECT_EQ(minor, 0);
    EXPECT_EQ(Take(), (Lines{"Zerix_Version start", "Zerix_Version - Zerix version is 2.0",
                             EndLine("Zerix_Version")}));
}

TEST_F(Lifecycle, TestsEachOutPointerOfTheVersion)
{
    Load();
    uint16_t word = 77;
    EXPECT_EQ(Zerix_LibVersion(nullptr, &word, &word), 2u);
    EXPECT_EQ(Zerix_LibVersion(&word, nullptr, &word), 2u);
    EXPECT_EQ(Zerix_LibVersion(&word, &word, nullptr), 2u);
    EXPECT_EQ(Zerix_Version(nullptr, &word), 2u);
    EXPECT_EQ(Zerix_Version(&word, nullptr), 2u);
    EXPECT_EQ(word, 77);
}

// Open cameras survive a listing, and what the bus has comes behind them.
TEST_F(Lifecycle, ListsNoMoreRowsThanTheCallerHasAndTellsHowManyThereAre)
{
    Load();
    uint32_t onTheBus = 0;
    ZerixCameraListItem row = {};
    ASSERT_EQ(Zerix_ListCameras(&row, &onTheBus), 0u);
    FreeCameras();
    for (uint16_t model = 5; model < 10; ++model)
        AddOpenCamera().getModel = model;
    constexpr uint32_t kUntouched = 0xA5A5A5A5u;
    ZerixCameraListItem table[3];
    std::memset(table, 0xA5, sizeof(table));
    uint32_t count = 2;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 5 + onTheBus);
    for (uint32_t index = 0; index < 2; ++index) {
        EXPECT_EQ(table[index].cameraId, index);
        EXPECT_EQ(table[index].cameraType, 5 + index);
        EXPECT_EQ(table[index].uniqueId, kUntouched);
        EXPECT_EQ(table[index].isOpen, 1u);
        EXPECT_EQ(table[index].reserved[0], kUntouched);
        EXPECT_EQ(table[index].reserved[9], kUntouched);
    }
    EXPECT_EQ(table[2].cameraId, kUntouched);
    count = 0;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 5 + onTheBus);
    EXPECT_EQ(Take().back(), EndLine("Zerix_ListCameras"));
}

TEST_F(Lifecycle, ErasesClosedCamerasWhenItLists)
{
    Load();
    AddCamera();
    FakeCamera &open = AddOpenCamera();
    uint32_t count = 0;
    ZerixCameraListItem row = {};
    EXPECT_EQ(Zerix_ListCameras(&row, &count), 0u);
    ASSERT_FALSE(Cameras().empty());
    EXPECT_EQ(Cameras().front(), &open);
    EXPECT_EQ(Take()[1], "Zerix_ListCameras - Found " + std::to_string(count) + " cameras");
}

TEST_F(Lifecycle, OpensNothingOnAnEmptyList)
{
    Load();
    ZerixHandle handle = this;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 11u);
    EXPECT_EQ(Zerix_OpenCamera(0xFFFFFFFFu, &handle), 11u);
    EXPECT_EQ(handle, this);
}

TEST_F(Lifecycle, OpensUpToTheLastIndex)
{
    Load();
    AddCamera();
    FakeCamera &second = AddCamera();
    ZerixHandle handle = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(2, &handle), 11u);
    EXPECT_EQ(Zerix_OpenCamera(1, &handle), 0u);
    EXPECT_EQ(handle, HandleOf(second));
}

TEST_F(Lifecycle, OpensAndClosesWithTheCamerasName)
{
    Load();
    FakeCamera &camera = AddCamera();
    camera.getModelString = "Astrel A1";
    ZerixHandle handle = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_OpenCamera start", "Zerix_OpenCamera - Opened Astrel A1 camera",
                             EndLine("Zerix_OpenCamera")}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_CloseCamera start", "Zerix_CloseCamera - Closed Astrel A1 camera",
                     EndLine("Zerix_CloseCamera")}));
    EXPECT_FALSE(camera.IsCameraOpen());
}

TEST_F(Lifecycle, OpeningAnOpenCameraGivesAnErrorAndTheHandle)
{
    Load();
    FakeCamera &camera = AddOpenCamera();
    ZerixHandle handle = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 11u);
    EXPECT_EQ(handle, HandleOf(camera));
    EXPECT_EQ(Take(),
              (Lines{"Zerix_OpenCamera start", "Zerix_OpenCamera - Camera is already open",
                     EndingLine("Zerix_OpenCamera", "the camera ID used is invalid.", 11)}));
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(Lifecycle, MapsTheStatusOfAFailedOpening)
{
    Load();
    constexpr struct {
        uint16_t status;
        uint32_t error;
    } kExpected[] = {{1, 16}, {7, 30}, {9, 16}, {24, 30}, {25, 15}, {33, 16}};
    for (const auto &row : kExpected) {
        FakeCamera &camera = AddCamera();
        camera.openStatus = row.status;
        ZerixHandle handle = nullptr;
        const auto id = static_cast<uint32_t>(Cameras().size() - 1);
        EXPECT_EQ(Zerix_OpenCamera(id, &handle), row.error) << row.status;
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(camera.GetRefCon(), nullptr);
    }
    // 15 says that the model lacks something: no error.
    EXPECT_EQ(MapCameraStatus(15), 0u);
    EXPECT_EQ(MapCameraStatus(0), 0u);
}

TEST_F(Lifecycle, GivesAnOpenCameraItsContext)
{
    Load();
    FakeCamera &camera = AddCamera();
    camera.getCCDWidth = 32;
    camera.getCCDHeight = 16;
    ZerixHandle handle = nullptr;
    ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    const ZerixContext *context = ContextOf(camera);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->bayerFilter, camera.GetBayerFilter());
    EXPECT_EQ(context->bayerPipeline, camera.GetBayerPipeline());
    EXPECT_EQ(context->ratioCorrection, camera.GetBenchmateRatioCorrectionFilter());
    EXPECT_EQ(context->filterWheel->GetOutputFormat(), 6u);
    EXPECT_EQ(context->queueCount.load(), 0u);
    EXPECT_FALSE(context->isPostProcessingOn.load());
    EXPECT_EQ(context->cachedSettings.size, 276u);
    EXPECT_EQ(tables::GetMagic(&context->cachedSettings, true), 0u);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(camera.GetRefCon(), nullptr);
    // A closed camera opens again, with a new context.
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    EXPECT_NE(ContextOf(camera), nullptr);
}

TEST_F(Lifecycle, ClosesOnlyWhatItHolds)
{
    Load();
    FakeCamera &camera = AddCamera();
    // A closed camera has no exclusive access either, and that is tested first.
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(camera)), 9u);
    EXPECT_EQ(Take(), (Lines{"Zerix_CloseCamera start",
                             "Zerix_CloseCamera - Another process has this camera open.",
                             EndingLine("Zerix_CloseCamera", "error string not defined yet", 9)}));
    camera.isHeldByAnother = true;
    camera.OpenCamera();
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(camera)), 9u);
    EXPECT_EQ(camera.closes, 0u);
}

TEST_F(Lifecycle, AReleaseClosesTheCamerasThatStandOpen)
{
    Load();
    AddOpenCamera();
    AddCamera();
    Zerix_ReleaseDriver();
    EXPECT_TRUE(Cameras().empty());
}

TEST_F(Lifecycle, AcceptsAndIgnoresAnUnpluggedCallback)
{
    Load();
    EXPECT_EQ(Zerix_RegisterUnpluggedCallback(nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(Zerix_RegisterUnpluggedCallback(
                  this, [](void *) { ADD_FAILURE(); }, this),
              0u);
}

TEST_F(Lifecycle, ForwardsTheFactoryDoor)
{
    Load();
    FakeCamera &camera = AddCamera();
    uint32_t word = 5;
    const auto buffer = reinterpret_cast<uintptr_t>(&word);
    EXPECT_EQ(_Zerix_factory_reserved0(HandleOf(camera), 3, buffer, 4, 0xABCD), 0u);
    EXPECT_EQ(camera.setReserved0Arguments[0], 3u);
    EXPECT_EQ(camera.setReserved0Buffer, &word);
    EXPECT_EQ(camera.setReserved0Arguments[1], 4u);
    EXPECT_EQ(camera.setReserved0Arguments[2], 0xABCDu);
    for (const uint16_t status : {uint16_t{15}, uint16_t{9}}) {
        camera.setReserved0Status = status;
        EXPECT_EQ(_Zerix_factory_reserved0(HandleOf(camera), 0, 0, 0, 0), 1u) << status;
    }
}

} // namespace
} // namespace zerix::api
