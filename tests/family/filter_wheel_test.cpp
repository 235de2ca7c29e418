// Monochrome cameras with a turning filter wheel: the sequence of three exposures, each with the
// picture behind its own filter, as they reach the filters of the image pipeline.
#include <gtest/gtest.h>

#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "tests/api/behind_a_handle.h"
#include "tests/camera/image_receiver.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

using test::ImageReceiver;

constexpr uint32_t kRed = 0;
constexpr uint32_t kGreen = 1;
constexpr uint32_t kBlue = 3;

Filter FilterOf(uint32_t colour)
{
    return colour == kRed ? Filter::kRed : colour == kGreen ? Filter::kGreen : Filter::kBlue;
}

// Notes what a filter is told of each exposure, and leaves the image alone. Runs on the camera's
// thread, and is asked after the image has been delivered.
class Probe final : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *in, ZX::ZOutImageBufferStruct *) override
    {
        filterColours.push_back(in->filterColour);
        patterns.push_back(in->colourPattern);
        return ZX::kFilterNothingToDo;
    }
    int16_t Init(uint32_t, uint32_t) override { return ZX::kFilterOk; }
    int16_t SetOutputFormat(uint32_t) override { return ZX::kFilterOk; }

    std::vector<uint32_t> filterColours;
    std::vector<uint32_t> patterns;
};

class FilterWheel : public FamilySession, public testing::WithParamInterface<uint32_t> {
protected:
    // A camera whose wheel turns, and whose exposures come one by one.
    void OpenTurning(const std::string &scene)
    {
        OpenOnly("model = " + std::to_string(GetParam()) +
                 "\nsensor = 6\nbit-depth = 14\nscene = \"" + scene + "\"\n");
        ASSERT_TRUE(Camera().IsRGBFilterSupported());
        api::ContextOf(Camera())->filterWheel->Disable();
        ASSERT_EQ(Camera().SetRGBFilterCycle(true), 0u);
        ASSERT_EQ(Camera().GetImageFormat(), 3u);
    }

    View PlaneView(uint32_t colour, bool isInBytes) const
    {
        View view = WholeView(SensorOf(6), 14, isInBytes);
        view.filter = FilterOf(colour);
        return view;
    }

    // A cycle of exposures from one start of the stream.
    void ExpectSequence(const std::vector<uint32_t> &colours, bool isInBytes)
    {
        Probe probe;
        Camera().GetImagePipeline()->AddFilter(&probe);
        ImageReceiver receiver;
        ASSERT_EQ(Camera().StartStreamingImages(ImageReceiver::Received, nullptr, false, &receiver),
                  0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, static_cast<uint32_t>(colours.size())), 0u);
        for (const uint32_t colour : colours) {
            const ImageReceiver::Delivery delivery = receiver.Take();
            ASSERT_NE(delivery.image, nullptr);
            const View view = PlaneView(colour, isInBytes);
            const std::vector<uint8_t> expected = ExpectedBytes(view);
            EXPECT_EQ(delivery.error, 0);
            EXPECT_EQ(delivery.image->GetColourPattern(), colour);
            EXPECT_EQ(delivery.image->GetCameraImageFormat(), 3);
            ASSERT_EQ(delivery.image->GetImageSize(), expected.size());
            EXPECT_EQ(Difference(view, expected, delivery.image->GetImageData()), "") << colour;
        }
        ASSERT_EQ(Camera().StopStreamingImages(), 0u);
        EXPECT_EQ(probe.filterColours, colours);
        EXPECT_EQ(probe.patterns, colours);
        Camera().GetImagePipeline()->RemoveFilter(&probe);
    }

    // The mean of a frame above black, which is a 128th of the range.
    double MeanAboveBlack(uint32_t colour)
    {
        Camera().SetRGBFilterStartColour(static_cast<uint16_t>(colour));
        Grab();
        EXPECT_EQ(frame.colourPattern, colour);
        double sum = 0;
        for (uint32_t byte = 0; byte < frame.size; byte += 2)
            sum += pixels[byte] | pixels[byte + 1] << 8;
        return sum / (frame.size / 2) - 16384 / 128;
    }
};

TEST_P(FilterWheel, GivesRedGreenAndBlueInTurn)
{
    OpenTurning("positions");
    ExpectSequence({kRed, kGreen, kBlue, kRed, kGreen, kBlue, kRed}, true);
    ASSERT_EQ(Camera().SetBitDepth(14), 0u);
    ExpectSequence({kRed, kGreen, kBlue}, false);
}

TEST_P(FilterWheel, BeginsWithTheColourThatItIsTold)
{
    OpenTurning("positions");
    ASSERT_EQ(Camera().SetRGBFilterStartColour(kGreen), 0u);
    ExpectSequence({kGreen, kBlue, kRed, kGreen}, true);
    ASSERT_EQ(Camera().SetRGBFilterStartColour(kBlue), 0u);
    ExpectSequence({kBlue, kRed, kGreen, kBlue}, true);
}

// A frame is one exposure; its colour is no mosaic.
TEST_P(FilterWheel, TellsTheColourOfAFrame)
{
    OpenTurning("positions");
    for (const uint32_t colour : {kRed, kGreen, kBlue}) {
        ASSERT_EQ(Camera().SetRGBFilterStartColour(static_cast<uint16_t>(colour)), 0u);
        Grab();
        const View view = PlaneView(colour, true);
        EXPECT_EQ(frame.colourPattern, colour);
        EXPECT_EQ(frame.bayerPattern, 0u);
        EXPECT_EQ(frame.width, 1392u);
        EXPECT_EQ(frame.height, 1040u);
        ASSERT_EQ(frame.size, 1392u * 1040u);
        EXPECT_EQ(Difference(view, ExpectedBytes(view), pixels.data()), "");
    }
}

// Red and blue have exposures of their own, green has the camera's.
TEST_P(FilterWheel, ExposesEachColourForItsOwnTime)
{
    OpenTurning("flat:10000");
    ASSERT_EQ(Camera().SetBitDepth(14), 0u);
    const auto expose = [this](uint64_t red, uint64_t green, uint64_t blue) {
        EXPECT_EQ(Camera().SetRGBFilterRedExposure(red), 0u);
        EXPECT_EQ(Camera().SetExposure(green), 0u);
        EXPECT_EQ(Camera().SetRGBFilterBlueExposure(blue), 0u);
        return std::vector<double>{MeanAboveBlack(kRed), MeanAboveBlack(kGreen),
                                   MeanAboveBlack(kBlue)};
    };
    const auto alike = expose(10'000'000, 10'000'000, 10'000'000);
    const auto apart = expose(20'000'000, 5'000'000, 30'000'000);
    ASSERT_GT(alike[0], 100);
    EXPECT_NEAR(apart[0] / alike[0], 2.0, 0.01);
    EXPECT_NEAR(apart[1] / alike[1], 0.5, 0.01);
    EXPECT_NEAR(apart[2] / alike[2], 3.0, 0.01);
    // The sensor sees green best and blue least.
    EXPECT_GT(alike[1], 1.1 * alike[0]);
    EXPECT_GT(alike[0], 1.1 * alike[2]);
}

INSTANTIATE_TEST_SUITE_P(Family, FilterWheel, testing::Values(5u, 18u),
                         [](const auto &row) { return "Model" + std::to_string(row.param); });

class NoFilterWheel : public FamilySession {};

// A mosaic has its colours already: the wheel's bit changes nothing of the picture.
TEST_F(NoFilterWheel, ChangesAMosaic)
{
    OpenOnly("model = 19\nsensor = 53\nbit-depth = 12\nscene = \"positions\"\n");
    ASSERT_EQ(Camera().SetRGBFilterCycle(true), 0u);
    const View view = WholeView(SensorOf(53), 12, true);
    ExpectPicture(view, {zfmtBayer8, 8, 1, 0});
}

} // namespace
} // namespace zerix::family
