// The process's kernel driver, and the system calls of the bus on Linux, both metered.
#include "bench/metered_buses.h"

#include "tests/rack_cameras/rack_view.h"

namespace zerix::bench {
namespace {

using bus::linux_firewire::LinuxFirewireDriver;
using bus::linux_firewire::SystemCalls;
using linux_model::KernelModel;

// Only what a stream does is a call that counts; the rest takes place outside of one.
class MeteredCalls final : public SystemCalls {
public:
    explicit MeteredCalls(SystemCalls &system) : m_system(system) {}

    int Open(const char *path) override { return m_system.Open(path); }
    int Close(int file) override { return m_system.Close(file); }
    long Read(int file, std::span<uint8_t> bytes) override
    {
        const Meter::Call call;
        return m_system.Read(file, bytes);
    }
    int Ioctl(int file, unsigned long request, void *record) override
    {
        const Meter::Call call;
        return m_system.Ioctl(file, request, record);
    }
    void *Map(int file, size_t bytes, int &error) override
    {
        return m_system.Map(file, bytes, error);
    }
    int Unmap(void *address, size_t bytes) override { return m_system.Unmap(address, bytes); }
    int Poll(std::span<pollfd> files, int timeoutMilliseconds) override
    {
        const Meter::Call call;
        return m_system.Poll(files, timeoutMilliseconds);
    }
    int MakeEvent() override { return m_system.MakeEvent(); }
    int Signal(int event) override
    {
        const Meter::Call call;
        return m_system.Signal(event);
    }
    int Clear(int event) override
    {
        const Meter::Call call;
        return m_system.Clear(event);
    }
    int Lock(int file) override { return m_system.Lock(file); }
    int Unlock(int file) override { return m_system.Unlock(file); }
    int IsLockedElsewhere(int file) override { return m_system.IsLockedElsewhere(file); }
    int ListFolder(const char *path, std::vector<std::string> &names) override
    {
        return m_system.ListFolder(path, names);
    }
    int ReadSmallFile(const char *path, std::string &contents) override
    {
        return m_system.ReadSmallFile(path, contents);
    }
    std::chrono::nanoseconds Now() override
    {
        const Meter::Call call;
        return m_system.Now();
    }
    void Sleep(std::chrono::nanoseconds time) override { m_system.Sleep(time); }

private:
    SystemCalls &m_system;
};

// On the wall clock, as a machine would.
struct LinuxBus {
    KernelModel model{{.speedUp = 1}};
    MeteredCalls calls{model};
    LinuxFirewireDriver driver{calls, {.units = {{0x00A1B2, 0x000101}}, .isModel = {}}};
};

class MeteredBus final : public kernel::KernelDriver {
public:
    static MeteredBus &Get()
    {
        static MeteredBus bus;
        return bus;
    }

    void Choose(Way way)
    {
        m_linux.reset();
        if (way == Way::kLinux)
            m_linux = std::make_unique<LinuxBus>();
    }
    void Settle()
    {
        if (m_linux == nullptr)
            return;
        m_linux->driver.AwaitClosed(std::chrono::seconds(10));
        m_linux->model.Settle();
    }

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        return Bus().Enumerate(paths, maximumCount, count);
    }
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override
    {
        return Bus().Open(devicePath, device);
    }
    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override
    {
        return Pass(
            [&] { return Bus().Control(device, code, in, inSize, out, outSize, overlapped); });
    }
    kernel::ControlResult Wait(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        return Pass([&] { return Bus().Wait(device, overlapped); });
    }
    kernel::ControlResult WaitFor(kernel::DeviceHandle device, kernel::Overlapped *overlapped,
                                  uint32_t timeoutMilliseconds) override
    {
        return Pass([&] { return Bus().WaitFor(device, overlapped, timeoutMilliseconds); });
    }
    void CancelPending(kernel::DeviceHandle device) override { Bus().CancelPending(device); }
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        Bus().Cancel(device, overlapped);
    }
    void Close(kernel::DeviceHandle device) override { Bus().Close(device); }
    bool IsSimulated() const override { return true; }

private:
    kernel::KernelDriver &Bus()
    {
        return m_linux != nullptr ? m_linux->driver : rack_cameras::VirtualBusDriver();
    }
    // The virtual bus is a kernel; the bus on Linux is a part of the driver, and calls one.
    template <typename Operation>
    kernel::ControlResult Pass(Operation operation)
    {
        if (m_linux == nullptr) {
            const Meter::Call call;
            return operation();
        }
        Meter::Get().Join();
        return operation();
    }

    std::unique_ptr<LinuxBus> m_linux;
};

} // namespace

// The meter ---------------------------------------------------------------------------------------

Meter &Meter::Get()
{
    static Meter meter;
    return meter;
}

void Meter::Begin()
{
    const std::lock_guard lock(m_mutex);
    ++m_round;
    m_threads.clear();
    m_excluded = 0;
}

double Meter::Seconds()
{
    const std::lock_guard lock(m_mutex);
    double seconds = -m_excluded;
    for (const auto &[clock, first] : m_threads)
        seconds += SecondsOn(clock) - first;
    return seconds;
}

void Meter::Join()
{
    thread_local unsigned round = 0;
    if (round == m_round)
        return;
    clockid_t clock{};
    pthread_getcpuclockid(pthread_self(), &clock);
    const std::lock_guard lock(m_mutex);
    round = m_round;
    m_threads.emplace(clock, SecondsOn(clock));
}

void Meter::Exclude(unsigned round, double seconds)
{
    const std::lock_guard lock(m_mutex);
    if (round == m_round)
        m_excluded += seconds;
}

void Choose(Way way) { MeteredBus::Get().Choose(way); }
void Settle() { MeteredBus::Get().Settle(); }

} // namespace zerix::bench

namespace zerix::kernel {

KernelDriver &Driver() { return bench::MeteredBus::Get(); }

} // namespace zerix::kernel
