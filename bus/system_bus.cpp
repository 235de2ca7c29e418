// The bus of this system's own kernel. No kernel driver is spoken to yet on any system that this
// builds for, so that the bus is empty.
#include "bus/system_bus.h"

#include "bus/no_bus_driver.h"

namespace zerix::bus {

std::unique_ptr<kernel::KernelDriver> MakeSystemBus() { return std::make_unique<NoBusDriver>(); }

} // namespace zerix::bus
