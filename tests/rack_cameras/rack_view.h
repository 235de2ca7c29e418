// The cameras that are plugged into the virtual bus at this moment, without opening any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hal/kernel_driver.h"
#include "tests/rack_cameras/config_rom.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix::rack_cameras {

struct RackCamera {
    std::string path; // of the virtual bus's device
    uint64_t guid;
    uint32_t model;
    uint32_t speedCode; // of the bus that it is on
    bool operator==(const RackCamera &) const = default;
};

kernel::KernelDriver &VirtualBusDriver();
std::vector<RackCamera> PresentCameras();
// Of its configuration ROM. The vendor is the upper 24 bits of its GUID.
RomContents ContentsOf(const RackCamera &camera);
// The channel that it sends on, while its register says that it streams.
std::optional<uint32_t> StreamingChannel(const RackCamera &camera);
// As the kernel's speed codes: 2 for 400 Mb/s, 3 for 800.
uint32_t RackSpeedCode();
bool RackIsOnFastClock();

} // namespace zerix::rack_cameras
