// The queue between receive thread and run loop, and the records that are used again.
#include "camera/frame_queue.h"

#include <vector>

#include <gtest/gtest.h>

#include "image/z_ex_image.h"

namespace zerix::test {
namespace {

class FrameQueueTest : public ::testing::Test {
protected:
    FrameRecord &Push(bool isFinished = true)
    {
        FrameRecord *record = records.Acquire();
        record->finished = isFinished;
        EXPECT_TRUE(queue.PushFront(*record));
        return *record;
    }
    void TearDown() override
    {
        queue.MarkAllStale();
        while (queue.Front() != nullptr) {
            queue.Front()->finished = true;
            records.Release(*queue.TakeFrontIfFinished());
        }
    }

    FrameRecords records;
    FrameQueue queue;
};

TEST_F(FrameQueueTest, GivesTheOldestFirst)
{
    FrameRecord &first = Push();
    FrameRecord &second = Push();
    EXPECT_EQ(queue.Front(), &second);
    EXPECT_EQ(queue.TakeOldestFinished(), &first);
    EXPECT_EQ(queue.TakeOldestFinished(), &second);
    EXPECT_EQ(queue.TakeOldestFinished(), nullptr);
    records.Release(first);
    records.Release(second);
}

TEST_F(FrameQueueTest, KeepsWhatIsStillAssembled)
{
    FrameRecord &unfinished = Push(false);
    EXPECT_EQ(queue.TakeOldestFinished(), nullptr);
    EXPECT_EQ(queue.TakeFrontIfFinished(), nullptr);
    unfinished.finished = true;
    EXPECT_EQ(queue.TakeOldestFinished(), &unfinished);
    records.Release(unfinished);
}

TEST_F(FrameQueueTest, LetsNoFrameInWorkDelayAFinishedOne)
{
    FrameRecord &stuck = Push(false);
    FrameRecord &finished = Push();
    FrameRecord &newest = Push();
    EXPECT_EQ(queue.TakeOldestFinished(), &finished);
    records.Release(finished);
    EXPECT_EQ(queue.Count(), 2u);
    EXPECT_EQ(queue.TakeFrontIfFinished(), &newest);
    records.Release(newest);
    EXPECT_EQ(queue.Front(), &stuck);
}

TEST_F(FrameQueueTest, RefusesMoreThanItHolds)
{
    for (uint32_t i = 0; i < 256; ++i)
        Push();
    FrameRecord *more = records.Acquire();
    EXPECT_FALSE(queue.PushFront(*more));
    EXPECT_EQ(queue.Count(), 256u);
    records.Release(*more);
}

TEST_F(FrameQueueTest, GoesRoundManyTimes)
{
    for (uint32_t i = 0; i < 1000; ++i) {
        FrameRecord &pushed = Push();
        ASSERT_EQ(queue.TakeOldestFinished(), &pushed);
        records.Release(pushed);
    }
}

TEST_F(FrameQueueTest, MarksAllStale)
{
    FrameRecord &one = Push();
    FrameRecord &other = Push(false);
    queue.MarkAllStale();
    EXPECT_FALSE(one.valid);
    EXPECT_FALSE(other.valid);
}

TEST_F(FrameQueueTest, UsesRecordsAgainAndClean)
{
    FrameRecord *record = records.Acquire();
    record->data = ZX::ZExImage::AllocateBuffer(16);
    record->ownsData = true;
    record->status = 3;
    record->valid = false;
    record->finished = true;
    records.Release(*record);
    FrameRecord *again = records.Acquire();
    EXPECT_EQ(again, record);
    EXPECT_EQ(again->data, nullptr);
    EXPECT_FALSE(again->ownsData);
    EXPECT_EQ(again->status, 0u);
    EXPECT_TRUE(again->valid);
    EXPECT_FALSE(again->finished);
    records.Release(*again);
}

} // namespace
} // namespace zerix::test
