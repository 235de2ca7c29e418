// Puts the bus of Linux, over the modelled kernel, in the place of the virtual bus for a whole test
// program, where ZERIX_TEST_OVER is "linux": the same tests then run through both of them to the
// same virtual cameras.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "bus/linux_firewire/linux_firewire_driver.h"
#include "bus/linux_firewire/node_list.h"
#include "bus/linux_firewire/stream_ring.h"
#include "tests/linux_model/kernel_model.h"
#include "tests/rack_cameras/rack_view.h"
#include "tests/virtual_bus/bus_tap.h"

namespace zerix::test {
namespace {

// Tests open all cameras of a rack at once, and each has a context for as long: as many as a card
// can have.
constexpr uint32_t kContexts = 32;
// The virtual bus waits for a receiver that is late, and so does no test reckon with losses on the
// fast clock. This bus drops the oldest packets before its ring runs dry: it isn't to come to that.
constexpr uint32_t kKeptPlaces = bus::linux_firewire::kRingPackets / 2;
// What the model says of its cameras' units.
constexpr bus::linux_firewire::Unit kUnit = {0x00A1B2, 0x000101};

// The cameras by their place in the rack, as tests number them: Linux lists by identifier.
void PutInTheRacksOrder(std::span<kernel::DevicePath> paths)
{
    std::map<std::string, size_t> places;
    for (const rack_cameras::RackCamera &camera : rack_cameras::PresentCameras())
        places.emplace(bus::linux_firewire::DevicePathOf(camera.guid), places.size());
    const auto placeOf = [&](const kernel::DevicePath &path) {
        const auto found = places.find(path.text);
        return found != places.end() ? found->second : places.size();
    };
    std::stable_sort(paths.begin(), paths.end(),
                     [&](const auto &a, const auto &b) { return placeOf(a) < placeOf(b); });
}

// Files are closed in the background, and nodes come and go after a while; the tests look at once.
class PatientDriver final : public kernel::KernelDriver {
public:
    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        m_model.Settle();
        const uint32_t error = m_driver.Enumerate(paths, maximumCount, count);
        m_driver.AwaitClosed(std::chrono::seconds(10));
        if (error == 0)
            PutInTheRacksOrder({paths, *count});
        return error;
    }
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override
    {
        return m_driver.Open(devicePath, device);
    }
    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override
    {
        return m_driver.Control(device, code, in, inSize, out, outSize, overlapped);
    }
    kernel::ControlResult Wait(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        return m_driver.Wait(device, overlapped);
    }
    kernel::ControlResult WaitFor(kernel::DeviceHandle device, kernel::Overlapped *overlapped,
                                  uint32_t timeoutMilliseconds) override
    {
        return m_driver.WaitFor(device, overlapped, timeoutMilliseconds);
    }
    void CancelPending(kernel::DeviceHandle device) override { m_driver.CancelPending(device); }
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        m_driver.Cancel(device, overlapped);
    }
    void Close(kernel::DeviceHandle device) override
    {
        m_driver.Close(device);
        m_driver.AwaitClosed(std::chrono::seconds(10));
    }
    bool IsSimulated() const override { return true; }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override
    {
        const uint32_t error = m_driver.DescribeNodes(nodes, maximumCount, count);
        m_driver.AwaitClosed(std::chrono::seconds(10));
        return error;
    }

private:
    linux_model::KernelModel m_model{{.receiveContexts = kContexts, .keptPlaces = kKeptPlaces}};
    bus::linux_firewire::LinuxFirewireDriver m_driver{
        m_model, bus::linux_firewire::Recognition{.units = {kUnit}, .isModel = {}}};
};

class OverLinux final : public ::testing::Environment {
    void SetUp() override
    {
        const char *const over = std::getenv("ZERIX_TEST_OVER");
        if (over == nullptr || std::string_view(over) != "linux")
            return;
        m_driver = new PatientDriver; // never destroyed, as the driver of a process
        BusTap::Replace(*m_driver);
    }

    // A test that had a bus of its own has put this one back, or the tests after it proved nothing.
    void TearDown() override
    {
        if (m_driver == nullptr)
            return;
        EXPECT_EQ(&BusTap::Replace(*m_driver), m_driver);
    }

    kernel::KernelDriver *m_driver = nullptr;
};

[[maybe_unused]] const auto *const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new OverLinux);

} // namespace
} // namespace zerix::test
