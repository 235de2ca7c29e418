// The filters behind virtual cameras: wheel images from a running stream that loses frames, the
// search for an exposure, and the white balance of a grey scene.
#include <chrono>
#include <thread>

#include "image/image_statistics.h"
#include "image/z_auto_exposure.h"
#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_image_pipeline.h"
#include "image/z_rgb_filter_wheel.h"
#include "tests/camera/image_receiver.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint16_t kLineSensor = 11; // 1024 x 58, without a mosaic
constexpr uint32_t kPlaneSize = 1024 * 58;

struct Exposed {
    uint16_t colour;
    Bytes pixels;
};

Bytes PixelsOf(const ZX::ZExImage &image)
{
    return {image.GetImageData(), image.GetImageData() + image.GetImageSize()};
}

// The rule of the wheel in its plainest form.
std::vector<Bytes> Composed(const std::vector<Exposed> &frames, uint16_t startColour)
{
    std::vector<Bytes> images;
    Bytes red;
    Bytes green;
    Bytes blue;
    int expected = -1; // none: waiting for the start colour
    for (const Exposed &frame : frames) {
        if (expected < 0 && frame.colour == startColour)
            expected = startColour;
        if (frame.colour != expected)
            continue;
        if (frame.colour == 0)
            red = frame.pixels;
        else if (frame.colour == 1)
            green = frame.pixels;
        else
            blue = frame.pixels;
        expected = expected == 0 ? 1 : expected == 1 ? 3 : 0;
        if (red.empty() || green.empty() || blue.empty())
            continue;
        Bytes image = red;
        image.insert(image.end(), green.begin(), green.end());
        image.insert(image.end(), blue.begin(), blue.end());
        images.push_back(image);
        red.clear();
        green.clear();
        blue.clear();
        expected = -1;
    }
    return images;
}

class WheelStream : public VirtualBusTest {
protected:
    // The noise tells the exposures apart, and is the same in every run.
    ZX::TolvaneFWCamera &OpenIt(uint16_t startColour, const std::string &fault)
    {
        auto &camera = OpenOne(Describe(18, kLineSensor));
        ZerixSim_GiveCredit(0, 0);
        camera.SetExposure(10'000'000);
        camera.SetRGBFilterRedExposure(20'000'000);
        camera.SetRGBFilterBlueExposure(15'000'000);
        camera.SetRGBFilterStartColour(startColour);
        camera.SetRGBFilterCycle(true);
        EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
        if (!fault.empty()) {
            EXPECT_EQ(ZerixSim_InjectFault(0, fault.c_str()), 0u) << ZerixSim_LastErrorText();
        }
        return camera;
    }

    void Start(ZX::TolvaneFWCamera &camera, uint32_t frames)
    {
        EXPECT_EQ(camera.StartStreamingImages(ImageReceiver::Received, ImageReceiver::ExposeDone,
                                              false, &receiver),
                  0);
        ZerixSim_GiveCredit(0, frames);
    }

    std::vector<Exposed> TakeExposures(size_t count)
    {
        std::vector<Exposed> exposures;
        for (size_t index = 0; index < count; ++index) {
            const auto delivery = receiver.Take();
            if (delivery.image == nullptr)
                break;
            exposures.push_back({delivery.image->GetColourPattern(), PixelsOf(*delivery.image)});
        }
        EXPECT_EQ(exposures.size(), count);
        return exposures;
    }

    // What the camera sends, without the filter.
    std::vector<Exposed> Raw(uint16_t startColour, const std::string &fault, uint32_t frames,
                             uint32_t arriving)
    {
        auto &camera = OpenIt(startColour, fault);
        Start(camera, frames);
        auto exposures = TakeExposures(arriving);
        camera.StopStreamingImages();
        FreeCameras();
        return exposures;
    }

    ImageReceiver receiver;
};

TEST_F(WheelStream, EachImageHoldsTheExposuresOfTheRuleWhereverOneIsLost)
{
    constexpr uint32_t kFrames = 10;
    for (const uint16_t startColour : {uint16_t{0}, uint16_t{1}, uint16_t{3}})
        for (uint32_t lost = 0; lost <= 7; ++lost) {
            SCOPED_TRACE("start " + std::to_string(startColour) + " lost " + std::to_string(lost));
            const std::string fault = lost == 0 ? "" : "wrong tag at frame " + std::to_string(lost);
            const auto frames = Raw(startColour, fault, kFrames, kFrames - (lost != 0));
            const auto expected = Composed(frames, startColour);
            ASSERT_GE(expected.size(), 2u);
            auto &camera = OpenIt(startColour, fault);
            ZX::ZRGBFilterWheel wheel(6);
            camera.GetImagePipeline()->AddFilter(&wheel);
            Start(camera, kFrames);
            for (const Bytes &image : expected) {
                const auto delivery = receiver.Take();
                ASSERT_NE(delivery.image, nullptr);
                EXPECT_EQ(delivery.image->GetImageFormat(), 6u);
                EXPECT_EQ(delivery.image->GetImageSize(), 3 * kPlaneSize);
                EXPECT_TRUE(PixelsOf(*delivery.image) == image);
            }
            camera.StopStreamingImages();
            EXPECT_EQ(receiver.Waiting(), 0u);
            camera.GetImagePipeline()->RemoveFilter(&wheel);
            FreeCameras();
        }
}

// A commit begins a new cycle: what was collected before is thrown away.
TEST_F(WheelStream, NothingOlderThanAResetIsUsed)
{
    std::vector<Exposed> after;
    {
        auto &camera = OpenIt(0, "");
        Start(camera, 2);
        TakeExposures(2);
        EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
        ZerixSim_GiveCredit(0, 3);
        after = TakeExposures(3);
        camera.StopStreamingImages();
        FreeCameras();
    }
    const auto expected = Composed(after, 0);
    ASSERT_EQ(expected.size(), 1u);
    auto &camera = OpenIt(0, "");
    ZX::ZRGBFilterWheel wheel(6);
    camera.GetImagePipeline()->AddFilter(&wheel);
    Start(camera, 2);
    // Red and green are in once a blue frame would complete the image.
    ZX::ZInImageBufferStruct blue{.size = 1, .filterColour = 3};
    const auto deadline = std::chrono::steady_clock::now() + ImageReceiver::kDeadline;
    while (wheel.GetNeededOutputBufferSize(&blue) != 3 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    ASSERT_EQ(wheel.GetNeededOutputBufferSize(&blue), 3u);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(wheel.GetNeededOutputBufferSize(&blue), 1u);
    ZerixSim_GiveCredit(0, 3);
    const auto delivery = receiver.Take();
    ASSERT_NE(delivery.image, nullptr);
    EXPECT_TRUE(PixelsOf(*delivery.image) == expected[0]);
    camera.StopStreamingImages();
    camera.GetImagePipeline()->RemoveFilter(&wheel);
}

class ExposureSearch : public VirtualBusTest {
protected:
    static uint32_t BrightestOf(ZX::TolvaneFWCamera &camera)
    {
        ZX::ZExImage *taken = nullptr;
        EXPECT_EQ(camera.GetOneImage(&taken), 0);
        const Image image(taken);
        bool isDone = false;
        camera.GetBayerPipeline()->ProcessImage(image.get(), &isDone);
        uint8_t brightest = 0;
        for (const uint8_t pixel : PixelsOf(*image))
            brightest = std::max(brightest, pixel);
        return brightest;
    }

    // From far too short and far too long; what it leaves is bright and not clipped.
    void ExpectItSettles(ZX::TolvaneFWCamera &camera)
    {
        ZX::ZAutoExposure filter(false);
        camera.SetBitDepth(12);
        camera.UpdateSettingsOnCamera();
        filter.CalculateExposure(0, 0, 10'000, 10'000, &camera);
        const uint64_t settled = camera.GetExposure();
        for (const uint64_t begin : {settled / 1000, settled * 1000}) {
            camera.SetExposure(begin);
            camera.UpdateSettingsOnCamera();
            EXPECT_EQ(filter.CalculateExposure(0, 0, 10'000, 10'000, &camera), 0);
            const auto found = static_cast<double>(camera.GetExposure());
            EXPECT_NEAR(found, static_cast<double>(settled), static_cast<double>(settled) * 0.1)
                << "from " << begin;
            EXPECT_EQ(camera.GetBitDepth(), 12u);
        }
        camera.SetRGBFilterCycle(false);
        camera.SetBitDepth(8);
        camera.UpdateSettingsOnCamera();
        const uint32_t brightest = BrightestOf(camera);
        EXPECT_GT(brightest, 220u);
    }
};

TEST_F(ExposureSearch, SettlesInMonochrome)
{
    auto &camera = OpenOne(Describe(18, kLineSensor));
    ExpectItSettles(camera);
}

TEST_F(ExposureSearch, SettlesInColour)
{
    auto &camera = OpenOne(Describe(19, 5)); // 1300 x 1030 behind a mosaic
    ExpectItSettles(camera);
}

TEST_F(ExposureSearch, SettlesBehindAWheelAndTurnsItAgain)
{
    auto &camera = OpenOne(Describe(18, kLineSensor));
    ZX::ZRGBFilterWheel wheel(6);
    camera.GetImagePipeline()->AddFilter(&wheel);
    for (const uint16_t startColour : {uint16_t{3}, uint16_t{0}}) {
        camera.SetRGBFilterCycle(true);
        camera.SetRGBFilterStartColour(startColour);
        camera.SetBitDepth(14);
        camera.SetExposure(startColour == 3 ? 10'000 : 10'000'000'000);
        EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
        ZX::ZAutoExposure filter(false);
        EXPECT_EQ(filter.CalculateExposure(0, 0, 10'000, 10'000, &camera), 0);
        EXPECT_TRUE(camera.GetRGBFilterCycleMode());
        EXPECT_EQ(camera.GetRGBFilterStartColour(), startColour);
        EXPECT_EQ(camera.GetBitDepth(), 14u);
    }
    ExpectItSettles(camera);
    camera.GetImagePipeline()->RemoveFilter(&wheel);
}

class GreyScene : public VirtualBusTest {};

TEST_F(GreyScene, IsBalancedWithinAHundredth)
{
    auto &camera = OpenOne(Describe(19, 5));
    camera.SetBitDepth(8);
    camera.UpdateSettingsOnCamera();
    ZX::ZAutoExposure exposure(false);
    EXPECT_EQ(exposure.CalculateExposure(0, 0, 2000, 2000, &camera), 0);
    camera.SetExposure(camera.GetExposure() * 3 / 4);
    camera.UpdateSettingsOnCamera();
    const auto balance = std::make_unique<ZX::ZAutoWhiteBalance>(false);
    EXPECT_EQ(balance->Preprocess(100, 100, 1000, 800, &camera), 0);
    ZX::ZExImage *taken = nullptr;
    ASSERT_EQ(camera.GetOneImage(&taken), 0);
    const Image image(taken);
    camera.GetBayerPipeline()->AddFilter(balance.get());
    bool isDone = false;
    EXPECT_EQ(camera.GetBayerPipeline()->ProcessImage(image.get(), &isDone), 0);
    camera.GetBayerPipeline()->RemoveFilter(balance.get());
    double means[3] = {};
    const Bytes pixels = PixelsOf(*image);
    for (size_t sample = 0; sample < pixels.size(); ++sample)
        means[sample % 3] += pixels[sample];
    EXPECT_GT(means[1] / (static_cast<double>(pixels.size()) / 3), 50.0);
    EXPECT_NEAR(means[0] / means[1], 1.0, 0.01);
    EXPECT_NEAR(means[2] / means[1], 1.0, 0.01);
}

} // namespace
} // namespace zerix::test
