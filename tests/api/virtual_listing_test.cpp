// Listing, opening, closing and releasing cameras of the virtual bus.
#include <cstring>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/virtual_bus_session.h"

namespace zerix::api {
namespace {

using HeldOnTheBus = std::vector<uint32_t>;
const HeldOnTheBus kNothing(7);

class VirtualListing : public VirtualBusSession {
protected:
    // Fourteen words a row, all of the pattern.
    VirtualListing() { std::memset(table, 0xA5, sizeof(table)); }

    void ExpectUntouched(uint32_t row)
    {
        for (uint32_t word = 0; word < 14; ++word) {
            uint32_t value = 0;
            std::memcpy(&value, reinterpret_cast<uint8_t *>(&table[row]) + 4 * word, 4);
            EXPECT_EQ(value, kPatternWord) << row << ' ' << word;
        }
    }

    void ExpectRow(uint32_t row, uint32_t type, uint32_t uniqueId, uint32_t isOpen)
    {
        EXPECT_EQ(table[row].cameraId, row);
        EXPECT_EQ(table[row].cameraType, type) << row;
        EXPECT_EQ(table[row].uniqueId, uniqueId) << row;
        EXPECT_EQ(table[row].isOpen, isOpen) << row;
        for (const uint32_t reserved : table[row].reserved)
            EXPECT_EQ(reserved, kPatternWord) << row;
    }

    ZerixCameraListItem table[4];
};

TEST_F(VirtualListing, TellsEveryCameraOfTheBus)
{
    Load();
    uint32_t count = 4;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 3u);
    ExpectRow(0, 18, 0x18, 0);
    ExpectRow(1, 19, 0x19, 0);
    ExpectRow(2, 12, 0x12, 0);
    ExpectUntouched(3);
    EXPECT_EQ(Take(), (Lines{"Zerix_ListCameras start", "Zerix_ListCameras - Found 3 cameras",
                             EndLine("Zerix_ListCameras")}));
    EXPECT_EQ(WhatIsHeld(), kNothing);
}

TEST_F(VirtualListing, WritesNoRowForACountOfZero)
{
    Load();
    uint32_t count = 0;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 3u);
    ExpectUntouched(0);
}

TEST_F(VirtualListing, FillsTwoRowsOfThreeAndTellsThree)
{
    Load();
    uint32_t count = 2;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 3u);
    ExpectRow(0, 18, 0x18, 0);
    ExpectRow(1, 19, 0x19, 0);
    ExpectUntouched(2);
}

// An open camera moves to the front: the closed ones are erased and found anew behind it.
TEST_F(VirtualListing, KeepsAnOpenCameraAndLeavesItsIdentifierUnwritten)
{
    const ZerixHandle handle = LoadAndOpen(1);
    uint32_t count = 4;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 3u);
    ExpectRow(0, 19, kPatternWord, 1);
    ExpectRow(1, 18, 0x18, 0);
    ExpectRow(2, 12, 0x12, 0);
    ZerixHandle again = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &again), 11u);
    EXPECT_EQ(again, handle);
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCameraType, &value), 0u);
    EXPECT_EQ(value, 19u);
}

TEST_F(VirtualListing, ListsAClosedCameraOnce)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(List(), 3u);
    EXPECT_EQ(Cameras().size(), 3u);
    EXPECT_EQ(OpenListed(0), static_cast<ZX::ZCamera *>(Cameras()[0]));
}

TEST_F(VirtualListing, FollowsWhatIsPluggedIn)
{
    Load();
    ASSERT_EQ(ZerixSim_Unplug(1), 0u);
    EXPECT_EQ(List(), 2u);
    ASSERT_EQ(ZerixSim_Plug(1), 0u);
    EXPECT_EQ(List(), 3u);
    for (const uint32_t camera : {0u, 1u, 2u})
        ASSERT_EQ(ZerixSim_Unplug(camera), 0u);
    EXPECT_EQ(List(), 0u);
    ZerixHandle handle = this;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 11u);
    EXPECT_EQ(handle, this);
}

TEST_F(VirtualListing, SkipsACameraOfAnotherProcess)
{
    UseRack("[[camera]]\nmodel = 18\nin-use = true\n[[camera]]\nmodel = 19\n");
    Load();
    uint32_t count = 4;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(table[0].cameraType, 19u);
    ExpectUntouched(1);
}

// The cameras before the failure are in the table. Each of the three is connected once to be found,
// and the first twice to be set up, before the second has its turn.
TEST_F(VirtualListing, FillsTheTableEvenWhereItFails)
{
    Load();
    tap.FailRequest(kernel::kControlAllocateBandwidth, kernel::kErrorGenFailure, 5);
    testing::internal::CaptureStdout();
    uint32_t count = 4;
    EXPECT_EQ(Zerix_ListCameras(table, &count), 30u);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(count, 1u);
    ExpectRow(0, 18, 0x18, 0);
    ExpectUntouched(1);
    EXPECT_EQ(Take(), (Lines{"Zerix_ListCameras start", "Zerix_ListCameras - Found 1 cameras",
                             EndingLine("Zerix_ListCameras", "error string not defined yet", 30)}));
}

TEST_F(VirtualListing, OpensUpToTheLastIdentifier)
{
    Load();
    List();
    ZerixHandle handle = this;
    EXPECT_EQ(Zerix_OpenCamera(3, &handle), 11u);
    EXPECT_EQ(handle, this);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_OpenCamera start",
                     EndingLine("Zerix_OpenCamera", "the camera ID used is invalid.", 11)}));
    EXPECT_EQ(Zerix_OpenCamera(2, &handle), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_OpenCamera start", "Zerix_OpenCamera - Opened Astrel C1 camera",
                             EndLine("Zerix_OpenCamera")}));
}

TEST_F(VirtualListing, OpeningTwiceGivesAnErrorAndAUsableHandle)
{
    const ZerixHandle first = LoadAndOpen(0);
    ZerixHandle second = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &second), 11u);
    EXPECT_EQ(second, first);
    char serial[32] = "";
    EXPECT_EQ(Zerix_GetSerialString(second, serial, sizeof(serial)), 0u);
    EXPECT_STREQ(serial, "ZV-C2-2019-0018");
    EXPECT_EQ(WhatIsHeld()[0], 1u);
}

TEST_F(VirtualListing, ClosesInAnyOrder)
{
    Load();
    List();
    const ZerixHandle handles[3] = {OpenListed(0), OpenListed(1), OpenListed(2)};
    EXPECT_EQ(WhatIsHeld()[0], 3u);
    for (const uint32_t index : {1u, 2u, 0u})
        EXPECT_EQ(Zerix_CloseCamera(handles[index]), 0u) << index;
    EXPECT_EQ(WhatIsHeld(), kNothing);
    for (const uint32_t index : {2u, 0u, 1u})
        EXPECT_EQ(OpenListed(index), handles[index]);
    for (const uint32_t index : {0u, 1u, 2u})
        EXPECT_EQ(Zerix_CloseCamera(handles[index]), 0u) << index;
    EXPECT_EQ(WhatIsHeld(), kNothing);
}

// A closed camera's object stands in the list until the next listing: the calls still answer.
TEST_F(VirtualListing, AClosedHandleAnswersAndOpensAgain)
{
    const ZerixHandle handle = LoadAndOpen(0);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_CloseCamera start", "Zerix_CloseCamera - Closed Astrel C2 camera",
                     EndLine("Zerix_CloseCamera")}));
    EXPECT_EQ(CameraOf(handle)->GetRefCon(), nullptr);
    uint32_t value = 77;
    Zerix_Frame frame = {};
    Zerix_Settings settings = {};
    char text[32] = "";
    EXPECT_EQ(Zerix_CloseCamera(handle), 9u);
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcd, &value), 9u);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 9u);
    EXPECT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 9u);
    EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 9u);
    EXPECT_EQ(Zerix_GetSerialString(handle, text, sizeof(text)), 9u);
    EXPECT_EQ(Zerix_GetCameraModelString(handle, text, sizeof(text)), 9u);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(OpenListed(0), handle);
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcd, &value), 0u);
    EXPECT_EQ(value, 6u);
}

TEST_F(VirtualListing, ClosesWhileTheCameraStreams)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ZX::ZCamera &camera = *CameraOf(handle);
    ASSERT_EQ(
        camera.StartStreamingImages(
            [](ZX::ZImageReceivedCallbackStruct *record) { ZX::ZCamera::FreeImage(record->image); },
            [](void *) {}, false, &camera),
        0u);
    EXPECT_NE(WhatIsHeld()[6], 0u);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(WhatIsHeld(), kNothing);
    EXPECT_EQ(OpenListed(0), handle);
    EXPECT_FALSE(camera.IsCameraStreaming());
}

TEST_F(VirtualListing, AReleaseLeavesNothingOfOpenCameras)
{
    Load();
    List();
    for (const uint32_t index : {0u, 1u, 2u})
        OpenListed(index);
    ZX::ZCamera &camera = *Cameras()[1];
    ASSERT_EQ(
        camera.StartStreamingImages(
            [](ZX::ZImageReceivedCallbackStruct *record) { ZX::ZCamera::FreeImage(record->image); },
            nullptr, false, &camera),
        0u);
    Zerix_ReleaseDriver();
    EXPECT_TRUE(Cameras().empty());
    EXPECT_EQ(WhatIsHeld(), kNothing);
    EXPECT_EQ(Take(), (Lines{"Zerix_ReleaseDriver start", EndLine("Zerix_ReleaseDriver")}));
    // All of it again.
    Load();
    EXPECT_EQ(List(), 3u);
    OpenListed(2);
}

TEST_F(VirtualListing, LoadingTwiceLeavesTheCamerasAlone)
{
    const ZerixHandle handle = LoadAndOpen(0);
    EXPECT_EQ(Zerix_LoadDriver(), 7u);
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcd, &value), 0u);
    EXPECT_EQ(value, 6u);
    Zerix_ReleaseDriver();
    EXPECT_EQ(WhatIsHeld(), kNothing);
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
}

TEST_F(VirtualListing, MapsTheStatusOfARefusedOpening)
{
    Load();
    List();
    constexpr struct {
        uint32_t code;
        uint32_t error;
        const char *phrase;
    } kExpected[] = {
        {kernel::kControlAllocateBandwidth, 30, "error string not defined yet"},
        {kernel::kControlAllocateChannel, 16, "general internal error occurred (driver fault)."},
        {kernel::kControlIsOpen, 16, "general internal error occurred (driver fault)."},
    };
    for (const auto &row : kExpected) {
        tap.FailRequest(row.code, kernel::kErrorGenFailure);
        testing::internal::CaptureStdout();
        ZerixHandle handle = this;
        EXPECT_EQ(Zerix_OpenCamera(0, &handle), row.error) << row.code;
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(handle, this);
        EXPECT_EQ(Take(), (Lines{"Zerix_OpenCamera start",
                                 EndingLine("Zerix_OpenCamera", row.phrase, row.error)}));
        EXPECT_EQ(Cameras()[0]->GetRefCon(), nullptr);
        EXPECT_EQ(WhatIsHeld(), kNothing);
    }
    EXPECT_NE(OpenListed(0), nullptr);
}

// It is open without access: opening gives no handle the first time and one the second, and every
// call that needs the device says whose fault it is.
TEST_F(VirtualListing, ACameraThatAnotherProcessHoldsIsOpenAndRefused)
{
    Load();
    List();
    tap.PretendInUse(true);
    ZerixHandle handle = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 16u);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(Zerix_OpenCamera(0, &handle), 11u);
    ASSERT_EQ(handle, static_cast<ZX::ZCamera *>(Cameras()[0]));
    Take();
    uint32_t value = 77;
    Zerix_Frame frame = {};
    Zerix_Settings settings = {};
    char text[32] = "";
    const struct {
        const char *name;
        const char *start;
        uint32_t error;
    } kCalls[] = {
        {"Zerix_CloseCamera", " start", Zerix_CloseCamera(handle)},
        {"Zerix_GetInfo", " start (zinfCcd)", Zerix_GetInfo(handle, zinfCcd, &value)},
        {"Zerix_GrabFrame", " start", Zerix_GrabFrame(handle, &frame)},
        {"Zerix_ReadDefaultSettings", " start", Zerix_ReadDefaultSettings(handle, &settings)},
        {"Zerix_ReadSettingsFromCam", " start", Zerix_ReadSettingsFromCam(handle, &settings)},
        {"Zerix_GetSerialString", " start", Zerix_GetSerialString(handle, text, 32)},
        {"Zerix_GetCameraModelString", " start", Zerix_GetCameraModelString(handle, text, 32)},
    };
    Lines expected;
    for (const auto &call : kCalls) {
        EXPECT_EQ(call.error, 9u) << call.name;
        expected.push_back(std::string(call.name) + call.start);
        expected.push_back(std::string(call.name) + " - Another process has this camera open.");
        expected.push_back(EndingLine(call.name, "error string not defined yet", 9));
    }
    EXPECT_EQ(Take(), expected);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(settings.size, 0u);
    EXPECT_EQ(WhatIsHeld(), kNothing);
}

} // namespace
} // namespace zerix::api
