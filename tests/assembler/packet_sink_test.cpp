// The assembler as the hardware layer sees it.
#include "hal/packet_sink.h"
#include "tests/assembler/packets.h"
#include "tests/hal/counting_allocator.h"

namespace zerix::test {
namespace {

const Bytes kFrame = {1, 2, 3, 4, 5, 6, 7, 8};

// Passes a heap copy of its exact size.
void Pass(hal::PacketSink &sink, const Bytes &payload)
{
    Bytes copy = payload;
    sink.Packet(copy);
}

TEST(AssemblerAsASink, MakesFramesOfTheFormatThatTheStreamBeginsWith)
{
    FakeCamera camera(0); // its own assembler is idle
    const auto sink = hal::MakePacketSink();
    ASSERT_NE(sink, nullptr);
    sink->SetUp(
        {FakeCamera::Get, FakeCamera::Peek, FakeCamera::Done, FakeCamera::Overrun, &camera});
    sink->Begin(1);
    Pass(*sink, First(1, {}, kFrame));
    sink->Begin(2);
    Pass(*sink, First(2, {}, kFrame));
    sink->Begin(0);
    const Bytes inWholeWords = {1, 2, 3, 4, 5, 6, 7, 8, 0, 0};
    Pass(*sink, Block(0, 0, 6, {GroupStart({.groupBytes = 8}, inWholeWords)}));
    ASSERT_EQ(camera.arrived.size(), 3u);
    EXPECT_EQ(camera.arrived[0]->Data(), kFrame);
    EXPECT_EQ(camera.arrived[1]->Data(), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(camera.arrived[2]->Data(), kFrame);
}

// Its owner may have freed the frame of the connection before.
TEST(AssemblerAsASink, ForgetsTheFrameInWorkUntouchedWhenItIsSetUpAgain)
{
    FakeCamera before(1);
    FakeCamera after(1);
    const auto sink = hal::MakePacketSink();
    ASSERT_NE(sink, nullptr);
    sink->SetUp(
        {FakeCamera::Get, FakeCamera::Peek, FakeCamera::Done, FakeCamera::Overrun, &before});
    sink->Begin(1);
    Pass(*sink, First(1, {}, {1, 2}));
    ASSERT_EQ(before.frames.size(), 1u);
    before.frames.clear();
    sink->SetUp({FakeCamera::Get, FakeCamera::Peek, FakeCamera::Done, FakeCamera::Overrun, &after});
    sink->Begin(1);
    Pass(*sink, Next(1, 2, {3, 4, 5, 6, 7, 8}));
    sink->Drop();
    Pass(*sink, First(2, {}, kFrame));
    EXPECT_TRUE(before.arrived.empty());
    ASSERT_EQ(after.arrived.size(), 1u);
    EXPECT_EQ(after.arrived[0]->Data(), kFrame);
}

TEST(AssemblerAsASink, IsNullWithoutTheMemory)
{
    const LackingAllocation lacking(1);
    EXPECT_EQ(hal::MakePacketSink(), nullptr);
}

} // namespace
} // namespace zerix::test
