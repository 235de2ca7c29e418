// The buffers go round: filled by the virtual bus, emptied here, queued again.
#include "tests/rack_cameras/stream_pump.h"

#include <cstring>

#include "hal/kernel_requests.h"
#include "tests/rack_cameras/rack_view.h"

namespace zerix::rack_cameras {

using namespace kernel;

namespace {

// On the fast clock as few as keep the camera busy: what is in them, the receiver has not got yet.
// On the wall clock as many as a thread may be late for.
constexpr size_t kFastBuffers = 4;
constexpr size_t kRealBuffers = 60;

} // namespace

StreamPump::StreamPump(DeviceHandle device, uint32_t resources, uint32_t channel,
                       uint32_t slotBytes, PacketSink &sink)
    : m_device(device), m_resources(resources), m_channel(channel), m_slotBytes(slotBytes),
      m_sink(sink)
{
    const size_t count = RackIsOnFastClock() ? kFastBuffers : kRealBuffers;
    for (size_t i = 0; i < count; ++i)
        m_buffers.push_back(std::make_unique<Buffer>());
    for (const auto &buffer : m_buffers)
        buffer->bytes.resize(size_t{slotBytes} * kSlotsPerBuffer);
}

std::unique_ptr<StreamPump> StreamPump::Start(DeviceHandle device, uint32_t resources,
                                              uint32_t channel, uint32_t slotBytes,
                                              PacketSink &sink)
{
    std::unique_ptr<StreamPump> pump(new StreamPump(device, resources, channel, slotBytes, sink));
    for (const auto &buffer : pump->m_buffers)
        if (!pump->Queue(*buffer))
            return nullptr;
    if (!pump->Listen())
        return nullptr;
    pump->m_thread = std::thread(&StreamPump::Run, pump.get());
    return pump;
}

// The virtual bus ends every queued buffer before the detach returns, so that the thread and then
// the buffers can go.
StreamPump::~StreamPump()
{
    m_isStopped = true;
    m_sink.Wake();
    StopRequest stop{.resources = m_resources, .zero = 0};
    VirtualBusDriver().Control(m_device, kControlStopListen, &stop, sizeof stop, &stop, sizeof stop,
                               nullptr);
    uint32_t word = m_resources;
    VirtualBusDriver().Control(m_device, kControlDetachBuffers, &word, 4, &word, 4, nullptr);
    if (m_thread.joinable())
        m_thread.join();
    // The thread may have queued one more.
    word = m_resources;
    VirtualBusDriver().Control(m_device, kControlDetachBuffers, &word, 4, &word, 4, nullptr);
    for (const auto &buffer : m_buffers)
        VirtualBusDriver().Cancel(m_device, &buffer->overlapped);
}

bool StreamPump::Queue(Buffer &buffer) const
{
    const auto bytes = static_cast<uint32_t>(buffer.bytes.size());
    const ControlResult result =
        VirtualBusDriver().Control(m_device, kControlQueueBuffer, buffer.bytes.data(), bytes,
                                   buffer.bytes.data(), bytes, &buffer.overlapped);
    return result.completion == Completion::kPending;
}

bool StreamPump::Listen() const
{
    ListenRequest request{.resources = m_resources, .zero = {}};
    return VirtualBusDriver()
               .Control(m_device, kControlListen, &request, sizeof request, &request,
                        sizeof request, nullptr)
               .completion == Completion::kDone;
}

// A camera that is lost ends its buffers, and so the loop.
void StreamPump::Run()
{
    for (size_t next = 0; !m_isStopped; next = (next + 1) % m_buffers.size()) {
        Buffer &buffer = *m_buffers[next];
        const ControlResult result = VirtualBusDriver().Wait(m_device, &buffer.overlapped);
        if (result.completion == Completion::kDone)
            DeliverAll(buffer);
        else if (result.systemError != kErrorNoSystemResources)
            return;
        // What the virtual bus refuses by a fault, it takes the second time.
        if (!m_isStopped && !Queue(buffer) && !Queue(buffer))
            return;
    }
}

void StreamPump::DeliverAll(const Buffer &buffer) const
{
    for (uint32_t i = 0; i < kSlotsPerBuffer; ++i) {
        const uint8_t *slot = buffer.bytes.data() + size_t{i} * m_slotBytes;
        uint16_t length = 0;
        std::memcpy(&length, slot + kSlotLengthOffset, sizeof length);
        m_sink.Deliver(m_channel, {slot + kSlotPayloadOffset, length}, m_isStopped);
    }
}

} // namespace zerix::rack_cameras
