// The queue between callback and disk with a disk that the test holds back, and the counting.
#include "tools/writers/recording.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"
#include "tools/writers/recording_counts.h"

namespace zerix::tool {
namespace {

constexpr auto kDeadline = std::chrono::seconds(20);

// A disk that writes nothing before it is let, and fails from a given frame on.
class HeldDisk final : public SequenceWriter {
public:
    HeldDisk(const std::string &path, std::shared_future<void> let, uint64_t failing = UINT64_MAX)
        : SequenceWriter(path), m_let(std::move(let)), m_failing(failing)
    {
    }

protected:
    bool Begin(const Picture &) override { return true; }
    bool AddFrame(const Picture &picture) override
    {
        m_let.wait_for(kDeadline);
        return Frames() != m_failing && File().Append(picture.pixels);
    }
    [[nodiscard]] std::string Reason() const override
    {
        return Frames() == m_failing ? "worn" : "";
    }

private:
    std::shared_future<void> m_let;
    uint64_t m_failing;
};

class RecordingTest : public testing::Test {
protected:
    // Fills one buffer with its index and hands it over; false if there is none.
    static bool Bring(Recording &recording, uint8_t index)
    {
        FrameBuffer *const buffer = recording.TakeFree();
        if (buffer == nullptr)
            return false;
        buffer->bytes[0] = index;
        buffer->picture = Picture{};
        buffer->picture.pixels = {buffer->bytes.get(), 1};
        buffer->picture.width = buffer->picture.height = 1;
        recording.Hand(buffer);
        return true;
    }

    std::unique_ptr<SequenceWriter> Disk(uint64_t failing = UINT64_MAX)
    {
        return std::make_unique<HeldDisk>(Path(), m_let.get_future().share(), failing);
    }

    std::string Path() { return m_folder.Path() + "/frames"; }

    test::TemporaryFolder m_folder;
    std::promise<void> m_let;
};

TEST_F(RecordingTest, WritesAllInTheirOrder)
{
    Recording recording(Disk(), 100, 1);
    for (uint8_t i = 0; i < 100; ++i)
        ASSERT_TRUE(Bring(recording, i));
    EXPECT_EQ(recording.Written(), 0u);
    m_let.set_value();
    const auto outcome = recording.Finish();
    EXPECT_EQ(outcome.frames, 100u);
    EXPECT_EQ(outcome.writeError + outcome.endError, "");
    const std::string bytes = test::Contents(Path());
    ASSERT_EQ(bytes.size(), 100u);
    for (size_t i = 0; i < 100; ++i)
        EXPECT_EQ(static_cast<uint8_t>(bytes[i]), i);
}

TEST_F(RecordingTest, HasNoBufferWhileTheDiskHoldsThemAllAndNobodyWaits)
{
    Recording recording(Disk(), 5, 1);
    for (uint8_t i = 0; i < 5; ++i)
        ASSERT_TRUE(Bring(recording, i));
    EXPECT_FALSE(recording.HasFree());
    EXPECT_FALSE(Bring(recording, 5));
    std::promise<void> freed;
    bool isTold = false;
    recording.WhenFreed([&] {
        if (!isTold)
            freed.set_value();
        isTold = true;
    });
    m_let.set_value();
    ASSERT_EQ(freed.get_future().wait_for(kDeadline), std::future_status::ready);
    recording.WhenFreed({});
    EXPECT_TRUE(recording.HasFree());
    EXPECT_TRUE(Bring(recording, 6));
    EXPECT_EQ(recording.Finish().frames, 6u);
    EXPECT_EQ(test::Contents(Path()), std::string("\0\1\2\3\4\6", 6));
}

TEST_F(RecordingTest, TellsAFailureAndKeepsTheFramesBefore)
{
    Recording recording(Disk(3), 8, 1);
    m_let.set_value();
    for (uint8_t i = 0; i < 8; ++i)
        ASSERT_TRUE(Bring(recording, i));
    const auto outcome = recording.Finish();
    EXPECT_TRUE(recording.HasFailed());
    EXPECT_EQ(outcome.writeError, "worn");
    EXPECT_EQ(outcome.frames, 3u);
    EXPECT_EQ(recording.Written(), 3u);
    EXPECT_EQ(test::Contents(Path()), std::string("\0\1\2", 3));
    EXPECT_EQ(recording.Finish().frames, 3u) << "a second end says the same";
}

TEST(FrameNumbersTest, CountsGapsAlsoWhereTheNumbersBeginAnew)
{
    FrameNumbers numbers;
    EXPECT_EQ(numbers.Arrived(700), 0u) << "the first one may have any number";
    EXPECT_EQ(numbers.Arrived(701), 0u);
    EXPECT_EQ(numbers.Arrived(704), 2u);
    EXPECT_EQ(numbers.Arrived(65534), 64829u);
    EXPECT_EQ(numbers.Arrived(65535), 0u);
    EXPECT_EQ(numbers.Arrived(0), 0u);
    EXPECT_EQ(numbers.Arrived(3), 2u);
}

TEST(FrameNumbersTest, CountsThreeExposuresBehindAWheelAsOne)
{
    FrameNumbers numbers(3);
    EXPECT_EQ(numbers.Arrived(2), 0u);
    EXPECT_EQ(numbers.Arrived(5), 0u);
    EXPECT_EQ(numbers.Arrived(11), 1u);
    EXPECT_EQ(numbers.Arrived(15), 0u) << "an exposure that was not needed";
    EXPECT_EQ(numbers.Arrived(65535), 21839u);
    EXPECT_EQ(numbers.Arrived(2), 0u) << "the numbers begin anew";
}

// Long exposures on a clock that runs faster than theirs, say.
TEST(RecordingTexts, TellTheRateOfTheFramesOwnTimes)
{
    EXPECT_EQ(RateText(30, 2), "15.0 frames/s");
    EXPECT_EQ(RateText(4, 4), "1.0 frames/s");
    EXPECT_EQ(RateText(4, 2402), "600.5 s a frame");
    EXPECT_EQ(RateText(0, 0), "0.0 frames/s");
    EXPECT_EQ(RateText(0, 7), "0.0 frames/s");
}

TEST(RecordingTexts, SayWhatBecameOfTheFrames)
{
    const RecordingCounts counts{
        .recorded = 60, .lostOnBus = 2, .droppedSlowDisk = 3, .withMissingData = 1};
    EXPECT_EQ(LossesText(counts),
              "lost on the bus: 2, dropped because the disk was slow: 3, with missing data: 1");
    EXPECT_EQ(FramesText(0), "no frame");
    EXPECT_EQ(FramesText(1), "1 frame");
    EXPECT_EQ(FramesText(2), "2 frames");
    EXPECT_EQ(
        RecordingProgress(counts, {.frames = 100}, 4.1, 4.0),
        "[############        ] 60 of 100 frames, 15.0 frames/s, 2 lost, 3 dropped, 3 s left");
    EXPECT_EQ(RecordingProgress(counts, {.seconds = 10}, 4.0, 2.5),
              "[#####               ] 60 frames, 24.0 frames/s, 2 lost, 3 dropped, 12 s left");
    EXPECT_EQ(RecordingProgress(counts, {}, 4.0, 4.0),
              "60 frames, 15.0 frames/s, 2 lost, 3 dropped");
    EXPECT_EQ(RecordingProgress({}, {.frames = 5}, 0, 0),
              "[                    ] 0 of 5 frames, 0.0 frames/s, 0 lost, 0 dropped");
}

} // namespace
} // namespace zerix::tool
