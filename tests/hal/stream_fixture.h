// A camera that streams over the scripted driver, with frames of eight bytes.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "tests/hal/counting_allocator.h"
#include "tests/hal/hal_fixture.h"
#include "tests/hal/plain_sink.h"

namespace zerix::test {

inline constexpr uint32_t kEnableRegister = 0xD0004004;
inline constexpr size_t kFrameBytes = 8;

// The camera object of these tests: one frame, handed out again and again.
struct FrameSink {
    tStFrameInfo frame{};
    Bytes data = Bytes(kFrameBytes);
    std::atomic<uint32_t> doneCount{0};
    std::atomic<uint32_t> timedOutCount{0};
    std::atomic<uint64_t> allocationsAtFirstFrame{0};
    std::atomic<uint64_t> allocationsAtLastFrame{0};
    std::unique_ptr<os::Semaphore> frameDone = os::Semaphore::Create(0, 1000);
    std::unique_ptr<os::Semaphore> timedOut = os::Semaphore::Create(0, 1000);
    std::function<void()> duringPeek;     // on the receive thread, when a frame begins
    std::function<void()> duringTimedOut; // on the receive thread, when the device is lost
    HALCamera *stopFromCallback = nullptr;
    uint32_t stopResult = 99;

    static FrameSink &Of(void *context) { return *static_cast<FrameSink *>(context); }

    static tStFrameInfo *Peek(void *context)
    {
        FrameSink &sink = Of(context);
        if (sink.duringPeek)
            sink.duringPeek();
        sink.frame.data = sink.data;
        sink.frame.isDropped = false;
        return &sink.frame;
    }
    static tStFrameInfo *Get(void *context) { return &Of(context).frame; }
    static void Done(void *context)
    {
        FrameSink &sink = Of(context);
        if (sink.doneCount.fetch_add(1) == 0)
            sink.allocationsAtFirstFrame = AllocationsOfThisThread();
        sink.allocationsAtLastFrame = AllocationsOfThisThread();
        sink.frameDone->Signal();
    }
    static void Overrun(void *) {}
    static void TimedOut(void *context)
    {
        FrameSink &sink = Of(context);
        if (sink.stopFromCallback != nullptr)
            sink.stopResult = HAL_CameraStopStreaming(*sink.stopFromCallback, kEnableRegister);
        if (sink.duringTimedOut)
            sink.duringTimedOut();
        ++sink.timedOutCount;
        sink.timedOut->Signal();
    }

    bool AwaitFrame() { return frameDone->Wait(20000) == os::WaitResult::kSignalled; }
    bool AwaitTimedOut() { return timedOut->Wait(20000) == os::WaitResult::kSignalled; }
};

class StreamTest : public HalTest {
protected:
    void SetUp() override
    {
        HalTest::SetUp();
        ASSERT_EQ(HAL_CameraConnect(&camera, 100, FrameSink::Get, FrameSink::Peek, FrameSink::Done,
                                    FrameSink::Overrun, FrameSink::TimedOut, &sink),
                  0u);
        driver.Forget();
    }

    uint32_t Start(uint16_t version = 1)
    {
        return HAL_CameraStartStreaming(camera, kEnableRegister, version, &sink);
    }

    // Starts, and forgets how; the receive thread has begun.
    void BeStreaming()
    {
        BeStreamingUnforgotten();
        driver.Forget();
    }

    void BeStreamingUnforgotten()
    {
        ASSERT_EQ(Start(), 0u);
        ASSERT_TRUE(driver.Await(kernel::kControlStreamBegin, ++m_starts));
    }

    // Does something that stops the stream, with an idle buffer that comes once the stop has begun,
    // as from a camera that streams. The stop may be over before.
    uint32_t WithAnIdleBuffer(const std::function<uint32_t()> &work)
    {
        std::atomic<bool> isOver{false};
        std::thread hardware([&] {
            while (Device().isStreaming.load())
                std::this_thread::yield();
            while (!isOver && !driver.Fill({}, std::chrono::milliseconds(1)))
                std::this_thread::yield();
        });
        const uint32_t error = work();
        isOver = true;
        hardware.join();
        return error;
    }

    uint32_t Stop()
    {
        return WithAnIdleBuffer(
            [this] { return HAL_CameraStopStreaming(camera, kEnableRegister); });
    }

    // The calls that are not the receive thread's own.
    Calls OwnersCalls()
    {
        Calls calls = driver.Calls();
        std::erase(calls, "22A084");
        std::erase(calls, "22A090");
        return calls;
    }

    FrameSink sink;

private:
    uint32_t m_starts = 0;
};

} // namespace zerix::test
