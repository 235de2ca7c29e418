// Opening, with what the kernel is asked at once.
#include "bus/linux_firewire/node_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_errors.h"

namespace zerix::bus::linux_firewire {

namespace {

constexpr std::chrono::milliseconds kBetweenTries{50};
constexpr size_t kLargestRom = 256; // quadlets

uint64_t AddressOf(void *pointer) { return reinterpret_cast<uintptr_t>(pointer); }

// Asks with or without room for the configuration memory.
int AskForInfo(SystemCalls &system, int file, std::span<uint32_t> rom, fw_cdev_get_info &record,
               fw_cdev_event_bus_reset &reset)
{
    record = {};
    reset = {};
    record.version = kInterfaceVersion;
    record.rom_length = static_cast<uint32_t>(rom.size_bytes());
    record.rom = rom.empty() ? 0 : AddressOf(rom.data());
    record.bus_reset = AddressOf(&reset);
    const int result = system.Ioctl(file, FW_CDEV_IOC_GET_INFO, &record);
    if (result < 0)
        return result;
    return record.version >= kLeastInterfaceVersion ? 0 : -EPROTO;
}

// A refusal may be for the moment only.
int OpenPatiently(SystemCalls &system, const std::string &path, Patience patience)
{
    const auto start = system.Now();
    for (;;) {
        const int file = system.Open(path.c_str());
        if (file != -EACCES || system.Now() - start >= patience)
            return file;
        system.Sleep(kBetweenTries);
    }
}

// The name may have gone to another node since the list was read.
uint32_t CheckIdentity(SystemCalls &system, int file, const Node &node, NodeInfo &info)
{
    if (const int result = ReadInfo(system, file, info); result < 0)
        return result == -EPROTO ? uint32_t{kernel::kErrorNotSupported} : SystemErrorOf(result);
    return info.Guid() == node.guid ? 0 : uint32_t{kernel::kErrorDeviceNotConnected};
}

int OpenAlarm(SystemCalls &system, Closer &closer, const std::vector<Node> &nodes, uint32_t card)
{
    for (const Node &node : nodes) {
        if (!node.isLocal)
            continue;
        FileOwner file(closer, system.Open(node.DeviceFile().c_str()));
        NodeInfo info;
        if (file.Get() >= 0 && ReadInfo(system, file.Get(), info) == 0 && info.card == card)
            return file.TakeOut();
    }
    return -1;
}

} // namespace

uint64_t NodeInfo::Guid() const { return rom.size() >= 5 ? uint64_t{rom[3]} << 32 | rom[4] : 0; }

int ReadInfo(SystemCalls &system, int file, NodeInfo &info)
{
    std::array<uint32_t, kLargestRom> rom{};
    fw_cdev_get_info record;
    fw_cdev_event_bus_reset reset;
    if (const int result = AskForInfo(system, file, rom, record, reset); result < 0)
        return result;
    info.generation = reset.generation;
    info.card = record.card;
    info.rom.assign(rom.begin(), rom.begin() + std::min<size_t>(record.rom_length / 4, rom.size()));
    return 0;
}

int ReadGeneration(SystemCalls &system, int file, uint32_t &generation)
{
    fw_cdev_get_info record;
    fw_cdev_event_bus_reset reset;
    if (const int result = AskForInfo(system, file, {}, record, reset); result < 0)
        return result;
    generation = reset.generation;
    return 0;
}

FileOwner::~FileOwner()
{
    if (m_file >= 0)
        m_closer.Take({.thread = {}, .files = FileList(m_file), .owner = {}});
}

int FileOwner::TakeOut() { return std::exchange(m_file, -1); }

uint32_t OpenNodeFiles(SystemCalls &system, Closer &closer, const Node &node,
                       const std::vector<Node> &nodes, Patience patience, NodeFiles &files)
{
    FileOwner control(closer, OpenPatiently(system, node.DeviceFile(), patience));
    if (control.Get() < 0)
        return SystemErrorOf(control.Get());
    if (const uint32_t error = CheckIdentity(system, control.Get(), node, files.info))
        return error;
    const int speed = system.Ioctl(control.Get(), FW_CDEV_IOC_GET_SPEED, nullptr);
    if (speed < 0)
        return SystemErrorOf(speed);
    FileOwner wake(closer, system.MakeEvent());
    if (wake.Get() < 0)
        return SystemErrorOf(wake.Get());
    files.node = node;
    files.speed = speed;
    files.alarm = OpenAlarm(system, closer, nodes, files.info.card);
    files.control = control.TakeOut();
    files.wake = wake.TakeOut();
    return 0;
}

uint32_t OpenAgain(SystemCalls &system, Closer &closer, const Node &node, int &file)
{
    FileOwner opened(closer, system.Open(node.DeviceFile().c_str()));
    if (opened.Get() == -ENOENT)
        return kernel::kErrorDeviceNotConnected; // it was there before
    if (opened.Get() < 0)
        return SystemErrorOf(opened.Get());
    NodeInfo info;
    if (const uint32_t error = CheckIdentity(system, opened.Get(), node, info))
        return error;
    file = opened.TakeOut();
    return 0;
}

} // namespace zerix::bus::linux_firewire
