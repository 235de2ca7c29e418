// The port's contract, kept by the kernel's FireWire bus.
#include "bus/linux_firewire/linux_firewire_driver.h"
#include "tests/bus/linux/scripted_kernel.h"
#include "tests/support/kernel_driver_bookings.h"

namespace zerix::test {
namespace {

using namespace bus::linux_firewire;

// A card and two cameras. What hangs is answered by nobody.
class ScriptedBench final : public KernelDriverBench {
public:
    ScriptedBench()
    {
        m_kernel.Add({.name = "fw0", .guid = 1, .isLocal = true, .units = ""});
        for (const char *const name : {"fw1", "fw2"}) {
            ScriptedKernel::Node node{.name = name, .guid = static_cast<uint64_t>(name[2])};
            node.words[Register()] = Value();
            m_kernel.Add(node);
        }
        m_driver = std::make_unique<LinuxFirewireDriver>(
            m_kernel, Recognition{.units = {{0xBEEF, 0x102}}, .isModel = {}});
    }

    kernel::KernelDriver &Driver() override { return *m_driver; }
    uint32_t Register() override { return 0xE0010038; }
    uint32_t Value() override { return 0x00120000; }
    bool ReadsPend() override { return true; }
    void HangReads(uint32_t count) override { m_kernel.codes.assign(count, ScriptedKernel::kHang); }
    // The card tells of it; the camera's requests are of an old generation from then on.
    void Unplug() override
    {
        m_kernel.Locked([&] {
            m_kernel.NodeNamed("fw1").isThere = false;
            m_kernel.NodeNamed("fw1").isStale = true;
            return 0;
        });
        m_kernel.TellReset("fw0", 8);
    }
    void Plug() override
    {
        m_kernel.Locked([&] {
            m_kernel.NodeNamed("fw1").isThere = true;
            m_kernel.NodeNamed("fw1").isStale = false;
            return 0;
        });
        m_kernel.TellReset("fw0", 9);
    }

private:
    ScriptedKernel m_kernel;
    std::unique_ptr<LinuxFirewireDriver> m_driver;
};

std::unique_ptr<KernelDriverBench> MakeBench() { return std::make_unique<ScriptedBench>(); }

INSTANTIATE_TEST_SUITE_P(OnLinux, KernelDriverContract, ::testing::Values(&MakeBench));
INSTANTIATE_TEST_SUITE_P(OnLinux, KernelDriverBookings, ::testing::Values(&MakeBench));

} // namespace
} // namespace zerix::test
