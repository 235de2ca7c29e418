// A camera's place in the rack and its unique identifier are part of its device path.
#include "tests/rack_cameras/rack_view.h"

#include <cstdio>

#include "sim/virtual_bus.h"

namespace zerix::rack_cameras {
namespace {

constexpr uint32_t kSpeedCode400 = 2;
constexpr uint32_t kSpeedCode800 = 3;

// Under the bus's lock.
uint32_t SpeedCodeOf(const sim::VirtualBus &bus)
{
    return bus.Speed() >= 800 ? kSpeedCode800 : kSpeedCode400;
}

// Null for a path that has no camera. Under the bus's lock.
std::shared_ptr<sim::VirtualCamera> CameraAt(const sim::VirtualBus &bus, const std::string &path)
{
    unsigned index = 0;
    if (std::sscanf(path.c_str(), "zerix-sim:%u:", &index) != 1)
        return nullptr;
    return bus.Camera(index);
}

} // namespace

kernel::KernelDriver &VirtualBusDriver()
{
    static kernel::KernelDriver &driver = *ZerixSim_KernelDriver(nullptr);
    return driver;
}

std::vector<RackCamera> PresentCameras()
{
    VirtualBusDriver();
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    bus.FinishReturns();
    std::vector<RackCamera> cameras;
    for (const std::string &path : bus.PresentPaths()) {
        const auto camera = CameraAt(bus, path);
        if (camera != nullptr)
            cameras.push_back({path, camera->Description().uniqueId, camera->Description().model,
                               SpeedCodeOf(bus)});
    }
    return cameras;
}

RomContents ContentsOf(const RackCamera &camera)
{
    RomContents contents;
    contents.guid = camera.guid;
    contents.vendor = static_cast<uint32_t>(camera.guid >> 40);
    contents.model = camera.model;
    contents.linkSpeed = camera.speedCode;
    contents.hasUnit = true;
    contents.unitSpecifier = kUnitSpecifier;
    contents.unitVersion = kUnitVersion;
    return contents;
}

std::optional<uint32_t> StreamingChannel(const RackCamera &camera)
{
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    const auto found = CameraAt(bus, camera.path);
    if (found == nullptr || (found->StreamingRegister() & 1u) == 0)
        return std::nullopt;
    return found->StreamingRegister() >> 24;
}

uint32_t RackSpeedCode()
{
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    return SpeedCodeOf(bus);
}

bool RackIsOnFastClock()
{
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    return bus.IsFast();
}

} // namespace zerix::rack_cameras
