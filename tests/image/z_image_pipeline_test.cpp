// The chain of filters on callers' buffers.
#include <cstring>

#include "tests/image/pipeline_fixture.h"

namespace ZX {
namespace {

TEST_F(Pipeline, Answers27BeforeSetup)
{
    ToldFilter filter(Answer(0));
    pipeline.AddFilter(&filter);
    EXPECT_EQ(Run({1, 2}, 2, 1), 27);
    EXPECT_EQ(filter.processed, 0);
    const auto image = MakeImage({1, 2}, 2, 1, 4);
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 27);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2}));
}

TEST_F(Pipeline, Answers30AndDoneWithoutAFilter)
{
    pipeline.Setup(4, 4);
    EXPECT_EQ(Run({1, 2}, 2, 1), 30);
    EXPECT_TRUE(m_done);
    const auto image = MakeImage({1, 2}, 2, 1, 4);
    m_done = false;
    EXPECT_EQ(pipeline.ProcessImage(image.get(), &m_done), 30);
    EXPECT_TRUE(m_done);
}

TEST_F(Pipeline, InitialisesAFilterWithTheSizeOfSetup)
{
    ToldFilter filter(Answer(0));
    pipeline.Setup(1392, 1040);
    pipeline.AddFilter(&filter);
    EXPECT_EQ(filter.initWidth, 1392u);
    EXPECT_EQ(filter.initHeight, 1040u);
}

TEST_F(Pipeline, RunsItsFiltersInOrderEachOnTheResultBefore)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    ToldFilter twice(Repeat(2, 0, 12));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&addOne);
    pipeline.AddFilter(&twice);
    EXPECT_EQ(Run({10, 20}, 2, 1), 0);
    EXPECT_TRUE(m_done);
    EXPECT_EQ(Output(4), (Bytes{11, 11, 21, 21}));
    EXPECT_EQ(m_out.size, 4u);
    EXPECT_EQ(m_out.width, 4u);
    EXPECT_EQ(m_out.imageFormat, 12u);
    // The input record describes the result, away from the caller's buffer.
    EXPECT_EQ(m_in.size, 4u);
    EXPECT_EQ(m_in.width, 4u);
    EXPECT_EQ(m_in.height, 1u);
    EXPECT_EQ(m_in.imageFormat, 12u);
    EXPECT_NE(m_in.pBuffer, m_input.data());
    EXPECT_EQ(m_input, (Bytes{10, 20}));
}

TEST_F(Pipeline, WithEveryFilterDisabledAnswers31AndCopiesNothing)
{
    ToldFilter filter(Repeat(1, 1, 2));
    filter.Disable();
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&filter);
    EXPECT_EQ(Run({1, 2}, 2, 1), 31);
    EXPECT_TRUE(m_done);
    EXPECT_EQ(filter.processed, 0);
    EXPECT_EQ(Output(2), (Bytes{0xEE, 0xEE}));
    EXPECT_EQ(m_out.size, 0u);
    filter.Enable();
    EXPECT_EQ(Run({1, 2}, 2, 1), 0);
}

TEST_F(Pipeline, TheLastFilterDecidesAndShowsTheImageAsItStands)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    ToldFilter nothing([](ZInImageBufferStruct &, ZOutImageBufferStruct &out) -> int16_t {
        std::memset(out.pBuffer, 0x77, 2); // what it leaves there counts for nothing
        out.size = 1;
        out.width = 1;
        out.height = 77;
        out.imageFormat = 9;
        return kFilterNothingToDo;
    });
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&addOne);
    pipeline.AddFilter(&nothing);
    EXPECT_EQ(Run({10, 20}, 2, 1), 31);
    EXPECT_EQ(Output(2), (Bytes{11, 21}));
    EXPECT_EQ(m_out.size, 2u);
    EXPECT_EQ(m_out.width, 2u);
    EXPECT_EQ(m_out.height, 1u);
    EXPECT_EQ(m_out.imageFormat, 2u);
}

TEST_F(Pipeline, AFilterWithNothingToDoShowsTheInputInTheOutput)
{
    ToldFilter nothing(Answer(31));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&nothing);
    EXPECT_EQ(Run({10, 20}, 2, 1), 31);
    EXPECT_EQ(Output(3), (Bytes{10, 20, 0xEE}));
    EXPECT_EQ(m_out.size, 2u);
    EXPECT_EQ(m_out.imageFormat, 4u);
}

TEST_F(Pipeline, AnIncompleteImageIsNotDoneAndTheChainGoesOn)
{
    ToldFilter incomplete(Answer(6));
    ToldFilter addOne(Repeat(1, 1, 2));
    ToldFilter nothing(Answer(31));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&incomplete);
    EXPECT_EQ(Run({10, 20}, 2, 1), 6);
    EXPECT_FALSE(m_done);
    pipeline.AddFilter(&addOne);
    EXPECT_EQ(Run({10, 20}, 2, 1), 0);
    EXPECT_FALSE(m_done);
    EXPECT_EQ(Output(2), (Bytes{11, 21}));
    pipeline.AddFilter(&nothing);
    EXPECT_EQ(Run({10, 20}, 2, 1), 31);
    EXPECT_FALSE(m_done);
}

TEST_F(Pipeline, AnyOtherStatusEndsTheChain)
{
    for (const int16_t status : {int16_t{5}, int16_t{28}, int16_t{29}, int16_t{9}, int16_t{-1}}) {
        ZImagePipeline own;
        ToldFilter fails(Answer(status));
        ToldFilter never(Answer(0));
        own.Setup(4, 4);
        own.AddFilter(&fails);
        own.AddFilter(&never);
        Bytes bytes{1, 2};
        ZInImageBufferStruct in{.pBuffer = bytes.data(), .size = 2, .width = 2, .height = 1};
        ZOutImageBufferStruct out{.pBuffer = bytes.data()};
        bool done = false;
        EXPECT_EQ(own.ProcessImage(&in, &out, &done), status);
        EXPECT_TRUE(done);
        EXPECT_EQ(never.processed, 0);
    }
}

TEST_F(Pipeline, AResultAboveTheScratchBuffersSizeIsKeptWhole)
{
    // Set up for 6 bytes; the first result has 16.
    ToldFilter grows(Repeat(8, 0, 2));
    ToldFilter addOne(Repeat(1, 1, 2));
    pipeline.Setup(1, 1);
    pipeline.AddFilter(&grows);
    pipeline.AddFilter(&addOne);
    EXPECT_EQ(Run({10, 20}, 2, 1), 0);
    EXPECT_EQ(Output(16), (Bytes{11, 11, 11, 11, 11, 11, 11, 11, 21, 21, 21, 21, 21, 21, 21, 21}));
}

TEST_F(Pipeline, ASecondSetupTakesThePlaceOfTheFirst)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    pipeline.Setup(1, 1);
    pipeline.Setup(64, 64);
    pipeline.AddFilter(&addOne);
    EXPECT_EQ(addOne.initWidth, 64u);
    EXPECT_EQ(Run({10, 20}, 2, 1), 0);
}

TEST_F(Pipeline, RemovesTheFirstEqualFilterAndKeepsTheOrder)
{
    ToldFilter addOne(Repeat(1, 1, 2));
    ToldFilter twice(Repeat(2, 0, 12));
    ToldFilter stranger(Answer(5));
    pipeline.Setup(4, 4);
    pipeline.AddFilter(&addOne);
    pipeline.AddFilter(&twice);
    pipeline.AddFilter(&addOne);
    EXPECT_FALSE(pipeline.RemoveFilter(&stranger));
    EXPECT_EQ(Run({10}, 1, 1), 0);
    EXPECT_EQ(Output(2), (Bytes{12, 12}));
    EXPECT_TRUE(pipeline.RemoveFilter(&addOne));
    EXPECT_EQ(Run({10}, 1, 1), 0);
    EXPECT_EQ(Output(2), (Bytes{11, 11}));
    EXPECT_TRUE(pipeline.RemoveFilter(&addOne));
    EXPECT_TRUE(pipeline.RemoveFilter(&twice));
    EXPECT_FALSE(pipeline.RemoveFilter(&twice));
    EXPECT_EQ(Run({10}, 1, 1), 30);
}

TEST_F(Pipeline, ResetsEveryFilterEnabledOrNot)
{
    ToldFilter first(Answer(0));
    ToldFilter second(Answer(0));
    second.Disable();
    pipeline.AddFilter(&first);
    pipeline.AddFilter(&second);
    pipeline.ResetFilters();
    EXPECT_EQ(first.resets, 1);
    EXPECT_EQ(second.resets, 1);
}

TEST_F(Pipeline, PassesTheOutputFormatOnUntilAFilterRefuses)
{
    EXPECT_EQ(pipeline.SetOutputFormat(12), 0);
    ToldFilter first(Answer(0));
    ToldFilter second(Answer(0));
    ToldFilter third(Answer(0));
    second.formatStatus = 29;
    for (ToldFilter *filter : {&first, &second, &third})
        pipeline.AddFilter(filter);
    EXPECT_EQ(pipeline.SetOutputFormat(12), 29);
    EXPECT_EQ(first.format, 12u);
    EXPECT_EQ(second.format, 12u);
    EXPECT_EQ(third.format, 0u);
    second.formatStatus = 0;
    EXPECT_EQ(pipeline.SetOutputFormat(8), 0);
    EXPECT_EQ(third.format, 8u);
}

TEST_F(Pipeline, NeedsTheLargestOfTheInputAndEveryFilter)
{
    ZInImageBufferStruct in{.size = 100};
    EXPECT_EQ(pipeline.GetNeededOutputBufferSize(&in), 100u);
    ToldFilter small(Answer(0));
    ToldFilter large(Answer(0));
    small.needed = 50;
    large.needed = 300;
    large.Disable();
    pipeline.AddFilter(&small);
    EXPECT_EQ(pipeline.GetNeededOutputBufferSize(&in), 100u);
    pipeline.AddFilter(&large);
    EXPECT_EQ(pipeline.GetNeededOutputBufferSize(&in), 300u);
}

} // namespace
} // namespace ZX
