// The system's folder of FireWire devices: "fw0" is a node, "fw0.1" a unit of it.
#include "bus/linux_firewire/node_list.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>

namespace zerix::bus::linux_firewire {

namespace {

constexpr char kFolder[] = "/sys/bus/firewire/devices"; // outlives every thread
constexpr std::string_view kPathPrefix = "firewire:";
constexpr std::string_view kBlanks = " \t\r\n,";
constexpr size_t kGuidDigits = 16;

bool AreDigits(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsNodeName(std::string_view name)
{
    return name.starts_with("fw") && AreDigits(name.substr(2));
}

bool IsUnitOf(std::string_view name, std::string_view node)
{
    return name.size() > node.size() + 1 && name.starts_with(node) && name[node.size()] == '.' &&
           AreDigits(name.substr(node.size() + 1));
}

std::string_view FirstWord(std::string_view text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    text.remove_prefix(first);
    return text.substr(0, text.find_first_of(kBlanks));
}

// With 0x before it or not.
template <typename Number>
std::optional<Number> HexIn(std::string_view text)
{
    if (text.starts_with("0x") || text.starts_with("0X"))
        text.remove_prefix(2);
    Number number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

std::optional<Unit> UnitIn(std::string_view word)
{
    const size_t colon = word.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto specifier = HexIn<uint32_t>(word.substr(0, colon));
    const auto version = HexIn<uint32_t>(word.substr(colon + 1));
    if (!specifier || !version)
        return std::nullopt;
    return Unit{*specifier, *version};
}

// A unit with a driver has a link to it.
bool HasDriver(SystemCalls &system, const std::string &unit)
{
    std::vector<std::string> ignored;
    return system.ListFolder((std::string(kFolder) + "/" + unit + "/driver").c_str(), ignored) >= 0;
}

std::optional<Node> NodeNamed(SystemCalls &system, const std::string &name,
                              const std::vector<std::string> &names)
{
    const std::string folder = std::string(kFolder) + "/" + name + "/";
    std::string text;
    Node node;
    node.name = name;
    if (system.ReadSmallFile((folder + "guid").c_str(), text) < 0)
        return std::nullopt;
    const auto guid = HexIn<uint64_t>(FirstWord(text));
    if (!guid || *guid == 0)
        return std::nullopt;
    node.guid = *guid;
    if (system.ReadSmallFile((folder + "is_local").c_str(), text) < 0)
        return std::nullopt;
    node.isLocal = FirstWord(text) == "1";
    if (system.ReadSmallFile((folder + "units").c_str(), text) >= 0)
        node.units = UnitsIn(text);
    if (system.ReadSmallFile((folder + "config_rom").c_str(), text) >= 0)
        node.rom = text;
    node.hasKernelDriver = std::any_of(names.begin(), names.end(), [&](const std::string &other) {
        return IsUnitOf(other, name) && HasDriver(system, other);
    });
    return node;
}

// fw2 comes before fw10.
bool IsNamedBefore(const std::string &a, const std::string &b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

// A second card on the same bus sees the first as any node: the card itself goes before.
bool GoesBefore(const Node &a, const Node &b)
{
    return a.guid != b.guid ? a.guid < b.guid : a.isLocal && !b.isLocal;
}

} // namespace

int ListNodes(SystemCalls &system, std::vector<Node> &nodes)
{
    nodes.clear();
    std::vector<std::string> names;
    const int result = system.ListFolder(kFolder, names);
    if (result < 0)
        return result == -ENOENT || result == -ENOTDIR ? 0 : result;
    std::sort(names.begin(), names.end(), IsNamedBefore);
    for (const std::string &name : names) {
        if (!IsNodeName(name))
            continue;
        if (auto node = NodeNamed(system, name, names))
            nodes.push_back(std::move(*node));
    }
    std::stable_sort(nodes.begin(), nodes.end(), GoesBefore);
    const auto sameGuid = [](const Node &a, const Node &b) { return a.guid == b.guid; };
    nodes.erase(std::unique(nodes.begin(), nodes.end(), sameGuid), nodes.end());
    return 0;
}

std::vector<Unit> UnitsIn(std::string_view text)
{
    std::vector<Unit> units;
    for (;;) {
        const std::string_view word = FirstWord(text);
        if (word.empty())
            return units;
        if (const auto unit = UnitIn(word))
            units.push_back(*unit);
        text.remove_prefix(static_cast<size_t>(word.data() - text.data()) + word.size());
    }
}

std::string DevicePathOf(uint64_t guid)
{
    char digits[kGuidDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(guid));
    return std::string(kPathPrefix) + digits;
}

std::optional<uint64_t> GuidOf(std::string_view devicePath)
{
    if (!devicePath.starts_with(kPathPrefix))
        return std::nullopt;
    devicePath.remove_prefix(kPathPrefix.size());
    if (devicePath.size() != kGuidDigits)
        return std::nullopt;
    return HexIn<uint64_t>(devicePath);
}

} // namespace zerix::bus::linux_firewire
