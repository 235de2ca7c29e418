// The bus of this system's own kernel. On Windows its 1394 driver, on Linux its FireWire devices;
// no kernel driver is spoken to on any other system that this builds for, so that the bus is empty
// there.
#include "bus/system_bus.h"

#if defined(_WIN32)
#include "bus/windows/win32_calls.h"
#include "bus/windows/windows_driver.h"
#elif defined(__linux__)
#include "bus/linux_firewire/linux_firewire_driver.h"
#include "platform/os.h"
#include "tables/camera_models.h"
#else
#include "bus/no_bus_driver.h"
#endif

namespace zerix::bus {

#if defined(_WIN32)

std::unique_ptr<kernel::KernelDriver> MakeSystemBus()
{
    return std::make_unique<WindowsDriver>(Win32Calls());
}

#elif defined(__linux__)

namespace {

using linux_firewire::Recognition;

// The units that the configuration names, and every model that there is.
Recognition RecognitionOfThisProcess()
{
    Recognition recognition{.units = {}, .isModel = [](uint32_t model) {
                                return tables::FindCameraModel(model).model == model &&
                                       model != tables::kUnknownCameraModel.model;
                            }};
    if (const auto configuration = os::Configuration::Open())
        recognition.units =
            linux_firewire::UnitsIn(configuration->Text("FireWireUnits").value_or(""));
    return recognition;
}

} // namespace

std::unique_ptr<kernel::KernelDriver> MakeSystemBus()
{
    return std::make_unique<linux_firewire::LinuxFirewireDriver>(linux_firewire::RealSystemCalls(),
                                                                 RecognitionOfThisProcess());
}

#else

std::unique_ptr<kernel::KernelDriver> MakeSystemBus() { return std::make_unique<NoBusDriver>(); }

#endif

} // namespace zerix::bus
