// The bus on Linux when memory is refused, once at every place that asks for it: requests may fail,
// but everything ends, and nothing stays open, claimed or booked.
#include <algorithm>

#include "tests/bus/linux/streaming_fixture.h"
#include "tests/sim/refused_memory.h"

namespace zerix::bus::linux_firewire {
namespace {

using test::BusCall;
using test::NotTheBus;

// The kernel in place of the scripted one, whose own memory doesn't count.
class UncountedKernel final : public SystemCalls {
public:
    explicit UncountedKernel(SystemCalls &kernel) : m_kernel(kernel) {}
    int Open(const char *path) override { return Uncounted(&SystemCalls::Open, path); }
    int Close(int file) override { return Uncounted(&SystemCalls::Close, file); }
    long Read(int file, std::span<uint8_t> bytes) override
    {
        return Uncounted(&SystemCalls::Read, file, bytes);
    }
    int Ioctl(int file, unsigned long request, void *record) override
    {
        return Uncounted(&SystemCalls::Ioctl, file, request, record);
    }
    void *Map(int file, size_t bytes, int &error) override
    {
        const NotTheBus uncounted;
        return m_kernel.Map(file, bytes, error);
    }
    int Unmap(void *address, size_t bytes) override
    {
        return Uncounted(&SystemCalls::Unmap, address, bytes);
    }
    int Poll(std::span<pollfd> files, int timeoutMilliseconds) override
    {
        return Uncounted(&SystemCalls::Poll, files, timeoutMilliseconds);
    }
    int MakeEvent() override { return Uncounted(&SystemCalls::MakeEvent); }
    int Signal(int event) override { return Uncounted(&SystemCalls::Signal, event); }
    int Clear(int event) override { return Uncounted(&SystemCalls::Clear, event); }
    int Lock(int file) override { return Uncounted(&SystemCalls::Lock, file); }
    int Unlock(int file) override { return Uncounted(&SystemCalls::Unlock, file); }
    int IsLockedElsewhere(int file) override
    {
        return Uncounted(&SystemCalls::IsLockedElsewhere, file);
    }
    int ListFolder(const char *path, std::vector<std::string> &names) override
    {
        const NotTheBus uncounted;
        return m_kernel.ListFolder(path, names);
    }
    int ReadSmallFile(const char *path, std::string &contents) override
    {
        const NotTheBus uncounted;
        return m_kernel.ReadSmallFile(path, contents);
    }
    std::chrono::nanoseconds Now() override { return Uncounted(&SystemCalls::Now); }
    void Sleep(std::chrono::nanoseconds time) override { Uncounted(&SystemCalls::Sleep, time); }

private:
    template <typename Result, typename... Parameters>
    Result Uncounted(Result (SystemCalls::*call)(Parameters...),
                     std::type_identity_t<Parameters>... arguments)
    {
        const NotTheBus uncounted;
        return (m_kernel.*call)(arguments...);
    }

    SystemCalls &m_kernel;
};

class LackOfMemory : public LinuxBus {
protected:
    void SetUp() override
    {
        test::ThisIsATestsThread();
        driver.reset();
        driver = std::make_unique<LinuxFirewireDriver>(
            m_kernel, Recognition{.units = {{0xBEEF, 0x102}}, .isModel = {}});
        m_memory.resize(kBuffer * size_t{kBuffers});
    }

    // A camera's life: listed, opened, read, a stream with packets, gone or closed.
    void Live(bool isUnplugged)
    {
        const BusCall call;
        kernel::DevicePath paths[4];
        uint32_t count = 0;
        driver->Enumerate(paths, 4, &count);
        kernel::DeviceHandle handle = 0;
        if (driver->Open(kCameraPath, &handle) != 0)
            return;
        uint32_t word = 0;
        kernel::Overlapped block;
        BeginReading(handle, word, block);
        End(handle, block);
        TakeBandwidth(handle);
        TakeChannel(handle);
        Stream(handle);
        if (isUnplugged) {
            const NotTheBus uncounted;
            system.Locked([this] { return Camera().isStale = true; });
            system.TellReset("fw0", 8);
        }
        BeginReading(handle, word, block);
        End(handle, block);
        driver->Close(handle);
    }

    static constexpr uint32_t kBuffers = 3;
    UncountedKernel m_kernel{system};

private:
    void BeginReading(kernel::DeviceHandle handle, uint32_t &word, kernel::Overlapped &block)
    {
        kernel::AsyncRequest request{};
        request.one = 1;
        request.destination = kernel::kDestination;
        request.offsetHigh = kernel::kOffsetHigh;
        request.offsetLow = kRegister;
        request.lengthBytes = sizeof word;
        driver->Control(handle, kernel::kControlAsyncRead, &request, kernel::kAsyncRequestBytes,
                        &word, sizeof word, &block);
    }
    // An answer whose event was lost for want of memory never comes: its caller gives up.
    void End(kernel::DeviceHandle handle, kernel::Overlapped &block)
    {
        driver->WaitFor(handle, &block, 20);
        driver->Cancel(handle, &block);
        EXPECT_NE(kernel::Completion::kPending, driver->WaitFor(handle, &block, 0).completion);
    }
    void Stream(kernel::DeviceHandle handle)
    {
        kernel::ResourcesRequest resources{.speedFlag = kernel::kSpeedFlag800,
                                           .flags = kernel::kResourceFlags,
                                           .channel = channel.channel,
                                           .slotBytes = kSlot,
                                           .bufferCount = kernel::kAnnouncedBuffers,
                                           .bufferBytes = kBuffer,
                                           .stripQuadlets = 0,
                                           .tag = 1,
                                           .handle = 0};
        Exchange(handle, kernel::kControlAllocateResources, resources);
        kernel::Overlapped blocks[kBuffers];
        for (uint32_t i = 0; i < kBuffers; ++i) {
            uint8_t *const buffer = m_memory.data() + size_t{i} * kBuffer;
            driver->Control(handle, kernel::kControlQueueBuffer, buffer, kBuffer, buffer, kBuffer,
                            &blocks[i]);
        }
        kernel::ListenRequest listen{.resources = resources.handle, .zero = {}};
        const auto listening = driver->Control(handle, kernel::kControlListen, &listen,
                                               sizeof listen, &listen, sizeof listen, nullptr);
        if (listening.completion == kernel::Completion::kDone) {
            const NotTheBus uncounted;
            system.Send(std::vector<ScriptedKernel::Packet>(40, {1000, 0x11}));
        }
        driver->WaitFor(handle, &blocks[0], 20);
        driver->CancelPending(handle);
        for (kernel::Overlapped &block : blocks)
            EXPECT_NE(kernel::Completion::kPending, driver->WaitFor(handle, &block, 0).completion);
    }

    std::vector<uint8_t> m_memory;
};

TEST_F(LackOfMemory, LeavesNothingBehind)
{
    for (const bool isUnplugged : {false, true}) {
        test::RefuseRequest(0);
        Live(isUnplugged);
        const uint32_t asked = test::RequestsForMemory();
        EXPECT_LT(60u, asked) << "the life was cut short";
        // Some more, as the threads don't meet in the same order each time.
        for (uint32_t n = 1; n <= asked + 5; ++n) {
            SCOPED_TRACE("request " + std::to_string(n) + (isUnplugged ? ", unplugged" : ""));
            test::RefuseRequest(n);
            Live(isUnplugged);
            ASSERT_TRUE(driver->AwaitClosed(std::chrono::seconds(20)));
            test::RequestsForMemory();
            EXPECT_EQ("", system.files());
            const auto count = [this](const char *what) {
                return std::count(system.log.begin(), system.log.end(), what);
            };
            EXPECT_EQ(count("lock"), count("unlock"));
            system.Locked([this] { return Camera().isStale = false; });
        }
    }
}

} // namespace
} // namespace zerix::bus::linux_firewire
