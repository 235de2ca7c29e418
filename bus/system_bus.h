// The bus of this system's own kernel.
#pragma once

#include <memory>

#include "hal/kernel_driver.h"

namespace zerix::bus {

std::unique_ptr<kernel::KernelDriver> MakeSystemBus();

} // namespace zerix::bus
