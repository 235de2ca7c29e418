// Which bus a process uses: decided from the configuration and the environment, and made. The
// choice is apart from its execution, so that both can be tested; kernel::Driver() does them once
// per process.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hal/kernel_driver.h"
#include "platform/os.h"

namespace zerix::bus {

enum class Bus { kKernel, kSimulated, kNone };

// What a user can set.
struct BusSettings {
    std::optional<std::string> environment;      // ZERIX_BUS, which goes before `bus`
    std::optional<std::string> bus;              // auto (as without it), kernel or simulated
    std::optional<std::string> simulatedBus;     // rack file or name
    std::optional<std::string> simulatorLibrary; // path of the virtual bus's library
};

struct BusChoice {
    Bus bus = Bus::kNone;
    std::optional<std::string> rack; // of the simulated bus; its own default without it
    std::string complaint;           // why the bus is empty; one sentence without a line end
};

// `auto`, or nothing at all, is the kernel's bus: a picture is never invented unasked.
BusChoice ChooseBus(const BusSettings &settings);

// The files to try for the virtual bus, in this order: the one that is set, and no other; else
// beside the module in `moduleFolder`, and in the lib folder beside its folder.
std::vector<std::string> SimulatorCandidates(const BusSettings &settings,
                                             const std::string &moduleFolder);

// A driver, and the library that it lives in.
struct LoadedDriver {
    std::unique_ptr<os::DynamicLibrary> library; // of a simulated driver
    std::unique_ptr<kernel::KernelDriver> owned; // any other
    kernel::KernelDriver *driver = nullptr;      // never null when returned by MakeDriver
};

using LoadLibrary = std::function<std::unique_ptr<os::DynamicLibrary>(const std::string &file)>;
using Complain = std::function<void(const std::string &sentence)>;

// Makes the chosen driver. What doesn't work out is told to `complain` in one sentence, and the
// driver is then one without devices.
LoadedDriver MakeDriver(const BusChoice &choice, const std::vector<std::string> &candidates,
                        const LoadLibrary &load, const Complain &complain);

// The settings of this process.
BusSettings SettingsOfThisProcess();

} // namespace zerix::bus
