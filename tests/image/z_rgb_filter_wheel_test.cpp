// The filter wheel: which exposures it puts together, and how.
#include "image/z_rgb_filter_wheel.h"

#include <gtest/gtest.h>

#include "image/z_image_pipeline.h"
#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;

class Wheel : public testing::Test {
protected:
    Wheel()
    {
        camera.getImageFormat = 3;
        camera.getRGBFilterStartColour = 0;
        filter.Init(2, 1);
    }

    // One exposure of this colour.
    int16_t Run(uint32_t colour, const Bytes &bytes, uint32_t width = 2, uint32_t height = 1,
                uint32_t depth = 8)
    {
        const ExactBuffer input(bytes);
        in = {.pBuffer = input.Data(),
              .size = input.Size(),
              .width = width,
              .height = height,
              .bitDepth = depth,
              .colourPattern = colour,
              .imageFormat = 2,
              .filterColour = colour,
              .errorCode = error,
              .camera = &camera};
        const ExactBuffer output(filter.GetNeededOutputBufferSize(&in));
        out = {.pBuffer = output.Data()};
        const int16_t status = filter.Process(&in, &out);
        if (status == 0)
            result = output.Bytes();
        result.resize(std::min<size_t>(result.size(), out.size));
        return status;
    }

    // Red 1 2, green 3 4, blue 5 6 in a format.
    Bytes Compose(uint32_t format)
    {
        filter.SetOutputFormat(format);
        EXPECT_EQ(Run(0, {1, 2}), 6);
        EXPECT_EQ(Run(1, {3, 4}), 6);
        EXPECT_EQ(Run(3, {5, 6}), 0);
        EXPECT_EQ(out.imageFormat, format);
        EXPECT_EQ(out.width, 2u);
        EXPECT_EQ(out.height, 1u);
        return result;
    }

    FilterCamera camera;
    ZRGBFilterWheel filter{6};
    uint16_t error = 0; // of the exposures that are run
    ZInImageBufferStruct in;
    ZOutImageBufferStruct out;
    Bytes result;
};

TEST_F(Wheel, LayoutsOfEightBits)
{
    EXPECT_EQ(Compose(6), (Bytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Compose(8), (Bytes{5, 3, 1, 6, 4, 2}));
    EXPECT_EQ(Compose(9), (Bytes{255, 1, 3, 5, 255, 2, 4, 6}));
    EXPECT_EQ(Compose(11), (Bytes{5, 3, 1, 255, 6, 4, 2, 255}));
    EXPECT_EQ(Compose(12), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, LayoutsOfSixteenBits)
{
    const Bytes red = BytesOfWords({0x1234, 2});
    const Bytes green = BytesOfWords({3, 4});
    const Bytes blue = BytesOfWords({5, 0xFFFF});
    filter.SetOutputFormat(7);
    EXPECT_EQ(Run(0, red, 2, 1, 14), 6); // 14 bits are two bytes
    EXPECT_EQ(Run(1, green, 2, 1, 14), 6);
    EXPECT_EQ(Run(3, blue, 2, 1, 14), 0);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(WordsOfBytes(result), (std::vector<uint16_t>{0x1234, 2, 3, 4, 5, 0xFFFF}));
    filter.SetOutputFormat(10);
    EXPECT_EQ(Run(0, red, 2, 1, 14), 6);
    EXPECT_EQ(Run(1, green, 2, 1, 14), 6);
    EXPECT_EQ(Run(3, blue, 2, 1, 14), 0);
    EXPECT_EQ(out.size, 12u);
    EXPECT_EQ(WordsOfBytes(result), (std::vector<uint16_t>{0x1234, 3, 5, 2, 4, 0xFFFF}));
}

// The format doesn't have to suit the depth: planes are copied whole, but told as bytes.
TEST_F(Wheel, PlanesOfWordsUnderAFormatOfBytes)
{
    filter.SetOutputFormat(6);
    EXPECT_EQ(Run(0, BytesOfWords({1, 2}), 2, 1, 12), 6);
    EXPECT_EQ(Run(1, BytesOfWords({3, 4}), 2, 1, 12), 6);
    in = {};
    const Bytes blue = BytesOfWords({5, 6});
    const ExactBuffer input(blue);
    in = {.pBuffer = input.Data(),
          .size = 4,
          .width = 2,
          .height = 1,
          .bitDepth = 12,
          .colourPattern = 3,
          .filterColour = 3,
          .camera = &camera};
    EXPECT_EQ(filter.GetNeededOutputBufferSize(&in), 12u);
    const ExactBuffer output(12);
    out = {.pBuffer = output.Data()};
    EXPECT_EQ(filter.Process(&in, &out), 0);
    EXPECT_EQ(out.size, 6u);
    EXPECT_EQ(WordsOfBytes(output.Bytes()), (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
}

// Words from frames of bytes: the second half of each plane is nobody's, and shows nothing older.
TEST_F(Wheel, FramesOfBytesUnderAFormatOfWords)
{
    filter.SetOutputFormat(10);
    for (const uint32_t colour : {0u, 1u, 3u})
        Run(colour, BytesOfWords({0x7777, 0x7777}), 2, 1, 16);
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Wheel, AFormatWithoutALayoutAnswers5AndKeepsTheExposures)
{
    for (const uint32_t format : {13u, 0u, 5u, 14u}) {
        filter.SetOutputFormat(format);
        filter.Reset();
        EXPECT_EQ(Run(0, {1, 2}), 6) << format;
        EXPECT_EQ(Run(1, {3, 4}), 6) << format;
        EXPECT_EQ(Run(3, {5, 6}), 5) << format;
        filter.SetOutputFormat(12);
        EXPECT_EQ(Run(0, {7, 8}), 0) << format; // the next frame of the cycle completes it
        EXPECT_EQ(result, (Bytes{7, 3, 5, 8, 4, 6})) << format;
    }
}

TEST_F(Wheel, AnotherCameraGets31AndKeepsItsImage)
{
    for (const uint16_t imageClass : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
        camera.getImageFormat = imageClass;
        EXPECT_EQ(Run(0, {1, 2}), 31);
        EXPECT_EQ(out.size, 0u);
    }
}

// Exposures that an application kept: whichever camera they are from, red comes first.
TEST_F(Wheel, ExposuresWithoutACameraAreKeptOnesFromRedOn)
{
    filter.SetOutputFormat(12);
    const auto run = [this](uint32_t colour, Bytes pixels) {
        in = {.pBuffer = pixels.data(),
              .size = 2,
              .width = 2,
              .height = 1,
              .bitDepth = 8,
              .colourPattern = colour,
              .filterColour = colour};
        result.assign(6, 0xEE);
        out = {.pBuffer = result.data()};
        return filter.Process(&in, &out);
    };
    EXPECT_EQ(run(1, {9, 9}), 6);
    EXPECT_EQ(run(3, {9, 9}), 6);
    EXPECT_EQ(run(0, {1, 2}), 6);
    EXPECT_EQ(run(1, {3, 4}), 6);
    EXPECT_EQ(run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, BeginsWithTheStartColour)
{
    filter.SetOutputFormat(12);
    camera.getRGBFilterStartColour = 1;
    EXPECT_EQ(Run(0, {9, 9}), 6);
    EXPECT_EQ(Run(3, {9, 9}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 6);
    EXPECT_EQ(Run(0, {1, 2}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, DropsASecondExposureOfTheSameColour)
{
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(0, {9, 9}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, NeverStoresBlack)
{
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(2, {9, 9}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(2, {9, 9}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
    camera.getRGBFilterStartColour = 2;
    filter.Reset();
    for (const uint32_t colour : {2u, 0u, 1u, 3u, 2u})
        EXPECT_EQ(Run(colour, {9, 9}), 6) << colour;
}

// The turn is told by the pattern, the plane by the filter's colour.
TEST_F(Wheel, TheTurnGoesByThePattern)
{
    EXPECT_EQ(Run(0, {1, 2}), 6);
    in.colourPattern = 3;
    in.filterColour = 1;
    const ExactBuffer input(Bytes{9, 9});
    in.pBuffer = input.Data();
    EXPECT_EQ(filter.Process(&in, &out), 6);
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, AResetThrowsAPartialCycleAway)
{
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(0, {9, 9}), 6);
    EXPECT_EQ(Run(1, {9, 9}), 6);
    filter.Reset();
    EXPECT_EQ(Run(3, {5, 6}), 6); // not the start colour
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(Run(1, {9, 9}), 6); // idle again
}

// 18 is missing data, 19 a frame that the next one cut, 20 and 21 frames that were too long.
TEST_F(Wheel, APictureHasTheWorstErrorOfItsExposures)
{
    filter.SetOutputFormat(12);
    const uint16_t kErrors[][4] = {{18, 0, 0, 18}, {0, 18, 0, 18},  {0, 0, 18, 18},
                                   {0, 0, 0, 0},   {19, 18, 0, 19}, {18, 21, 20, 21}};
    for (const auto &[red, green, blue, worst] : kErrors) {
        error = red;
        EXPECT_EQ(Run(0, {1, 2}), 6);
        EXPECT_EQ(in.errorCode, red);
        error = green;
        EXPECT_EQ(Run(1, {3, 4}), 6);
        EXPECT_EQ(in.errorCode, green);
        error = blue;
        EXPECT_EQ(Run(3, {5, 6}), 0);
        EXPECT_EQ(in.errorCode, worst);
    }
}

TEST_F(Wheel, APictureHasNoErrorOfAnExposureThatItLacks)
{
    filter.SetOutputFormat(12);
    error = 18;
    EXPECT_EQ(Run(3, {9, 9}), 6); // not the start colour
    EXPECT_EQ(Run(0, {9, 9}), 6);
    filter.Reset();
    error = 0;
    EXPECT_EQ(Run(0, {1, 2}), 6);
    error = 18;
    EXPECT_EQ(Run(0, {9, 9}), 6); // out of turn
    error = 0;
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(in.errorCode, 0);
}

TEST_F(Wheel, NeedsRoomForTheColoursOfTheFrameThatCompletes)
{
    const auto needed = [this](uint32_t colour) {
        ZInImageBufferStruct frame{.size = 100, .filterColour = colour};
        return filter.GetNeededOutputBufferSize(&frame);
    };
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(needed(3), 300u);
    EXPECT_EQ(needed(0), 100u);
    EXPECT_EQ(needed(1), 100u);
    EXPECT_EQ(needed(2), 100u);
    filter.SetOutputFormat(10);
    EXPECT_EQ(needed(3), 600u);
    camera.getRGBFilterStartColour = 3;
    filter.Reset();
    EXPECT_EQ(Run(3, {1, 2}), 6);
    EXPECT_EQ(Run(0, {3, 4}), 6);
    EXPECT_EQ(needed(1), 600u);
    camera.getRGBFilterStartColour = 1;
    filter.Reset();
    EXPECT_EQ(Run(1, {1, 2}), 6);
    EXPECT_EQ(Run(3, {3, 4}), 6);
    EXPECT_EQ(needed(0), 600u);
}

TEST_F(Wheel, AFrameLargerThanTheMaximaGrowsTheBuffersAndKeepsWhatTheyHold)
{
    filter.SetOutputFormat(6);
    const Bytes red(50, 1);
    const Bytes green(200, 2);
    const Bytes blue(200, 3);
    EXPECT_EQ(Run(0, red, 10, 5), 6);
    EXPECT_EQ(Run(1, green, 20, 10), 6);
    EXPECT_EQ(Run(3, blue, 20, 10), 0);
    Bytes expected = red;
    expected.resize(200); // what a smaller exposure lacks is black
    expected.insert(expected.end(), green.begin(), green.end());
    expected.insert(expected.end(), blue.begin(), blue.end());
    EXPECT_EQ(result, expected);
}

TEST_F(Wheel, WorksAgainAfterItWasDisabled)
{
    filter.SetOutputFormat(12);
    EXPECT_EQ(Run(0, {9, 9}), 6);
    filter.Disable();
    filter.Enable();
    filter.Reset();
    EXPECT_EQ(Run(0, {1, 2}), 6);
    EXPECT_EQ(Run(1, {3, 4}), 6);
    EXPECT_EQ(Run(3, {5, 6}), 0);
    EXPECT_EQ(result, (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(Wheel, PacksPlanesOfTheLastFramesSize)
{
    EXPECT_EQ(Run(0, {1, 2, 3}, 3, 1), 6);
    const Bytes red{1, 2, 3};
    const Bytes green{4, 5, 6};
    const Bytes blue{7, 8, 9};
    const ExactBuffer packed(9);
    filter.PackImages(red.data(), green.data(), blue.data(), packed.Data());
    EXPECT_EQ(packed.Bytes(), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(Wheel, InAPipelineTheThirdExposureIsTheImage)
{
    filter.SetOutputFormat(8);
    ZImagePipeline pipeline;
    pipeline.Setup(2, 1);
    pipeline.AddFilter(&filter);
    bool isDone = true;
    const auto run = [&](uint16_t colour, const Bytes &bytes) {
        auto image = MakeImage(bytes, 2, 1, 2, colour, static_cast<ZCamera *>(&camera));
        image->SetErrorCode(colour == kWheelGreen ? 18 : 0);
        const int16_t status = pipeline.ProcessImage(image.get(), &isDone);
        error = image->GetErrorCode();
        result = BytesOf(*image);
        return status;
    };
    EXPECT_EQ(run(0, {1, 2}), 6);
    EXPECT_FALSE(isDone);
    EXPECT_EQ(run(1, {3, 4}), 6);
    EXPECT_FALSE(isDone);
    EXPECT_EQ(run(3, {5, 6}), 0);
    EXPECT_TRUE(isDone);
    EXPECT_EQ(error, 18);
    EXPECT_EQ(result, (Bytes{5, 3, 1, 6, 4, 2}));
}

// Every sequence of six colours, against the rule in its plainest form.
TEST_F(Wheel, EverySequenceOfSixExposuresFollowsTheRule)
{
    constexpr uint16_t kColours[] = {0, 1, 2, 3};
    filter.SetOutputFormat(6);
    for (const uint16_t start : {uint16_t{0}, uint16_t{1}, uint16_t{3}})
        for (uint32_t number = 0; number < 4096; ++number) {
            camera.getRGBFilterStartColour = start;
            filter.Reset();
            int held[4] = {-1, -1, -1, -1}; // which exposure of each colour
            uint16_t expected = start;
            bool hasStarted = false;
            for (uint32_t index = 0; index < 6; ++index) {
                const uint16_t colour = kColours[number >> (2 * index) & 3];
                const auto mark = static_cast<uint8_t>(index + 1);
                const int16_t status = Run(colour, {mark, mark});
                int16_t shouldBe = 6;
                hasStarted = hasStarted || colour == start;
                if (hasStarted && colour == expected) {
                    held[colour] = mark;
                    expected = colour == 0 ? 1 : colour == 1 ? 3 : 0;
                    if (held[0] > 0 && held[1] > 0 && held[3] > 0) {
                        shouldBe = 0;
                        EXPECT_EQ(result[0], held[0]);
                        EXPECT_EQ(result[2], held[1]);
                        EXPECT_EQ(result[4], held[3]);
                        held[0] = held[1] = held[3] = -1;
                        hasStarted = false;
                        expected = start;
                    }
                }
                ASSERT_EQ(status, shouldBe)
                    << "start " << start << " sequence " << number << " at " << index;
            }
        }
}

} // namespace
} // namespace ZX
