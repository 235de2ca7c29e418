// What it costs that the receive ring's packets are copied to the hardware layer's buffers, rather
// than lent to it where the card has put them: packets from a full ring to frames, both ways, as
// processor time of a second of stream. The card is memory; its packets are in the third cache at
// best, as the ring is larger than the second.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "bus/linux_firewire/buffer_queue.h"
#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/stream_ring.h"
#include "hal/kernel_requests.h"

namespace zerix {
namespace {

using bus::linux_firewire::BufferQueue;
using bus::linux_firewire::kPacketsPerInterrupt;
using bus::linux_firewire::kRingPackets;
using bus::linux_firewire::StreamRing;

constexpr uint32_t kCyclesPerSecond = 8000;
constexpr size_t kFrameBytes = 512 * 512 * 2;

// Of the system calls a ring makes those that it can't do without; all others refuse.
class NoKernel final : public bus::linux_firewire::SystemCalls {
public:
    int Open(const char *) override { return -1; }
    int Close(int) override { return 0; }
    long Read(int, std::span<uint8_t>) override { return -1; }
    int Ioctl(int, unsigned long request, void *record) override
    {
        if (request == FW_CDEV_IOC_QUEUE_ISO)
            static_cast<fw_cdev_queue_iso *>(record)->size = 0; // all of them
        return 0;
    }
    void *Map(int, size_t bytes, int &) override
    {
        m_memory.assign(bytes, 1);
        return m_memory.data();
    }
    int Unmap(void *, size_t) override { return 0; }
    std::span<uint8_t> Memory() { return m_memory; }
    int Poll(std::span<pollfd>, int) override { return 0; }
    int MakeEvent() override { return -1; }
    int Signal(int) override { return -1; }
    int Clear(int) override { return -1; }
    int Lock(int) override { return -1; }
    int Unlock(int) override { return -1; }
    int IsLockedElsewhere(int) override { return 0; }
    int ListFolder(const char *, std::vector<std::string> &) override { return -1; }
    int ReadSmallFile(const char *, std::string &) override { return -1; }
    std::chrono::nanoseconds Now() override { return {}; }
    void Sleep(std::chrono::nanoseconds) override {}

private:
    std::vector<uint8_t> m_memory;
};

// The stream, and the frames that its payloads are put together to.
class Stream {
public:
    explicit Stream(uint32_t slotBytes) : m_slotBytes(slotBytes), m_frame(kFrameBytes)
    {
        static_cast<void>(StreamRing::Make(m_kernel, 0, slotBytes, 0, m_ring));
        static_cast<void>(m_ring->Start());
        for (uint32_t i = 0; i < kPacketsPerInterrupt; ++i)
            AddHeader(i);
    }
    [[nodiscard]] uint32_t PayloadBytes() const { return m_slotBytes - kernel::kSlotPayloadOffset; }
    StreamRing &Ring() { return *m_ring; }
    // The card writes the next packets over the marks that their slots had, and interrupts.
    void Interrupt()
    {
        for (uint32_t i = 0; i < kPacketsPerInterrupt; ++i, m_next = (m_next + 1) % kRingPackets)
            std::memset(m_kernel.Memory().data() + size_t{m_next} * m_slotBytes +
                            kernel::kSlotPayloadOffset,
                        1, sizeof(uint32_t));
        m_ring->OnInterrupt(m_headers);
    }
    void ToFrame(std::span<const uint8_t> payload)
    {
        if (m_filled + payload.size() > m_frame.size())
            m_filled = 0;
        std::memcpy(m_frame.data() + m_filled, payload.data(), payload.size());
        m_filled += payload.size();
        benchmark::ClobberMemory();
    }

private:
    void AddHeader(uint32_t cycle)
    {
        const uint32_t length = PayloadBytes();
        for (const uint32_t word : {length << 16, cycle})
            for (uint32_t shift = 32; shift > 0; shift -= 8)
                m_headers.push_back(static_cast<uint8_t>(word >> (shift - 8)));
    }

    NoKernel m_kernel;
    std::unique_ptr<StreamRing> m_ring;
    uint32_t m_slotBytes;
    uint32_t m_next = 0;            // slot
    std::vector<uint8_t> m_headers; // of one interrupt
    std::vector<uint8_t> m_frame;
    size_t m_filled = 0;
};

void Report(benchmark::State &state, const Stream &stream, int64_t packets)
{
    state.SetItemsProcessed(packets);
    state.SetBytesProcessed(packets * stream.PayloadBytes());
    state.counters["of_a_core"] =
        benchmark::Counter(static_cast<double>(packets) / kCyclesPerSecond,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// As it is: to a receive buffer, and from there to the frame once the buffer is full.
void ReceiveCopied(benchmark::State &state)
{
    Stream stream(static_cast<uint32_t>(state.range(0)));
    const size_t slotBytes = static_cast<size_t>(state.range(0));
    const size_t bufferBytes = slotBytes * kernel::kSlotsPerBuffer;
    std::vector<uint8_t> memory(bufferBytes * kernel::kReceiveBuffers);
    BufferQueue queue;
    const auto bufferOf = [&](kernel::RequestId id) {
        return std::span<uint8_t>(memory).subspan((id - 1) * bufferBytes, bufferBytes);
    };
    for (kernel::RequestId id = 1; id <= kernel::kReceiveBuffers; ++id)
        queue.Add(id, bufferOf(id));
    int64_t packets = 0;
    for (auto _ : state) {
        stream.Interrupt();
        while (const auto payload = stream.Ring().Front()) {
            const kernel::RequestId full = queue.Put(*payload);
            stream.Ring().PopFront();
            ++packets;
            if (full == 0)
                continue;
            for (size_t slot = 0; slot < kernel::kSlotsPerBuffer; ++slot)
                stream.ToFrame(bufferOf(full).subspan(slot * slotBytes + kernel::kSlotPayloadOffset,
                                                      stream.PayloadBytes()));
            queue.Add(full, bufferOf(full));
        }
        static_cast<void>(stream.Ring().QueueTaken());
    }
    Report(state, stream, packets);
    if (stream.Ring().Losses().unwritten + stream.Ring().Losses().overtaken > 0)
        state.SkipWithError("packets were lost");
}

// As it could be: to the frame from where the card has put it.
void ReceiveLent(benchmark::State &state)
{
    Stream stream(static_cast<uint32_t>(state.range(0)));
    int64_t packets = 0;
    for (auto _ : state) {
        stream.Interrupt();
        while (const auto payload = stream.Ring().Front()) {
            stream.ToFrame(*payload);
            stream.Ring().PopFront();
            ++packets;
        }
        static_cast<void>(stream.Ring().QueueTaken());
    }
    Report(state, stream, packets);
    if (stream.Ring().Losses().unwritten + stream.Ring().Losses().overtaken > 0)
        state.SkipWithError("packets were lost");
}

BENCHMARK(ReceiveCopied)->ArgName("slot")->Arg(4104)->Arg(9000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReceiveLent)->ArgName("slot")->Arg(4104)->Arg(9000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace zerix
