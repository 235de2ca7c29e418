// A camera's place in the rack and its unique identifier are part of its device path.
#include "tests/rack_cameras/rack_view.h"

#include <cstdio>

#include "sim/virtual_bus.h"

namespace zerix::rack_cameras {

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
        unsigned index = 0;
        if (std::sscanf(path.c_str(), "zerix-sim:%u:", &index) != 1)
            continue;
        const auto camera = bus.Camera(index);
        if (camera != nullptr)
            cameras.push_back({path, camera->Description().uniqueId, camera->Description().model});
    }
    return cameras;
}

RomContents ContentsOf(const RackCamera &camera)
{
    RomContents contents;
    contents.guid = camera.guid;
    contents.vendor = static_cast<uint32_t>(camera.guid >> 40);
    contents.model = camera.model;
    contents.linkSpeed = RackSpeedCode();
    contents.hasUnit = true;
    contents.unitSpecifier = kUnitSpecifier;
    contents.unitVersion = kUnitVersion;
    return contents;
}

uint32_t RackSpeedCode()
{
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    return bus.Speed() >= 800 ? 3 : 2;
}

bool RackIsOnFastClock()
{
    sim::VirtualBus &bus = sim::VirtualBus::Instance();
    const std::lock_guard lock(bus.Lock());
    return bus.IsFast();
}

} // namespace zerix::rack_cameras
