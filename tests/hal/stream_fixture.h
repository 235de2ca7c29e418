// A camera that streams over the scripted driver, with frames of eight bytes in stream format 1.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "camera/assembler/frame_info.h"
#include "tests/hal/counting_allocator.h"
#include "tests/hal/hal_fixture.h"

namespace zerix::test {

inline constexpr uint32_t kEnableRegister = 0xD0004004;
inline constexpr size_t kFrameBytes = 8;
inline constexpr uint8_t kTag = 0x21;

// Not by a range insert: g++ 12 then warns of bounds that are not there.
inline void Append(Bytes &bytes, const Bytes &more)
{
    for (const uint8_t byte : more)
        bytes.push_back(byte);
}

// A packet with frame header and the whole frame. Headers are swapped in 16-bit words on the wire:
// marker 1, flags 2 (header present), id; position 0; then the header with plane, tag, field and
// depth.
inline Bytes WholeFramePacket(uint8_t id, const Bytes &data)
{
    Bytes packet = {0x02, 0x01, 0x00, id,   0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
                    kTag, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07, 0x01, 0x00, 0x00};
    Append(packet, data);
    Append(packet, {0xAA, 0xAA, 0xAA, 0xAA});
    return packet;
}

// A packet that goes on with the frame at a position.
inline Bytes ContinuingPacket(uint8_t id, uint8_t position, const Bytes &data)
{
    Bytes packet = {0x00, 0x01, 0x00, id, 0x00, 0x00, position, 0x00};
    Append(packet, data);
    Append(packet, {0xAA, 0xAA, 0xAA, 0xAA});
    return packet;
}

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
        sink.frame.data = sink.data.data();
        sink.frame.size = kFrameBytes;
        sink.frame.expected = kFrameBytes;
        sink.frame.psn = kTag;
        sink.frame.outputFormat = 0;
        sink.frame.interlaced = false;
        sink.frame.status = 0;
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
