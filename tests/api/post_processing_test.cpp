// Frames that the application kept, processed by exported calls.
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "image/z_bayer_interpolation.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"
#include "tests/api/post_processing_fixture.h"

namespace zerix::api {
namespace {

TEST_F(PostProcessing, ChecksComeInTheirOrder)
{
    const ZerixHandle handle = HandleOf(*camera);
    Zerix_Settings empty = {};
    EXPECT_EQ(Zerix_PostProcessSingleFrame(nullptr, &empty, &in, &out), 2u);
    EXPECT_EQ(Zerix_PostProcessSingleFrame(handle, &empty, nullptr, &out), 2u);
    EXPECT_EQ(Zerix_PostProcessSingleFrame(handle, &empty, &in, nullptr), 2u);
    camera->LoseExclusiveAccess();
    EXPECT_EQ(Zerix_PostProcessSingleFrame(handle, &empty, &in, &out), 3u);
    EXPECT_EQ(Zerix_PostProcessSingleFrame(handle, nullptr, &in, &out), 3u);
    EXPECT_EQ(Process(), 9u);
    Zerix_ReleaseDriver();
    EXPECT_EQ(Zerix_PostProcessSingleFrame(nullptr, nullptr, nullptr, nullptr), 8u);
}

TEST_F(PostProcessing, APictureWithoutColourIsCopied)
{
    for (uint32_t format = 0; format <= 3; ++format) {
        in.format = format;
        in.bayerPattern = 3;
        pixels.assign(64, 0xEE);
        out.bayerPattern = 0;
        EXPECT_EQ(Process(), 0u);
        EXPECT_EQ(Pixels(5), (Bytes{10, 21, 31, 40, 0xEE}));
        EXPECT_EQ(out.pBuffer, pixels.data());
        EXPECT_EQ(out.bufferSize, 64u);
        EXPECT_EQ(out.format, format);
        EXPECT_EQ(out.width, 2u);
        EXPECT_EQ(out.height, 2u);
        EXPECT_EQ(out.size, 4u);
        EXPECT_EQ(out.bitDepth, 8);
        EXPECT_EQ(out.frameNumber, 77);
        EXPECT_EQ(out.bayerPattern, 3u);
        EXPECT_EQ(out.errorCode, 20u);
        EXPECT_EQ(out.timeStamp, 12345u);
        EXPECT_EQ(out.camera, nullptr);
    }
}

TEST_F(PostProcessing, ACopyGetsABufferOrALargerOne)
{
    in.format = zfmtRaw8;
    out.pBuffer = nullptr;
    out.bufferSize = 0;
    EXPECT_EQ(Process(), 0u);
    ASSERT_NE(out.pBuffer, nullptr);
    EXPECT_EQ(out.bufferSize, 4u);
    EXPECT_EQ(std::memcmp(out.pBuffer, mosaic.data(), 4), 0);
    Bytes larger(100, 7);
    in.pBuffer = larger.data();
    in.size = 100;
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(out.bufferSize, 100u);
    EXPECT_EQ(out.size, 100u);
    EXPECT_EQ(std::memcmp(out.pBuffer, larger.data(), 100), 0);
    std::free(out.pBuffer);
}

TEST_F(PostProcessing, AMosaicBecomesColour)
{
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(13), (Bytes{10, 25, 40, 10, 25, 40, 10, 25, 40, 10, 25, 40, 0xEE}));
    EXPECT_EQ(out.format, 12u);
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 2u);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(out.bitDepth, 8);
    EXPECT_EQ(out.frameNumber, 0); // the rest of the record is the application's
    ContextOf(*camera)->whiteBalance->SetRedScale(2.0f);
    Use(zfmtBgrx32, 2);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(5), (Bytes{40, 25, 20, 255, 40}));
    EXPECT_EQ(out.size, 16u);
    EXPECT_EQ(out.format, 11u);
}

// The ratio first, then the mosaic, then the gains: 8 columns binned by 2 are two cells.
TEST_F(PostProcessing, TheFiltersRunInTheirOrder)
{
    camera->getModel = 8;
    ContextOf(*camera)->whiteBalance->SetRedScale(2.0f);
    mosaic = {10, 20, 20, 40, 60, 20, 61, 41,  // R G R G ...
              30, 50, 50, 70, 31, 90, 30, 91}; // G B G B ...
    in.pBuffer = mosaic.data();
    in.size = 16;
    in.width = 8;
    in.binning = 2;
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(out.width, 4u);
    EXPECT_EQ(out.height, 2u);
    EXPECT_EQ(out.size, 24u);
    // Rows of 15 30 60 30 and 40 60 30 90; red 15 and 60 twice over, green 15 + 20 and 15 + 15.
    const Bytes row{30, 35, 60, 30, 35, 60, 120, 30, 90, 120, 30, 90};
    Bytes expected = row;
    expected.insert(expected.end(), row.begin(), row.end());
    EXPECT_EQ(Pixels(24), expected);
}

// Frames pass the camera's own pipeline as they arrive: a mosaic stays one there.
TEST_F(PostProcessing, TheCamerasOwnPipelineHoldsTheWheelAlone)
{
    camera->getModel = 8;
    uint8_t *const buffer = ZX::ZExImage::AllocateBuffer(16);
    for (uint8_t pixel = 0; pixel < 16; ++pixel)
        buffer[pixel] = pixel;
    ZX::ZExImage image(buffer, 16, 4, 4, uint16_t{8}, 0, 1.0, zfmtBayer8, uint16_t{2}, uint16_t{5},
                       uint16_t{0}, false, uint16_t{0}, uint16_t{0}, uint16_t{2}, false,
                       uint16_t{0}, uint16_t{0}, static_cast<ZX::ZCamera *>(camera), true, 0);
    ZX::ZImagePipeline &pipeline = *camera->GetImagePipeline();
    pipeline.Setup(4, 4);
    bool isDone = false;
    EXPECT_EQ(pipeline.ProcessImage(&image, &isDone), 31);
    EXPECT_EQ(image.GetImageSize(), 16u);
    EXPECT_EQ(image.GetImageData()[15], 15);
    EXPECT_TRUE(pipeline.RemoveFilter(ContextOf(*camera)->filterWheel.get()));
    EXPECT_EQ(pipeline.ProcessImage(&image, &isDone), 30);
}

// Runs something in the middle of a chain.
class Interruption : public ZX::ZImageFilter {
public:
    explicit Interruption(std::function<void()> work) : m_work(std::move(work)) {}
    int16_t Process(ZX::ZInImageBufferStruct *, ZX::ZOutImageBufferStruct *) override
    {
        m_work();
        return 31;
    }
    int16_t Init(uint32_t, uint32_t) override { return 0; }
    int16_t SetOutputFormat(uint32_t) override { return 0; }

private:
    std::function<void()> m_work;
};

// A frame's buffer has room for the format that its call asked for: settings that another thread
// sends meanwhile wait for the last pixel.
TEST_F(PostProcessing, AnotherFormatIsNotTakenWhileAFrameIsProcessed)
{
    ZerixContext &context = *ContextOf(*camera);
    Zerix_Settings other = {};
    Zerix_CreateCameraSettingsStruct(&other);
    ASSERT_EQ(Zerix_ReadDefaultSettings(HandleOf(*camera), &other), 0u);
    tables::SetSlot32(&other, zprmPostProcessImageFormat, zfmtRgb48);
    std::promise<uint32_t> sent;
    std::future<uint32_t> result = sent.get_future();
    std::thread sender;
    Interruption interruption([&] {
        sender = std::thread(
            [&] { sent.set_value(Zerix_SendSettingsToCam(HandleOf(*camera), &other)); });
        EXPECT_EQ(result.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    });
    context.postProcessingPipeline->RemoveFilter(context.bayerFilter);
    context.postProcessingPipeline->AddFilter(&interruption);
    context.postProcessingPipeline->AddFilter(context.bayerFilter);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(13), (Bytes{10, 25, 40, 10, 25, 40, 10, 25, 40, 10, 25, 40, 0xEE}));
    sender.join();
    EXPECT_EQ(result.get(), 0u);
    EXPECT_EQ(context.bayerFilter->GetOutputFormat(), 10u);
    context.postProcessingPipeline->RemoveFilter(&interruption);
    Zerix_ReleaseCameraSettingsStruct(&other);
}

TEST_F(PostProcessing, TheResultIsLoggedAsAFrame)
{
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    diag::ZLogOpen();
    EXPECT_EQ(Process(), 0u);
    const Lines lines = Take();
    const auto at = std::find(lines.begin(), lines.end(), "Zerix_Frame structure:");
    ASSERT_EQ(lines.end() - at, 13);
    EXPECT_EQ(Lines(at + 2, lines.end()),
              (Lines{"Buffer size: 64", "Format: 12", "Width: 2", "Height: 2", "Size: 12",
                     "Bit Depth: 8", "Frame Number: 0", "Bayer Pattern: 0", "Error Code: 0",
                     "Time Stamp: 0", EndLine("Zerix_PostProcessSingleFrame")}));
    in.format = zfmtMono8; // a copy isn't
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_PostProcessSingleFrame start",
                             EndLine("Zerix_PostProcessSingleFrame")}));
}

TEST_F(PostProcessing, PatternsCountFrom0)
{
    const Bytes expected[] = {{10, 25, 40}, {21, 25, 31}, {31, 25, 21}, {40, 25, 10}, {10, 25, 40}};
    for (uint32_t pattern = 0; pattern < 5; ++pattern) {
        in.bayerPattern = pattern;
        EXPECT_EQ(Process(), 0u);
        EXPECT_EQ(Pixels(3), expected[pattern]) << pattern;
    }
}

TEST_F(PostProcessing, TheAlgorithmsOfTheSettings)
{
    const uint16_t selected[] = {0, 1, 2, 4, 4};
    for (uint32_t algorithm = 1; algorithm <= 4; ++algorithm) {
        Use(zfmtRgb24, algorithm);
        EXPECT_EQ(Process(), 0u);
        EXPECT_EQ(camera->GetBayerFilter()->GetAlgorithm(), selected[algorithm]);
    }
    Use(zfmtRgb24, 5);
    camera->GetBayerFilter()->SetAlgorithm(2);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(camera->GetBayerFilter()->GetAlgorithm(), 2);
    Use(zfmtRgb24, 0);
    Take();
    EXPECT_EQ(Process(), 2u);
    EXPECT_EQ(Take().back(), EndingLine("Zerix_PostProcessSingleFrame",
                                        "one of the parameters used is not valid.", 2));
}

TEST_F(PostProcessing, AFormatWithoutASizeIsRefused)
{
    for (const uint32_t format : {13u, 14u, 99u}) {
        Use(format, 2);
        EXPECT_EQ(Process(), 2u);
    }
    Use(zfmtRgb24, 2);
    in.width = 0;
    EXPECT_EQ(Process(), 2u);
}

// The filter can't make planes; the call says nothing of it. The mosaic stands in the buffer, where
// the filter before left it.
TEST_F(PostProcessing, AFailureOfThePipelineIsNotTold)
{
    Use(zfmtRgbPlane8, 2);
    out.width = 5;
    out.height = 7;
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 2u);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(out.format, 6u);
    EXPECT_EQ(Pixels(5), (Bytes{10, 21, 31, 40, 0xEE}));
}

// What a filter has nothing to do with goes through whole, and the frame may be larger than its
// picture: four pixels of any format, as any other.
TEST_F(PostProcessing, WritesNoMoreThanThePictureThatItReports)
{
    mosaic.assign(64, 7);
    in.pBuffer = mosaic.data();
    for (uint32_t from = zfmtBayer8; from <= zfmtRgb24; ++from) {
        for (uint32_t to = 0; to <= zfmtRgb24; ++to) {
            Use(to, 2);
            in.format = from;
            in.size = 64;
            for (const uint32_t stated : {0u, Zerix_CalcImageSize(to, 2, 2)}) {
                pixels.assign(64, 0xEE);
                out.bufferSize = stated;
                EXPECT_EQ(Process(), 0u);
                EXPECT_EQ(out.size, Zerix_CalcImageSize(to, 2, 2));
                EXPECT_EQ(Bytes(pixels.begin() + out.size, pixels.end()),
                          Bytes(64 - out.size, 0xEE))
                    << from << " to " << to;
            }
        }
    }
}

TEST_F(PostProcessing, GivesOfALargerPictureWhatIsReported)
{
    mosaic = {1, 2, 3, 4, 5, 6, 7, 8};
    in.pBuffer = mosaic.data();
    in.size = 8;
    in.format = zfmtBayer16;
    Use(zfmtMono8, 2);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(out.size, 4u);
    EXPECT_EQ(Pixels(5), (Bytes{1, 2, 3, 4, 0xEE}));
}

TEST_F(PostProcessing, WritesNoMoreThanTheStatedSize)
{
    out.bufferSize = 5;
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(Pixels(6), (Bytes{10, 25, 40, 10, 25, 0xEE}));
    pixels.assign(64, 0xEE);
    out.format = zfmtRgb24;
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(Pixels(6), (Bytes{10, 25, 40, 10, 25, 0xEE}));
    out.bufferSize = 0; // not stated
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(13), (Bytes{10, 25, 40, 10, 25, 40, 10, 25, 40, 10, 25, 40, 0xEE}));
}

TEST_F(PostProcessing, MayTurnAPictureIntoAnotherInItsOwnBuffer)
{
    const Bytes expected{10, 25, 40, 10, 25, 40, 10, 25, 40, 10, 25, 40, 0xEE};
    in.pBuffer = pixels.data();
    std::copy(mosaic.begin(), mosaic.end(), pixels.begin());
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(13), expected);
    std::copy(mosaic.begin(), mosaic.end(), pixels.begin());
    out.format = zfmtRgb24;
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(Pixels(13), expected);
    // What nothing is done with stays where it is.
    std::copy(mosaic.begin(), mosaic.end(), pixels.begin());
    Use(zfmtMono8, 2);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(5), (Bytes{10, 21, 31, 40, 25}));
}

// Without colour there is nothing to do, and the buffer stays where its two owners know it,
// whatever size is stated.
TEST_F(PostProcessing, LeavesAPictureWithoutColourInASharedBuffer)
{
    in.pBuffer = std::malloc(in.size);
    std::memcpy(in.pBuffer, mosaic.data(), in.size);
    in.format = zfmtMono8;
    const Bytes before(mosaic.begin(), mosaic.begin() + in.size);
    for (const uint32_t size : {0u, 1u, in.size}) {
        out.pBuffer = in.pBuffer;
        out.bufferSize = size;
        EXPECT_EQ(Process(), 0u);
        EXPECT_EQ(out.pBuffer, in.pBuffer);
        EXPECT_EQ(out.size, in.size);
        const auto *const bytes = static_cast<const uint8_t *>(in.pBuffer);
        EXPECT_EQ(Bytes(bytes, bytes + in.size), before);
    }
    std::free(in.pBuffer);
}

TEST_F(PostProcessing, OfAMosaicNeedsBothBuffers)
{
    const char *const kTooSmall = "the size of pBuffer in the Zerix_Frame structure is too small.";
    out.format = zfmtRgb24;
    for (void **const buffer : {&in.pBuffer, &out.pBuffer}) {
        void *const before = std::exchange(*buffer, nullptr);
        out.size = 1;
        EXPECT_EQ(Process(), 18u);
        EXPECT_EQ(Take().back(), EndingLine("Zerix_PostProcessSingleFrame", kTooSmall, 18));
        Zerix_BayerToRgb(2, &in, &out);
        EXPECT_EQ(Take().back(), EndLine("Zerix_BayerToRgb"));
        EXPECT_EQ(out.size, 1u);
        EXPECT_EQ(Pixels(1), Bytes{0xEE});
        *buffer = before;
    }
    EXPECT_EQ(Process(), 0u);
}

// So large that no camera of a listing gets its place when it is freed.
class LargeCamera final : public FakeCamera {
public:
    std::array<uint8_t, 64 << 20> room;
};

// Closed, the camera is still there, without what it takes; then it is freed by a listing, and by
// a release.
TEST_F(PostProcessing, OfAKeptFrameWhoseCameraIsGone)
{
    auto *const other = new LargeCamera;
    AppendCameraForTest(other);
    ASSERT_EQ(Zerix_OpenCamera(1, &in.camera), 0u);
    out.format = zfmtRgb24;
    out.size = 1;
    EXPECT_EQ(Zerix_CloseCamera(in.camera), 0u);
    EXPECT_EQ(Process(), 16u);
    Zerix_BayerToRgb(2, &in, &out);
    ZerixCameraListItem row = {};
    uint32_t count = 0;
    EXPECT_EQ(Zerix_ListCameras(&row, &count), 0u);
    EXPECT_EQ(Process(), 9u);
    Zerix_BayerToRgb(2, &in, &out);
    in.camera = HandleOf(*camera);
    Zerix_ReleaseDriver();
    EXPECT_EQ(Process(), 8u);
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(Zerix_LoadDriver(), 0u);
    EXPECT_EQ(Process(), 9u);
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(out.size, 1u);
    EXPECT_EQ(Pixels(1), Bytes{0xEE});
}

TEST_F(PostProcessing, TheCameraIsTheFrames)
{
    FakeCamera &other = AddOpenCamera();
    other.getImageFormat = 2;
    ContextOf(other)->whiteBalance->SetRedScale(3.0f);
    in.camera = HandleOf(other);
    EXPECT_EQ(Process(), 0u);
    EXPECT_EQ(Pixels(2), (Bytes{30, 25}));
    in.camera = nullptr;
    EXPECT_EQ(Process(), 9u);
}

TEST_F(PostProcessing, BayerToRgbRunsTheFilterAlone)
{
    ContextOf(*camera)->whiteBalance->SetRedScale(3.0f);
    out.format = zfmtBgr24;
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(Pixels(4), (Bytes{40, 25, 10, 40}));
    EXPECT_EQ(out.width, 2u);
    EXPECT_EQ(out.height, 2u);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(out.bitDepth, 8);
    EXPECT_EQ(out.format, 8u);
    const uint16_t selected[] = {0, 1, 2, 4, 4};
    for (uint32_t algorithm = 1; algorithm <= 4; ++algorithm) {
        Zerix_BayerToRgb(algorithm, &in, &out);
        EXPECT_EQ(camera->GetBayerFilter()->GetAlgorithm(), selected[algorithm]);
    }
}

TEST_F(PostProcessing, BayerToRgbOfAnUnknownAlgorithmDoesNothing)
{
    for (const uint32_t algorithm : {0u, 5u}) {
        out.format = zfmtRgb24;
        out.size = 1;
        Zerix_BayerToRgb(algorithm, &in, &out);
        EXPECT_EQ(out.size, 1u);
        EXPECT_EQ(Pixels(1), Bytes{0xEE});
    }
    Zerix_BayerToRgb(2, nullptr, &out);
    Zerix_BayerToRgb(2, &in, nullptr);
    in.camera = nullptr;
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(Pixels(1), Bytes{0xEE});
}

TEST_F(PostProcessing, BayerToRgbDescribesAlsoWhatItDidNotMake)
{
    in.format = zfmtMono8;
    out.format = zfmtRgb24;
    out.width = 3;
    out.height = 4;
    Zerix_BayerToRgb(2, &in, &out);
    EXPECT_EQ(out.size, 36u);
    EXPECT_EQ(out.bitDepth, 8);
    EXPECT_EQ(Pixels(1), Bytes{0xEE});
}

} // namespace
} // namespace zerix::api
