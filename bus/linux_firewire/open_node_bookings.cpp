// The claim on a device, its bandwidth and its channel.
#include <cerrno>

#include "bus/linux_firewire/open_node.h"
#include "bus/linux_firewire/system_errors.h"

namespace zerix::bus::linux_firewire {

using namespace kernel;

namespace {

// Whoever waited is gone, by force too: what is granted later goes back.
class Waiting {
public:
    Waiting(IsochronousResources &bookings, const IsochronousResources::Pointer &booking)
        : m_bookings(bookings), m_booking(booking)
    {
    }
    ~Waiting()
    {
        if (!m_booking->IsAnswered())
            m_bookings.Abandon(m_booking);
    }
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;

private:
    IsochronousResources &m_bookings;
    const IsochronousResources::Pointer m_booking;
};

} // namespace

// A claim is provisional until bandwidth is granted, to whichever of the calls that ask for it.
class OpenNode::ClaimUse {
public:
    explicit ClaimUse(OpenNode &node) : m_node(node) { ++m_node.m_claimUses; }
    ~ClaimUse()
    {
        if (--m_node.m_claimUses == 0 && !m_node.m_keepsClaim)
            m_node.Unclaim();
    }
    ClaimUse(const ClaimUse &) = delete;
    ClaimUse &operator=(const ClaimUse &) = delete;

private:
    OpenNode &m_node;
};

// The claim ---------------------------------------------------------------------------------------

uint32_t OpenNode::IsOpen(bool &isOpen)
{
    const Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return error;
    const int elsewhere = m_isClaimed ? 1 : m_system.IsLockedElsewhere(m_files.control);
    isOpen = elsewhere > 0;
    return Noted(SystemErrorOf(elsewhere));
}

uint32_t OpenNode::Claim()
{
    if (m_isClaimed)
        return 0;
    const int result = m_system.Lock(m_files.control);
    m_isClaimed = result >= 0;
    return Noted(SystemErrorOf(result));
}

void OpenNode::Unclaim()
{
    if (m_isClaimed)
        m_system.Unlock(m_files.control);
    m_isClaimed = false;
}

// Bookings ----------------------------------------------------------------------------------------

uint32_t OpenNode::Await(Lock &lock, const IsochronousResources::Pointer &booking)
{
    const Waiting waiting(m_bookings, booking);
    WakeIfDueEarlier();
    m_changed.wait(lock, [&] { return booking->IsAnswered(); });
    return booking->error;
}

// The next booking may want what this one has given back.
uint32_t OpenNode::AwaitReturn(Lock &lock, const IsochronousResources::Pointer &booking)
{
    if (m_isLost)
        return 0;
    if (!booking)
        return kErrorInvalidParameter;
    m_bookings.Free(booking);
    return Await(lock, booking);
}

uint32_t OpenNode::AllocateBandwidth(BandwidthRequest &booking)
{
    Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return error;
    const uint32_t units = BandwidthUnits(booking.slotBytes, m_files.speed);
    if (units == 0 || (booking.speedFlag != kSpeedFlag800 && booking.speedFlag != kSpeedFlag400))
        return kErrorInvalidParameter;
    if (const uint32_t error = Claim())
        return error;
    const ClaimUse use(*this);
    IsochronousResources::Pointer booked;
    uint32_t error = m_bookings.AskForBandwidth(booking.slotBytes, units, booked);
    if (error == 0)
        error = Await(lock, booked);
    m_keepsClaim = m_keepsClaim || error == 0;
    booking.handle = booked->number;
    return Noted(error);
}

uint32_t OpenNode::FreeBandwidth(uint32_t handle)
{
    Lock lock(m_mutex);
    return AwaitReturn(lock, m_bookings.HeldBandwidth(handle));
}

uint32_t OpenNode::AllocateChannel(ChannelRequest &booking)
{
    Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return error;
    const auto mask = ChannelMask(booking.request);
    if (!mask)
        return kErrorInvalidParameter;
    IsochronousResources::Pointer booked;
    if (const uint32_t error = m_bookings.AskForChannel(*mask, booked))
        return Noted(error);
    if (const uint32_t error = Await(lock, booked))
        return error;
    booking.channel = booked->number;
    return 0;
}

uint32_t OpenNode::FreeChannel(uint32_t channel)
{
    Lock lock(m_mutex);
    return AwaitReturn(lock, m_bookings.HeldChannel(channel));
}

} // namespace zerix::bus::linux_firewire
