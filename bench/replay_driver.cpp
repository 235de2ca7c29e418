// A recorded stream in place of the virtual bus's own.
#include "bench/replay_driver.h"

#include <algorithm>
#include <cstring>

#include "hal/kernel_requests.h"

namespace zerix::bench {

using kernel::Completion;
using kernel::ControlResult;

namespace {

constexpr uint32_t kHeaderBytes = 8;
constexpr uint32_t kFrameHeaderBytes = 12;
constexpr uint32_t kTrailerBytes = 4;

// Fields are 16-bit words, big-endian on the wire: the byte numbers are those after the swap.
void PutSwapped(uint8_t *packet, uint32_t byteNumber, uint8_t value)
{
    packet[byteNumber ^ 1u] = value;
}

} // namespace

void ReplayDriver::Record(const RecordedStream &stream)
{
    const std::lock_guard lock(m_mutex);
    m_stream = stream;
    m_position = 0;
    m_inFrame = false;
    m_ended = false;
    m_framesLeft = 0;
}

void ReplayDriver::LetThrough(uint32_t frames)
{
    {
        const std::lock_guard lock(m_mutex);
        m_framesLeft += frames;
    }
    m_wake.notify_all();
}

uint32_t ReplayDriver::Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    return m_bus.Enumerate(paths, maximumCount, count);
}

uint32_t ReplayDriver::Open(const char *devicePath, kernel::DeviceHandle *device)
{
    return m_bus.Open(devicePath, device);
}

ControlResult ReplayDriver::Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                    uint32_t inSize, void *out, uint32_t outSize,
                                    kernel::Overlapped *overlapped)
{
    if (code == kernel::kControlDetachBuffers)
        EndQueue();
    if (code != kernel::kControlQueueBuffer)
        return m_bus.Control(device, code, in, inSize, out, outSize, overlapped);
    const std::lock_guard lock(m_mutex);
    if (m_queue.empty())
        m_ended = false; // a stream begins
    m_queue.push_back({overlapped, static_cast<uint8_t *>(out), outSize / kernel::kSlotsPerBuffer});
    return {Completion::kPending, 0, 0};
}

ControlResult ReplayDriver::Wait(kernel::DeviceHandle device, kernel::Overlapped *overlapped)
{
    std::unique_lock lock(m_mutex);
    const auto mine = std::find_if(m_queue.begin(), m_queue.end(), [&](const Queued &queued) {
        return queued.overlapped == overlapped;
    });
    if (mine == m_queue.end()) {
        lock.unlock();
        return m_bus.Wait(device, overlapped);
    }
    const Queued queued = *mine;
    m_queue.erase(mine);
    m_wake.wait(lock, [&] { return m_ended || m_inFrame || m_framesLeft > 0; });
    if (m_ended)
        return {Completion::kFailed, kernel::kErrorOperationAborted, 0};
    const uint16_t frameNumber = m_frameNumber;
    Fill(queued);
    if (m_frameNumber != frameNumber)
        m_frameCompletedAt.store(std::chrono::steady_clock::now());
    return {Completion::kDone, 0, queued.slotBytes * kernel::kSlotsPerBuffer};
}

void ReplayDriver::Fill(const Queued &queued)
{
    for (uint32_t slot = 0; slot < kernel::kSlotsPerBuffer; ++slot) {
        uint8_t *bytes = queued.buffer + slot * queued.slotBytes;
        uint32_t length = kernel::kIdlePacketBytes;
        if (!m_inFrame && m_framesLeft > 0) {
            --m_framesLeft;
            m_inFrame = true;
            m_position = 0;
        }
        if (m_inFrame)
            length = WritePacket(bytes + kernel::kSlotPayloadOffset);
        const auto word = static_cast<uint16_t>(length);
        std::memcpy(bytes + kernel::kSlotLengthOffset, &word, sizeof word);
    }
}

uint32_t ReplayDriver::WritePacket(uint8_t *payload)
{
    const bool first = m_position == 0;
    const uint32_t lead = kHeaderBytes + (first ? kFrameHeaderBytes : 0);
    const uint32_t room = m_stream.packetBytes - lead - kTrailerBytes;
    const uint32_t data = std::min(room, m_stream.frameBytes - m_position);
    std::memset(payload, 0, lead);
    PutSwapped(payload, 0, 1);
    PutSwapped(payload, 1, first ? 2 : 0);
    PutSwapped(payload, 2, static_cast<uint8_t>(m_frameNumber));
    PutSwapped(payload, 4, static_cast<uint8_t>(m_position >> 16));
    PutSwapped(payload, 6, static_cast<uint8_t>(m_position));
    PutSwapped(payload, 7, static_cast<uint8_t>(m_position >> 8));
    if (first) {
        uint8_t *header = payload + kHeaderBytes;
        PutSwapped(header, 0, static_cast<uint8_t>(m_frameNumber));
        PutSwapped(header, 1, static_cast<uint8_t>(m_frameNumber >> 8));
        PutSwapped(header, 3, m_stream.tag);
        PutSwapped(header, 8, 1);
        PutSwapped(header, 9, m_stream.bitCode);
    }
    std::memset(payload + lead + data, 0xAA, kTrailerBytes);
    m_position += data;
    if (m_position == m_stream.frameBytes) {
        m_inFrame = false;
        ++m_frameNumber;
    }
    return lead + data + kTrailerBytes;
}

void ReplayDriver::EndQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_wake.notify_all();
}

void ReplayDriver::CancelPending(kernel::DeviceHandle device)
{
    EndQueue();
    m_bus.CancelPending(device);
}

void ReplayDriver::Close(kernel::DeviceHandle device) { m_bus.Close(device); }

} // namespace zerix::bench
