// A send that meets a start or a stop of the stream waits for it: it goes on with a stream that is
// on or off, never with one that is neither.
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/concurrency_fixture.h"

namespace zerix::concurrency {
namespace {

// Holds one thread at its first request to the bus.
class Gate {
public:
    void Arrive()
    {
        std::unique_lock lock(m_mutex);
        m_hasArrived = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_isOpen; });
    }
    void AwaitArrival()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_hasArrived; });
    }
    void Open()
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_hasArrived = false;
    bool m_isOpen = false;
};

thread_local Gate *t_gate = nullptr;

void HoldAtGate(bool isGoingIn)
{
    if (isGoingIn && t_gate != nullptr)
        std::exchange(t_gate, nullptr)->Arrive();
}

class WaitingSend : public ConcurrencyTest {
protected:
    void SetUp() override
    {
        ConcurrencyTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(OpenQuick());
        worker = std::make_unique<Worker>(handle);
        ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker->settings), 0u);
        tap.WatchPassages(HoldAtGate);
    }

    // Switches the stream while a region is sent, and holds the switch at its first request until
    // the send has had time to run past it.
    void SwitchAndSend(uint32_t on)
    {
        Gate gate;
        auto switched = std::async(std::launch::async, [&] {
            t_gate = &gate;
            return Zerix_SetStreaming(handle, on);
        });
        gate.AwaitArrival();
        tables::SetSlot32(&worker->settings, zprmRoiWidth, 512);
        auto sent = std::async(std::launch::async,
                               [&] { return Zerix_SendSettingsToCam(handle, &worker->settings); });
        EXPECT_EQ(sent.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
        gate.Open();
        EXPECT_EQ(switched.get(), 0u);
        EXPECT_EQ(sent.get(), 0u);
    }

    bool IsStreaming() { return Zerix_Trigger(handle) != ZERIX_ERROR_NOT_STREAMING; }

    std::unique_ptr<Worker> worker;
};

TEST_F(WaitingSend, WaitsForAStart)
{
    SwitchAndSend(1);
    EXPECT_TRUE(IsStreaming());
    ASSERT_EQ(Zerix_GrabFrame(handle, &worker->frame.frame), 0u);
    EXPECT_EQ(worker->frame.frame.width, 512u);
    ExpectGoodCamera();
}

TEST_F(WaitingSend, WaitsForAStop)
{
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    SwitchAndSend(0);
    EXPECT_FALSE(IsStreaming());
    ASSERT_EQ(Zerix_GrabFrame(handle, &worker->frame.frame), 0u);
    EXPECT_EQ(worker->frame.frame.width, 512u);
    ExpectGoodCamera();
}

} // namespace
} // namespace zerix::concurrency
