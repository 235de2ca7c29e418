// The start of a frame: tags, strays, the second field, the next plane, and where their bytes go.
#include "tests/assembler/packets.h"

namespace zerix::test {
namespace {

void ExpectDead(const FakeCamera &camera, size_t index)
{
    EXPECT_EQ(camera.frames[index]->info.status, 5u);
    EXPECT_TRUE(camera.frames[index]->info.finished);
    EXPECT_EQ(camera.frames[index]->Data(), Bytes(camera.next.size));
}

TEST(FrameStart, DropsAFrameOfAnotherTag)
{
    FakeCamera camera(1);
    camera.Send({First(1, {.tag = kTag + 1}, {1, 2, 3, 4}), Next(1, 4, {5, 6, 7, 8})});
    EXPECT_TRUE(camera.arrived.empty());
    ExpectDead(camera, 0);
}

TEST(FrameStart, DropsASecondFieldThatBelongsToNothing)
{
    FakeCamera camera(1);
    camera.Send(First(1, {.field = 0x30}, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(camera.arrived.empty());
    ExpectDead(camera, 0);
}

TEST(FrameStart, DropsALaterPlaneThatBelongsToNothing)
{
    for (uint32_t format = 0; format <= 7; ++format) {
        for (uint8_t plane : {uint8_t{1}, uint8_t{3}}) {
            FakeCamera camera(1);
            camera.next.outputFormat = format;
            camera.Send(First(1, {.plane = plane}, {1}));
            if (format >= 1 && format <= 6)
                ExpectDead(camera, 0);
            else
                EXPECT_FALSE(camera.frames[0]->info.finished) << format;
        }
    }
}

TEST(FrameStart, TakesTheNextFrameAfterADeadOne)
{
    FakeCamera camera(1);
    camera.Send({First(1, {.tag = 9}, {1, 2}), First(2, {}, {1, 2, 3, 4, 5, 6, 7, 8})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0], camera.frames[1].get());
    EXPECT_EQ(camera.arrived[0]->info.status, 0u);
}

class InterlacedFrame : public ::testing::Test {
protected:
    InterlacedFrame()
    {
        camera.next.size = 12;
        camera.next.expected = 6;
        camera.next.interlaced = true;
        camera.next.lineBytes = 3;
    }
    FakeCamera camera{1};
};

// Four lines of three bytes; a packet ends within a line.
TEST_F(InterlacedFrame, PutsTheFieldsOnEveryOtherLine)
{
    camera.Send({First(1, {}, {1, 2}), Next(1, 2, {3, 4, 5, 6})});
    EXPECT_TRUE(camera.arrived.empty());
    camera.Send({First(2, {.field = 0}, {7, 8, 9, 10}), Next(2, 4, {11, 12})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 0u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 7, 8, 9, 4, 5, 6, 10, 11, 12}));
}

TEST_F(InterlacedFrame, FillsAGapOnItsOwnLines)
{
    camera.Send({First(1, {}, {1, 2, 3, 4, 5, 6}), First(2, {.field = 0}, {7}), Next(2, 5, {12})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 1u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 7, 0, 0, 4, 5, 6, 0, 0, 12}));
}

TEST_F(InterlacedFrame, IsCutByAFirstFieldInThePlaceOfTheSecond)
{
    camera.Send({First(1, {}, {1, 2, 3, 4, 5, 6}), First(2, {}, {1})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 2u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 0, 0, 0, 4, 5, 6, 0, 0, 0}));
}

TEST_F(InterlacedFrame, GoesOnWithItsSecondFieldWhenTheEndOfTheFirstIsLost)
{
    camera.Send({First(1, {}, {1, 2}), First(2, {.field = 0}, {7, 8, 9, 10, 11, 12})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 1u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 0, 7, 8, 9, 0, 0, 0, 10, 11, 12}));
}

// A field of another number than 1 is a frame of its own.
TEST_F(InterlacedFrame, WaitsForASecondFieldOnlyAfterTheFirst)
{
    camera.Send(First(1, {.field = 2}, {1, 2, 3, 4, 5, 6}));
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 0, 0, 0, 4, 5, 6, 0, 0, 0}));
}

TEST_F(InterlacedFrame, OverflowsAtTheEndOfItsBuffer)
{
    camera.next.expected = 9;
    camera.Send(First(1, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9}));
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 3u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 3, 0, 0, 0, 4, 5, 6, 0, 0, 0}));
}

TEST_F(InterlacedFrame, OverflowsWithoutALineLength)
{
    camera.next.lineBytes = 0;
    camera.Send(First(1, {}, {1}));
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 3u);
    EXPECT_EQ(camera.arrived[0]->Data(), Bytes(12));
}

// Planes 0, 1 and 3 of two samples each.
struct PlaneCase {
    uint32_t outputFormat;
    uint8_t bitCode;
    uint32_t size;
    Bytes data;
};

class ColourPlanes : public ::testing::TestWithParam<PlaneCase> {};

TEST_P(ColourPlanes, GoToTheirChannels)
{
    FakeCamera camera(1);
    const PlaneCase &c = GetParam();
    const bool isWide = c.bitCode >= 8;
    camera.next.outputFormat = c.outputFormat;
    camera.next.size = c.size;
    camera.next.expected = isWide ? 4 : 2;
    uint8_t id = 0;
    for (uint8_t plane : {uint8_t{0}, uint8_t{1}, uint8_t{3}}) {
        const uint8_t base = static_cast<uint8_t>((plane + 1) * 0x10);
        const auto at = [base](int i) { return static_cast<uint8_t>(base + i); };
        EXPECT_TRUE(camera.arrived.empty());
        ++id;
        // A packet ends within a sample.
        camera.Send(First(id, {.plane = plane, .bitCode = c.bitCode}, {at(1)}));
        camera.Send(Next(id, 1, isWide ? Bytes{at(2), at(3), at(4)} : Bytes{at(2)}));
    }
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 0u);
    EXPECT_EQ(camera.arrived[0]->Data(), c.data);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ColourPlanes,
    ::testing::Values(
        PlaneCase{2, 7, 8, {0, 0x11, 0x21, 0x41, 0, 0x12, 0x22, 0x42}},
        PlaneCase{3, 7, 6, {0x41, 0x21, 0x11, 0x42, 0x22, 0x12}},
        PlaneCase{4, 7, 8, {0x41, 0x21, 0x11, 0, 0x42, 0x22, 0x12, 0}},
        PlaneCase{5, 7, 6, {0x11, 0x21, 0x41, 0x12, 0x22, 0x42}},
        PlaneCase{6, 7, 6, {0x11, 0x12, 0x21, 0x22, 0x41, 0x42}},
        PlaneCase{
            3, 8, 12, {0x41, 0x42, 0x21, 0x22, 0x11, 0x12, 0x43, 0x44, 0x23, 0x24, 0x13, 0x14}},
        PlaneCase{
            6, 11, 12, {0x11, 0x12, 0x13, 0x14, 0x21, 0x22, 0x23, 0x24, 0x41, 0x42, 0x43, 0x44}}));

TEST(ColourPlane, AboveThreeClosesTheFrame)
{
    FakeCamera camera(1);
    camera.next.outputFormat = 3;
    camera.next.size = 6;
    camera.next.expected = 2;
    camera.Send(First(1, {.plane = 4}, {1, 2}));
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 2u);
    EXPECT_EQ(camera.arrived[0]->Data(), Bytes(6));
}

TEST(ColourPlane, PastTheBufferOverflows)
{
    for (uint32_t format : {2u, 6u}) {
        FakeCamera camera(1);
        camera.next.outputFormat = format;
        camera.next.size = 3;
        camera.next.expected = 4;
        camera.Send(First(1, {}, {1, 2, 3, 4}));
        ASSERT_EQ(camera.arrived.size(), 1u);
        EXPECT_EQ(camera.arrived[0]->info.status, 3u);
    }
}

TEST(ColourPlane, OutOfTurnCutsTheFrame)
{
    FakeCamera camera(1);
    camera.next.outputFormat = 6;
    camera.next.size = 6;
    camera.next.expected = 2;
    camera.Send({First(1, {}, {1, 2}), First(2, {.plane = 3}, {5, 6})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->info.status, 2u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{1, 2, 0, 0, 0, 0}));
    ExpectDead(camera, 1);
}

TEST(ColourPlane, IsTurnedByItself)
{
    FakeCamera camera(2);
    camera.next.outputFormat = 6;
    camera.next.size = 9;
    camera.next.expected = 3;
    camera.Send({First(1, {}, {1, 2, 3}), First(2, {.plane = 1}, {4, 5, 6}),
                 First(3, {.plane = 3}, {7, 8, 9})});
    ASSERT_EQ(camera.arrived.size(), 1u);
    EXPECT_EQ(camera.arrived[0]->Data(), (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7}));
}

} // namespace
} // namespace zerix::test
