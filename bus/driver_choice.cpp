// Which bus a process uses, and kernel::Driver(), which makes the choice at its first call.
#include "bus/driver_choice.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "bus/no_bus_driver.h"
#include "bus/platform_names.h"
#include "bus/system_bus.h"

namespace zerix::bus {

namespace {

constexpr const char *kEnvironmentName = "ZERIX_BUS";
constexpr std::string_view kSimulatedWithRack = "simulated:";
constexpr const char *kSimulatorSymbol = "ZerixSim_KernelDriver";
using SimulatorEntry = kernel::KernelDriver *(*)(const char *rackOrNull);

bool IsSet(const std::optional<std::string> &value) { return value && !value->empty(); }

// A rack that is named with the bus goes before the configured one.
BusChoice Simulated(const std::string &rack, const BusSettings &settings)
{
    BusChoice choice{.bus = Bus::kSimulated, .rack = {}, .complaint = {}};
    if (!rack.empty())
        choice.rack = rack;
    else if (IsSet(settings.simulatedBus))
        choice.rack = settings.simulatedBus;
    return choice;
}

BusChoice Unknown(const char *name, const std::string &value)
{
    return {.bus = Bus::kNone,
            .rack = {},
            .complaint = std::string(name) + " is \"" + value +
                         "\", which names no bus, so that the bus is empty"};
}

std::string Joined(const std::vector<std::string> &files)
{
    std::string text;
    for (const std::string &file : files)
        text += (text.empty() ? "\"" : " or \"") + file + "\"";
    return text;
}

LoadedDriver NoDevices()
{
    LoadedDriver loaded;
    loaded.owned = std::make_unique<NoBusDriver>();
    loaded.driver = loaded.owned.get();
    return loaded;
}

std::unique_ptr<os::DynamicLibrary> LoadFirst(const std::vector<std::string> &candidates,
                                              const LoadLibrary &load)
{
    for (const std::string &file : candidates) {
        if (auto library = load(file))
            return library;
    }
    return nullptr;
}

// Either a driver or a complaint.
LoadedDriver LoadSimulator(const BusChoice &choice, const std::vector<std::string> &candidates,
                           const LoadLibrary &load, std::string &complaint)
{
    LoadedDriver loaded;
    loaded.library = LoadFirst(candidates, load);
    if (!loaded.library) {
        complaint = "the library of the virtual bus can't be loaded from " + Joined(candidates);
        return loaded;
    }
    const auto entry = reinterpret_cast<SimulatorEntry>(loaded.library->Symbol(kSimulatorSymbol));
    if (entry == nullptr) {
        complaint = "the library of the virtual bus has no " + std::string(kSimulatorSymbol);
        return loaded;
    }
    loaded.driver = entry(choice.rack ? choice.rack->c_str() : nullptr);
    if (loaded.driver == nullptr)
        complaint = choice.rack ? "the virtual bus can't use the rack \"" + *choice.rack + "\""
                                : "the virtual bus can't be started";
    return loaded;
}

void ComplainOnStandardError(const std::string &sentence)
{
    std::fprintf(stderr, "zerix: %s\n", sentence.c_str());
}

LoadedDriver DriverOfThisProcess()
{
    const BusSettings settings = SettingsOfThisProcess();
    const std::string folder =
        os::FolderOfModuleWith(reinterpret_cast<const void *>(&DriverOfThisProcess));
    return MakeDriver(ChooseBus(settings), SimulatorCandidates(settings, folder),
                      os::DynamicLibrary::Load, ComplainOnStandardError);
}

} // namespace

BusChoice ChooseBus(const BusSettings &settings)
{
    const bool fromEnvironment = IsSet(settings.environment);
    const auto &setting = fromEnvironment ? settings.environment : settings.bus;
    const std::string value = IsSet(setting) ? *setting : "auto";
    if (value == "auto" || value == "kernel")
        return {.bus = Bus::kKernel, .rack = {}, .complaint = {}};
    if (value == "simulated")
        return Simulated({}, settings);
    if (fromEnvironment && value.starts_with(kSimulatedWithRack))
        return Simulated(value.substr(kSimulatedWithRack.size()), settings);
    return Unknown(fromEnvironment ? kEnvironmentName : "the configuration value Bus", value);
}

std::vector<std::string> SimulatorCandidates(const BusSettings &settings,
                                             const std::string &moduleFolder)
{
    if (IsSet(settings.simulatorLibrary))
        return {*settings.simulatorLibrary};
    if (moduleFolder.empty())
        return {kSimulatorFileName};
    return {moduleFolder + "/" + kSimulatorFileName,
            moduleFolder + "/../lib/" + kSimulatorFileName};
}

LoadedDriver MakeDriver(const BusChoice &choice, const std::vector<std::string> &candidates,
                        const LoadLibrary &load, const Complain &complain)
{
    LoadedDriver loaded;
    std::string complaint = choice.complaint;
    if (choice.bus == Bus::kSimulated) {
        loaded = LoadSimulator(choice, candidates, load, complaint);
        if (!complaint.empty())
            complaint += ", so that the bus is empty";
    }
    if (choice.bus == Bus::kKernel) {
        loaded.owned = MakeSystemBus();
        loaded.driver = loaded.owned.get();
    }
    if (!complaint.empty())
        complain(complaint);
    return loaded.driver != nullptr ? std::move(loaded) : NoDevices();
}

BusSettings SettingsOfThisProcess()
{
    BusSettings settings{.environment = os::EnvironmentVariable(kEnvironmentName),
                         .bus = {},
                         .simulatedBus = {},
                         .simulatorLibrary = {}};
    if (const auto configuration = os::Configuration::Open()) {
        settings.bus = configuration->Text("Bus");
        settings.simulatedBus = configuration->Text("SimulatedBus");
        settings.simulatorLibrary = configuration->Text("SimulatorLibrary");
    }
    return settings;
}

} // namespace zerix::bus

namespace zerix::kernel {

// Never destroyed: receive threads of cameras that nobody closed run until the process is gone.
KernelDriver &Driver()
{
    static const auto *const loaded = new bus::LoadedDriver(bus::DriverOfThisProcess());
    return *loaded->driver;
}

} // namespace zerix::kernel
