// No filter takes anything from the heap for a frame, once it has seen one of that size.
#include <gtest/gtest.h>
#include <thread>

#include "image/z_auto_exposure.h"
#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "image/z_rgb_filter_wheel.h"
#include "tests/hal/counting_allocator.h"
#include "tests/image/filter_camera.h"

namespace ZX {
namespace {

using zerix::test::AllocationsOfThisThread;

constexpr uint32_t kWidth = 66;
constexpr uint32_t kHeight = 20;

class FilterAllocations : public testing::Test {
protected:
    FilterAllocations()
    {
        camera.getModel = 8;
        camera.getImageFormat = 3;
        camera.getMaxExposure = 1'000'000;
    }

    ZInImageBufferStruct Frame(uint32_t format, uint32_t depth, uint32_t colour = 5)
    {
        return {.pBuffer = m_input.Data(),
                .size = kWidth * kHeight * (depth == 8 ? 1 : 2),
                .width = kWidth,
                .height = kHeight,
                .bitDepth = depth,
                .colourPattern = colour,
                .imageFormat = format,
                .filterColour = colour,
                .symmetricalBinningMode = 2,
                .camera = &camera};
    }

    // What the frames after the first take.
    template <typename Work>
    static uint64_t AllocationsOf(const Work &work)
    {
        work();
        const uint64_t before = AllocationsOfThisThread();
        work();
        work();
        return AllocationsOfThisThread() - before;
    }

    FilterCamera camera;
    ExactBuffer m_input{size_t{kWidth} * kHeight * 6, 9};
    ExactBuffer m_output{size_t{kWidth} * kHeight * 6, 9};
};

TEST_F(FilterAllocations, CountWhatTheyShould)
{
    EXPECT_EQ(AllocationsOf([] { ::operator delete(::operator new(1)); }), 2u);
}

TEST_F(FilterAllocations, Bayer)
{
    ZBayerInterpolation filter(1, 12);
    filter.Init(8, 8); // smaller than the frames
    for (const uint32_t format : {8u, 9u, 10u, 11u, 12u, 13u})
        for (const uint16_t algorithm : {uint16_t{1}, uint16_t{2}, uint16_t{4}}) {
            filter.SetOutputFormat(format);
            filter.SetAlgorithm(algorithm);
            const uint64_t count = AllocationsOf([&] {
                auto in = Frame(format == 10 ? 5 : 4, format == 10 ? 12 : 8);
                ZOutImageBufferStruct out{.pBuffer = m_output.Data()};
                EXPECT_EQ(filter.Process(&in, &out), 0);
            });
            EXPECT_EQ(count, 0u) << format << " " << algorithm;
        }
}

TEST_F(FilterAllocations, Wheel)
{
    ZRGBFilterWheel filter(8);
    filter.Init(8, 8);
    for (const uint32_t format : {6u, 7u, 8u, 9u, 10u, 11u, 12u}) {
        filter.SetOutputFormat(format);
        const uint32_t depth = format == 7 || format == 10 ? 14 : 8;
        EXPECT_EQ(AllocationsOf([&] {
                      for (const uint32_t colour : {0u, 1u, 3u}) {
                          auto in = Frame(depth == 8 ? 2 : 3, depth, colour);
                          ZOutImageBufferStruct out{.pBuffer = m_output.Data()};
                          EXPECT_EQ(filter.Process(&in, &out), colour == 3 ? 0 : 6);
                      }
                  }),
                  0u)
            << format;
    }
}

// By tables that multiply, and by one that is looked up, as no factor gives its gain.
TEST_F(FilterAllocations, WhiteBalance)
{
    const auto filter = std::make_unique<ZAutoWhiteBalance>(false);
    for (const float scale : {1.16f, 65535.0f}) {
        filter->SetRedScale(scale);
        for (const uint32_t format : {6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u})
            EXPECT_EQ(AllocationsOf([&] {
                          auto in = Frame(format, format == 7 || format == 10 ? 12 : 8);
                          ZOutImageBufferStruct out{.pBuffer = m_output.Data(),
                                                    .imageFormat = format};
                          EXPECT_EQ(filter->Process(&in, &out), 0);
                      }),
                      0u)
                << format << " times " << scale;
    }
}

TEST_F(FilterAllocations, RatioCorrection)
{
    ZBenchmateRatioCorrection filter(0);
    for (const uint32_t depth : {8u, 12u})
        for (const uint32_t binning : {2u, 3u, 4u})
            for (const bool isLive : {false, true})
                EXPECT_EQ(AllocationsOf([&] {
                              auto in = Frame(depth == 8 ? 4 : 5, depth);
                              in.symmetricalBinningMode = binning;
                              in.lvwFlag = isLive;
                              ZOutImageBufferStruct out{.pBuffer = m_output.Data()};
                              EXPECT_EQ(filter.Process(&in, &out), 0);
                          }),
                          0u)
                    << depth << " bits, binning " << binning;
}

// From the frame's buffer, which grows to the picture, to the picture's end; buffers come back.
TEST_F(FilterAllocations, AChainOnImages)
{
    camera.getImageFormat = 2;
    ZBenchmateRatioCorrection ratio(0);
    ZBayerInterpolation bayer(4, 12);
    const auto balance = std::make_unique<ZAutoWhiteBalance>(false);
    ZImagePipeline pipeline;
    pipeline.Setup(kWidth, kHeight);
    for (ZImageFilter *filter :
         std::initializer_list<ZImageFilter *>{&ratio, &bayer, balance.get()})
        pipeline.AddFilter(filter);
    EXPECT_EQ(AllocationsOf([&] {
                  constexpr uint32_t kSize = kWidth * kHeight;
                  uint8_t *const buffer = ZExImage::AllocateBuffer(kSize);
                  std::memset(buffer, 7, kSize);
                  ZExImage image(buffer, kSize, kWidth, kHeight, uint16_t{8}, 0, 1.0, 4,
                                 uint16_t{2}, uint16_t{5}, uint16_t{0}, false, uint16_t{8},
                                 uint16_t{0}, uint16_t{1}, false, uint16_t{0}, uint16_t{0},
                                 static_cast<ZCamera *>(&camera), true, 0);
                  bool isDone = false;
                  EXPECT_EQ(pipeline.ProcessImage(&image, &isDone), 0);
                  EXPECT_EQ(image.GetImageSize(), 3 * kSize);
              }),
              0u);
}

// On a camera whose setters take nothing themselves: the clamp makes them all the same.
TEST_F(FilterAllocations, ExposureMeasures)
{
    ZAutoExposure filter(true);
    filter.Init(kWidth, kHeight);
    camera.calls.reserve(100);
    for (const uint32_t format : {2u, 12u}) {
        const bool isColour = format == 12;
        const uint64_t ofTheStep = AllocationsOf([&] {
            auto in = Frame(format, 8);
            EXPECT_EQ(filter.Process(&in, nullptr), 31);
        });
        const uint64_t ofTheCamera = AllocationsOf([&] {
            camera.SetExposure(camera.getExposure);
            if (!isColour) {
                camera.SetRGBFilterRedExposure(camera.getExposure);
                camera.SetRGBFilterBlueExposure(camera.getExposure);
            }
            camera.UpdateSettingsOnCamera();
        });
        EXPECT_EQ(ofTheStep, ofTheCamera) << format;
    }
}

// A camera that tells nonsense of its sensor must not cost the machine its memory: what is kept
// ready is for 4095 x 4095 pixels at most, of two bytes in each of the wheel's planes.
TEST_F(FilterAllocations, AnImpossiblyLargeSensorCostsNoMoreThanTheLargestPossibleOne)
{
    uint64_t largest = 0;
    std::thread counted([&] { // with a count of its own
        ZRGBFilterWheel wheel(6);
        EXPECT_EQ(wheel.Init(65535, 65535), kFilterOk);
        wheel.Enable();
        largest = zerix::test::LargestAllocationOfThisThread();
    });
    counted.join();
    EXPECT_EQ(largest, 2u * 4095 * 4095);
}

} // namespace
} // namespace ZX
