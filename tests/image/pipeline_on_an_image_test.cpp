// The chain of filters on an image, in place.
#include "image/z_bayer_interpolation.h"
#include "tests/image/pipeline_fixture.h"

namespace ZX {
namespace {

using PipelineOnAnImage = Pipeline;

TEST_F(PipelineOnAnImage, FillsTheInputFromTheImage)
{
    ZInImageBufferStruct seen;
    ToldFilter filter([&seen](ZInImageBufferStruct &in, ZOutImageBufferStruct &) -> int16_t {
        seen = in;
        return 31;
    });
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&filter);
    auto *const camera = reinterpret_cast<ZCamera *>(&m_done); // never looked into
    const auto image = MakeImage({1, 2, 3, 4, 5, 6}, 3, 2, 4, 7, camera);
    image->SetErrorCode(19);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 31);
    EXPECT_EQ(seen.pBuffer, image->GetImageData());
    EXPECT_EQ(seen.size, 6u);
    EXPECT_EQ(seen.width, 3u);
    EXPECT_EQ(seen.height, 2u);
    EXPECT_EQ(seen.bitDepth, 8u);
    EXPECT_EQ(seen.colourPattern, 7u);
    EXPECT_EQ(seen.filterColour, 7u);
    EXPECT_EQ(seen.imageFormat, 4u);
    EXPECT_EQ(seen.symmetricalBinningMode, 3u);
    EXPECT_TRUE(seen.lvwFlag);
    EXPECT_EQ(seen.errorCode, 19u);
    EXPECT_EQ(seen.camera, camera);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(image->GetErrorCode(), 19u);
}

TEST_F(PipelineOnAnImage, PutsTheResultIntoTheImage)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    ToldFilter threeTimes(Repeat(3, 0, 12));
    threeTimes.needed = 6;
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&addOne);
    pipeline.AddFilter(&threeTimes);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_TRUE(m_done);
    EXPECT_EQ(BytesOf(*image), (Bytes{11, 11, 11, 21, 21, 21}));
    EXPECT_EQ(image->GetImageFormat(), 12u);
    EXPECT_EQ(image->GetWidth(), 6u);
    EXPECT_EQ(image->GetHeight(), 1u);
}

TEST_F(PipelineOnAnImage, GrowsTheImageToAResultThatNobodyAnnounced)
{
    ToldFilter threeTimes(Repeat(3, 0, 12));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&threeTimes);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_EQ(BytesOf(*image), (Bytes{10, 10, 10, 20, 20, 20}));
}

TEST_F(PipelineOnAnImage, GrowsAMosaicForItsColoursBeforeTheFirstFilterRuns)
{
    uint32_t sizeAtFirst = 0;
    std::unique_ptr<ZExImage> image = MakeImage(Bytes(8, 1), 4, 2, 4);
    ToldFilter first([&](ZInImageBufferStruct &in, ZOutImageBufferStruct &) -> int16_t {
        sizeAtFirst = image->GetImageSize();
        EXPECT_EQ(in.size, 8u);
        return 5;
    });
    ZBayerInterpolation bayer(4, 12);
    pipeline.Setup(4, 2);
    pipeline.AddFilter(&first);
    pipeline.AddFilter(&bayer);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 5);
    EXPECT_EQ(sizeAtFirst, 24u);
    EXPECT_EQ(image->GetImageFormat(), 4u);
}

TEST_F(PipelineOnAnImage, GrowsTheImageAlsoWhereItWasNotSetUp)
{
    ToldFilter filter(Answer(0));
    filter.needed = 4;
    filter.Disable();
    pipeline.AddFilter(&filter);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    m_done = false;
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 27);
    EXPECT_FALSE(m_done);
    EXPECT_EQ(BytesOf(*image), (Bytes{10, 20, 0, 0}));
    EXPECT_EQ(image->GetImageFormat(), 4u);
}

TEST_F(PipelineOnAnImage, AnImageLargerThanTheSetupIsWorkedOnWhole)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    pipeline.Setup(1, 1);
    pipeline.AddFilter(&addOne);
    const auto image = MakeImage(Bytes(400, 7), 20, 20, 2);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_EQ(BytesOf(*image), Bytes(400, 8));
}

TEST_F(PipelineOnAnImage, AFilterBehindOneWithNothingToDoFindsTheImageInItsOutput)
{
    Bytes seen;
    ToldFilter nothing(Answer(31));
    ToldFilter inPlace([&seen](ZInImageBufferStruct &in, ZOutImageBufferStruct &out) -> int16_t {
        seen.assign(out.pBuffer, out.pBuffer + in.size);
        EXPECT_EQ(out.imageFormat, 4u);
        out.pBuffer[0] = 99;
        return kFilterOk;
    });
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&nothing);
    pipeline.AddFilter(&inPlace);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_EQ(seen, (Bytes{10, 20}));
    EXPECT_EQ(BytesOf(*image), (Bytes{99, 20}));
}

TEST_F(PipelineOnAnImage, AnImageThatStaysAsItWasKeepsItsFormat)
{
    ToldFilter first(Repeat(1, 1, 12));
    ToldFilter last(Answer(31));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&first);
    pipeline.AddFilter(&last);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 31);
    // The first filter's bytes are in the image; only a final 0 takes the description over.
    EXPECT_EQ(BytesOf(*image), (Bytes{11, 21}));
    EXPECT_EQ(image->GetImageFormat(), 4u);
}

// As live mode does before the mosaic becomes colour.
TEST_F(PipelineOnAnImage, AResultLargerThanAnnouncedHasRoomForTheNextFiltersToo)
{
    ToldFilter twice(Repeat(2, 0, 4));
    ToldFilter sixTimes(Repeat(6, 1, 12));
    ToldFilter inPlace([](ZInImageBufferStruct &, ZOutImageBufferStruct &out) -> int16_t {
        ++out.pBuffer[191];
        return kFilterOk;
    });
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&twice);
    pipeline.AddFilter(&sixTimes);
    pipeline.AddFilter(&inPlace);
    const auto image = MakeImage(Bytes(16, 7), 4, 4, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    Bytes expected(192, 8);
    expected[191] = 9;
    EXPECT_EQ(BytesOf(*image), expected);
}

TEST_F(PipelineOnAnImage, AnImageThatNobodyWorkedOnKeepsTheSizeThatItGrewTo)
{
    ZBayerInterpolation bayer(4, 12);
    bayer.Disable();
    pipeline.Setup(2, 1);
    pipeline.AddFilter(&bayer);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 31);
    EXPECT_EQ(BytesOf(*image), (Bytes{10, 20, 0, 0, 0, 0}));
    EXPECT_EQ(image->GetImageFormat(), 4u);
}

TEST_F(PipelineOnAnImage, WorksOnBuffersAgainAfterAnImage)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&addOne);
    const auto image = MakeImage({10, 20}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 0);
    EXPECT_EQ(Run({30, 40}, 2, 1), 0);
    EXPECT_EQ(Output(2), (Bytes{31, 41}));
    EXPECT_EQ(m_input, (Bytes{30, 40}));
    EXPECT_EQ(BytesOf(*image), (Bytes{11, 21}));
}

} // namespace
} // namespace ZX
