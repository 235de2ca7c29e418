// What a handle holds, and how its receive buffers fill.
#include "sim/bus_device.h"

#include <algorithm>
#include <cstring>

namespace zerix::sim {

using namespace kernel;

BusDevice::BusDevice(DeviceHandle handle, std::shared_ptr<VirtualCamera> camera, uint32_t busSpeed,
                     BusAccounts &accounts, RequestBook &requests)
    : m_handle(handle), m_camera(std::move(camera)), m_plugNumber(m_camera->PlugNumber()),
      m_busSpeed(busSpeed), m_accounts(accounts), m_requests(requests)
{
}

BusDevice::~BusDevice()
{
    EndPending(kErrorOperationAborted);
    ReturnToBus();
}

bool BusDevice::IsConnected() const
{
    return m_camera->IsPlugged() && m_camera->PlugNumber() == m_plugNumber;
}

void BusDevice::LoseDriver()
{
    EndPending(kErrorDeviceNotConnected);
    ReturnToBus();
    m_listening = false;
    m_resources.reset();
    m_hasLostDriver = true;
}

void BusDevice::ReturnToBus()
{
    for (const Bandwidth &bandwidth : m_bandwidths)
        m_accounts.ReturnUnits(bandwidth.units);
    for (uint32_t channel : m_channels)
        m_accounts.ReturnChannel(channel);
    m_bandwidths.clear();
    m_channels.clear();
}

uint32_t BusDevice::AllocateBandwidth(uint32_t slotBytes, uint32_t speedFlag, uint32_t *id)
{
    const uint32_t units = BusAccounts::UnitsOf(slotBytes, speedFlag);
    if (units == 0)
        return kErrorInvalidParameter;
    m_bandwidths.reserve(m_bandwidths.size() + 1);
    if (!m_accounts.TakeUnits(units))
        return kErrorNoSystemResources;
    m_isOwner = true;
    *id = m_nextId++;
    m_bandwidths.push_back({*id, slotBytes, units});
    return 0;
}

uint32_t BusDevice::FreeBandwidth(uint32_t id)
{
    const auto found =
        std::find_if(m_bandwidths.begin(), m_bandwidths.end(),
                     [id](const Bandwidth &bandwidth) { return bandwidth.id == id; });
    if (found == m_bandwidths.end())
        return kErrorInvalidParameter;
    m_accounts.ReturnUnits(found->units);
    m_bandwidths.erase(found);
    return 0;
}

uint32_t BusDevice::AllocateChannel(uint32_t request, uint32_t *channel)
{
    if (request != kAnyChannel && request >= kChannels)
        return kErrorInvalidParameter;
    m_channels.reserve(m_channels.size() + 1);
    const auto taken = m_accounts.TakeChannel(request);
    if (!taken)
        return kErrorNoSystemResources;
    *channel = *taken;
    m_channels.push_back(*taken);
    return 0;
}

uint32_t BusDevice::FreeChannel(uint32_t channel)
{
    const auto found = std::find(m_channels.begin(), m_channels.end(), channel);
    if (found == m_channels.end())
        return kErrorInvalidParameter;
    m_accounts.ReturnChannel(channel);
    m_channels.erase(found);
    return 0;
}

uint32_t BusDevice::AllocateResources(const ResourcesRequest &request, uint32_t *id)
{
    if (const uint32_t error = CheckResources(request))
        return error;
    const bool fast = request.speedFlag == kSpeedFlag800;
    const bool tooFast = fast && m_busSpeed < 800;
    if (tooFast || request.slotBytes > (fast ? kLargestFastSlot : kLargestSlowSlot))
        return kErrorNoSystemResources;
    Bandwidth *bandwidth = BandwidthFor(request.slotBytes);
    if (bandwidth == nullptr)
        return kErrorInvalidParameter;
    if (!PayFor(*bandwidth, BusAccounts::UnitsOf(request.slotBytes, request.speedFlag)))
        return kErrorNoSystemResources;
    *id = m_nextId++;
    m_resources = {*id, request.channel, request.slotBytes, request.bufferCount};
    return 0;
}

uint32_t BusDevice::CheckResources(const ResourcesRequest &request) const
{
    const bool knownSpeed =
        request.speedFlag == kSpeedFlag800 || request.speedFlag == kSpeedFlag400;
    const bool holdsChannel =
        std::find(m_channels.begin(), m_channels.end(), request.channel) != m_channels.end();
    const bool sane =
        request.flags == kResourceFlags && request.bufferCount > 0 && request.slotBytes > 0 &&
        request.bufferBytes == request.slotBytes * kSlotsPerBuffer && request.stripQuadlets == 0;
    if (!knownSpeed || !holdsChannel || !sane)
        return kErrorInvalidParameter;
    return m_resources ? uint32_t{kErrorBusy} : 0;
}

BusDevice::Bandwidth *BusDevice::BandwidthFor(uint32_t slotBytes)
{
    for (Bandwidth &bandwidth : m_bandwidths)
        if (bandwidth.slotBytes >= slotBytes)
            return &bandwidth;
    return nullptr;
}

// A stream at the slow speed costs more than what was allocated.
bool BusDevice::PayFor(Bandwidth &bandwidth, uint32_t units)
{
    if (units <= bandwidth.units)
        return true;
    if (!m_accounts.TakeUnits(units - bandwidth.units))
        return false;
    bandwidth.units = units;
    return true;
}

uint32_t BusDevice::FreeResources(uint32_t id)
{
    if (!Holds(id))
        return kErrorInvalidParameter;
    EndBuffers(kErrorOperationAborted);
    m_listening = false;
    m_resources.reset();
    return 0;
}

uint32_t BusDevice::Listen(uint32_t resources)
{
    if (!Holds(resources))
        return kErrorInvalidParameter;
    m_listening = true;
    m_camera->Changed().notify_all();
    return 0;
}

uint32_t BusDevice::StopListen(uint32_t resources)
{
    if (!Holds(resources))
        return kErrorInvalidParameter;
    m_listening = false;
    return 0;
}

uint32_t BusDevice::DetachBuffers(uint32_t resources)
{
    if (!Holds(resources))
        return kErrorInvalidParameter;
    EndBuffers(kErrorOperationAborted);
    return 0;
}

uint32_t BusDevice::QueueBuffer(std::span<uint8_t> bytes, RequestId request)
{
    if (!m_resources || bytes.size() != size_t{m_resources->slotBytes} * kSlotsPerBuffer)
        return kErrorInvalidParameter;
    if (m_listening && m_camera->Faults().OnRequeue())
        return kErrorNoSystemResources;
    if (m_queue.size() >= m_resources->bufferCount)
        return kErrorNoSystemResources;
    m_queue.push_back({bytes, request});
    m_camera->Changed().notify_all();
    return 0;
}

bool BusDevice::IsListeningTo(uint32_t channel) const
{
    return m_listening && m_resources && m_resources->channel == channel;
}

void BusDevice::FillSlot(std::span<const uint8_t> packet)
{
    const uint32_t slotBytes = m_resources->slotBytes;
    uint8_t *slot = m_queue.front().bytes.data() + size_t{m_slotsFilled} * slotBytes;
    const bool fits = packet.size() + kSlotPayloadOffset <= slotBytes;
    const auto length = static_cast<uint16_t>(fits ? packet.size() : 0);
    std::memset(slot, 0, kSlotLengthOffset);
    std::memcpy(slot + kSlotLengthOffset, &length, sizeof(length));
    std::memcpy(slot + kSlotPayloadOffset, packet.data(), length);
    ++m_slotsFilled;
}

void BusDevice::CompleteFront()
{
    const Buffer front = m_queue.front();
    m_queue.pop_front();
    m_slotsFilled = 0;
    m_requests.Finish(front.request,
                      {Completion::kDone, 0, static_cast<uint32_t>(front.bytes.size())});
}

void BusDevice::EndPending(uint32_t systemError)
{
    EndBuffers(systemError);
    m_requests.EndAll(m_handle, systemError);
}

void BusDevice::DropBuffer(RequestId request)
{
    if (!m_queue.empty() && m_queue.front().request == request)
        m_slotsFilled = 0;
    std::erase_if(m_queue, [&](const Buffer &buffer) { return buffer.request == request; });
}

void BusDevice::EndBuffers(uint32_t systemError)
{
    for (const Buffer &buffer : m_queue)
        m_requests.Finish(buffer.request, {Completion::kFailed, systemError, 0});
    m_queue.clear();
    m_slotsFilled = 0;
}

uint32_t BusDevice::PendingCount() const
{
    return m_requests.CountOf(m_handle) - m_requests.CountOf(m_handle, kControlQueueBuffer);
}

uint32_t BusDevice::ChannelCount() const { return static_cast<uint32_t>(m_channels.size()); }

} // namespace zerix::sim
