// Format 0: blocks of numbered sub-packets, and every fault of them.
#include "tests/assembler/packets.h"

namespace zerix::test {
namespace {

constexpr uint8_t kFourWords = 4; // sub-packets of 16 bytes

// Groups of two sub-packets of 16 bytes: 2 and 16 bytes of data. Frames of 30 bytes.
class StreamFormat0 : public ::testing::Test {
protected:
    StreamFormat0() { camera.next.size = camera.next.expected = 30; }

    static Bytes Filled(size_t count, uint8_t value) { return Bytes(count, value); }
    static Bytes Start(uint8_t value) { return GroupStart({.groupBytes = 18}, Filled(2, value)); }
    static Bytes Second(uint8_t value) { return GroupGoingOn(Filled(2, value)); }
    static Bytes Rest(uint8_t value) { return Filled(16, value); }
    static Bytes Joined(std::initializer_list<std::pair<size_t, uint8_t>> runs)
    {
        Bytes bytes;
        for (const auto &[count, value] : runs)
            Append(bytes, Filled(count, value));
        return bytes;
    }
    void ExpectOne(uint32_t status, const Bytes &data)
    {
        ASSERT_EQ(camera.arrived.size(), 1u);
        EXPECT_EQ(camera.arrived[0]->info.status, status);
        EXPECT_EQ(camera.arrived[0]->Data(), data);
    }

    FakeCamera camera{0};
};

TEST_F(StreamFormat0, PutsAFrameTogetherFromOneBlock)
{
    camera.Send(Block(0, 1, kFourWords, {Start(1), Rest(2), Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, PutsAFrameTogetherFromBlocksOfOneSubPacket)
{
    camera.Send({Block(0, 1, kFourWords, {Start(1)}), Block(1, 1, kFourWords, {Rest(2)}),
                 Block(2, 1, kFourWords, {Second(3)}), Block(3, 1, kFourWords, {Rest(4)})});
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, ReadsTheHeaderBehindTheGroupsMarker)
{
    camera.Send(Block(
        0, 0, kFourWords,
        {GroupStart({.word = 0x0102, .plane = 6, .time = 0x03040506, .groupBytes = 2}, {1, 2})}));
    ASSERT_EQ(camera.frames.size(), 1u);
    EXPECT_EQ(camera.frames[0]->info.headerWord, 0x0102);
    EXPECT_EQ(camera.frames[0]->info.headerTime, 0x03040506u);
    EXPECT_EQ(camera.frames[0]->info.colourPattern, 6u);
    EXPECT_EQ(camera.frames[0]->Data()[1], 2);
    EXPECT_EQ(camera.frames[0]->Data()[2], kUntouched);
}

TEST_F(StreamFormat0, SwapsTheBlocksHeaderInQuadlets)
{
    Bytes block = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
    EXPECT_EQ(camera.Send(block), (Bytes{4, 3, 2, 1, 8, 7, 6, 5}));
    block.pop_back();
    EXPECT_EQ(camera.Send(block), block);
}

TEST_F(StreamFormat0, TakesASizeOfZeroAs1024Bytes)
{
    camera.next.size = camera.next.expected = 1012;
    Bytes first = GroupStart({.groupBytes = 2000}, Bytes(1010, 7));
    camera.Send(Block(0, 1, 0, {first, Bytes(1023, 8)}));
    EXPECT_TRUE(camera.arrived.empty());
    camera.Send(Block(1, 1, 0, {Bytes(1024, 9)}));
    ExpectOne(0, Joined({{1010, 7}, {2, 9}}));
}

TEST_F(StreamFormat0, LimitsAGroupToItsBytes)
{
    camera.next.size = camera.next.expected = 8;
    const Header header{.groupBytes = 4};
    camera.Send(Block(0, 1, kFourWords, {GroupStart(header, {1, 2}), Rest(3), Second(4), Rest(5)}));
    ExpectOne(0, {1, 2, 3, 3, 4, 4, 5, 5});
}

TEST_F(StreamFormat0, BeginsInTheMiddleOfTheNumbers)
{
    camera.Send(Block(200, 1, kFourWords, {Start(1), Rest(2), Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, SkipsWhatIsOutOfOrderUntilAGroupStarts)
{
    camera.Send(Block(7, 1, kFourWords, {Rest(9), Start(1), Rest(2), Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, CountsOverTheEndOfTheNumbers)
{
    camera.Send(Block(254, 1, kFourWords, {Start(1), Rest(2), Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

// Sub-packet 1 is lost: its 16 bytes are what is left of the group.
TEST_F(StreamFormat0, FillsTheRestOfAGroup)
{
    camera.Send(
        {Block(0, 1, kFourWords, {Start(1)}), Block(2, 1, kFourWords, {Second(3), Rest(4)})});
    ExpectOne(1, Joined({{2, 1}, {16, 0}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, FillsWholeGroups)
{
    camera.next.size = camera.next.expected = 56;
    camera.Send({Block(0, 1, kFourWords, {Start(1), Rest(2)}),
                 Block(4, 1, kFourWords, {Second(3), Rest(4)})});
    EXPECT_TRUE(camera.arrived.empty());
    camera.Send(Block(6, 1, kFourWords, {Second(5)}));
    ExpectOne(1, Joined({{2, 1}, {16, 2}, {18, 0}, {2, 3}, {16, 4}, {2, 5}}));
}

TEST_F(StreamFormat0, CountsTheLossOverTheEndOfTheNumbers)
{
    camera.next.size = camera.next.expected = 38;
    camera.Send(
        {Block(254, 1, kFourWords, {Start(1), Rest(2)}), Block(2, 1, kFourWords, {Second(3)})});
    ExpectOne(1, Joined({{2, 1}, {16, 2}, {18, 0}, {2, 3}}));
}

TEST_F(StreamFormat0, FillsNoFurtherThanTheFrame)
{
    camera.Send(
        {Block(0, 1, kFourWords, {Start(1)}), Block(40, 1, kFourWords, {Second(3), Rest(4)})});
    ExpectOne(1, Joined({{2, 1}, {28, 0}}));
}

// The second sub-packet of the group does not fit on without the first.
TEST_F(StreamFormat0, SkipsTheRestOfAGroupWhoseStartIsLost)
{
    camera.Send({Block(0, 1, kFourWords, {Start(1), Rest(2)}), Block(3, 1, kFourWords, {Rest(4)}),
                 Block(4, 1, kFourWords, {Second(5)})});
    ExpectOne(1, Joined({{2, 1}, {16, 2}, {12, 0}}));
}

TEST_F(StreamFormat0, CutsAFrameShortAtTheNext)
{
    camera.Send(Block(0, 1, kFourWords, {Start(1), Rest(2), Start(3), Rest(4)}));
    ExpectOne(2, Joined({{2, 1}, {16, 2}, {12, 0}}));
    camera.Send(Block(4, 1, kFourWords, {Second(5), Rest(6)}));
    ASSERT_EQ(camera.arrived.size(), 2u);
    EXPECT_EQ(camera.arrived[1]->Data(), Joined({{2, 3}, {16, 4}, {2, 5}, {10, 6}}));
}

TEST_F(StreamFormat0, SkipsAGroupStartWithoutItsMarker)
{
    Bytes bad = Start(1);
    bad[1] = 2;
    camera.Send(Block(0, 1, kFourWords, {bad, Rest(2)}));
    EXPECT_TRUE(camera.frames.empty());
    camera.Send(Block(2, 1, kFourWords, {Start(1), Rest(2), Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, SkipsGroupStartsTooShortForTheirLead)
{
    camera.Send(Block(0, 0, 3, {Bytes{0x80, 1, 0, 0, kTag, 0, 0, 0, 0, 0, 7, 1}}));
    EXPECT_TRUE(camera.frames.empty());
}

TEST_F(StreamFormat0, LeavesAPieceAtTheEndOfTheBlock)
{
    Bytes block = Block(0, 1, kFourWords, {Start(1), Rest(2), Second(3), Rest(4)});
    block.pop_back();
    camera.Send(block);
    EXPECT_TRUE(camera.arrived.empty());
    EXPECT_EQ(camera.frames[0]->Data(), Joined({{2, 1}, {16, 2}, {2, 3}, {10, kUntouched}}));
}

// Number 0 comes where 2 was expected, but a new count begins with it.
TEST_F(StreamFormat0, RestartsItsCountWithTheVersion)
{
    camera.Send(Block(0, 1, kFourWords, {Start(1), Rest(2)}));
    camera.assembler.Begin(0);
    camera.Send(Block(0, 1, kFourWords, {Second(3), Rest(4)}));
    ExpectOne(0, Joined({{2, 1}, {16, 2}, {2, 3}, {10, 4}}));
}

TEST_F(StreamFormat0, CopiesNothingOfAGroupWhoseStartIsBadAfterALoss)
{
    camera.next.size = camera.next.expected = 20;
    Bytes bad = Second(8);
    bad[1] = 2;
    camera.Send({Block(0, 1, kFourWords, {Start(1)}), Block(2, 1, kFourWords, {bad, Rest(9)}),
                 Block(4, 1, kFourWords, {Second(5)})});
    ExpectOne(1, Joined({{2, 1}, {16, 0}, {2, 5}}));
}

// Nothing of the image is missing, yet the loss is told.
TEST_F(StreamFormat0, TellsOfALossBetweenTheFields)
{
    camera.next.size = 4;
    camera.next.expected = 2;
    camera.next.interlaced = true;
    camera.next.lineBytes = 2;
    camera.Send({Block(0, 0, kFourWords, {GroupStart({.groupBytes = 2}, {1, 2})}),
                 Block(2, 0, kFourWords, {GroupStart({.field = 0, .groupBytes = 2}, {3, 4})})});
    ExpectOne(1, {1, 2, 3, 4});
}

TEST_F(StreamFormat0, ClosesAFrameThatIsLongerThanItsBuffer)
{
    camera.next.size = 10;
    camera.Send(Block(0, 1, kFourWords, {Start(1), Rest(2)}));
    ExpectOne(3, Joined({{2, 1}, {8, 2}}));
}

// The buffer comes round again under the parser: its first byte is another.
TEST_F(StreamFormat0, ForgetsTheFrameOfABufferThatWasOverwritten)
{
    Bytes block = Block(0, 1, kFourWords, {Start(1), Rest(2)});
    camera.overwriteAtPeek = block.data();
    camera.assembler.Packet({block.data(), block.size()});
    EXPECT_EQ(camera.overruns, 1u);
    ASSERT_EQ(camera.frames.size(), 1u);
    EXPECT_TRUE(camera.frames[0]->info.finished);
    EXPECT_FALSE(camera.frames[0]->info.valid);
    camera.overwriteAtPeek = nullptr;
    camera.Send(Block(2, 1, kFourWords, {Second(3), Rest(4)}));
    EXPECT_TRUE(camera.arrived.empty());
    EXPECT_EQ(camera.overruns, 1u);
}

} // namespace
} // namespace zerix::test
