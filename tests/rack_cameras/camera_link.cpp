// Bookings, and the stream of a camera.
#include "tests/rack_cameras/camera_link.h"

#include <algorithm>
#include <utility>

#include "tests/rack_cameras/rack_view.h"

namespace zerix::rack_cameras {

using namespace kernel;

std::shared_ptr<CameraLink> CameraLink::Open(const std::string &path)
{
    DeviceHandle device = 0;
    if (VirtualBusDriver().Open(path.c_str(), &device) != 0)
        return nullptr;
    return std::shared_ptr<CameraLink>(new CameraLink(device));
}

void CameraLink::Close()
{
    std::unique_ptr<StreamPump> ended;
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_isClosed, true))
            return;
        ended = std::move(m_pump);
    }
    ended.reset();
    VirtualBusDriver().Close(m_device);
}

uint32_t CameraLink::Word(uint32_t code, uint32_t &word) const
{
    return VirtualBusDriver().Control(m_device, code, &word, 4, &word, 4, nullptr).systemError;
}

bool CameraLink::IsLost()
{
    uint32_t word = 0;
    return Word(kControlIsOpen, word) != 0;
}

bool CameraLink::IsHeldElsewhere()
{
    const std::lock_guard lock(m_mutex);
    uint32_t word = 0;
    return !m_hasBooked && Word(kControlIsOpen, word) == 0 && word != 0;
}

// Bookings ----------------------------------------------------------------------------------------

// At the fast speed a unit is two bytes.
uint32_t CameraLink::UnitsFor(uint32_t slotBytes)
{
    return RackSpeedCode() == 3 ? (slotBytes + 1) / 2 : slotBytes;
}

// Booked at the fast speed, whatever the bus's is.
uint32_t CameraLink::BookUnits(uint32_t units)
{
    const std::lock_guard lock(m_mutex);
    BandwidthRequest request{
        .slotBytes = 2 * units, .speedFlag = kSpeedFlag800, .handle = 0, .unset = {}};
    const ControlResult result =
        VirtualBusDriver().Control(m_device, kControlAllocateBandwidth, &request, sizeof request,
                                   &request, sizeof request, nullptr);
    if (result.completion != Completion::kDone)
        return 0;
    m_hasBooked = true;
    m_bandwidths.push_back({request.handle, units});
    return request.handle;
}

void CameraLink::FreeUnits(uint32_t id)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_bandwidths, [id](const Booking &booking) { return booking.id == id; });
    Word(kControlFreeBandwidth, id);
}

// Any channel first: a refusal is then one for good, not of a channel that another handle has.
std::optional<uint32_t> CameraLink::BookChannel(uint64_t mask)
{
    const std::lock_guard lock(m_mutex);
    const auto ask = [this](uint32_t which) -> std::optional<uint32_t> {
        ChannelRequest request{.request = which, .channel = 0, .unset = {}};
        const ControlResult result =
            VirtualBusDriver().Control(m_device, kControlAllocateChannel, &request, sizeof request,
                                       &request, sizeof request, nullptr);
        return result.completion == Completion::kDone ? std::optional(request.channel)
                                                      : std::nullopt;
    };
    std::optional<uint32_t> channel = ask(kAnyChannel);
    if (!channel)
        return std::nullopt;
    if ((mask >> *channel & 1u) == 0) {
        Word(kControlFreeChannel, *channel);
        channel.reset();
        for (uint32_t i = 0; i < 64 && !channel; ++i)
            if ((mask >> i & 1u) != 0)
                channel = ask(i);
    }
    if (channel)
        m_channels.push_back(*channel);
    return channel;
}

void CameraLink::FreeChannel(uint32_t channel)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_channels, channel);
    Word(kControlFreeChannel, channel);
}

// The stream --------------------------------------------------------------------------------------

uint32_t CameraLink::BookedSlotBytes() const
{
    uint32_t units = 0;
    for (const Booking &booking : m_bandwidths)
        units = std::max(units, booking.units);
    return RackSpeedCode() == 3 ? 2 * units : units;
}

bool CameraLink::ReserveStream(uint32_t channel)
{
    const std::lock_guard lock(m_mutex);
    const bool isBooked = !m_bandwidths.empty() && std::find(m_channels.begin(), m_channels.end(),
                                                             channel) != m_channels.end();
    if (!isBooked || m_resources != 0)
        return true;
    return AllocateResources(channel, BookedSlotBytes());
}

bool CameraLink::AllocateResources(uint32_t channel, uint32_t slotBytes)
{
    const bool fast = RackSpeedCode() == 3 && !m_triesSlowSpeed;
    ResourcesRequest request{.speedFlag = fast ? kSpeedFlag800 : kSpeedFlag400,
                             .flags = kResourceFlags,
                             .channel = channel,
                             .slotBytes = slotBytes,
                             .bufferCount = kAnnouncedBuffers,
                             .bufferBytes = slotBytes * kSlotsPerBuffer,
                             .stripQuadlets = 0,
                             .tag = 0,
                             .handle = 0};
    const ControlResult result =
        VirtualBusDriver().Control(m_device, kControlAllocateResources, &request, sizeof request,
                                   &request, sizeof request, nullptr);
    m_triesSlowSpeed = fast && result.completion != Completion::kDone;
    if (result.completion != Completion::kDone)
        return false;
    m_resources = request.handle;
    m_slotBytes = slotBytes;
    m_streamChannel = channel;
    return true;
}

// A client that has booked elsewhere, or nothing, streams all the same: the bus asks nobody.
bool CameraLink::StartStream(uint32_t channel, uint32_t slotBytes, PacketSink &sink)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed || m_pump != nullptr)
        return false;
    if (m_resources == 0) {
        if (m_bandwidths.empty() && BookUnits(UnitsFor(slotBytes)) == 0)
            return false;
        if (std::find(m_channels.begin(), m_channels.end(), channel) == m_channels.end() &&
            !BookChannel(uint64_t{1} << channel))
            return false;
        if (!AllocateResources(channel, BookedSlotBytes()))
            return false;
    }
    m_pump = StreamPump::Start(m_device, m_resources, channel, m_slotBytes, sink);
    return m_pump != nullptr;
}

void CameraLink::StopStream(uint32_t channel)
{
    std::unique_ptr<StreamPump> ended;
    const std::lock_guard lock(m_mutex);
    if (m_pump != nullptr && m_pump->Channel() == channel)
        ended = std::move(m_pump);
}

void CameraLink::FreeStream(uint32_t channel)
{
    StopStream(channel);
    const std::lock_guard lock(m_mutex);
    if (m_resources == 0 || m_streamChannel != channel)
        return;
    uint32_t word = std::exchange(m_resources, 0);
    Word(kControlFreeResources, word);
}

} // namespace zerix::rack_cameras
