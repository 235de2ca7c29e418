// Formats 1 and 2: packets with a position, and every fault of one.
#include "tests/assembler/packets.h"

namespace zerix::test {
namespace {

class StreamFormat12 : public ::testing::Test {
protected:
    void ExpectOne(uint32_t status, const Bytes &data)
    {
        ASSERT_EQ(camera.arrived.size(), 1u);
        EXPECT_EQ(camera.arrived[0]->info.status, status);
        EXPECT_EQ(camera.arrived[0]->Data(), data);
    }

    FakeCamera camera{1};
};

TEST_F(StreamFormat12, PutsAFrameTogether)
{
    camera.Send(First(5, {.word = 0x0102, .plane = 7, .time = 0x03040506}, {1, 2, 3, 4}));
    EXPECT_TRUE(camera.arrived.empty());
    EXPECT_FALSE(camera.frames[0]->info.finished);
    camera.Send(Next(5, 4, {5, 6, 7, 8}));
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(camera.arrived[0]->info.headerWord, 0x0102);
    EXPECT_EQ(camera.arrived[0]->info.headerTime, 0x03040506u);
    EXPECT_EQ(camera.arrived[0]->info.colourPattern, 7u);
    EXPECT_TRUE(camera.arrived[0]->info.valid);
}

TEST_F(StreamFormat12, SwapsTheHeadersAndClearsTheTrailerWhereTheyStand)
{
    const Bytes left = camera.Send(First(5, {.word = 0x0102, .time = 0x03040506}, {1, 2}));
    EXPECT_EQ(left, (Bytes{1,    2,    5,    0, 0, 0, 0, 0, 0x02, 0x01, 0, kTag, 0x04,
                           0x03, 0x06, 0x05, 1, 7, 0, 0, 1, 2,    0,    0, 0,    0}));
}

TEST_F(StreamFormat12, ReadsAPositionOf24Bits)
{
    camera.next.size = camera.next.expected = 0x010203 + 1;
    camera.Send({First(1, {}, {9}), Next(1, 0x010203, {7})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 1u);
    const Bytes data = camera.arrived[0]->Data();
    EXPECT_EQ(data[0], 9);
    EXPECT_EQ(data[1], 0);
    EXPECT_EQ(data[0x010202], 0);
    EXPECT_EQ(data[0x010203], 7);
}

TEST_F(StreamFormat12, DropsAPacketOfAnotherMarkerOrWithTheForeignFlag)
{
    Bytes badMarker = First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8});
    badMarker[1] = 2;
    Bytes foreign = First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8});
    foreign[0] = 3;
    camera.Send({badMarker, foreign});
    EXPECT_TRUE(camera.frames.empty());
}

// What is dropped for its marker doesn't even show a gap.
TEST_F(StreamFormat12, LooksForAGapOnlyInGoodPackets)
{
    Bytes badMarker = Next(1, 6, {7, 8});
    badMarker[1] = 0;
    camera.Send({First(1, {}, {1, 2}), badMarker, Next(1, 2, {3, 4, 5, 6, 7, 8})});
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, FillsAGapWithBlackAndGoesOnInPlace)
{
    camera.Send({First(1, {}, {1, 2}), Next(1, 4, {5, 6}), Next(1, 6, {7, 8})});
    ExpectOne(1, {1, 2, 0, 0, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, FillsAGapToTheEndOfTheFrameAndNoFurther)
{
    camera.Send({First(1, {}, {1, 2}), Next(1, 100, {5, 6})});
    ExpectOne(1, {1, 2, 0, 0, 0, 0, 0, 0});
}

TEST_F(StreamFormat12, BlackensTheRestForAPositionThatGoesBack)
{
    camera.Send({First(1, {}, {1, 2, 3, 4}), Next(1, 2, {9, 9})});
    ExpectOne(1, {1, 2, 3, 4, 0, 0, 0, 0});
}

TEST_F(StreamFormat12, BlackensTheRestForADoubledPacket)
{
    camera.Send({First(1, {}, {1, 2}), Next(1, 2, {3, 4}), Next(1, 2, {3, 4})});
    ExpectOne(1, {1, 2, 3, 4, 0, 0, 0, 0});
}

TEST_F(StreamFormat12, BlackensTheRestForAnotherFrameId)
{
    camera.Send({First(1, {}, {1, 2}), Next(2, 2, {9, 9})});
    ExpectOne(1, {1, 2, 0, 0, 0, 0, 0, 0});
}

// The header of the next frame has another id, so what is missing counts as a gap.
TEST_F(StreamFormat12, FindsAMissingLastPacketAtTheNextFrame)
{
    camera.Send(
        {First(1, {}, {1, 2, 3, 4}), First(2, {}, {11, 12, 13, 14}), Next(2, 4, {15, 16, 17, 18})});
    ASSERT_EQ(camera.arrived.size(), 2u);
    EXPECT_EQ(camera.arrived[0]->info.status, 1u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(camera.arrived[1]->info.status, 0u);
    EXPECT_EQ(camera.arrived[1]->Data(), (Bytes{11, 12, 13, 14, 15, 16, 17, 18}));
}

// A header in the right place, with the right id, can only be the start of another frame.
TEST_F(StreamFormat12, CutsAFrameShortAtAHeader)
{
    Bytes header = First(1, {}, {11, 12, 13, 14});
    header[7] = 4;
    camera.Send({First(1, {}, {1, 2, 3, 4}), header});
    ExpectOne(2, {1, 2, 3, 4, 0, 0, 0, 0});
    ASSERT_EQ(camera.frames.size(), 2u);
    EXPECT_FALSE(camera.frames[1]->info.finished);
}

TEST_F(StreamFormat12, DropsAPacketForItsTrailerAndFindsTheGapAtTheNext)
{
    Bytes badTrailer = Next(1, 2, {3, 4});
    badTrailer.back() = 0xAB;
    camera.Send(First(1, {}, {1, 2}));
    camera.Send(badTrailer);
    EXPECT_EQ(camera.frames[0]->info.status, 0u);
    camera.Send(Next(1, 4, {5, 6, 7, 8}));
    ExpectOne(1, {1, 2, 0, 0, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, LooksAtAllFourBytesOfTheTrailer)
{
    for (size_t i = 1; i <= 4; ++i) {
        Bytes badTrailer = First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8});
        badTrailer[badTrailer.size() - i] = 0;
        camera.Send(badTrailer);
    }
    EXPECT_TRUE(camera.frames.empty());
}

TEST_F(StreamFormat12, FillsAGapBeforeItLooksAtTheTrailer)
{
    Bytes badTrailer = Next(1, 6, {7, 8});
    badTrailer.back() = 0;
    camera.Send({First(1, {}, {1, 2}), badTrailer, Next(1, 6, {7, 8})});
    ExpectOne(1, {1, 2, 0, 0, 0, 0, 7, 8});
}

TEST_F(StreamFormat12, DropsAPacketShorterThanItsOwnHeaderAfterTheGap)
{
    Bytes cut = Next(1, 4, {});
    cut.resize(11);
    camera.Send({First(1, {}, {1, 2}), cut, Next(1, 4, {5, 6, 7, 8})});
    ExpectOne(1, {1, 2, 0, 0, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, DropsPacketsOfEveryLengthThatIsTooShort)
{
    const Bytes whole = First(1, {}, {});
    ASSERT_EQ(whole.size(), 24u);
    for (size_t length = 0; length < 24; ++length)
        camera.Send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_TRUE(camera.frames.empty());
    camera.Send(whole);
    EXPECT_EQ(camera.frames.size(), 1u);
}

TEST_F(StreamFormat12, TakesNoMoreThanTheFrameIsOwed)
{
    camera.Send(First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
    camera.Send(Next(1, 10, {11}));
    EXPECT_EQ(camera.arrived.size(), 1u);
}

TEST_F(StreamFormat12, IgnoresPacketsWithoutAFrame)
{
    camera.Send(Next(1, 0, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(camera.frames.empty());
}

TEST_F(StreamFormat12, IgnoresAFrameThatTheCameraDoesNotPrepare)
{
    camera.hasFrames = false;
    camera.Send({First(1, {}, {1, 2, 3, 4}), Next(1, 4, {5, 6, 7, 8})});
    EXPECT_TRUE(camera.arrived.empty());
    camera.hasFrames = true;
    camera.Send({First(2, {}, {1, 2, 3, 4}), Next(2, 4, {5, 6, 7, 8})});
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, KeepsTheStateOfALongerFrameThanItsBuffer)
{
    camera.next.expected = 12;
    camera.Send({First(1, {}, {1, 2, 3, 4, 5, 6}), Next(1, 6, {7, 8, 9, 10, 11, 12})});
    ExpectOne(3, {1, 2, 3, 4, 5, 6, 7, 8});
    camera.Send(Next(1, 12, {1}));
    EXPECT_EQ(camera.arrived.size(), 1u);
}

// An error of the fill is that of the copy.
TEST_F(StreamFormat12, ClosesAFrameWhoseGapRunsPastItsBuffer)
{
    camera.next.expected = 12;
    camera.Send({First(1, {}, {1, 2}), Next(1, 10, {7, 8})});
    ExpectOne(3, {1, 2, 0, 0, 0, 0, 0, 0});
}

TEST_F(StreamFormat12, BlackensWhatTheFrameDoesNotWaitFor)
{
    camera.next.expected = 6;
    camera.Send(First(1, {}, {1, 2, 3, 4, 5, 6}));
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 0, 0});
}

TEST_F(StreamFormat12, TurnsTheImageInFormat2Only)
{
    FakeCamera second(2);
    camera.Send(First(1, {.plane = 5, .bitCode = 11}, {1, 2, 3, 4, 5, 6, 7, 8}));
    second.Send(First(1, {.plane = 5, .bitCode = 11}, {1, 2, 3, 4, 5, 6, 7, 8}));
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(camera.arrived[0]->info.colourPattern, 5u);
    ASSERT_EQ(second.arrived.size(), 1u);
    EXPECT_EQ(second.arrived[0]->Data(), (Bytes{7, 8, 5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(second.arrived[0]->info.colourPattern, 8u);
}

TEST_F(StreamFormat12, TurnsByPixelsOfTheDepthInTheHeader)
{
    struct {
        uint8_t bitCode;
        Bytes data;
    } const cases[] = {{7, {8, 7, 6, 5, 4, 3, 2, 1}}, {8, {7, 8, 5, 6, 3, 4, 1, 2}}};
    for (const auto &c : cases) {
        FakeCamera turned(2);
        turned.Send(First(1, {.bitCode = c.bitCode}, {1, 2, 3, 4, 5, 6, 7, 8}));
        ASSERT_EQ(turned.arrived.size(), 1u);
        EXPECT_EQ(turned.arrived[0]->Data(), c.data) << int{c.bitCode};
    }
}

TEST_F(StreamFormat12, TurnsEveryMosaicPattern)
{
    const uint32_t turned[] = {0, 1, 2, 3, 4, 8, 7, 6, 5, 9, 10};
    for (uint8_t pattern = 0; pattern <= 10; ++pattern) {
        FakeCamera second(2);
        second.Send(First(1, {.plane = pattern}, Bytes(8)));
        ASSERT_EQ(second.arrived.size(), 1u);
        EXPECT_EQ(second.arrived[0]->info.colourPattern, turned[pattern]);
    }
}

// Only a frame that came to its end is turned.
TEST_F(StreamFormat12, TurnsNoCutFrameButOneWithAGap)
{
    FakeCamera second(2);
    Bytes header = First(1, {}, {1, 2, 3, 4});
    header[7] = 4;
    second.Send({First(1, {}, {1, 2, 3, 4}), header, Next(1, 6, {7, 8})});
    ASSERT_EQ(second.arrived.size(), 2u);
    EXPECT_EQ(second.arrived[0]->info.status, 2u);
    EXPECT_EQ(second.arrived[0]->Data(), (Bytes{1, 2, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(second.arrived[1]->info.status, 1u);
    EXPECT_EQ(second.arrived[1]->Data(), (Bytes{8, 7, 0, 0, 4, 3, 2, 1}));
}

TEST_F(StreamFormat12, WritesNothingAfterACancel)
{
    camera.Send(First(1, {}, {1, 2}));
    camera.assembler.Drop();
    EXPECT_TRUE(camera.frames[0]->info.finished);
    EXPECT_FALSE(camera.frames[0]->info.valid);
    camera.Send(Next(1, 2, {3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(camera.arrived.empty());
    EXPECT_EQ(camera.frames[0]->Data()[2], kUntouched);
}

TEST_F(StreamFormat12, CancelsWithoutAFrame)
{
    camera.assembler.Drop();
    camera.Send(First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8}));
    ExpectOne(0, {1, 2, 3, 4, 5, 6, 7, 8});
}

TEST_F(StreamFormat12, LivesWithAFrameOfNoBytes)
{
    camera.next.size = camera.next.expected = 0;
    camera.Send({First(1, {}, {1, 2}), First(2, {}, {1, 2})});
    ExpectOne(2, {});
}

} // namespace
} // namespace zerix::test
