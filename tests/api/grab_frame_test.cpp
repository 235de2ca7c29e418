// Grabbing one frame: its checks, the frame's fields, and the application's buffer.
#include <vector>

#include <gtest/gtest.h>

#include "api/context.h"
#include "image/z_ex_image.h"
#include "tests/api/api_fixture.h"
#include "tests/api/marking_filter.h"

namespace zerix::api {
namespace {

struct ImageFacts {
    uint32_t size = 12;
    uint32_t format = 2;
    uint16_t colourPattern = 5;
    uint16_t error = 0;
};

class GrabFrame : public ApiTest {
protected:
    void SetUp() override
    {
        Load();
        camera = &AddOpenCamera();
        camera->getImageSize = 12;
        frame.pBuffer = buffer.data();
        frame.bufferSize = static_cast<uint32_t>(buffer.size());
    }

    // The image that the camera gives next: bytes 1, 2, 3 and so on.
    void Prepare(const ImageFacts &facts)
    {
        uint8_t *const data = ZX::ZExImage::AllocateBuffer(facts.size);
        for (uint32_t index = 0; index < facts.size; ++index)
            data[index] = static_cast<uint8_t>(index + 1);
        camera->nextImage = new ZX::ZExImage(data, facts.size, 4, 3, 10, 5'000, 1.5, facts.format,
                                             1, facts.colourPattern, 3, false, 5, 0, 2, true,
                                             65'535, facts.error, HandleOf(*camera), true, 777);
    }

    void SetCachedFormat(uint32_t format)
    {
        tables::SetSlot32(&ContextOf(*camera)->cachedSettings, zprmImageFormat, format);
    }

    uint32_t Grab() { return Zerix_GrabFrame(HandleOf(*camera), &frame); }

    FakeCamera *camera = nullptr;
    std::vector<uint8_t> buffer = std::vector<uint8_t>(12);
    Zerix_Frame frame = {};
};

TEST_F(GrabFrame, FillsEveryField)
{
    Prepare({});
    SetCachedFormat(3);
    EXPECT_EQ(Grab(), 0u);
    EXPECT_EQ(buffer, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(frame.format, 2u);
    EXPECT_EQ(frame.width, 4u);
    EXPECT_EQ(frame.height, 3u);
    EXPECT_EQ(frame.size, 12u);
    EXPECT_EQ(frame.bitDepth, 10);
    EXPECT_EQ(frame.frameNumber, 65'535);
    EXPECT_EQ(frame.bayerPattern, 0u);
    EXPECT_EQ(frame.errorCode, 0u);
    EXPECT_EQ(frame.timeStamp, 777u);
    EXPECT_EQ(frame.camera, HandleOf(*camera));
    EXPECT_EQ(frame.binning, 2u);
    EXPECT_EQ(frame.isLvw, 1u);
    EXPECT_EQ(frame.colourPattern, 5u);
    EXPECT_EQ(frame.filled, 1u);
}

TEST_F(GrabFrame, TakesARawFormatFromTheSettings)
{
    for (const uint32_t format : {0u, 1u}) {
        Prepare({.format = 4});
        SetCachedFormat(format);
        EXPECT_EQ(Grab(), 0u);
        EXPECT_EQ(frame.format, format);
    }
    Prepare({.format = 4});
    SetCachedFormat(2);
    EXPECT_EQ(Grab(), 0u);
    EXPECT_EQ(frame.format, 4u);
}

TEST_F(GrabFrame, TranslatesTheMosaicAndTheImagesError)
{
    constexpr struct {
        uint16_t pattern;
        uint32_t bayer;
        uint16_t imageError;
        uint32_t frameError;
    } kExpected[] = {{5, 0, 18, 26}, {6, 1, 19, 25}, {7, 2, 20, 18}, {8, 3, 21, 23},
                     {9, 0, 22, 0},  {0, 0, 0, 0},   {3, 0, 17, 0},  {4, 0, 26, 0}};
    for (const auto &row : kExpected) {
        Prepare({.colourPattern = row.pattern, .error = row.imageError});
        EXPECT_EQ(Grab(), 0u);
        EXPECT_EQ(frame.bayerPattern, row.bayer) << row.pattern;
        EXPECT_EQ(frame.colourPattern, row.pattern);
        EXPECT_EQ(frame.errorCode, row.frameError) << row.imageError;
    }
}

TEST_F(GrabFrame, ChecksInItsOrder)
{
    EXPECT_EQ(Zerix_GrabFrame(HandleOf(*camera), nullptr), 2u);
    FakeCamera &closed = AddCamera();
    EXPECT_EQ(Zerix_GrabFrame(HandleOf(closed), nullptr), 2u);
    EXPECT_EQ(Zerix_GrabFrame(HandleOf(closed), &frame), 9u);
    closed.isHeldByAnother = true;
    closed.OpenCamera();
    EXPECT_EQ(Zerix_GrabFrame(HandleOf(closed), &frame), 9u);
    EXPECT_EQ(frame.filled, 0u);
}

TEST_F(GrabFrame, IsBusyWhileFramesAreQueued)
{
    frame.bufferSize = 0;
    ContextOf(*camera)->queueCount = 1;
    EXPECT_EQ(Grab(), 21u);
    ContextOf(*camera)->queueCount = 0;
    EXPECT_EQ(Grab(), 18u);
}

TEST_F(GrabFrame, RefusesABufferBelowTheCamerasImage)
{
    Prepare({});
    frame.bufferSize = 11;
    EXPECT_EQ(Grab(), 18u);
    EXPECT_NE(camera->nextImage, nullptr);
    frame.bufferSize = 12;
    EXPECT_EQ(Grab(), 0u);
}

// Post-processing may have made more of it than the camera sent.
TEST_F(GrabFrame, NeverCopiesPastTheBuffer)
{
    Prepare({.size = 13});
    EXPECT_EQ(Grab(), 18u);
    EXPECT_EQ(buffer, std::vector<uint8_t>(12));
    EXPECT_EQ(frame.filled, 0u);
    Prepare({});
    frame.pBuffer = nullptr;
    EXPECT_EQ(Grab(), 18u);
}

TEST_F(GrabFrame, MapsTheCamerasStatus)
{
    camera->getOneImageStatus = 25;
    EXPECT_EQ(Grab(), 15u);
    camera->getOneImageStatus = 21;
    EXPECT_EQ(Grab(), 16u);
    // An image that comes with an error is freed, not filled in.
    Prepare({});
    camera->getOneImageStatus = 9;
    EXPECT_EQ(Grab(), 16u);
    EXPECT_EQ(frame.filled, 0u);
    // Success without an image is the camera's fault.
    camera->getOneImageStatus = 0;
    EXPECT_EQ(Grab(), 16u);
}

TEST_F(GrabFrame, PostProcessesWhereItIsOnAndTheFormatIsNotRaw)
{
    ZerixContext &context = *ContextOf(*camera);
    MarkingFilter filter;
    context.postProcessingPipeline->Setup(4, 3);
    context.postProcessingPipeline->AddFilter(&filter);
    const auto firstByte = [&](bool isOn, uint32_t cachedFormat) {
        context.isPostProcessingOn = isOn;
        SetCachedFormat(cachedFormat);
        Prepare({});
        EXPECT_EQ(Grab(), 0u);
        return int{buffer[0]};
    };
    EXPECT_EQ(firstByte(false, 2), 1);
    EXPECT_EQ(firstByte(true, 0), 1);
    EXPECT_EQ(firstByte(true, 1), 1);
    EXPECT_EQ(firstByte(true, 2), 99);
    context.postProcessingPipeline->RemoveFilter(&filter);
}

TEST_F(GrabFrame, LogsTheFrame)
{
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    diag::ZLogOpen();
    Prepare({});
    EXPECT_EQ(Grab(), 0u);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 14u);
    EXPECT_EQ(lines[0], "Zerix_GrabFrame start");
    EXPECT_EQ(lines[1], "Zerix_Frame structure:");
    EXPECT_EQ(lines[12], "Time Stamp: 777");
    EXPECT_EQ(lines[13], EndLine("Zerix_GrabFrame"));
}

} // namespace
} // namespace zerix::api
