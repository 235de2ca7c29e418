// Grabbing frames from virtual cameras: the frame's fields, faults on the bus, post-processing.
#include <algorithm>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "api/context.h"
#include "image/z_image_filter.h"
#include "tests/api/virtual_bus_session.h"
#include "tests/support/standard_output_capture.h"

namespace zerix::api {
namespace {

constexpr uint8_t kPoison = 0xA5;
constexpr uint32_t kLineSize = 1024 * 58;

// A sensor of few lines, which is quick to expose.
const char *const kLineRack = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:2000\"\n";

class VirtualGrab : public VirtualBusSession {
protected:
    // The buffer holds so many bytes, with a guard behind them.
    void PrepareFrame(uint32_t size)
    {
        pixels.assign(size + 16, kPoison);
        frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = size;
    }

    bool IsGuardWhole() const
    {
        return std::all_of(pixels.end() - 16, pixels.end(),
                           [](uint8_t byte) { return byte == kPoison; });
    }

    // Opens the one camera of a rack. It begins no more frames than are given.
    ZerixHandle OpenWithFrames(const std::string &rack, uint32_t frames)
    {
        UseRack(rack);
        const ZerixHandle handle = LoadAndOpen(0);
        EXPECT_EQ(ZerixSim_GiveCredit(0, frames), 0u);
        return handle;
    }

    // The error code of the frame that comes with such a fault. Of several frames the last one that
    // is there in time is taken, so there must be no more than it takes to get one.
    uint32_t ErrorCodeWith(const char *fault, uint32_t frames)
    {
        const ZerixHandle handle = OpenWithFrames(kLineRack, frames);
        PrepareFrame(kLineSize);
        EXPECT_EQ(ZerixSim_InjectFault(0, fault), 0u) << ZerixSim_LastErrorText();
        EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        EXPECT_EQ(frame.filled, 1u);
        EXPECT_EQ(frame.size, kLineSize);
        Zerix_ReleaseDriver();
        return frame.errorCode;
    }

    std::vector<uint8_t> pixels;
    Zerix_Frame frame = {};
};

TEST_F(VirtualGrab, FillsTheFrameOfAMonochromeCamera)
{
    const ZerixHandle handle = LoadAndOpen(0);
    ZerixSim_GiveCredit(0, 1);
    PrepareFrame(1392 * 1040);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.pBuffer, pixels.data());
    EXPECT_EQ(frame.bufferSize, 1'447'680u);
    EXPECT_EQ(frame.format, 0u); // nothing was read or sent yet
    EXPECT_EQ(frame.width, 1392u);
    EXPECT_EQ(frame.height, 1040u);
    EXPECT_EQ(frame.size, 1'447'680u);
    EXPECT_EQ(frame.bitDepth, 8);
    EXPECT_EQ(frame.frameNumber, 0);
    EXPECT_EQ(frame.bayerPattern, 0u);
    EXPECT_EQ(frame.errorCode, 0u);
    EXPECT_EQ(frame.camera, handle);
    EXPECT_EQ(frame.binning, 1u);
    EXPECT_EQ(frame.isLvw, 0u);
    EXPECT_EQ(frame.colourPattern, 0u);
    EXPECT_EQ(frame.filled, 1u);
    EXPECT_TRUE(IsGuardWhole());
    EXPECT_FALSE(CameraOf(handle)->IsCameraStreaming());
}

// GRBG: 6 in the image, 1 in the frame. Once the settings have been read, the format is known.
TEST_F(VirtualGrab, FillsTheFrameOfAColourCamera)
{
    const ZerixHandle handle = LoadAndOpen(1);
    ZerixSim_GiveCredit(1, 1);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    PrepareFrame(1600 * 1200);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.format, 4u);
    EXPECT_EQ(frame.width, 1600u);
    EXPECT_EQ(frame.height, 1200u);
    EXPECT_EQ(frame.size, 1'920'000u);
    EXPECT_EQ(frame.bayerPattern, 1u);
    EXPECT_EQ(frame.colourPattern, 6u);
    EXPECT_TRUE(IsGuardWhole());
}

TEST_F(VirtualGrab, CountsTheFramesAndTheirTime)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    PrepareFrame(kLineSize);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    const Zerix_Frame first = frame;
    ZerixSim_GiveCredit(0, 1);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.frameNumber, first.frameNumber + 1);
    EXPECT_GE(frame.timeStamp, first.timeStamp);
}

TEST_F(VirtualGrab, FollowsTheCamerasBinningAndDepth)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    ASSERT_EQ(CameraOf(handle)->SetSymmetricalBinning(2), 0u);
    ASSERT_EQ(CameraOf(handle)->SetBitDepth(14), 0u);
    PrepareFrame(512 * 29 * 2);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.width, 512u);
    EXPECT_EQ(frame.height, 29u);
    EXPECT_EQ(frame.size, 29'696u);
    EXPECT_EQ(frame.bitDepth, 14);
    EXPECT_EQ(frame.binning, 2u);
    EXPECT_TRUE(IsGuardWhole());
}

TEST_F(VirtualGrab, RefusesABufferOneByteTooSmall)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    PrepareFrame(kLineSize);
    frame.bufferSize = kLineSize - 1;
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 18u);
    EXPECT_EQ(
        Take(),
        (Lines{"Zerix_GrabFrame start",
               EndingLine("Zerix_GrabFrame",
                          "the size of pBuffer in the Zerix_Frame structure is too small.", 18)}));
    EXPECT_EQ(frame.filled, 0u);
    EXPECT_EQ(pixels, std::vector<uint8_t>(kLineSize + 16, kPoison));
    frame.bufferSize = kLineSize;
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
}

TEST_F(VirtualGrab, IsBusyWhileFramesAreQueued)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    PrepareFrame(kLineSize);
    ContextOf(*CameraOf(handle))->queueCount = 1;
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 21u);
    ContextOf(*CameraOf(handle))->queueCount = 0;
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
}

// Whatever a packet lacks is black, and the frame says so.
TEST_F(VirtualGrab, TellsOfMissingData)
{
    EXPECT_EQ(ErrorCodeWith("lose packet at frame 1 packet 5", 1), 26u);
    EXPECT_NE(std::search_n(pixels.begin(), pixels.end() - 16, 1000, uint8_t{0}),
              pixels.end() - 16);
    for (const char *const fault :
         {"cut packet at frame 1 packet 5", "bad trailer at frame 1 packet 5",
          "bad marker at frame 1 packet 5", "double packet at frame 1 packet 5",
          "reorder packet at frame 1 packet 5"})
        EXPECT_EQ(ErrorCodeWith(fault, 1), 26u) << fault;
}

// The picture of a turning wheel has the error of its red exposure, whose blue one is whole.
TEST_F(VirtualGrab, TellsOfDataMissingInOneOfAWheelsExposures)
{
    const ZerixHandle handle =
        OpenWithFrames("[[camera]]\nmodel = 5\nsensor = 11\nscene = \"flat:2000\"\n", 0);
    ASSERT_EQ(ZerixSim_GiveCreditPerStream(0, 3), 0u); // one picture
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    ASSERT_EQ(Zerix_SetParam(&settings, zprmImageFormat, zfmtRgb24), 0u);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    for (uint32_t exposure = 1; exposure <= 3; ++exposure) {
        SCOPED_TRACE(exposure);
        PrepareFrame(3 * kLineSize);
        const std::string fault = "lose packet at frame " + std::to_string(exposure) + " packet 3";
        ASSERT_EQ(ZerixSim_InjectFault(0, fault.c_str()), 0u) << ZerixSim_LastErrorText();
        ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        EXPECT_EQ(frame.errorCode, 26u);
        ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        EXPECT_EQ(frame.errorCode, 0u);
    }
    Zerix_ReleaseCameraSettingsStruct(&settings);
}

// A wrong byte is nobody's to see; a frame without its beginning, or with a tag that no setting
// has, is no frame, and the next one comes instead.
TEST_F(VirtualGrab, TakesTheNextFrameForOneThatIsNone)
{
    EXPECT_EQ(ErrorCodeWith("corrupt packet at frame 1 packet 5", 1), 0u);
    EXPECT_EQ(frame.frameNumber, 0);
    EXPECT_EQ(ErrorCodeWith("lose packet at frame 1 packet 1", 2), 0u);
    EXPECT_EQ(frame.frameNumber, 1);
    EXPECT_EQ(ErrorCodeWith("wrong tag at frame 1", 2), 0u);
    EXPECT_EQ(frame.frameNumber, 1);
}

// In the oldest stream format a packet is four numbered sub-packets of 256: sixty-four lost ones in
// a row leave no trace in the numbers, and the frame is cut by the beginning of the next.
TEST_F(VirtualGrab, TellsOfACutFrame)
{
    const ZerixHandle handle = OpenWithFrames(
        "[[camera]]\nmodel = 18\nsensor = 78\nstream-format = 0\nscene = \"flat:2000\"\n", 2);
    const auto lose = [](uint32_t number, uint32_t first, uint32_t last) {
        for (uint32_t packet = first; packet <= last; ++packet) {
            const std::string fault = "lose packet at frame " + std::to_string(number) +
                                      " packet " + std::to_string(packet);
            ASSERT_EQ(ZerixSim_InjectFault(0, fault.c_str()), 0u);
        }
    };
    lose(1, 10, 73);
    lose(2, 2, 200); // only the beginning of the next frame is wanted
    PrepareFrame(512 * 512);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.errorCode, 25u);
    EXPECT_EQ(frame.frameNumber, 0);
    // What never came is black.
    EXPECT_EQ(std::count(pixels.end() - 16 - 60'000, pixels.end() - 16, 0), 60'000);
}

TEST_F(VirtualGrab, EndsWhenTheCameraIsUnplugged)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    PrepareFrame(kLineSize);
    ASSERT_EQ(ZerixSim_InjectFault(0, "unplug at frame 1 packet 5"), 0u);
    const test::StandardOutputCapture output;
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 16u);
    EXPECT_EQ(Take(), (Lines{"Zerix_GrabFrame start",
                             EndingLine("Zerix_GrabFrame",
                                        "general internal error occurred (driver fault).", 16)}));
    EXPECT_EQ(frame.filled, 0u);
    EXPECT_TRUE(IsGuardWhole());
    // What the library knows of the camera still answers; what asks the camera fails.
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcd, &value), 0u);
    EXPECT_EQ(value, 11u);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 16u);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    EXPECT_EQ(List(), 0u);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    EXPECT_EQ(List(), 1u);
    const ZerixHandle again = OpenListed(0);
    ZerixSim_GiveCredit(0, 1);
    EXPECT_EQ(Zerix_GrabFrame(again, &frame), 0u);
    EXPECT_EQ(frame.filled, 1u);
}

// Makes three bytes of each.
class TriplingFilter final : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *in, ZX::ZOutImageBufferStruct *out) override
    {
        for (uint32_t index = 0; index < in->size * 3; ++index)
            out->pBuffer[index] = in->pBuffer[index / 3];
        out->size = in->size * 3;
        out->width = in->width;
        out->height = in->height;
        out->imageFormat = zfmtRgb24;
        return ZX::kFilterOk;
    }
    int16_t Init(uint32_t, uint32_t) override { return ZX::kFilterOk; }
    int16_t SetOutputFormat(uint32_t) override { return ZX::kFilterOk; }
    uint32_t GetNeededOutputBufferSize(ZX::ZInImageBufferStruct *in) override
    {
        return in->size * 3;
    }
};

// The processed image goes to the application, where its buffer has room for all of it.
TEST_F(VirtualGrab, PostProcessesIntoALargerImage)
{
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    ZerixContext &context = *ContextOf(*CameraOf(handle));
    TriplingFilter filter;
    context.postProcessingPipeline->AddFilter(&filter);
    context.isPostProcessingOn = true;
    PrepareFrame(3 * kLineSize);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.format, 12u);
    EXPECT_EQ(frame.width, 1024u);
    EXPECT_EQ(frame.height, 58u);
    EXPECT_EQ(frame.size, 178'176u);
    EXPECT_TRUE(IsGuardWhole());
    // The camera's own image would fit, and it isn't the one to be copied.
    ZerixSim_GiveCredit(0, 1);
    PrepareFrame(kLineSize);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 18u);
    EXPECT_EQ(frame.filled, 0u);
    EXPECT_EQ(pixels, std::vector<uint8_t>(kLineSize + 16, kPoison));
    // Raw formats are left as they come.
    tables::SetSlot32(&context.cachedSettings, zprmImageFormat, zfmtRaw8);
    ZerixSim_GiveCredit(0, 1);
    EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    EXPECT_EQ(frame.size, 59'392u);
    EXPECT_EQ(frame.format, 0u);
    context.postProcessingPipeline->RemoveFilter(&filter);
}

// A live connection has no time-out to set, and the door shuts on that.
TEST_F(VirtualGrab, TheFactoryDoorIsShutOnALiveConnection)
{
    const ZerixHandle handle = LoadAndOpen(0);
    const test::StandardOutputCapture output;
    std::vector<uint32_t> words(18, kPatternWord);
    for (const uint32_t operation : {1u, 2u, 3u})
        EXPECT_EQ(_Zerix_factory_reserved0(handle, operation,
                                           reinterpret_cast<uintptr_t>(words.data()), 18, 0),
                  1u);
    EXPECT_EQ(words, std::vector<uint32_t>(18, kPatternWord));
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "_Zerix_factory_reserved0 start");
    EXPECT_EQ(lines[1], EndingLine("_Zerix_factory_reserved0",
                                   "the function is not supported for this device.", 1));
}

TEST_F(VirtualGrab, AFrameIsInTheLog)
{
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    const ZerixHandle handle = OpenWithFrames(kLineRack, 1);
    PrepareFrame(kLineSize);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    char address[32];
    std::snprintf(address, sizeof(address), "%llx",
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pixels.data())));
    EXPECT_EQ(Take(), (Lines{"Zerix_GrabFrame start",
                             "Zerix_Frame structure:", "pBuffer: " + std::string(address),
                             "Buffer size: 59392", "Format: 0", "Width: 1024", "Height: 58",
                             "Size: 59392", "Bit Depth: 8", "Frame Number: 0", "Bayer Pattern: 0",
                             "Error Code: 0", "Time Stamp: " + std::to_string(frame.timeStamp),
                             EndLine("Zerix_GrabFrame")}));
}

} // namespace
} // namespace zerix::api
