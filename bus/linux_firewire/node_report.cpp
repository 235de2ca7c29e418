// A node's own words, the kernel's about it, and the books of each bus.
#include "bus/linux_firewire/node_report.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <string>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_errors.h"

namespace zerix::bus::linux_firewire {

namespace {

// The registers of a bus's resource manager: bandwidth and channels that nobody has.
constexpr uint32_t kBandwidthAvailable = 0xF0000220;
constexpr uint32_t kChannelsAvailableHigh = 0xF0000224;
constexpr uint32_t kChannelsAvailableLow = 0xF0000228;

constexpr uint32_t kSlowest = 100; // Mb/s, of the speed with the code 0
constexpr int kFastest = 5;        // 3200 Mb/s
constexpr uint32_t kNoNode = 0xFFFF;

// What the kernel says of an open file's node.
struct Entry {
    ZerixBusNode node{};
    size_t index = 0; // in the list of nodes
    uint32_t nodeId = kNoNode;
    uint32_t managerId = kNoNode; // of the bus's resource manager
};

// Some texts are the device's own, and shown on terminals.
template <size_t size>
void Put(char (&field)[size], std::string text)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    std::snprintf(field, size, "%s", text.c_str());
}

// The first line of one of a node's files in the system's folder; empty without it.
std::string TextOf(SystemCalls &system, const Node &node, const char *name)
{
    std::string text;
    const std::string path = "/sys/bus/firewire/devices/" + node.name + "/" + name;
    if (system.ReadSmallFile(path.c_str(), text) < 0)
        return {};
    return text.substr(0, text.find('\n'));
}

// A node without a name has a number at least.
std::string NameOf(SystemCalls &system, const Node &node, const std::string &what)
{
    const std::string name = TextOf(system, node, (what + "_name").c_str());
    return name.empty() ? TextOf(system, node, what.c_str()) : name;
}

void AskKernel(SystemCalls &system, int file, Entry &entry)
{
    fw_cdev_get_info info{};
    fw_cdev_event_bus_reset reset{};
    info.version = kInterfaceVersion;
    info.bus_reset = reinterpret_cast<uintptr_t>(&reset);
    if (const int result = system.Ioctl(file, FW_CDEV_IOC_GET_INFO, &info); result < 0) {
        entry.node.systemError = SystemErrorOf(result);
        return;
    }
    entry.node.card = info.card;
    entry.node.interfaceVersion = info.version;
    if (info.version < kLeastInterfaceVersion) {
        entry.node.systemError = kernel::kErrorNotSupported;
        return;
    }
    entry.node.flags |= ZERIX_NODE_MAY_OPEN;
    entry.nodeId = reset.node_id;
    entry.managerId = reset.irm_node_id;
    const int speed = system.Ioctl(file, FW_CDEV_IOC_GET_SPEED, nullptr);
    if (speed >= 0 && speed <= kFastest)
        entry.node.speed = kSlowest << speed;
    if (system.IsLockedElsewhere(file) == 1)
        entry.node.flags |= ZERIX_NODE_IS_IN_USE;
}

std::string WhyLocked(const Node &node, uint32_t error)
{
    if (error == kernel::kErrorAccessDenied)
        return node.DeviceFile() + " may not be opened by this user.";
    if (error == kernel::kErrorNotSupported)
        return "The kernel's FireWire interface is too old.";
    return node.DeviceFile() + " can't be opened: it has just gone, or does not answer.";
}

std::string Remark(const Node &node, const ZerixBusNode &entry)
{
    if ((entry.flags & ZERIX_NODE_MAY_OPEN) == 0)
        return WhyLocked(node, entry.systemError);
    if (node.isLocal)
        return "This computer's card.";
    if ((entry.flags & ZERIX_NODE_IS_CAMERA) != 0)
        return "It names a model of this family, or its unit is configured as a camera's.";
    if (node.hasKernelDriver)
        return "A driver of the kernel's uses it, so that it is not asked.";
    return "It does not answer as a camera of this family does.";
}

Entry Look(SystemCalls &system, const Node &node, const NodeQuestions &questions)
{
    Entry entry;
    entry.node.guid = node.guid;
    entry.node.bandwidthLeft = ZERIX_NODE_UNKNOWN;
    entry.node.channelsLeft = ZERIX_NODE_UNKNOWN;
    Put(entry.node.device, node.DeviceFile());
    Put(entry.node.vendor, NameOf(system, node, "vendor"));
    Put(entry.node.model, NameOf(system, node, "model"));
    Put(entry.node.units, TextOf(system, node, "units"));
    if (node.isLocal)
        entry.node.flags |= ZERIX_NODE_IS_CARD;
    const int file = system.Open(node.DeviceFile().c_str());
    if (file < 0) {
        entry.node.systemError = SystemErrorOf(file);
    } else {
        AskKernel(system, file, entry);
        system.Close(file); // nothing has been asked of the node: it doesn't block
    }
    if (!node.isLocal && questions.isCamera(node))
        entry.node.flags |= ZERIX_NODE_IS_CAMERA;
    Put(entry.node.remark, Remark(node, entry.node));
    return entry;
}

// What the manager's registers say, to every node of its card.
void FillIn(const Node &manager, uint32_t card, const NodeQuestions &questions,
            std::vector<Entry> &entries)
{
    const auto reader = questions.open(manager);
    uint32_t bandwidth = 0;
    uint32_t high = 0;
    uint32_t low = 0;
    if (!reader || reader->Read(kBandwidthAvailable, bandwidth) != 0 ||
        reader->Read(kChannelsAvailableHigh, high) != 0 ||
        reader->Read(kChannelsAvailableLow, low) != 0)
        return;
    const int channels = std::popcount(high) + std::popcount(low);
    for (Entry &entry : entries) {
        if (entry.node.card != card)
            continue;
        entry.node.bandwidthLeft = bandwidth;
        entry.node.channelsLeft = static_cast<uint32_t>(channels);
    }
}

} // namespace

std::vector<ZerixBusNode> ReportNodes(SystemCalls &system, const std::vector<Node> &nodes,
                                      const NodeQuestions &questions)
{
    std::vector<Entry> entries;
    for (size_t index = 0; index < nodes.size(); ++index) {
        entries.push_back(Look(system, nodes[index], questions));
        entries.back().index = index;
    }
    for (const Entry &entry : std::vector<Entry>(entries))
        if (entry.nodeId != kNoNode && entry.nodeId == entry.managerId)
            FillIn(nodes[entry.index], entry.node.card, questions, entries);
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry &a, const Entry &b) { return a.node.card < b.node.card; });
    std::vector<ZerixBusNode> report;
    report.reserve(entries.size());
    for (const Entry &entry : entries)
        report.push_back(entry.node);
    return report;
}

} // namespace zerix::bus::linux_firewire
