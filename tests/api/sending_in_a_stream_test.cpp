// Sending to a camera without hardware that streams: who holds what meanwhile, and when the stream
// makes the commit necessary.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/queue_fixture.h"

namespace zerix::api {
namespace {

class SendingInAStream : public QueueTest {
protected:
    void SetUp() override
    {
        QueueTest::SetUp();
        camera->isCameraStreaming = true;
        MakeCacheEqual(&current);
        camera->calls.clear();
    }
};

TEST_F(SendingInAStream, CommitsNothingThatChangedNothing)
{
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_FALSE(WasCalled("UpdateSettingsOnCamera"));
}

// A setter has stopped it, so the commit must start it again.
TEST_F(SendingInAStream, CommitsWhereTheStreamHasStopped)
{
    camera->inCall = [&](const std::string &name) {
        if (name == "SetReadoutPort")
            camera->isCameraStreaming = false;
    };
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_TRUE(WasCalled("UpdateSettingsOnCamera"));
    // It stood still before: nobody's stream has stopped.
    camera->calls.clear();
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_FALSE(WasCalled("UpdateSettingsOnCamera"));
}

TEST_F(SendingInAStream, HoldsTheQueueSemaphoreFromTheFirstSetterToTheCommit)
{
    Set(&current, zprmTriggerType, 1);
    ZX::ZSemaphore &queue = *ContextOf(*camera)->queueSemaphore;
    std::vector<std::string> asked;
    camera->inCall = [&](const std::string &name) {
        asked.push_back(name);
        EXPECT_FALSE(queue.WaitFor(0)) << name;
        EXPECT_TRUE(ContextOf(*camera)->isSending.load()) << name;
    };
    EXPECT_EQ(Send(&current), 0u);
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ(asked.front(), "SetBitDepth");
    EXPECT_EQ(asked.back(), "UpdateSettingsOnCamera");
    ASSERT_TRUE(queue.WaitFor(0));
    queue.Signal();
    EXPECT_FALSE(ContextOf(*camera)->isSending.load());
}

// The handler runs while a setter waits for it, so it must not wait for the sender.
TEST_F(SendingInAStream, LetsTheEndOfAnExposureThrough)
{
    EXPECT_EQ(QueueFrame(1, 3), 0u);
    camera->inCall = [&](const std::string &name) {
        if (name == "SetExposure" && ContextOf(*camera)->isSending.load())
            Expose();
    };
    EXPECT_EQ(Send(&current), 0u);
    EXPECT_EQ(TakeCallBacks(), (CallBacks{{1, 0, 2}}));
}

} // namespace
} // namespace zerix::api
