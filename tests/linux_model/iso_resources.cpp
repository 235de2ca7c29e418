// Allocation, renewal after a reset, and the way back.
#include "tests/linux_model/iso_resources.h"

#include <algorithm>
#include <bit>
#include <cerrno>

#include "tests/linux_model/machine.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

// After a reset those that had something go first.
constexpr nanoseconds kGrace = 1s;
constexpr nanoseconds kGraceStep = 334ms;

} // namespace

int IsoResources::Allocate(DeviceFile &file, fw_cdev_allocate_iso_resource &request)
{
    if ((request.channels == 0 && request.bandwidth == 0) || request.bandwidth > kBandwidthUnits)
        return -EINVAL;
    uint32_t handle = 0;
    while (file.resources.contains(handle))
        ++handle;
    IsoResource &resource = file.resources[handle];
    resource.closure = request.closure;
    resource.channels = request.channels;
    resource.bandwidth = request.bandwidth;
    resource.due = m_machine.clock.Now();
    request.handle = handle;
    m_machine.WakeTimer();
    return 0;
}

// A second request for the same finds nothing.
int IsoResources::Deallocate(DeviceFile &file, uint32_t handle)
{
    const auto found = file.resources.find(handle);
    if (found == file.resources.end() || found->second.isToBeFreed)
        return -EINVAL;
    found->second.isToBeFreed = true;
    found->second.due = m_machine.clock.Now();
    m_machine.WakeTimer();
    return 0;
}

void IsoResources::RunDue()
{
    const nanoseconds now = m_machine.clock.Now();
    for (const auto &file : m_machine.OpenFiles()) {
        std::vector<uint32_t> due;
        for (auto &[handle, resource] : file->resources)
            if (resource.due && *resource.due <= now)
                due.push_back(handle);
        for (const uint32_t handle : due)
            Work(*file, handle);
    }
}

nanoseconds IsoResources::NextDue() const
{
    nanoseconds next = kForever;
    for (const auto &file : m_machine.OpenFiles())
        for (const auto &[handle, resource] : file->resources)
            next = std::min(next, resource.due.value_or(kForever));
    return next;
}

void IsoResources::Work(DeviceFile &file, uint32_t handle)
{
    IsoResource &resource = file.resources.at(handle);
    resource.due.reset();
    if (resource.isToBeFreed)
        return AnswerDeallocation(file, handle);
    if (m_machine.clock.Now() < m_machine.bus.ResetTime() + kGrace) {
        resource.due = m_machine.clock.Now() + kGraceStep;
        return;
    }
    AnswerAllocation(file, handle);
}

// On a node that has gone the generation is stale: then nothing is answered, until the node is
// back.
void IsoResources::AnswerAllocation(DeviceFile &file, uint32_t handle)
{
    IsoResource &resource = file.resources.at(handle);
    if (file.node->generation != m_machine.bus.Generation())
        return;
    const uint64_t closure = resource.closure;
    resource.isAllocated = true;
    if (Book(file, resource)) {
        const bool hasChannel = resource.channels != 0;
        return Report(file, FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED, closure, handle,
                      {hasChannel ? std::countr_zero(resource.channels) : -EINVAL,
                       static_cast<int32_t>(resource.bandwidth)});
    }
    file.resources.erase(handle);
    Report(file, FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED, closure, handle, {-EBUSY, 0});
}

void IsoResources::AnswerDeallocation(DeviceFile &file, uint32_t handle)
{
    IsoResource resource = file.resources.at(handle);
    file.resources.erase(handle);
    const bool hasChannel = std::has_single_bit(resource.channels);
    const IsoAnswer answer = {hasChannel ? std::countr_zero(resource.channels) : -EINVAL,
                              static_cast<int32_t>(resource.bandwidth)};
    Return(resource);
    Report(file, FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED, resource.closure, handle, answer);
}

bool IsoResources::Book(DeviceFile &file, IsoResource &resource)
{
    const uint64_t free = resource.channels & m_accounts.FreeChannels();
    const bool isFree = resource.channels == 0 || free != 0;
    if (!isFree || !BookOnVirtualBus(file, resource, free))
        return Return(resource), false;
    const uint64_t candidates = resource.channel ? uint64_t{1} << *resource.channel : free;
    const IsoAnswer answer = m_accounts.Take(candidates, resource.bandwidth);
    const bool isTaken = resource.channels != 0 ? answer.channel >= 0 : answer.bandwidth > 0;
    if (!isTaken)
        return Return(resource), false;
    if (resource.channels != 0)
        resource.channels = uint64_t{1} << answer.channel;
    resource.isBooked = true;
    return true;
}

// Its faults refuse a booking here. A resource of the local node has nothing there.
bool IsoResources::BookOnVirtualBus(DeviceFile &file, IsoResource &resource, uint64_t channels)
{
    CameraLink *const link = file.node->link.get();
    if (link == nullptr || resource.link == file.node->link)
        return true;
    resource.link = file.node->link;
    if (resource.bandwidth != 0)
        resource.unitsId = link->BookUnits(resource.bandwidth);
    if (resource.channels != 0)
        resource.channel = link->BookChannel(channels);
    return (resource.bandwidth == 0 || resource.unitsId != 0) &&
           (resource.channels == 0 || resource.channel.has_value());
}

void IsoResources::Return(IsoResource &resource)
{
    if (resource.isBooked)
        m_accounts.Return(resource.channels, resource.bandwidth);
    resource.isBooked = false;
    if (resource.link != nullptr && resource.unitsId != 0)
        resource.link->FreeUnits(resource.unitsId);
    if (resource.link != nullptr && resource.channel)
        resource.link->FreeChannel(*resource.channel);
    resource.unitsId = 0;
    resource.channel.reset();
    resource.link.reset();
}

void IsoResources::Report(DeviceFile &file, uint32_t type, uint64_t closure, uint32_t handle,
                          const IsoAnswer &answer)
{
    file.Queue(
        EventRecord(closure, type).Put(handle).Put(answer.channel).Put(answer.bandwidth).Take());
}

// Resets ------------------------------------------------------------------------------------------

void IsoResources::ForgetBookings()
{
    m_accounts.Reset();
    for (const auto &file : m_machine.OpenFiles())
        for (auto &[handle, resource] : file->resources)
            resource.isBooked = false;
}

void IsoResources::Renew(DeviceFile &file)
{
    std::vector<uint32_t> lost;
    for (auto &[handle, resource] : file.resources) {
        if (!resource.isAllocated)
            resource.due = m_machine.clock.Now(); // was waiting for the node
        else if (!resource.isBooked && !resource.isToBeFreed && !Book(file, resource))
            lost.push_back(handle);
    }
    for (const uint32_t handle : lost) {
        const uint64_t closure = file.resources.at(handle).closure;
        file.resources.erase(handle);
        Report(file, FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED, closure, handle, {-EBUSY, 0});
    }
}

void IsoResources::BookAnew(DeviceFile &file)
{
    for (auto &[handle, resource] : file.resources)
        if (resource.isAllocated)
            BookOnVirtualBus(file, resource, resource.channels);
}

void IsoResources::FreeAll(DeviceFile &file)
{
    for (auto &[handle, resource] : file.resources)
        Return(resource);
    file.resources.clear();
}

void IsoResources::Occupy(uint64_t channels, uint32_t units)
{
    for (uint64_t rest = channels; rest != 0; rest &= rest - 1)
        m_accounts.Take(rest & (~rest + 1), 0);
    m_accounts.Take(0, units);
}

} // namespace zerix::linux_model
