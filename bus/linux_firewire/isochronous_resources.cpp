// Bookings and their events.
#include "bus/linux_firewire/isochronous_resources.h"

#include <algorithm>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_errors.h"
#include "hal/kernel_requests.h"

namespace zerix::bus::linux_firewire {

namespace {

using Phase = IsochronousResources::Booking::Phase;

constexpr uint32_t kUnitsOfABus = 4915;
constexpr uint32_t kChannels = 64;
constexpr uint64_t kReservedChannels = uint64_t{1} << 31 | uint64_t{1} << 63;
// For a second after a bus reset the kernel leaves the resources to those who had them before.
constexpr std::chrono::milliseconds kAllocationPatience{2500};
constexpr std::chrono::milliseconds kReturnPatience{1000};

} // namespace

uint32_t BandwidthUnits(uint32_t slotBytes, int speed)
{
    constexpr int kFastest = 3; // a slot is never booked as less than that
    const int shift = std::clamp(speed, 0, kFastest);
    const uint64_t units = (uint64_t{slotBytes} * 4 + (1u << shift) - 1) >> shift;
    return static_cast<uint32_t>(std::min<uint64_t>(units, kUnitsOfABus));
}

std::optional<uint64_t> ChannelMask(uint32_t request)
{
    if (request == kernel::kAnyChannel)
        return ~kReservedChannels;
    if (request >= kChannels)
        return std::nullopt;
    return uint64_t{1} << request;
}

uint32_t IsochronousResources::AskForBandwidth(uint32_t slotBytes, uint32_t units, Pointer &booking)
{
    booking = std::make_shared<Booking>();
    booking->slotBytes = slotBytes;
    return Ask(0, units, booking);
}

uint32_t IsochronousResources::AskForChannel(uint64_t mask, Pointer &booking)
{
    booking = std::make_shared<Booking>();
    return Ask(mask, 0, booking);
}

uint32_t IsochronousResources::Ask(uint64_t channels, uint32_t units, Pointer &booking)
{
    booking->closure = ++m_lastClosure;
    booking->deadline = m_system.Now() + kAllocationPatience;
    m_bookings.push_back(booking);
    fw_cdev_allocate_iso_resource record{};
    record.closure = booking->closure;
    record.channels = channels;
    record.bandwidth = units;
    const int result = m_system.Ioctl(m_file, FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE, &record);
    booking->kernelHandle = record.handle;
    if (result < 0)
        End(booking, SystemErrorOf(result));
    return SystemErrorOf(result);
}

int IsochronousResources::Deallocate(uint32_t kernelHandle)
{
    fw_cdev_deallocate record{};
    record.handle = kernelHandle;
    return m_system.Ioctl(m_file, FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE, &record);
}

// A handle that the kernel doesn't know any more holds nothing.
uint32_t IsochronousResources::Free(const Pointer &booking)
{
    booking->phase = Phase::kFreeing;
    booking->deadline = m_system.Now() + kReturnPatience;
    const int result = Deallocate(booking->kernelHandle);
    if (result < 0)
        End(booking, 0);
    return 0;
}

void IsochronousResources::Abandon(const Pointer &booking)
{
    booking->isWanted = false;
    if (booking->phase == Phase::kHeld)
        static_cast<void>(Free(booking));
}

void IsochronousResources::End(const Pointer &booking, uint32_t error)
{
    booking->phase = Phase::kOver;
    booking->error = error;
    std::erase(m_bookings, booking);
}

IsochronousResources::Pointer IsochronousResources::Held(bool isBandwidth, uint32_t number) const
{
    for (const Pointer &booking : m_bookings)
        if (booking->phase == Phase::kHeld && (booking->slotBytes != 0) == isBandwidth &&
            booking->number == number)
            return booking;
    return nullptr;
}

IsochronousResources::Pointer IsochronousResources::HeldBandwidth(uint32_t number) const
{
    return Held(true, number);
}

IsochronousResources::Pointer IsochronousResources::HeldChannel(uint32_t channel) const
{
    return Held(false, channel);
}

bool IsochronousResources::HoldsBandwidthFor(uint32_t slotBytes) const
{
    return std::any_of(m_bookings.begin(), m_bookings.end(), [&](const Pointer &booking) {
        return booking->phase == Phase::kHeld && booking->slotBytes >= slotBytes;
    });
}

// A grant tells the units or the channel; a refusal no units and a negative channel. A booking of
// bandwidth alone has no channel either way.
void IsochronousResources::OnGranted(const Pointer &booking, std::span<const uint8_t> event)
{
    const auto channel = EventWord<int32_t>(event, offsetof(fw_cdev_event_iso_resource, channel));
    const auto units = EventWord<int32_t>(event, offsetof(fw_cdev_event_iso_resource, bandwidth));
    const bool isBandwidth = booking->slotBytes != 0;
    if (isBandwidth ? units <= 0 : channel < 0)
        return End(booking, kernel::kErrorNoSystemResources);
    booking->kernelHandle = EventWord(event, offsetof(fw_cdev_event_iso_resource, handle));
    booking->number =
        isBandwidth ? static_cast<uint32_t>(booking->closure) : static_cast<uint32_t>(channel);
    booking->phase = Phase::kHeld;
    if (!booking->isWanted)
        static_cast<void>(Free(booking));
}

bool IsochronousResources::OnEvent(std::span<const uint8_t> event)
{
    const auto closure = EventWord<uint64_t>(event, offsetof(fw_cdev_event_common, closure));
    const auto found =
        std::find_if(m_bookings.begin(), m_bookings.end(),
                     [&](const Pointer &booking) { return booking->closure == closure; });
    if (found == m_bookings.end())
        return true;
    const Pointer booking = *found;
    const Phase phase = booking->phase;
    if (EventWord(event, offsetof(fw_cdev_event_common, type)) ==
        FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED) {
        End(booking, phase == Phase::kFreeing ? 0 : uint32_t{kernel::kErrorNoSystemResources});
        return phase != Phase::kHeld;
    }
    if (phase == Phase::kAsked)
        OnGranted(booking, event);
    return true;
}

// A booking that isn't answered stays known, so that a late grant is given back.
void IsochronousResources::EndLate()
{
    const Time now = m_system.Now();
    const auto isLate = [now](const Pointer &booking) {
        return !booking->IsAnswered() && booking->deadline <= now && booking->isWanted;
    };
    for (;;) {
        const auto found = std::find_if(m_bookings.begin(), m_bookings.end(), isLate);
        if (found == m_bookings.end())
            return;
        const Pointer booking = *found;
        if (booking->phase == Phase::kFreeing) {
            End(booking, 0);
            continue;
        }
        const auto late = std::make_shared<Booking>(*booking);
        late->isWanted = false;
        *found = late;
        End(booking, kernel::kErrorNoSystemResources);
    }
}

std::optional<IsochronousResources::Time> IsochronousResources::NextDeadline() const
{
    std::optional<Time> next;
    for (const Pointer &booking : m_bookings)
        if (!booking->IsAnswered() && booking->isWanted && (!next || booking->deadline < *next))
            next = booking->deadline;
    return next;
}

void IsochronousResources::EndAll(uint32_t systemError, bool givesBack)
{
    while (!m_bookings.empty()) {
        const Pointer booking = m_bookings.front();
        const bool isReturn = booking->phase == Phase::kFreeing;
        if (givesBack && booking->phase == Phase::kHeld)
            Deallocate(booking->kernelHandle);
        End(booking, isReturn ? 0 : systemError);
    }
}

} // namespace zerix::bus::linux_firewire
