// A whole session with a virtual camera, as the trace log tells it.
#include <string>

#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"

namespace zerix::api {
namespace {

void RunSession(Zerix_Frame &frame)
{
    ZerixCameraListItem table[2];
    uint32_t count = 2;
    ZerixHandle handle = nullptr;
    uint32_t value = 0;
    char text[32];
    Zerix_LoadDriver();
    Zerix_ListCameras(table, &count);
    Zerix_OpenCamera(0, &handle);
    Zerix_OpenCamera(0, &handle);
    Zerix_GetSerialString(handle, text, sizeof(text));
    Zerix_GetInfo(handle, zinfBitDepth, &value);
    Zerix_GetInfo(handle, zinfIntensifierModel, &value);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    Zerix_InitializeCameraSettings(handle, &settings);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    ZerixSim_GiveCredit(0, 1);
    Zerix_GrabFrame(handle, &frame);
    Zerix_CloseCamera(handle);
    Zerix_CloseCamera(handle);
    Zerix_ReleaseDriver();
}

const Lines kSession = {
    "Zerix_LoadDriver start",
    "Zerix_LoadDriver end (error code 0)\n\n",
    "Zerix_ListCameras start",
    "Zerix_ListCameras - Found 1 cameras",
    "Zerix_ListCameras end (error code 0)\n\n",
    "Zerix_OpenCamera start",
    "Zerix_OpenCamera - Opened Astrel C2 camera",
    "Zerix_OpenCamera end (error code 0)\n\n",
    "Zerix_OpenCamera start",
    "Zerix_OpenCamera - Camera is already open",
    "Zerix_OpenCamera ending because the camera ID used is invalid. (error 11)\n\n",
    "Zerix_GetSerialString start",
    "Zerix_GetSerialString - Serial: ZX-1",
    "Zerix_GetSerialString end (error code 0)\n\n",
    "Zerix_GetInfo start (zinfBitDepth)",
    "Zerix_GetInfo end (error code 0)\n\n",
    "Zerix_GetInfo start (zinfIntensifierModel)",
    "Zerix_GetInfo ending because the function is not supported for this device. (error 1)\n\n",
    "Zerix_ReadDefaultSettings start",
    "Zerix_ReadDefaultSettings end (error code 0)\n\n",
    "Zerix_GrabFrame start",
    "Zerix_GrabFrame end (error code 0)\n\n",
    "Zerix_CloseCamera start",
    "Zerix_CloseCamera - Closed Astrel C2 camera",
    "Zerix_CloseCamera end (error code 0)\n\n",
    "Zerix_CloseCamera start",
    "Zerix_CloseCamera - Another process has this camera open.",
    "Zerix_CloseCamera ending because error string not defined yet (error 9)\n\n",
    "Zerix_ReleaseDriver start",
    "Zerix_ReleaseDriver end (error code 0)\n\n",
};

class VirtualSession : public VirtualBusSession {
protected:
    void SetUp() override
    {
        VirtualBusSession::SetUp();
        UseRack("[[camera]]\nmodel = 18\nsensor = 11\nserial = \"ZX-1\"\n");
        frame.pBuffer = pixels.data();
        frame.bufferSize = static_cast<uint32_t>(pixels.size());
    }

    std::vector<uint8_t> pixels = std::vector<uint8_t>(1024 * 58);
    Zerix_Frame frame = {};
};

TEST_F(VirtualSession, IsInTheLog)
{
    RunSession(frame);
    EXPECT_EQ(Take(), kSession);
    EXPECT_EQ(frame.filled, 1u);
}

// Each message with its time before it and a zero byte behind it, and the separator at the end.
TEST_F(VirtualSession, IsInTheLogFile)
{
    Configure("outputEnabled = 1\noutputToFile = 1\noutputFilePath = " + folder.Path() + "/log\n");
    RunSession(frame);
    std::string expected;
    for (const std::string &line : kSession)
        expected += "00:00.000 " + line + '\0';
    expected += std::string("\n------------------------------------------------\n\n") + '\0';
    EXPECT_EQ(folder.ReadText("log"), expected);
    EXPECT_EQ(Take(), Lines{});
}

} // namespace
} // namespace zerix::api
