// The port's contract, kept by the bus of Windows on a real device.
#include "tests/support/kernel_driver_contract.h"
#include "tests/windows_driver/driver_control.h"

namespace zerix::test {
namespace {

constexpr uint32_t kReadCode = 0x22207A;

class WindowsBench final : public KernelDriverBench {
public:
    explicit WindowsBench(bool readsPend) : m_readsPend(readsPend)
    {
        m_control.Reset();
        m_control.SetPending(0, readsPend ? kTestPendAlways : kTestPendNever);
        m_control.SetRegister(0, Register(), Value());
    }
    ~WindowsBench() override { m_control.Reset(); }

    kernel::KernelDriver &Driver() override { return kernel::Driver(); }
    uint32_t Register() override { return 0xD0000000; }
    uint32_t Value() override { return 0x01020304; }
    bool ReadsPend() override { return m_readsPend; }
    void HangReads(uint32_t count) override
    {
        m_control.AddFault({0, kReadCode, kTestHang, 0, 0, count});
    }
    void Unplug() override { m_control.Unplug(0); }
    void Plug() override { m_control.Plug(0); }

private:
    DriverControl m_control;
    bool m_readsPend;
};

template <bool readsPend>
std::unique_ptr<KernelDriverBench> MakeBench()
{
    return std::make_unique<WindowsBench>(readsPend);
}

INSTANTIATE_TEST_SUITE_P(OnWindows, KernelDriverContract,
                         ::testing::Values(&MakeBench<true>, &MakeBench<false>));

} // namespace
} // namespace zerix::test
