// The devices of the cameras' interface class, through the system's device set-up. Any thread.
#pragma once

#include <cstdint>

#include "bus/windows/system_calls.h"
#include "hal/kernel_driver.h"

namespace zerix::bus {

// As KernelDriver::Enumerate.
uint32_t EnumerateDeviceInterfaces(SystemCalls &system, kernel::DevicePath *paths,
                                   uint32_t maximumCount, uint32_t *count);

} // namespace zerix::bus
