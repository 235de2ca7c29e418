// The port's contract, kept by the bus on Linux over the modelled kernel.
#include "bus/linux_firewire/linux_firewire_driver.h"
#include "tests/linux_model/kernel_model.h"
#include "tests/support/kernel_driver_bookings.h"
#include "tests/support/temporary_folder.h"
#include "zerix/zerix_sim.h"

namespace zerix::test {
namespace {

// Two cameras; the register is the one that tells of the model, 18 in the upper half.
class LinuxBench final : public KernelDriverBench {
public:
    LinuxBench()
    {
        const std::string camera = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:1\"\n";
        const std::string path = m_folder.Write("rack.toml", camera + camera);
        EXPECT_EQ(0u, ZerixSim_ChooseRack(path.c_str())) << ZerixSim_LastErrorText();
        m_model = std::make_unique<linux_model::KernelModel>();
        m_driver = std::make_unique<bus::linux_firewire::LinuxFirewireDriver>(
            *m_model,
            bus::linux_firewire::Recognition{.units = {{0x00A1B2, 0x000101}}, .isModel = {}});
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
        m_model->Settle();
    }
    void Plug() override
    {
        EXPECT_EQ(0u, ZerixSim_Plug(0));
        m_model->Settle();
    }

private:
    const TemporaryFolder m_folder;
    std::unique_ptr<linux_model::KernelModel> m_model;
    std::unique_ptr<bus::linux_firewire::LinuxFirewireDriver> m_driver;
};

std::unique_ptr<KernelDriverBench> MakeBench() { return std::make_unique<LinuxBench>(); }

INSTANTIATE_TEST_SUITE_P(OnTheModelledKernel, KernelDriverContract, ::testing::Values(&MakeBench));
INSTANTIATE_TEST_SUITE_P(OnTheModelledKernel, KernelDriverBookings, ::testing::Values(&MakeBench));

} // namespace
} // namespace zerix::test
