// Puts the bus of Linux, over the modelled kernel, in the place of the virtual bus for a whole test
// program, where ZERIX_TEST_OVER is "linux": the same tests then run through both of them to the
// same virtual cameras.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>

#include "bus/linux_firewire/linux_firewire_driver.h"
#include "tests/linux_model/kernel_model.h"
#include "tests/virtual_bus/bus_tap.h"

namespace zerix::test {
namespace {

// What the model says of its cameras' units.
constexpr bus::linux_firewire::Unit kUnit = {0x00A1B2, 0x000101};

// Files are closed in the background, and nodes come and go after a while; the tests look at once.
class PatientDriver final : public kernel::KernelDriver {
public:
    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        m_model.Settle();
        return m_driver.Enumerate(paths, maximumCount, count);
    }
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override
    {
        const uint32_t error = m_driver.Open(devicePath, device);
        m_open += error == 0 ? 1 : 0;
        return error;
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
        if (--m_open != 0)
            return;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (m_model.WhatIsHeld().files != 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    bool IsSimulated() const override { return true; }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override
    {
        return m_driver.DescribeNodes(nodes, maximumCount, count);
    }

private:
    linux_model::KernelModel m_model;
    bus::linux_firewire::LinuxFirewireDriver m_driver{
        m_model, bus::linux_firewire::Recognition{.units = {kUnit}, .isModel = {}}};
    std::atomic<int> m_open = 0;
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
