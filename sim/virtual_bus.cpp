// Racks, handles, plugging, and who streams.
#include "sim/virtual_bus.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

#include "sim/bus_driver.h"

namespace zerix::sim {
namespace {

std::string PathOf(size_t index, const CameraDescription &description)
{
    char text[64];
    std::snprintf(text, sizeof(text), "zerix-sim:%u:%08x%08x", static_cast<unsigned>(index),
                  static_cast<unsigned>(description.uniqueId >> 32),
                  static_cast<unsigned>(description.uniqueId & 0xFFFFFFFFu));
    return text;
}

} // namespace

VirtualBus &VirtualBus::Instance()
{
    static auto *bus = new VirtualBus;
    return *bus;
}

uint32_t VirtualBus::ChooseRack(const char *rack, std::string *error)
{
    {
        const std::lock_guard lock(m_lock);
        if (!m_devices.empty()) {
            *error = "A device of the virtual bus is open; close it before choosing another rack.";
            return ZERIX_SIM_IN_USE;
        }
    }
    Rack loaded;
    if (!LoadRack(rack == nullptr ? std::string() : std::string(rack), &loaded, error))
        return ZERIX_SIM_BAD_RACK;
    return Install(std::move(loaded), error);
}

// The new cameras are made first, so that a rack that can't be used leaves everything as it was.
uint32_t VirtualBus::Install(Rack rack, std::string *error)
{
    std::vector<Place> cameras;
    for (size_t i = 0; i < rack.cameras.size(); ++i) {
        auto camera = std::make_shared<VirtualCamera>(rack.cameras[i], rack.seed, rack.fastClock);
        if (!camera->SetUp(error)) {
            *error = "rack \"" + rack.name + "\": " + *error;
            return ZERIX_SIM_BAD_RACK;
        }
        cameras.push_back({PathOf(i, rack.cameras[i]), std::move(camera), nullptr});
    }
    std::vector<Place>
        old; // destroyed without the lock: a stream that was unplugged is joined there
    const std::lock_guard lock(m_lock);
    if (!m_devices.empty()) {
        *error = "A device of the virtual bus is open; close it before choosing another rack.";
        return ZERIX_SIM_IN_USE;
    }
    old = std::exchange(m_cameras, std::move(cameras));
    m_accounts = BusAccounts();
    m_speed = rack.speed;
    m_fast = rack.fastClock;
    m_hasRack = true;
    return ZERIX_SIM_OK;
}

void VirtualBus::EnsureRack()
{
    {
        const std::lock_guard lock(m_lock);
        if (m_hasRack)
            return;
    }
    std::string error;
    if (ChooseRack(nullptr, &error) != ZERIX_SIM_OK)
        std::fprintf(stderr, "zerix: %s\n", error.c_str());
}

void VirtualBus::Clear()
{
    std::vector<Place> old;
    const std::lock_guard lock(m_lock);
    if (m_devices.empty())
        old = std::exchange(m_cameras, {});
    m_hasRack = true;
}

std::shared_ptr<VirtualCamera> VirtualBus::Camera(uint32_t index) const
{
    return index < m_cameras.size() ? m_cameras[index].camera : nullptr;
}

uint64_t VirtualBus::Now() const
{
    uint64_t latest = m_cameras.empty() ? CameraClock(m_fast).Now() : 0;
    for (const Place &place : m_cameras)
        latest = std::max(latest, place.camera->Clock().Now());
    return latest;
}

std::vector<std::string> VirtualBus::PresentPaths() const
{
    std::vector<std::string> paths;
    for (const Place &place : m_cameras)
        if (place.camera->IsPlugged())
            paths.push_back(place.path);
    return paths;
}

uint32_t VirtualBus::Open(const std::string &path, kernel::DeviceHandle *handle)
{
    for (const Place &place : m_cameras) {
        if (place.path != path || !place.camera->IsPlugged())
            continue;
        m_devices[m_nextHandle] = std::make_shared<BusDevice>(
            m_nextHandle, place.camera, m_speed, m_accounts, BusDriver::Instance().Book());
        *handle = m_nextHandle++;
        return 0;
    }
    return kernel::kErrorFileNotFound;
}

std::shared_ptr<BusDevice> VirtualBus::Device(kernel::DeviceHandle handle) const
{
    const auto found = m_devices.find(handle);
    return found == m_devices.end() ? nullptr : found->second;
}

bool VirtualBus::IsClaimed(const VirtualCamera &camera) const
{
    return camera.Description().inUse || camera.InUseByFault() || OwnerOf(camera) != nullptr;
}

BusDevice *VirtualBus::OwnerOf(const VirtualCamera &camera) const
{
    for (const auto &[handle, device] : m_devices)
        if (&device->Camera() == &camera && device->IsOwner() && device->IsConnected())
            return device.get();
    return nullptr;
}

BusDevice *VirtualBus::Listener(const VirtualCamera &camera, uint32_t channel) const
{
    for (const auto &[handle, device] : m_devices)
        if (&device->Camera() == &camera && device->IsConnected() && device->IsListeningTo(channel))
            return device.get();
    return nullptr;
}

void VirtualBus::Close(kernel::DeviceHandle handle)
{
    std::unique_ptr<CameraStream> ended;
    const std::lock_guard lock(m_lock);
    const auto device = Device(handle);
    if (device == nullptr)
        return;
    Place *place = PlaceOf(device->Camera());
    if (place != nullptr && place->stream != nullptr && place->stream->Owner() == handle) {
        if (device->IsConnected())
            device->Camera().ClearStreamingRegister();
        ended = TakeStream(*place);
    }
    device->EndPending(kernel::kErrorOperationAborted);
    m_devices.erase(handle);
    if (place == nullptr || !place->comesBack)
        return;
    if (ended == nullptr)
        ended = TakeStream(*place);
    try {
        FinishReturns();
    } catch (const std::exception &) { // there is no memory: the next list tries again
    }
}

void VirtualBus::FinishReturns()
{
    for (Place &place : m_cameras) {
        if (!place.comesBack || IsHeldUp(*place.camera))
            continue;
        place.camera->Plug();
        place.comesBack = false;
    }
}

uint32_t VirtualBus::FollowStreamingRegister(BusDevice &device,
                                             std::unique_ptr<CameraStream> &ended)
{
    Place *place = PlaceOf(device.Camera());
    const uint32_t word = device.Camera().StreamingRegister();
    const uint32_t channel = word >> 24;
    const bool wanted = (word & 1u) != 0;
    if (place == nullptr)
        return 0;
    if (place->stream != nullptr && wanted && place->stream->IsRunningOn(channel))
        return 0;
    ended = TakeStream(*place);
    if (!wanted)
        return 0;
    device.Camera().StreamBegins();
    place->stream = CameraStream::Start(*this, device.SharedCamera(), device.Handle(), channel);
    if (place->stream != nullptr)
        return 0;
    device.Camera().ClearStreamingRegister();
    return kernel::kErrorNoSystemResources;
}

void VirtualBus::Unplug(VirtualCamera &camera, Unplugging how)
{
    camera.Unplug();
    if (Place *place = PlaceOf(camera); place != nullptr) {
        place->comesBack = false;
        if (place->stream != nullptr)
            place->stream->RequestStop();
    }
    for (const auto &[handle, device] : m_devices) {
        if (&device->Camera() != &camera)
            continue;
        if (how == Unplugging::kWithDriver)
            device->LoseDriver();
        else
            device->EndPending(kernel::kErrorDeviceNotConnected);
    }
    camera.Changed().notify_all();
}

uint32_t VirtualBus::UnplugAndWait(uint32_t index, Unplugging how)
{
    std::unique_ptr<CameraStream> ended;
    const std::lock_guard lock(m_lock);
    if (index >= m_cameras.size())
        return ZERIX_SIM_NO_SUCH_CAMERA;
    Unplug(*m_cameras[index].camera, how);
    ended = TakeStream(m_cameras[index]);
    return ZERIX_SIM_OK;
}

uint32_t VirtualBus::Plug(uint32_t index)
{
    std::unique_ptr<CameraStream> ended;
    const std::lock_guard lock(m_lock);
    if (index >= m_cameras.size())
        return ZERIX_SIM_NO_SUCH_CAMERA;
    Place &place = m_cameras[index];
    if (place.camera->IsPlugged())
        return ZERIX_SIM_OK;
    place.comesBack = IsHeldUp(*place.camera);
    if (place.comesBack)
        return ZERIX_SIM_OK;
    ended = TakeStream(place);
    place.camera->Plug();
    return ZERIX_SIM_OK;
}

VirtualBus::Place *VirtualBus::PlaceOf(const VirtualCamera &camera)
{
    for (Place &place : m_cameras)
        if (place.camera.get() == &camera)
            return &place;
    return nullptr;
}

bool VirtualBus::IsHeldUp(const VirtualCamera &camera) const
{
    return std::any_of(m_devices.begin(), m_devices.end(), [&camera](const auto &open) {
        return &open.second->Camera() == &camera && open.second->HasLostDriver();
    });
}

std::unique_ptr<CameraStream> VirtualBus::TakeStream(Place &place)
{
    if (place.stream != nullptr)
        place.stream->RequestStop();
    return std::move(place.stream);
}

ZerixSimHeld VirtualBus::Held()
{
    const std::lock_guard lock(m_lock);
    ZerixSimHeld held{};
    held.openHandles = static_cast<uint32_t>(m_devices.size());
    for (const auto &[handle, device] : m_devices) {
        held.channels += device->ChannelCount();
        held.bandwidthHandles += device->BandwidthCount();
        held.resourcesHandles += device->HasResources() ? 1 : 0;
        held.queuedBuffers += device->QueuedCount();
        held.pendingRequests += device->PendingCount();
    }
    held.threads = m_threads;
    return held;
}

} // namespace zerix::sim
