// The end of an exposure is told by a thread of its own; the frame must not overtake it.
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <utility>

#include <gtest/gtest.h>

#include "tests/api/queue_fixture.h"

namespace zerix::api {
namespace {

// The exposure's callback, in a thread of its own, up to where the test lets it go on. What happens
// is noted in its order.
class SlowExposeCall : public QueueTest {
protected:
    void SetUp() override
    {
        QueueTest::SetUp();
        inCallBack = [this](uint32_t flags) {
            if (flags == 2) {
                m_entered.set_value();
                m_insideCall();
            }
            const std::lock_guard lock(m_mutex);
            m_events.emplace_back(flags == 2 ? "exposure told" : "frame told");
        };
        EXPECT_EQ(QueueFrame(1, 3), 0u);
    }

    void TearDown() override
    {
        LetGo();
        QueueTest::TearDown();
    }

    void ExposeUntilCalled()
    {
        m_exposing = std::async(std::launch::async, [this] { Expose(); });
        m_entered.get_future().wait();
    }

    void LetGo()
    {
        if (!std::exchange(m_isFree, true))
            m_free.set_value();
        if (m_exposing.valid())
            m_exposing.get();
    }

    Lines Events()
    {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    std::future<void> m_exposing;
    std::promise<void> m_entered;
    std::promise<void> m_free;
    std::function<void()> m_insideCall = [this] { m_free.get_future().wait(); };

private:
    bool m_isFree = false;
    std::mutex m_mutex;
    Lines m_events;
};

TEST_F(SlowExposeCall, IsOverBeforeItsFrameIsTold)
{
    ExposeUntilCalled();
    std::future<void> receiving = std::async(std::launch::async, [this] { Receive(5); });
    EXPECT_EQ(receiving.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(slots[1].frame.filled, 0u);
    LetGo();
    receiving.get();
    EXPECT_EQ(Events(), (Lines{"exposure told", "frame told"}));
    EXPECT_EQ(slots[1].frame.filled, 1u);
}

// It may wait for something that only the stream's thread can bring about.
TEST_F(SlowExposeCall, HoldsItsFrameUpForASecondAtMost)
{
    ExposeUntilCalled();
    Receive(5);
    EXPECT_EQ(Events(), Lines{"frame told"});
    LetGo();
    EXPECT_EQ(Events(), (Lines{"frame told", "exposure told"}));
}

TEST_F(SlowExposeCall, CanAbortWhatWaitsForIt)
{
    std::promise<void> received;
    auto isAborting = received.get_future();
    std::chrono::steady_clock::duration aborting = {};
    ContextOf(*camera)->longestExposeWait = std::chrono::minutes(1);
    m_insideCall = [&] {
        isAborting.wait();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Zerix_Abort(HandleOf(*camera)), 0u);
        aborting = std::chrono::steady_clock::now() - start;
    };
    ExposeUntilCalled();
    std::future<void> receiving = std::async(std::launch::async, [this] { Receive(5); });
    EXPECT_EQ(receiving.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    received.set_value();
    receiving.get();
    LetGo();
    EXPECT_EQ(Count(), 0u);
    EXPECT_LT(aborting, std::chrono::seconds(30));
}

} // namespace
} // namespace zerix::api
