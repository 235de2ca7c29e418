// The receive thread of a streaming camera. Allocates nothing once it runs.
#include "hal/receive_thread.h"

#include <cstring>
#include <optional>

#include "hal/lost_device.h"

namespace zerix::hal {

namespace {

constexpr int kTimeCritical = 15;
constexpr uint32_t kRealTimeClass = 0x100;
constexpr uint32_t kNormalClass = 0x20;

thread_local const FWCameraDevice *t_receivingFor = nullptr;
thread_local bool t_isInLoop = false;

// The process in the real-time class for as long as one buffer is parsed, which bounds the harm to
// others. A virtual camera has no deadline, so none is asked for.
class RealTimeWhileParsing {
public:
    explicit RealTimeWhileParsing(bool wanted) : m_wanted(wanted)
    {
        if (m_wanted)
            os::SetProcessPriorityClass(kRealTimeClass);
    }
    ~RealTimeWhileParsing()
    {
        if (m_wanted)
            os::SetProcessPriorityClass(kNormalClass);
    }
    RealTimeWhileParsing(const RealTimeWhileParsing &) = delete;
    RealTimeWhileParsing &operator=(const RealTimeWhileParsing &) = delete;

private:
    bool m_wanted;
};

// A stop drops the frame in work when this thread has left its loop; no packet goes to a frame once
// the stop has begun.
void Parse(FWCameraDevice &device, ReceiveSlot &slot, bool realTime)
{
    const ReceiveRing &ring = *device.ring;
    PacketSink &sink = *device.sink;
    const RealTimeWhileParsing priority(realTime);
    for (uint32_t i = 0; i < kernel::kSlotsPerBuffer; ++i) {
        if (!device.isStreaming.load(std::memory_order_relaxed))
            return;
        const auto payload =
            PayloadOf({slot.buffer + size_t{i} * ring.packetSlotBytes, ring.packetSlotBytes});
        if (!payload.empty())
            sink.Packet(payload);
    }
}

// Pending only when the ring has been given up.
kernel::ControlResult AwaitSlot(const ReceiveRing &ring, ReceiveSlot &slot)
{
    constexpr uint32_t kBetweenLooksMilliseconds = 250;
    for (;;) {
        const auto result =
            kernel::Driver().WaitFor(ring.device, &slot.overlapped, kBetweenLooksMilliseconds);
        if (result.completion != kernel::Completion::kPending ||
            ring.isGivenUp.load(std::memory_order_relaxed))
            return result;
    }
}

// The loop over the slots, and how many buffers have failed in a row.
class Loop {
public:
    Loop(FWCameraDevice &device, bool realTime) : m_device(device), m_realTime(realTime) {}

    StreamEnd Run()
    {
        for (;;) {
            for (ReceiveSlot &slot : m_device.ring->slots) {
                if (const auto end = TakeTurn(slot))
                    return *end;
            }
        }
    }

private:
    // One turn of one slot. Nothing while the stream goes on. A buffer that was refused at the
    // start holds nothing yet; its turn to be queued is now.
    std::optional<StreamEnd> TakeTurn(ReceiveSlot &slot)
    {
        if (slot.isQueued)
            if (const auto end = Receive(slot))
                return end;
        if (!m_device.isStreaming.load(std::memory_order_relaxed))
            return StreamEnd::kStopped;
        if (const uint32_t error = QueueSlot(m_device, slot))
            return SaysDeviceLost(error) ? StreamEnd::kLost : StreamEnd::kRequeueRefused;
        return {};
    }

    std::optional<StreamEnd> Receive(ReceiveSlot &slot)
    {
        const auto received = AwaitSlot(*m_device.ring, slot);
        if (!m_device.isStreaming.load(std::memory_order_relaxed))
            return StreamEnd::kStopped;
        if (received.completion == kernel::Completion::kFailed)
            return PassOver(received.systemError);
        m_failuresInARow = 0;
        Parse(m_device, slot, m_realTime);
        return {};
    }

    // A bus reset may fail a buffer, and nothing is lost then but its packets. Closing may have to
    // cancel everything that is pending.
    std::optional<StreamEnd> PassOver(uint32_t systemError)
    {
        if (m_device.gate.IsClosing())
            return StreamEnd::kStopped;
        if (SaysDeviceLost(systemError) || ++m_failuresInARow == kernel::kReceiveBuffers)
            return StreamEnd::kLost;
        return {};
    }

    FWCameraDevice &m_device;
    const bool m_realTime;
    uint32_t m_failuresInARow = 0;
};

} // namespace

uint32_t QueueSlot(FWCameraDevice &device, ReceiveSlot &slot)
{
    const auto result = device.Queue(slot, device.ring->bufferBytes);
    slot.isQueued = result.completion != kernel::Completion::kFailed;
    return slot.isQueued ? 0 : result.systemError;
}

void QueueAll(FWCameraDevice &device)
{
    for (ReceiveSlot &slot : device.ring->slots)
        QueueSlot(device, slot);
}

std::span<uint8_t> PayloadOf(std::span<uint8_t> packetSlot)
{
    if (packetSlot.size() < kernel::kSlotPayloadOffset)
        return {};
    uint16_t length = 0;
    std::memcpy(&length, packetSlot.data() + kernel::kSlotLengthOffset, sizeof length);
    // The slot's own lead takes 8 bytes of it, so that a length up to the slot size, which counts
    // as good, could still run past it.
    const auto room = packetSlot.subspan(kernel::kSlotPayloadOffset);
    if (length <= kernel::kIdlePacketBytes || length > room.size())
        return {};
    return room.first(length);
}

void ReceiveThread(void *parameter)
{
    auto &device = *static_cast<FWCameraDevice *>(parameter);
    t_receivingFor = &device;
    QueueAll(device);
    // Nobody waits for it before the stream's end, when the driver may still have it.
    auto begin = DeviceRequest::Make(device.ring->device, sizeof(uint32_t));
    device.buffersQueued->Signal();
    if (begin)
        static_cast<void>(device.Send(kernel::kControlStreamBegin, *begin));
    const bool realTime = !kernel::Driver().IsSimulated();
    if (realTime)
        os::SetCurrentThreadPriority(kTimeCritical);

    t_isInLoop = true;
    const StreamEnd end = Loop(device, realTime).Run();
    t_isInLoop = false;
    device.streamEnd.store(end, std::memory_order_relaxed);

    uint32_t lastWord = 0;
    static_cast<void>(device.Exchange(kernel::kControlStreamEnd, lastWord));
    begin.reset();
    // The callback comes last: it may stop the stream from here, and after that the ring is gone.
    const HAL_EventCallback timedOut = end == StreamEnd::kLost ? device.timedOut : nullptr;
    void *const context = device.context;
    device.ring->stopEvent->Signal();
    if (end != StreamEnd::kStopped)
        device.frameWaitEvent->Signal(); // no frame wakes the run loop any more
    if (timedOut != nullptr)
        timedOut(context);
    t_receivingFor = nullptr;
}

bool IsReceiveThreadOf(const FWCameraDevice &device) { return t_receivingFor == &device; }

bool IsInFrameCallbackOf(const FWCameraDevice &device)
{
    return t_isInLoop && t_receivingFor == &device;
}

} // namespace zerix::hal
