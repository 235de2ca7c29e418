// The port's contract, kept by the virtual bus.
#include "tests/sim/bus_fixture.h"
#include "tests/support/kernel_driver_bookings.h"
#include "tests/support/temporary_folder.h"

namespace zerix::test {
namespace {

// Two cameras; the register is the one that tells of the model, 18 in the upper half.
class VirtualBench final : public KernelDriverBench {
public:
    explicit VirtualBench(bool readsPend) : m_readsPend(readsPend)
    {
        const std::string reads = readsPend ? "pending" : "immediate";
        const std::string camera =
            "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:1\"\nreads = \"" + reads + "\"\n";
        const std::string path = m_folder.Write("rack.toml", camera + camera);
        EXPECT_EQ(0u, ZerixSim_ChooseRack(path.c_str())) << ZerixSim_LastErrorText();
    }

    kernel::KernelDriver &Driver() override { return SimDriver(); }
    uint32_t Register() override { return 0xE0010038; }
    uint32_t Value() override { return 0x00120000; }
    bool ReadsPend() override { return m_readsPend; }
    void HangReads(uint32_t count) override
    {
        for (uint32_t i = 1; i <= count; ++i) {
            const std::string fault = "hang at read " + std::to_string(i);
            EXPECT_EQ(0u, ZerixSim_InjectFault(0, fault.c_str())) << ZerixSim_LastErrorText();
        }
    }
    void Unplug() override { EXPECT_EQ(0u, ZerixSim_Unplug(0)); }
    void Plug() override { EXPECT_EQ(0u, ZerixSim_Plug(0)); }

private:
    const TemporaryFolder m_folder;
    bool m_readsPend;
};

template <bool readsPend>
std::unique_ptr<KernelDriverBench> MakeBench()
{
    return std::make_unique<VirtualBench>(readsPend);
}

INSTANTIATE_TEST_SUITE_P(OnTheVirtualBus, KernelDriverContract,
                         ::testing::Values(&MakeBench<true>, &MakeBench<false>));
INSTANTIATE_TEST_SUITE_P(OnTheVirtualBus, KernelDriverBookings,
                         ::testing::Values(&MakeBench<true>, &MakeBench<false>));

} // namespace
} // namespace zerix::test
