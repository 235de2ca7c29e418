// The ring's slots on their way: to the kernel, filled, taken, and back.
#include "bus/linux_firewire/stream_ring.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_errors.h"
#include "hal/kernel_requests.h"

namespace zerix::bus::linux_firewire {

namespace {

constexpr uint32_t kHead = kernel::kSlotPayloadOffset;
constexpr uint32_t kHeaderBytes = 8; // of a packet in an event
constexpr uint32_t kFromNow = 0xFFFFFFFFu;
constexpr uint32_t kCyclesPerSecond = 8000;
constexpr uint32_t kCyclesOfStamp = 8 * kCyclesPerSecond; // it counts 8 seconds
// In front of a slot's payload until the card writes there. Neither zeros nor ones, nor a picture's
// marker.
constexpr uint8_t kPoison[4] = {0xB5, 0x6E, 0xD9, 0x37};
// After so many events in a row the next packets were there, and no event told of them.
constexpr uint32_t kLooksUntilSkip = 16;

uint32_t BigEndianAt(const uint8_t *bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Single bytes, which neither the compiler nor the thread sanitizer takes for more than they are:
// the card may write the slot at any moment.
__attribute__((no_sanitize("thread"))) bool HoldsPoison(const uint8_t *payload)
{
    const volatile uint8_t *const bytes = payload;
    for (uint32_t i = 0; i < sizeof kPoison; ++i)
        if (bytes[i] != kPoison[i])
            return false;
    return true;
}

uint32_t EntryOf(uint32_t index, uint32_t slotBytes)
{
    const bool interrupts = index % kPacketsPerInterrupt == kPacketsPerInterrupt - 1;
    return FW_CDEV_ISO_PAYLOAD_LENGTH(slotBytes) | (interrupts ? FW_CDEV_ISO_INTERRUPT : 0u) |
           FW_CDEV_ISO_HEADER_LENGTH(kHeaderBytes);
}

} // namespace

StreamRing::StreamRing(SystemCalls &system, int file, uint32_t slotBytes)
    : m_system(system), m_file(file), m_slotBytes(slotBytes),
      m_bytes(size_t{slotBytes} * kRingPackets + kHead), m_entries(kRingPackets),
      m_lengths(kRingPackets)
{
    for (uint32_t i = 0; i < kRingPackets; ++i)
        m_entries[i] = EntryOf(i, slotBytes);
}

StreamRing::~StreamRing()
{
    if (m_buffer != nullptr)
        m_system.Unmap(m_buffer, m_bytes);
}

uint32_t StreamRing::Make(SystemCalls &system, int file, uint32_t slotBytes, uint32_t channel,
                          std::unique_ptr<StreamRing> &made)
{
    std::unique_ptr<StreamRing> ring(new StreamRing(system, file, slotBytes));
    const uint32_t error = ring->MapAndCreate(channel);
    if (error == 0)
        made = std::move(ring);
    return error;
}

uint32_t StreamRing::MapAndCreate(uint32_t channel)
{
    int error = 0;
    m_buffer = static_cast<uint8_t *>(m_system.Map(m_file, m_bytes, error));
    if (m_buffer == nullptr)
        return SystemErrorOf(error < 0 ? error : -ENOMEM);
    return CreateContext(channel);
}

uint32_t StreamRing::CreateContext(uint32_t channel)
{
    fw_cdev_create_iso_context record{};
    record.type = FW_CDEV_ISO_CONTEXT_RECEIVE;
    record.header_size = kHeaderBytes;
    record.channel = channel;
    const int result = m_system.Ioctl(m_file, FW_CDEV_IOC_CREATE_ISO_CONTEXT, &record);
    m_context = record.handle;
    return SystemErrorOf(result);
}

int StreamRing::Release()
{
    if (m_buffer != nullptr)
        m_system.Unmap(m_buffer, m_bytes);
    m_buffer = nullptr;
    m_isRunning = false;
    m_filled = 0;
    return m_file;
}

// Starting and stopping --------------------------------------------------------------------------

uint32_t StreamRing::Start()
{
    m_wasStarted = true;
    if (const uint32_t error = QueueTaken())
        return error;
    fw_cdev_start_iso record{};
    record.cycle = static_cast<int32_t>(kFromNow);
    record.tags = FW_CDEV_ISO_CONTEXT_MATCH_ALL_TAGS;
    record.handle = m_context;
    const int result = m_system.Ioctl(m_file, FW_CDEV_IOC_START_ISO, &record);
    m_isRunning = result >= 0;
    return SystemErrorOf(result);
}

void StreamRing::Stop()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    fw_cdev_stop_iso record{};
    record.handle = m_context;
    m_system.Ioctl(m_file, FW_CDEV_IOC_STOP_ISO, &record);
}

// To the kernel ----------------------------------------------------------------------------------

uint8_t *StreamRing::Slot(uint32_t index) const { return m_buffer + size_t{index} * m_slotBytes; }

void StreamRing::Poison(uint32_t index)
{
    std::memcpy(Slot(index) + kHead, kPoison, sizeof kPoison);
}

bool StreamRing::IsPoisoned(uint32_t index) const { return HoldsPoison(Slot(index) + kHead); }

// Up to the ring's end at once. What the kernel doesn't take now, it is offered again next time.
uint32_t StreamRing::QueueTaken()
{
    while (m_taken > 0) {
        const uint32_t first = (m_next + kRingPackets - m_filled - m_taken) % kRingPackets;
        const uint32_t before = m_taken;
        if (const uint32_t error = QueueRun(std::min(m_taken, kRingPackets - first)))
            return error;
        if (m_taken == before)
            return Queued() > 0 ? 0 : uint32_t{kernel::kErrorNoSystemResources};
    }
    return 0;
}

uint32_t StreamRing::QueueRun(uint32_t count)
{
    const uint32_t first = (m_next + kRingPackets - m_filled - m_taken) % kRingPackets;
    for (uint32_t i = 0; i < count; ++i)
        Poison(first + i);
    fw_cdev_queue_iso record{};
    record.packets = reinterpret_cast<uintptr_t>(m_entries.data() + first);
    record.data = reinterpret_cast<uintptr_t>(Slot(first) + kHead);
    record.size = count * static_cast<uint32_t>(sizeof(fw_cdev_iso_packet));
    record.handle = m_context;
    const int result = m_system.Ioctl(m_file, FW_CDEV_IOC_QUEUE_ISO, &record);
    if (result < 0)
        return SystemErrorOf(result);
    const uint32_t left = record.size / static_cast<uint32_t>(sizeof(fw_cdev_iso_packet));
    m_taken -= count - std::min(left, count);
    return 0;
}

// From the kernel --------------------------------------------------------------------------------

void StreamRing::OnInterrupt(std::span<const uint8_t> headers)
{
    m_hadEvent = true;
    for (; headers.size() >= kHeaderBytes && Queued() > 0; headers = headers.subspan(kHeaderBytes))
        OnPacket(BigEndianAt(headers.data()), BigEndianAt(headers.data() + 4));
    while (Queued() + m_taken < kLeastQueuedPackets && m_filled > 0)
        DropOldest();
}

void StreamRing::OnPacket(uint32_t headerWord, uint32_t stampWord)
{
    const uint32_t length = headerWord >> 16;
    uint32_t good = length;
    if (length > m_slotBytes - kHead) {
        ++m_losses.tooLong;
        good = 0;
    } else if (length >= sizeof kPoison && IsPoisoned(m_next)) {
        ++m_losses.unwritten;
        good = 0;
    }
    CountGap(stampWord);
    m_lengths[m_next] = good;
    m_next = (m_next + 1) % kRingPackets;
    ++m_filled;
}

// The stamp has 3 bits of seconds and 13 of cycles. A camera that sends leaves no cycle out.
void StreamRing::CountGap(uint32_t stampWord)
{
    const uint32_t seconds = stampWord >> 13 & 7;
    const uint32_t cycle = (seconds * kCyclesPerSecond + (stampWord & 0x1FFF)) % kCyclesOfStamp;
    if (m_lastCycle && *m_lastCycle != cycle)
        m_losses.missing += (cycle + kCyclesOfStamp - *m_lastCycle - 1) % kCyclesOfStamp;
    m_lastCycle = cycle;
}

void StreamRing::DropOldest()
{
    ++m_losses.overtaken;
    PopFront();
}

// An event that the kernel has no memory for is lost, and its packets are there all the same: from
// then on headers are told for slots that are further back than theirs. It shows in packets that
// are there before their event, time after time. What was there at every single look is skipped:
// to skip one that is only about to be told would put all headers before their packets for good.
bool StreamRing::BeginLook()
{
    m_groupsThere = m_hadEvent ? CountGroupsThere() : 0;
    return std::exchange(m_hadEvent, false);
}

void StreamRing::OnDrained()
{
    m_leastThere = m_looks == 0 ? m_groupsThere : std::min(m_leastThere, m_groupsThere);
    m_looks = m_leastThere > 0 ? m_looks + 1 : 0;
    if (m_looks == kLooksUntilSkip)
        SkipUntold(m_leastThere);
}

uint32_t StreamRing::CountGroupsThere() const
{
    uint32_t count = 0;
    while ((count + 1) * kPacketsPerInterrupt < Queued() &&
           !IsPoisoned((m_next + (count + 1) * kPacketsPerInterrupt - 1) % kRingPackets))
        ++count;
    return count;
}

void StreamRing::SkipUntold(uint32_t groups)
{
    m_looks = 0;
    m_losses.untold += groups * kPacketsPerInterrupt;
    for (uint32_t i = 0; i < groups * kPacketsPerInterrupt; ++i) {
        m_lengths[m_next] = 0;
        m_next = (m_next + 1) % kRingPackets;
        ++m_filled;
    }
}

// To the hardware layer --------------------------------------------------------------------------

std::optional<std::span<const uint8_t>> StreamRing::Front() const
{
    if (m_filled == 0)
        return std::nullopt;
    const uint32_t index = (m_next + kRingPackets - m_filled) % kRingPackets;
    return std::span<const uint8_t>(Slot(index) + kHead, m_lengths[index]);
}

void StreamRing::PopFront()
{
    --m_filled;
    ++m_taken;
}

} // namespace zerix::bus::linux_firewire
