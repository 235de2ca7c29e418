// The run loop of an open camera, with frames made by hand: the camera streams, but exposes nothing
// by itself. What becomes of a frame's end, its settings and its order.
#include <atomic>
#include <thread>
#include <vector>

#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "platform/frame_buffer_pool.h"
#include "platform/os.h"
#include "tests/camera/camera_inside.h"
#include "tests/camera/image_receiver.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

class RunLoop : public VirtualBusTest {
protected:
    ZX::TolvaneFWCamera &Stream(ZX::ZImageReceivedCallback callback = ImageReceiver::Received)
    {
        auto &camera = OpenOne(Describe(18, 6));
        ZerixSim_GiveCredit(0, 0);
        EXPECT_EQ(
            camera.StartStreamingImages(callback, ImageReceiver::ExposeDone, false, &receiver), 0);
        return camera;
    }
    void TearDown() override
    {
        for (ZX::ZCamera *camera : cameras)
            camera->StopStreamingImages();
        VirtualBusTest::TearDown();
    }

    // As the assembler hands it over, but for the wake-up.
    static void Finish(tStFrameInfo *frame, uint16_t number, uint32_t status = 0)
    {
        ASSERT_NE(frame, nullptr);
        frame->headerWord = number;
        frame->status = status;
        frame->finished = true;
    }
    static void Send(ZX::TolvaneFWCamera &camera, uint16_t number, uint32_t status = 0)
    {
        Finish(Inside::Prepare(camera), number, status);
        Inside::Wake(camera);
    }
    void ExpectNext(uint16_t number, uint16_t error = 0)
    {
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr) << number;
        EXPECT_EQ(delivery.image->GetRollingFrameNumber(), number);
        EXPECT_EQ(delivery.error, error);
        EXPECT_EQ(delivery.image->GetErrorCode(), error);
    }

    ImageReceiver receiver;
};

TEST_F(RunLoop, TellsEveryEndOfAFrame)
{
    auto &camera = Stream();
    const uint16_t errors[] = {0, 0x12, 0x13, 0x14, 0x15};
    for (uint16_t status = 0; status < 5; ++status) {
        Send(camera, status, status);
        ExpectNext(status, errors[status]);
    }
}

TEST_F(RunLoop, DropsAStrayFrameWhereTheCameraRunsByItself)
{
    auto &camera = Stream();
    Send(camera, 1, 5);
    Send(camera, 2);
    ExpectNext(2);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

TEST_F(RunLoop, DeliversAStrayFrameWhereTriggersAreAwaited)
{
    auto &camera = Stream();
    const uint32_t modeWords[] = {0x001, 0x002, 0x102, 0x003, 0x103, 0x005, 0x105};
    uint16_t number = 0;
    for (const uint32_t word : modeWords) {
        Inside::Control(camera).Store(0x2C, word);
        Send(camera, ++number, 5);
        ExpectNext(number, 0);
    }
    Inside::Control(camera).Store(0x2C, 0);
}

TEST_F(RunLoop, DropsAFrameOfBeforeACommit)
{
    auto &camera = Stream();
    tStFrameInfo *const stale = Inside::Prepare(camera);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    Finish(stale, 1);
    Inside::Wake(camera);
    Send(camera, 2);
    ExpectNext(2);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

TEST_F(RunLoop, DropsAFrameOfAnotherBitDepth)
{
    auto &camera = Stream();
    tStFrameInfo *const narrow = Inside::Prepare(camera);
    const uint32_t mode = Inside::Control(camera).Word(0x04);
    Inside::Control(camera).Store(0x04, mode | 0x10);
    Finish(narrow, 1);
    Inside::Wake(camera);
    Send(camera, 2);
    const auto delivery = receiver.Take();
    ASSERT_NE(delivery.image, nullptr);
    EXPECT_EQ(delivery.image->GetRollingFrameNumber(), 2);
    EXPECT_EQ(delivery.image->GetBitDepth(), 12);
    EXPECT_EQ(delivery.image->GetImageSize(), 1392u * 1040 * 2);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

TEST_F(RunLoop, DropsAFrameOfAnotherRegion)
{
    auto &camera = Stream();
    tStFrameInfo *const whole = Inside::Prepare(camera);
    Inside::Control(camera).Store(0x0C, 1392u << 16 | 100);
    Finish(whole, 1);
    Inside::Wake(camera);
    Send(camera, 2);
    ExpectNext(2);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

TEST_F(RunLoop, TakesAllThatIsFinishedFromTheBackAtOneWakeUp)
{
    auto &camera = Stream();
    std::vector<tStFrameInfo *> frames;
    for (int i = 0; i < 5; ++i)
        frames.push_back(Inside::Prepare(camera));
    for (const uint16_t i : {uint16_t{4}, uint16_t{0}, uint16_t{3}, uint16_t{1}})
        Finish(frames[i], i);
    Inside::Wake(camera);
    for (const uint16_t number : {uint16_t{0}, uint16_t{1}, uint16_t{3}, uint16_t{4}})
        ExpectNext(number);
    EXPECT_EQ(Inside::Queued(camera), 1u) << "the one in work stays";
    Finish(frames[2], 2);
    Inside::Wake(camera);
    ExpectNext(2);
}

TEST_F(RunLoop, LosesTheNewestFrameWhenTheApplicationIsTooSlow)
{
    static std::unique_ptr<os::Semaphore> begun;
    static std::unique_ptr<os::Semaphore> mayGoOn;
    begun = os::Semaphore::Create(0, 100);
    mayGoOn = os::Semaphore::Create(0, 100);
    auto &camera = Stream([](ZX::ZImageReceivedCallbackStruct *record) {
        begun->Signal();
        mayGoOn->Wait();
        ImageReceiver::Received(record);
    });
    ASSERT_EQ(camera.SetFrameBufferLength(3), 0);
    Send(camera, 1);
    ASSERT_EQ(begun->Wait(30000), os::WaitResult::kSignalled);
    for (uint16_t number = 2; number <= 6; ++number)
        Send(camera, number);
    EXPECT_EQ(Inside::Queued(camera), 3u);
    for (int i = 0; i < 4; ++i)
        mayGoOn->Signal();
    for (const uint16_t number : {uint16_t{1}, uint16_t{2}, uint16_t{3}, uint16_t{6}})
        ExpectNext(number);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

// What is in an image ----------------------------------------------------------------------------

TEST_F(RunLoop, PutsTheFramesSettingsInTheImage)
{
    auto &camera = Stream();
    tStFrameInfo *const frame = Inside::Prepare(camera);
    ASSERT_NE(frame, nullptr);
    uint8_t *const data = frame->data;
    frame->exposure = 1234567890123;
    frame->normalizedGain = 2.5;
    frame->colourPattern = 7;
    frame->startColour = 3;
    frame->binning = 4;
    frame->width = 11;
    frame->height = 13;
    Finish(frame, 0xABCD);
    Inside::Wake(camera);
    const auto delivery = receiver.Take();
    ASSERT_NE(delivery.image, nullptr);
    const ZX::ZExImage &image = *delivery.image;
    EXPECT_EQ(image.GetImageData(), data) << "the data is handed over, not copied";
    EXPECT_EQ(image.GetImageSize(), 1447680u);
    EXPECT_EQ(image.GetWidth(), 11u);
    EXPECT_EQ(image.GetHeight(), 13u);
    EXPECT_EQ(image.GetBitDepth(), 8);
    EXPECT_EQ(image.GetExposure(), 1234567890123u);
    EXPECT_EQ(image.GetGain(), 2.5);
    EXPECT_EQ(image.GetColourPattern(), 7);
    EXPECT_EQ(image.GetRGBFilterStartColour(), 3);
    EXPECT_EQ(image.GetSymmetricalBinningMode(), 4);
    EXPECT_EQ(image.GetRollingFrameNumber(), 0xABCD);
    EXPECT_EQ(image.GetCameraModel(), 18);
    EXPECT_EQ(image.GetCameraNumber(), static_cast<uint16_t>(camera.GetHalCamera().cameraIndex));
    EXPECT_EQ(image.GetCamera(), &camera);
    EXPECT_FALSE(image.IsBigEndian());
    EXPECT_FALSE(image.IsLVW());
}

TEST_F(RunLoop, NamesTheFormatByTheSensorAndTheDepth)
{
    struct {
        uint32_t sensor; // 0 plain, 1 mosaic, 2 none that is known
        bool isWheelTurning;
        uint32_t modeWord;
        uint16_t cameraFormat;
        uint32_t imageFormat;
    } const cases[] = {
        {0, false, 0x00, 1, 2}, {0, false, 0x10, 1, 3}, {0, true, 0x00, 3, 2},
        {0, true, 0x10, 3, 3},  {1, false, 0x00, 2, 4}, {1, false, 0x10, 2, 5},
        {2, false, 0x00, 0, 2}, {2, false, 0x10, 0, 2},
    };
    auto &camera = Stream();
    const uint32_t mode = Inside::Control(camera).Word(0x04) & ~0x18u;
    const uint32_t sensorWord = Inside::Information(camera).Word(0x44) & ~0xF00u;
    uint16_t number = 0;
    for (const auto &c : cases) {
        Inside::Information(camera).Store(0x44, sensorWord | c.sensor << 8);
        Inside::Control(camera).Store(0x04, mode | c.modeWord);
        Inside::Control(camera).Store(0x30, c.isWheelTurning ? 1 : 0);
        Send(camera, ++number);
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr) << number;
        EXPECT_EQ(delivery.image->GetCameraImageFormat(), c.cameraFormat) << number;
        EXPECT_EQ(delivery.image->GetImageFormat(), c.imageFormat) << number;
    }
    Inside::Control(camera).Store(0x30, 0);
}

// In ten-thousandths of a second since the camera was opened.
TEST_F(RunLoop, StampsTheTimeSinceTheOpening)
{
    const uint64_t ticks = os::PerformanceFrequency() / 10000;
    const uint64_t beforeOpening = os::PerformanceCounter();
    auto &camera = Stream();
    const uint64_t afterOpening = os::PerformanceCounter();
    uint32_t previous = 0;
    for (uint16_t number = 1; number <= 3; ++number) {
        const uint64_t beforeFrame = os::PerformanceCounter();
        Send(camera, number);
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr);
        const uint32_t stamp = delivery.image->GetTimeStamp();
        EXPECT_GE(stamp, (beforeFrame - afterOpening) / ticks);
        EXPECT_LE(stamp, (os::PerformanceCounter() - beforeOpening) / ticks);
        EXPECT_GE(stamp, previous);
        previous = stamp;
    }
}

// The pipeline and the callbacks -----------------------------------------------------------------

// Lets every third image through, as the filter wheel does, and counts what it was asked.
class EveryThird : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *, ZX::ZOutImageBufferStruct *) override
    {
        return ++processed % 3 == 0 ? int16_t{ZX::kFilterNothingToDo}
                                    : int16_t{ZX::kFilterIncomplete};
    }
    int16_t Init(uint32_t, uint32_t) override { return 0; }
    int16_t SetOutputFormat(uint32_t) override { return 0; }
    void Reset() override { ++resets; }

    std::atomic<uint32_t> processed = 0;
    std::atomic<uint32_t> resets = 0;
};

TEST_F(RunLoop, KeepsFromTheApplicationWhatThePipelineHoldsBack)
{
    EveryThird filter;
    auto &camera = Stream();
    camera.GetImagePipeline()->AddFilter(&filter);
    for (uint16_t number = 1; number <= 6; ++number)
        Send(camera, number);
    ExpectNext(3);
    ExpectNext(6);
    EXPECT_EQ(receiver.Waiting(), 0u);
    EXPECT_EQ(filter.processed, 6u);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(filter.resets, 1u);
    camera.StopStreamingImages();
    camera.GetImagePipeline()->RemoveFilter(&filter);
}

// Waits in the middle of its work.
class Slow : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *, ZX::ZOutImageBufferStruct *) override
    {
        begun->Signal();
        mayGoOn->Wait();
        return ZX::kFilterNothingToDo;
    }
    int16_t Init(uint32_t, uint32_t) override { return 0; }
    int16_t SetOutputFormat(uint32_t) override { return 0; }
    void Reset() override { ++resets; }

    std::atomic<uint32_t> resets = 0;
    std::unique_ptr<os::Semaphore> begun = os::Semaphore::Create(0, 100);
    std::unique_ptr<os::Semaphore> mayGoOn = os::Semaphore::Create(0, 100);
};

TEST_F(RunLoop, ThrowsAwayWhatThePipelineHadWhenTheStreamStopped)
{
    Slow filter;
    auto &camera = Stream();
    camera.GetImagePipeline()->AddFilter(&filter);
    Send(camera, 1);
    ASSERT_EQ(filter.begun->Wait(30000), os::WaitResult::kSignalled);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    ASSERT_EQ(camera.StartStreamingImages(ImageReceiver::Received, nullptr, false, &receiver), 0);
    filter.mayGoOn->Signal();
    filter.mayGoOn->Signal();
    Send(camera, 2);
    ExpectNext(2);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    camera.GetImagePipeline()->RemoveFilter(&filter);
}

// The image of the first stream is in the filter when the second one starts and resets it, and
// leaves something there after that.
TEST_F(RunLoop, BeginsEachStreamWithFreshFilters)
{
    Slow filter;
    auto &camera = Stream();
    camera.GetImagePipeline()->AddFilter(&filter);
    Send(camera, 1);
    ASSERT_EQ(filter.begun->Wait(30000), os::WaitResult::kSignalled);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(filter.resets, 0u);
    ASSERT_EQ(camera.StartStreamingImages(ImageReceiver::Received, nullptr, false, &receiver), 0);
    EXPECT_EQ(filter.resets, 1u);
    filter.mayGoOn->Signal();
    Send(camera, 2);
    ASSERT_EQ(filter.begun->Wait(30000), os::WaitResult::kSignalled);
    EXPECT_EQ(filter.resets, 2u);
    filter.mayGoOn->Signal();
    ExpectNext(2);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    camera.GetImagePipeline()->RemoveFilter(&filter);
}

TEST_F(RunLoop, ThrowsImagesAwayThatNobodyAskedFor)
{
    auto &camera = Stream(nullptr);
    Send(camera, 1);
    while (Inside::Queued(camera) != 0)
        std::this_thread::yield();
    camera.SetStreamingCallback(ImageReceiver::Received, &receiver);
    Send(camera, 2);
    const auto first = receiver.Take();
    ASSERT_NE(first.image, nullptr);
    EXPECT_EQ(first.image->GetRollingFrameNumber(), 2);
}

TEST_F(RunLoop, TellsOfEveryExposureWithTheUserDataOfTheStart)
{
    auto &camera = Stream();
    for (uint16_t number = 1; number <= 3; ++number) {
        Send(camera, number);
        ASSERT_TRUE(receiver.AwaitExposures(number));
        ExpectNext(number);
    }
}

// While one image is taken from a running stream, the user data is the camera's own: the
// application's expose-done callback must not get to see it.
TEST_F(RunLoop, TellsOfExposuresWithTheApplicationsUserDataWhileOneImageIsTaken)
{
    auto &camera = Stream();
    std::thread hardware([&] {
        while (Inside::UserDataOf(camera) != &camera)
            std::this_thread::yield();
        Send(camera, 1);
    });
    ZX::ZExImage *image = nullptr;
    EXPECT_EQ(camera.GetOneImage(&image), 0);
    hardware.join();
    const Image owned(image);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->GetRollingFrameNumber(), 1);
    EXPECT_TRUE(receiver.AwaitExposures(1));
    EXPECT_EQ(receiver.Waiting(), 0u);
    Send(camera, 2);
    ExpectNext(2);
}

TEST_F(RunLoop, DeliversNothingAfterTheStop)
{
    auto &camera = Stream();
    tStFrameInfo *const frame = Inside::Prepare(camera);
    Finish(frame, 1);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(Inside::Queued(camera), 0u);
    Inside::Wake(camera);
    ASSERT_EQ(camera.StartStreamingImages(ImageReceiver::Received, nullptr, false, &receiver), 0);
    Send(camera, 2);
    ExpectNext(2);
    EXPECT_EQ(receiver.Waiting(), 0u);
}

} // namespace
} // namespace zerix::test
