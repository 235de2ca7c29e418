// The virtual bus with a recorded stream in place of its own: every receive buffer comes back at
// once with the packets of the next frames. Only the packets' headers and trailers are written
// anew, so that a benchmark pays for no copy that isn't the driver's. Frames are let through one by
// one.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

#include "hal/kernel_driver.h"

namespace zerix::bench {

struct RecordedStream {
    uint32_t packetBytes = 0; // header, payload and trailer of a full packet
    uint32_t frameBytes = 0;
    uint8_t tag = 0;
    uint8_t bitCode = 7;
};

class ReplayDriver final : public kernel::KernelDriver {
public:
    explicit ReplayDriver(kernel::KernelDriver &virtualBus) : m_bus(virtualBus) {}

    // What the next buffers hold; the slot size is the one that the buffers are queued with.
    void Record(const RecordedStream &stream);
    // Lets that many more frames through.
    void LetThrough(uint32_t frames);
    // When the buffer with a frame's last packet came back last, on the steady clock.
    [[nodiscard]] std::chrono::steady_clock::time_point FrameCompletedAt() const
    {
        return m_frameCompletedAt.load();
    }

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override;
    kernel::ControlResult Wait(kernel::DeviceHandle device,
                               kernel::Overlapped *overlapped) override;
    void CancelPending(kernel::DeviceHandle device) override;
    void Close(kernel::DeviceHandle device) override;
    bool IsSimulated() const override { return true; }

private:
    struct Queued {
        kernel::Overlapped *overlapped;
        uint8_t *buffer;
        uint32_t slotBytes;
    };

    void EndQueue();
    void Fill(const Queued &queued);
    uint32_t WritePacket(uint8_t *payload);

    kernel::KernelDriver &m_bus;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Queued> m_queue;
    bool m_ended = false;
    uint32_t m_framesLeft = 0;
    RecordedStream m_stream;
    uint32_t m_position = 0;
    uint16_t m_frameNumber = 0;
    bool m_inFrame = false;
    std::atomic<std::chrono::steady_clock::time_point> m_frameCompletedAt{};
};

} // namespace zerix::bench
