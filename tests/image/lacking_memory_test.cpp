// Filters and pipelines that get no memory, and the buffers that the wheel holds and gives back.
#include <cerrno>
#include <gtest/gtest.h>

#include "image/z_bayer_interpolation.h"
#include "image/z_rgb_filter_wheel.h"
#include "platform/frame_buffer_pool.h"
#include "platform/os.h"
#include "tests/hal/counting_allocator.h"
#include "tests/image/filter_camera.h"
#include "tests/image/pipeline_fixture.h"

namespace ZX {
namespace {

using zerix::test::AllocationsOfThisThread;
using zerix::test::LackingAllocation;

// Lets no image have a buffer above a size while it lives.
class SmallImages {
public:
    explicit SmallImages(uint32_t largest) { zerix::FrameBuffers().SetLargestForTest(largest); }
    ~SmallImages() { zerix::FrameBuffers().SetLargestForTest(0xFFFFFFFF); }
    SmallImages(const SmallImages &) = delete;
    SmallImages &operator=(const SmallImages &) = delete;
};

TEST_F(Pipeline, AnImageThatCannotGrowGets5AndKeepsItsPixels)
{
    ToldFilter threeTimes(Repeat(3, 0, 12));
    threeTimes.needed = 6;
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&threeTimes);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    {
        const SmallImages small(5);
        EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 5);
    }
    EXPECT_EQ(threeTimes.processed, 0);
    EXPECT_EQ(image->GetImageSize(), 0u);
    EXPECT_EQ(image->GetImageData()[1], 20u);
    EXPECT_EQ(image->GetImageFormat(), 4u);
}

// Setup says nothing of it. With caller's buffers a single filter needs no scratch buffer for its
// work, but for its result.
TEST_F(Pipeline, WithoutItsScratchBufferAnswers5UntilThereIsMemory)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    pipeline.AddFilter(&addOne);
    {
        const LackingAllocation lacking(1);
        pipeline.Setup(4, 4);
    }
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    {
        const LackingAllocation lacking(1);
        EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 5);
    }
    EXPECT_EQ(BytesOf(*image), (Bytes{10, 20}));
    {
        const LackingAllocation lacking(1);
        EXPECT_EQ(Run({10, 20}, 2, 1), 5);
    }
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_EQ(BytesOf(*image), (Bytes{11, 21}));
}

TEST(BayerWithoutMemory, AnswersAsBeforeInitOrWith5)
{
    Bytes mosaic{10, 21, 31, 40};
    Bytes rgb(12);
    ZInImageBufferStruct in{
        .pBuffer = mosaic.data(), .size = 4, .width = 2, .height = 2, .imageFormat = 4};
    ZOutImageBufferStruct out{.pBuffer = rgb.data()};
    ZBayerInterpolation filter(2, 12);
    {
        const LackingAllocation lacking(1);
        EXPECT_EQ(filter.Init(2, 2), 0);
    }
    EXPECT_EQ(filter.Process(&in, &out), 28);
    {
        const LackingAllocation lacking(2);
        EXPECT_EQ(filter.Init(2, 2), 0);
    }
    {
        const LackingAllocation lacking(1);
        EXPECT_EQ(filter.Process(&in, &out), 5);
    }
    EXPECT_EQ(rgb, Bytes(12));
    EXPECT_EQ(filter.Process(&in, &out), 0);
    EXPECT_EQ(rgb[0], 10);
}

class WheelWithoutMemory : public testing::Test {
protected:
    WheelWithoutMemory() { camera.getImageFormat = 3; }

    int16_t Run(ZRGBFilterWheel &filter, uint32_t colour, uint32_t width = 4)
    {
        Bytes pixels{1, 2, 3, 4};
        ZInImageBufferStruct in{.pBuffer = pixels.data(),
                                .size = width,
                                .width = width,
                                .height = 1,
                                .bitDepth = 8,
                                .colourPattern = colour,
                                .filterColour = colour,
                                .camera = &camera};
        result.assign(12, 0xEE);
        ZOutImageBufferStruct out{.pBuffer = result.data()};
        return filter.Process(&in, &out);
    }

    FilterCamera camera;
    Bytes result;
};

TEST_F(WheelWithoutMemory, WithoutALockEveryFrameFailsAndItsTextIsPrinted)
{
    const auto make = [] {
        const LackingAllocation lacking(1);
        return std::make_unique<ZRGBFilterWheel>(uint16_t{6});
    };
    const auto filter = make();
    filter->Init(4, 1);
    zerix::os::SetLastError(ENOMEM);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run(*filter, 0), 9);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), zerix::os::ErrorText(ENOMEM));
    filter->Reset();
    filter->Disable();
}

TEST_F(WheelWithoutMemory, ALargerFrameGets5AndTheCycleStays)
{
    ZRGBFilterWheel filter(6);
    filter.Init(1, 1);
    EXPECT_EQ(Run(filter, 0, 1), 6);
    for (uint32_t plane = 1; plane <= 3; ++plane) {
        const LackingAllocation lacking(plane);
        EXPECT_EQ(Run(filter, 1), 5) << plane;
    }
    EXPECT_EQ(Run(filter, 1), 6);
    EXPECT_EQ(Run(filter, 3), 0);
    EXPECT_EQ(result, (Bytes{1, 0, 0, 0, 1, 2, 3, 4, 1, 2, 3, 4}));
}

TEST_F(WheelWithoutMemory, BuffersOfTheMaximaAreMadeWhereThereAreNone)
{
    ZRGBFilterWheel filter(6);
    uint64_t before = AllocationsOfThisThread();
    const auto taken = [&before] {
        const uint64_t count = AllocationsOfThisThread() - before;
        before += count;
        return count;
    };
    filter.Enable(); // maxima of 0: buffers of no bytes
    EXPECT_EQ(taken(), 3u);
    filter.FreeBuffers();
    filter.Init(100, 10);
    EXPECT_EQ(taken(), 3u);
    filter.Init(200, 10);
    filter.Enable();
    filter.AllocateBuffers(300, 10);
    EXPECT_EQ(taken(), 0u);
    filter.Disable();
    filter.Enable();
    EXPECT_EQ(taken(), 3u);
    filter.FreeBuffers();
    filter.AllocateBuffers(300, 10);
    EXPECT_EQ(taken(), 3u);
}

} // namespace
} // namespace ZX
