// The bus of this system's own kernel. On Windows its 1394 driver; no kernel driver is spoken to
// yet on any other system that this builds for, so that the bus is empty there.
#include "bus/system_bus.h"

#if defined(_WIN32)
#include "bus/windows/win32_calls.h"
#include "bus/windows/windows_driver.h"
#else
#include "bus/no_bus_driver.h"
#endif

namespace zerix::bus {

std::unique_ptr<kernel::KernelDriver> MakeSystemBus()
{
#if defined(_WIN32)
    return std::make_unique<WindowsDriver>(Win32Calls());
#else
    return std::make_unique<NoBusDriver>();
#endif
}

} // namespace zerix::bus
