// The cameras that are plugged into the virtual bus at this moment, without opening any.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal/kernel_driver.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix::linux_model {

struct RackCamera {
    std::string path; // of the virtual bus's device
    uint64_t guid;
    uint32_t model;
    bool operator==(const RackCamera &) const = default;
};

kernel::KernelDriver &VirtualBusDriver();
std::vector<RackCamera> PresentCameras();
// As the kernel's speed codes: 2 for 400 Mb/s, 3 for 800.
uint32_t RackSpeedCode();
bool RackIsOnFastClock();

} // namespace zerix::linux_model
