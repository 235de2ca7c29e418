// The port's contract, kept by the bus on Linux over the real kernel.
#include "bus/linux_firewire/linux_firewire_driver.h"
#include "rack_nodes.h"
#include "tests/support/kernel_driver_contract.h"
#include "tests/support/temporary_folder.h"
#include "zerix/zerix_sim.h"

namespace linux_kernel {
namespace {

using namespace zerix;
using bus::linux_firewire::LinuxFirewireDriver;

// Two cameras; the register is the one that tells of the model, 18 in the upper half.
class GuestBench final : public test::KernelDriverBench {
public:
    GuestBench()
    {
        const std::string camera = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:1\"\n";
        const std::string path = m_folder.Write("rack.toml", camera + camera);
        EXPECT_EQ(0u, ZerixSim_ChooseRack(path.c_str())) << ZerixSim_LastErrorText();
        m_nodes = std::make_unique<RackNodes>();
        EXPECT_TRUE(m_nodes->Settle());
        m_driver = std::make_unique<LinuxFirewireDriver>(
            bus::linux_firewire::RealSystemCalls(),
            bus::linux_firewire::Recognition{
                .units = {{rack_cameras::kUnitSpecifier, rack_cameras::kUnitVersion}},
                .isModel = {}});
    }

    kernel::KernelDriver &Driver() override { return *m_driver; }
    uint32_t Register() override { return 0xE0010038; }
    uint32_t Value() override { return 0x00120000; }
    bool ReadsPend() override { return true; }
    void HangReads(uint32_t count) override
    {
        for (uint32_t i = 1; i <= count; ++i) {
            const std::string fault = "hang at read " + std::to_string(i);
            EXPECT_EQ(0u, ZerixSim_InjectFault(0, fault.c_str())) << ZerixSim_LastErrorText();
        }
    }
    void Unplug() override
    {
        EXPECT_EQ(0u, ZerixSim_Unplug(0));
        EXPECT_TRUE(m_nodes->Settle());
    }
    void Plug() override
    {
        EXPECT_EQ(0u, ZerixSim_Plug(0));
        EXPECT_TRUE(m_nodes->Settle());
    }

private:
    const test::TemporaryFolder m_folder;
    std::unique_ptr<RackNodes> m_nodes;
    std::unique_ptr<LinuxFirewireDriver> m_driver;
};

std::unique_ptr<test::KernelDriverBench> MakeBench() { return std::make_unique<GuestBench>(); }

} // namespace
} // namespace linux_kernel

namespace zerix::test {

INSTANTIATE_TEST_SUITE_P(OnTheRealKernel, KernelDriverContract,
                         ::testing::Values(&linux_kernel::MakeBench));

} // namespace zerix::test
