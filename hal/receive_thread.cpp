// The receive thread of a streaming camera. Allocates nothing once it runs.
#include "hal/receive_thread.h"

#include <cstring>
#include <mutex>
#include <optional>

namespace zerix::hal {

namespace {

constexpr int kTimeCritical = 15;
constexpr uint32_t kRealTimeClass = 0x100;
constexpr uint32_t kNormalClass = 0x20;

thread_local const FWCameraDevice *t_receivingFor = nullptr;

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

// Windows says it in one of several ways, as it happens to notice.
bool SaysDeviceLost(uint32_t systemError)
{
    constexpr uint32_t kDeviceNotExist = 55;
    constexpr uint32_t kNoSuchDevice = 433;
    constexpr uint32_t kDeviceRemoved = 1617;
    switch (systemError) {
    case kernel::kErrorDeviceNotConnected:
    case kernel::kErrorFileNotFound:
    case kernel::kErrorInvalidHandle:
    case kDeviceNotExist:
    case kNoSuchDevice:
    case kDeviceRemoved:
        return true;
    default:
        return false;
    }
}

void Parse(FWCameraDevice &device, ReceiveSlot &slot, bool realTime)
{
    const ReceiveRing &ring = *device.ring;
    const std::lock_guard lock(*ring.bufferMutex);
    const RealTimeWhileParsing priority(realTime);
    for (uint32_t i = 0; i < kernel::kSlotsPerBuffer; ++i) {
        const auto payload =
            PayloadOf({slot.buffer + size_t{i} * ring.packetSlotBytes, ring.packetSlotBytes});
        if (!payload.empty())
            device.stream.Packet(payload.data(), static_cast<uint32_t>(payload.size()));
    }
}

// One turn of one slot. Nothing while the stream goes on.
std::optional<StreamEnd> TakeTurn(FWCameraDevice &device, ReceiveSlot &slot, bool realTime)
{
    auto received = kernel::Completion::kDone;
    if (slot.isQueued)
        received = device.Wait(&slot.overlapped).completion;
    if (!device.isStreaming.load(std::memory_order_relaxed))
        return StreamEnd::kStopped;
    // Closing may have to cancel everything that is pending, and nothing is lost then.
    if (received == kernel::Completion::kFailed)
        return device.gate.IsClosing() ? StreamEnd::kStopped : StreamEnd::kLost;
    // A buffer that was refused at the start holds nothing yet; its turn to be queued is now.
    if (slot.isQueued)
        Parse(device, slot, realTime);
    if (const uint32_t error = QueueSlot(device, slot))
        return SaysDeviceLost(error) ? StreamEnd::kLost : StreamEnd::kRequeueRefused;
    return {};
}

StreamEnd Receive(FWCameraDevice &device, bool realTime)
{
    for (;;) {
        for (ReceiveSlot &slot : device.ring->slots) {
            if (const auto end = TakeTurn(device, slot, realTime))
                return *end;
        }
    }
}

} // namespace

uint32_t QueueSlot(FWCameraDevice &device, ReceiveSlot &slot)
{
    const uint32_t bytes = device.ring->bufferBytes;
    const auto result = device.Send(kernel::kControlQueueBuffer, slot.buffer, bytes, slot.buffer,
                                    bytes, &slot.overlapped);
    slot.isQueued = result.completion != kernel::Completion::kFailed;
    return slot.isQueued ? 0 : result.systemError;
}

void QueueAll(FWCameraDevice &device)
{
    for (ReceiveSlot &slot : device.ring->slots) {
        const std::lock_guard lock(*device.ring->bufferMutex);
        QueueSlot(device, slot);
    }
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
    device.buffersQueued->Signal();
    uint32_t word = 0;
    kernel::Overlapped begin;
    const auto begun =
        device.Send(kernel::kControlStreamBegin, &word, sizeof word, &word, sizeof word, &begin);
    const bool realTime = !kernel::Driver().IsSimulated();
    if (realTime)
        os::SetCurrentThreadPriority(kTimeCritical);

    const StreamEnd end = Receive(device, realTime);
    device.streamEnd.store(end, std::memory_order_relaxed);

    uint32_t lastWord = 0;
    static_cast<void>(device.Exchange(kernel::kControlStreamEnd, lastWord));
    if (begun.completion == kernel::Completion::kPending) {
        device.Cancel(begin); // the driver may have kept it
        static_cast<void>(device.Wait(&begin));
    }
    // The callback comes last: it may stop the stream from here, and after that the ring is gone.
    const HAL_EventCallback timedOut = end == StreamEnd::kLost ? device.timedOut : nullptr;
    void *const context = device.context;
    device.ring->stopEvent->Signal();
    if (timedOut != nullptr)
        timedOut(context);
    t_receivingFor = nullptr;
}

bool IsReceiveThreadOf(const FWCameraDevice &device) { return t_receivingFor == &device; }

} // namespace zerix::hal
