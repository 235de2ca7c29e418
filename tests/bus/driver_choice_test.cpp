// Which bus a process uses, and how it is made.
#include "bus/driver_choice.h"

#include <gtest/gtest.h>

#include "bus/no_bus_driver.h"
#include "bus/platform_names.h"
#include "tests/support/configuration_values.h"
#include "tests/support/environment_variable.h"

using namespace zerix;
using namespace zerix::bus;

namespace {

using Text = std::optional<std::string>;

BusSettings Settings(const Text &environment, const Text &bus, const Text &simulatedBus = {})
{
    return {.environment = environment,
            .bus = bus,
            .simulatedBus = simulatedBus,
            .simulatorLibrary = {}};
}

struct ChoiceCase {
    Text environment;
    Text bus;
    Text simulatedBus;
    Bus expectedBus;
    Text expectedRack;
};

const ChoiceCase kChoices[] = {
    {{}, {}, {}, Bus::kKernel, {}},
    {{}, {}, "lab.toml", Bus::kKernel, {}},
    {{}, "auto", "lab.toml", Bus::kKernel, {}},
    {{}, "kernel", {}, Bus::kKernel, {}},
    {{}, "", {}, Bus::kKernel, {}},
    {{}, "simulated", {}, Bus::kSimulated, {}},
    {{}, "simulated", "", Bus::kSimulated, {}},
    {{}, "simulated", "lab.toml", Bus::kSimulated, "lab.toml"},
    {"", "simulated", {}, Bus::kSimulated, {}},
    {"kernel", "simulated", "lab.toml", Bus::kKernel, {}},
    {"auto", "simulated", "lab.toml", Bus::kKernel, {}},
    {"simulated", {}, {}, Bus::kSimulated, {}},
    {"simulated", "kernel", "lab.toml", Bus::kSimulated, "lab.toml"},
    {"simulated:mine.toml", "kernel", "lab.toml", Bus::kSimulated, "mine.toml"},
    {"simulated:C:\\racks\\a b.toml", {}, {}, Bus::kSimulated, "C:\\racks\\a b.toml"},
    {"simulated:", {}, "lab.toml", Bus::kSimulated, "lab.toml"},
    {"simulated:", {}, {}, Bus::kSimulated, {}},
};

TEST(DriverChoice, FollowsEnvironmentThenConfiguration)
{
    for (const ChoiceCase &c : kChoices) {
        const auto choice = ChooseBus(Settings(c.environment, c.bus, c.simulatedBus));
        SCOPED_TRACE(c.environment.value_or("-") + " " + c.bus.value_or("-"));
        EXPECT_EQ(choice.bus, c.expectedBus);
        EXPECT_EQ(choice.rack, c.expectedRack);
        EXPECT_EQ(choice.complaint, "");
    }
}

TEST(DriverChoice, ComplainsOfAnUnknownValue)
{
    auto choice = ChooseBus(Settings("Simulated", {}));
    EXPECT_EQ(choice.bus, Bus::kNone);
    EXPECT_EQ(choice.complaint,
              "ZERIX_BUS is \"Simulated\", which names no bus, so that the bus is empty");
    choice = ChooseBus(Settings({}, "simulated:lab.toml"));
    EXPECT_EQ(choice.bus, Bus::kNone);
    EXPECT_EQ(choice.complaint,
              "the configuration value Bus is \"simulated:lab.toml\", which names "
              "no bus, so that the bus is empty");
    choice = ChooseBus(Settings("usb", "simulated"));
    EXPECT_EQ(choice.bus, Bus::kNone) << "the environment goes before";
}

TEST(DriverChoice, LooksForTheSimulatorBesideTheModule)
{
    const std::string name = kSimulatorFileName;
    BusSettings settings;
    EXPECT_EQ(
        SimulatorCandidates(settings, "/opt/zerix/bin"),
        (std::vector<std::string>{"/opt/zerix/bin/" + name, "/opt/zerix/bin/../lib/" + name}));
    EXPECT_EQ(SimulatorCandidates(settings, ""), (std::vector<std::string>{name}));
    settings.simulatorLibrary = "/elsewhere/sim";
    EXPECT_EQ(SimulatorCandidates(settings, "/opt/zerix/bin"),
              (std::vector<std::string>{"/elsewhere/sim"}));
    settings.simulatorLibrary = "";
    EXPECT_EQ(SimulatorCandidates(settings, "/a").size(), 2u);
}

// A library whose one symbol is the fake simulator below.
struct FakeSimulator {
    static inline bool accepts = true;
    static inline std::string rack;
    static inline NoBusDriver driver;

    static kernel::KernelDriver *Entry(const char *rackOrNull)
    {
        rack = rackOrNull != nullptr ? rackOrNull : "(null)";
        return accepts ? &driver : nullptr;
    }
};

class FakeLibrary final : public os::DynamicLibrary {
public:
    explicit FakeLibrary(bool hasEntry) : m_hasEntry(hasEntry) {}
    void *Symbol(const char *name) const override
    {
        if (!m_hasEntry || std::string(name) != "ZerixSim_KernelDriver")
            return nullptr;
        return reinterpret_cast<void *>(&FakeSimulator::Entry);
    }

private:
    bool m_hasEntry;
};

class MakingTheDriver : public ::testing::Test {
protected:
    void SetUp() override { FakeSimulator::accepts = true; }

    LoadedDriver Make(const BusChoice &choice)
    {
        return MakeDriver(
            choice, {"first", "second"},
            [this](const std::string &file) -> std::unique_ptr<os::DynamicLibrary> {
                tried.push_back(file);
                if (file != existing)
                    return nullptr;
                return std::make_unique<FakeLibrary>(hasEntry);
            },
            [this](const std::string &sentence) { complaints.push_back(sentence); });
    }

    void ExpectNoDevices(const LoadedDriver &loaded)
    {
        ASSERT_NE(loaded.driver, nullptr);
        EXPECT_NE(loaded.driver, &FakeSimulator::driver);
        kernel::DevicePath path{};
        uint32_t count = 9;
        EXPECT_EQ(loaded.driver->Enumerate(&path, 1, &count), 0u);
        EXPECT_EQ(count, 0u);
        EXPECT_FALSE(loaded.driver->IsSimulated());
    }

    std::string existing = "first";
    bool hasEntry = true;
    std::vector<std::string> tried;
    std::vector<std::string> complaints;
};

constexpr auto kNoComplaint = "";

TEST_F(MakingTheDriver, TakesTheSimulatorWithItsRack)
{
    const auto loaded =
        Make({.bus = Bus::kSimulated, .rack = "lab.toml", .complaint = kNoComplaint});
    EXPECT_EQ(loaded.driver, &FakeSimulator::driver);
    EXPECT_NE(loaded.library, nullptr) << "it stays loaded";
    EXPECT_EQ(FakeSimulator::rack, "lab.toml");
    EXPECT_EQ(tried, (std::vector<std::string>{"first"}));
    EXPECT_TRUE(complaints.empty());
}

TEST_F(MakingTheDriver, TriesTheNextFile)
{
    existing = "second";
    const auto loaded = Make({.bus = Bus::kSimulated, .rack = {}, .complaint = kNoComplaint});
    EXPECT_EQ(loaded.driver, &FakeSimulator::driver);
    EXPECT_EQ(FakeSimulator::rack, "(null)");
    EXPECT_EQ(tried, (std::vector<std::string>{"first", "second"}));
    EXPECT_TRUE(complaints.empty());
}

TEST_F(MakingTheDriver, HasNoDevicesWithoutTheLibrary)
{
    existing = "nowhere";
    ExpectNoDevices(Make({.bus = Bus::kSimulated, .rack = {}, .complaint = kNoComplaint}));
    EXPECT_EQ(complaints, (std::vector<std::string>{
                              "the library of the virtual bus can't be loaded from \"first\" or "
                              "\"second\", so that the bus is empty"}));
}

TEST_F(MakingTheDriver, HasNoDevicesWithoutTheSymbol)
{
    hasEntry = false;
    ExpectNoDevices(Make({.bus = Bus::kSimulated, .rack = {}, .complaint = kNoComplaint}));
    EXPECT_EQ(complaints,
              (std::vector<std::string>{"the library of the virtual bus has no "
                                        "ZerixSim_KernelDriver, so that the bus is empty"}));
}

TEST_F(MakingTheDriver, HasNoDevicesWithABadRack)
{
    FakeSimulator::accepts = false;
    ExpectNoDevices(Make({.bus = Bus::kSimulated, .rack = "bad", .complaint = kNoComplaint}));
    ExpectNoDevices(Make({.bus = Bus::kSimulated, .rack = {}, .complaint = kNoComplaint}));
    EXPECT_EQ(complaints,
              (std::vector<std::string>{
                  "the virtual bus can't use the rack \"bad\", so that the bus is empty",
                  "the virtual bus can't be started, so that the bus is empty"}));
}

TEST_F(MakingTheDriver, TellsWhyThereIsNoBus)
{
    ExpectNoDevices(Make(ChooseBus(Settings("usb", {}))));
    EXPECT_EQ(complaints,
              (std::vector<std::string>{
                  "ZERIX_BUS is \"usb\", which names no bus, so that the bus is empty"}));
    EXPECT_TRUE(tried.empty());
}

TEST_F(MakingTheDriver, NeverLoadsTheSimulatorUnasked)
{
    const auto loaded = Make(ChooseBus(Settings({}, {}, "lab.toml")));
    EXPECT_NE(loaded.driver, nullptr);
    EXPECT_TRUE(tried.empty());
    EXPECT_TRUE(complaints.empty());
}

TEST(NoBus, AnswersEveryCallAsIfThereWereNoDevice)
{
    NoBusDriver driver;
    kernel::DeviceHandle handle = 7;
    EXPECT_EQ(driver.Open("camera", &handle), 2u);
    EXPECT_EQ(handle, 7u);
    kernel::Overlapped overlapped;
    uint32_t word = 0;
    auto result = driver.Control(1, 0x222096, &word, 4, &word, 4, &overlapped);
    EXPECT_EQ(result.completion, kernel::Completion::kFailed);
    EXPECT_EQ(result.systemError, 6u);
    result = driver.Wait(1, &overlapped);
    EXPECT_EQ(result.completion, kernel::Completion::kFailed);
    EXPECT_EQ(result.systemError, 6u);
    driver.CancelPending(1);
    driver.Close(1);
}

TEST(DriverOfTheProcess, IsMadeOnce) { EXPECT_EQ(&kernel::Driver(), &kernel::Driver()); }

TEST(DriverOfTheProcess, ReadsEnvironmentAndConfiguration)
{
    const test::ConfigurationValues configuration("Bus = simulated\n"
                                                  "SimulatedBus = lab.toml\n"
                                                  "SimulatorLibrary = /a/sim.so\n");
    const test::EnvironmentVariable bus("ZERIX_BUS", "kernel");
    const BusSettings settings = SettingsOfThisProcess();
    EXPECT_EQ(settings.environment, "kernel");
    EXPECT_EQ(settings.bus, "simulated");
    EXPECT_EQ(settings.simulatedBus, "lab.toml");
    EXPECT_EQ(settings.simulatorLibrary, "/a/sim.so");
}

TEST(DriverOfTheProcess, HasNoSettingsWhereThereAreNone)
{
    const test::ConfigurationValues configuration("");
    const test::EnvironmentVariable bus("ZERIX_BUS", {});
    const BusSettings settings = SettingsOfThisProcess();
    EXPECT_EQ(settings.environment, std::nullopt);
    EXPECT_EQ(settings.bus, std::nullopt);
    EXPECT_EQ(settings.simulatedBus, std::nullopt);
    EXPECT_EQ(settings.simulatorLibrary, std::nullopt);
}

} // namespace
