// The tap on the virtual bus. Its state is under one lock.
#include "tests/virtual_bus/bus_tap.h"

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <utility>

#include "hal/kernel_requests.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix::test {
namespace {

uint32_t SwappedBytes(uint32_t word)
{
    return word >> 24 | (word >> 8 & 0xFF00u) | (word << 8 & 0xFF0000u) | word << 24;
}

struct Fault {
    uint32_t code;
    std::optional<uint32_t> address;
    uint32_t systemError;
    uint32_t skip;
    uint32_t times;
};

// A pending read whose data is to be changed when it comes.
struct PendingRead {
    uint32_t *data;
    uint32_t address;
    uint32_t quadlets;
};

// From where a thread leaves the driver library to where it comes back.
class Passage {
public:
    using Watch = void (*)(bool isGoingIn);
    explicit Passage(Watch watch) : m_watch(watch) { Tell(true); }
    ~Passage() { Tell(false); }
    Passage(const Passage &) = delete;
    Passage &operator=(const Passage &) = delete;

private:
    void Tell(bool isGoingIn) const
    {
        if (m_watch != nullptr)
            m_watch(isGoingIn);
    }
    Watch m_watch;
};

class TapDriver final : public kernel::KernelDriver {
public:
    static TapDriver &Get()
    {
        static TapDriver driver;
        return driver;
    }

    kernel::KernelDriver &Replace(kernel::KernelDriver &bus) { return *std::exchange(m_bus, &bus); }

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        return m_bus->Enumerate(paths, maximumCount, count);
    }

    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_openError != 0)
                return m_openError;
        }
        return m_bus->Open(devicePath, device);
    }

    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override
    {
        const Passage passage(m_watch);
        if (const uint32_t error = Note(code, in, inSize, out, overlapped))
            return {kernel::Completion::kFailed, error, 0};
        const auto result = m_bus->Control(device, code, in, inSize, out, outSize, overlapped);
        if (result.completion == kernel::Completion::kPending)
            return result;
        if (overlapped != nullptr)
            Forget(overlapped);
        if (result.completion == kernel::Completion::kDone)
            ChangeResult(code, in, inSize, out);
        return result;
    }

    kernel::ControlResult Wait(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        const Passage passage(m_watch);
        const auto result = m_bus->Wait(device, overlapped);
        const auto read = Forget(overlapped);
        if (read && result.completion == kernel::Completion::kDone)
            Override(*read, true);
        return result;
    }

    kernel::ControlResult WaitFor(kernel::DeviceHandle device, kernel::Overlapped *overlapped,
                                  uint32_t timeoutMilliseconds) override
    {
        const Passage passage(m_watch);
        const auto result = m_bus->WaitFor(device, overlapped, timeoutMilliseconds);
        if (result.completion == kernel::Completion::kPending)
            return result;
        const auto read = Forget(overlapped);
        if (read && result.completion == kernel::Completion::kDone)
            Override(*read, true);
        return result;
    }

    void CancelPending(kernel::DeviceHandle device) override { m_bus->CancelPending(device); }
    void Close(kernel::DeviceHandle device) override { m_bus->Close(device); }
    bool IsSimulated() const override { return m_bus->IsSimulated(); }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override
    {
        return m_bus->DescribeNodes(nodes, maximumCount, count);
    }
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        m_bus->Cancel(device, overlapped);
    }

    std::mutex m_mutex;
    std::atomic<Passage::Watch> m_watch{nullptr};
    std::vector<Fault> m_faults;
    uint32_t m_openError = 0;
    bool m_pretendsInUse = false;
    bool m_pretendsFree = false;
    std::map<uint32_t, uint32_t> m_overrides;
    std::map<uint32_t, uint32_t> m_counts;
    std::vector<BusTap::Read> m_reads;
    std::vector<uint32_t> m_tags;

private:
    static const kernel::AsyncRequest *AccessOf(uint32_t code, const void *in, uint32_t inSize)
    {
        const bool isAccess =
            code == kernel::kControlAsyncRead || code == kernel::kControlAsyncWrite;
        return isAccess && inSize >= kernel::kAsyncRequestBytes
                   ? static_cast<const kernel::AsyncRequest *>(in)
                   : nullptr;
    }

    // Counts the request. 0, or the system error that it is to fail with.
    uint32_t Note(uint32_t code, const void *in, uint32_t inSize, void *out,
                  kernel::Overlapped *overlapped)
    {
        const std::lock_guard lock(m_mutex);
        ++m_counts[code];
        if (code == kernel::kControlAllocateResources && inSize >= sizeof(kernel::ResourcesRequest))
            m_tags.push_back(static_cast<const kernel::ResourcesRequest *>(in)->tag);
        const kernel::AsyncRequest *const access = AccessOf(code, in, inSize);
        if (access != nullptr && code == kernel::kControlAsyncRead) {
            m_reads.push_back({access->offsetLow, access->lengthBytes / 4});
            if (overlapped != nullptr)
                m_pending[overlapped] = {static_cast<uint32_t *>(out), access->offsetLow,
                                         access->lengthBytes / 4};
        }
        for (Fault &fault : m_faults) {
            const bool isMeant =
                fault.code == code && fault.times != 0 &&
                (!fault.address || (access && access->offsetLow == *fault.address));
            if (!isMeant)
                continue;
            if (fault.skip != 0) {
                --fault.skip;
                continue;
            }
            --fault.times;
            if (overlapped != nullptr)
                m_pending.erase(overlapped);
            return fault.systemError;
        }
        return 0;
    }

    std::optional<PendingRead> Forget(kernel::Overlapped *overlapped)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_pending.find(overlapped);
        if (found == m_pending.end())
            return std::nullopt;
        const PendingRead read = found->second;
        m_pending.erase(found);
        return read;
    }

    void ChangeResult(uint32_t code, const void *in, uint32_t inSize, void *out)
    {
        if (code == kernel::kControlAsyncRead)
            if (const auto *access = AccessOf(code, in, inSize))
                Override({static_cast<uint32_t *>(out), access->offsetLow, access->lengthBytes / 4},
                         false);
        const std::lock_guard lock(m_mutex);
        if (code == kernel::kControlIsOpen && m_pretendsInUse)
            *static_cast<uint32_t *>(out) = 1;
        if (code == kernel::kControlIsOpen && m_pretendsFree)
            *static_cast<uint32_t *>(out) = 0;
    }

    // What was pending comes as the bus has it, big-endian; what was not, in host order.
    void Override(const PendingRead &read, bool isBigEndian)
    {
        const std::lock_guard lock(m_mutex);
        for (uint32_t index = 0; index < read.quadlets; ++index) {
            const auto found = m_overrides.find(read.address + 4 * index);
            if (found != m_overrides.end())
                read.data[index] = isBigEndian ? SwappedBytes(found->second) : found->second;
        }
    }

    kernel::KernelDriver *m_bus = ZerixSim_KernelDriver(nullptr);
    std::map<kernel::Overlapped *, PendingRead> m_pending;
};

} // namespace

std::ostream &operator<<(std::ostream &stream, const BusTap::Read &read)
{
    return stream << std::hex << "0x" << read.address << std::dec << " x " << read.quadlets;
}

// The tap -----------------------------------------------------------------------------------------

void BusTap::FailRequest(uint32_t code, uint32_t systemError, uint32_t skip, uint32_t times)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_faults.push_back({code, std::nullopt, systemError, skip, times});
}

void BusTap::FailAccess(uint32_t code, uint32_t address, uint32_t systemError, uint32_t times)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_faults.push_back({code, address, systemError, 0, times});
}

void BusTap::FailOpen(uint32_t systemError)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_openError = systemError;
}

void BusTap::PretendInUse(bool inUse)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_pretendsInUse = inUse;
}

void BusTap::PretendFree()
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_pretendsFree = true;
}

void BusTap::OverrideRegister(uint32_t address, uint32_t value)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_overrides[address] = value;
}

uint32_t BusTap::CountOf(uint32_t code)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    return TapDriver::Get().m_counts[code];
}

std::vector<BusTap::Read> BusTap::TakeReads()
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    return std::exchange(TapDriver::Get().m_reads, {});
}

std::vector<uint32_t> BusTap::TakeTags()
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    return std::exchange(TapDriver::Get().m_tags, {});
}

void BusTap::WatchPassages(void (*watch)(bool isGoingIn)) { TapDriver::Get().m_watch = watch; }

void BusTap::Reset()
{
    TapDriver &driver = TapDriver::Get();
    driver.m_watch = nullptr;
    const std::lock_guard lock(driver.m_mutex);
    driver.m_faults.clear();
    driver.m_openError = 0;
    driver.m_pretendsInUse = false;
    driver.m_pretendsFree = false;
    driver.m_overrides.clear();
    driver.m_counts.clear();
    driver.m_reads.clear();
    driver.m_tags.clear();
}

kernel::KernelDriver &BusTap::Replace(kernel::KernelDriver &bus)
{
    return TapDriver::Get().Replace(bus);
}

} // namespace zerix::test

namespace zerix::kernel {

KernelDriver &Driver() { return test::TapDriver::Get(); }

} // namespace zerix::kernel
