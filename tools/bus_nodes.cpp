// The nodes of a bus, for people.
#include "tools/bus_nodes.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/command_error.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

constexpr uint32_t kBandwidthUnits = 4915; // that a cycle has for streams
constexpr uint32_t kChannels = 64;

bool Has(const ZerixBusNode &node, uint32_t flag) { return (node.flags & flag) != 0; }

bool IsRemote(const ZerixBusNode &node) { return !Has(node, ZERIX_NODE_IS_CARD); }

bool CantBeOpened(const ZerixBusNode &node)
{
    return IsRemote(node) && !Has(node, ZERIX_NODE_MAY_OPEN);
}

// By this user, that is.
bool IsLockedAway(const ZerixBusNode &node)
{
    constexpr uint32_t kAccessDenied = 5;
    return CantBeOpened(node) && node.systemError == kAccessDenied;
}

std::string Guid(const ZerixBusNode &node)
{
    return node.guid == 0 ? "-" : fmt::format("{:016x}", node.guid);
}

std::string Speed(const ZerixBusNode &node)
{
    return node.speed == 0 ? "-" : std::to_string(node.speed);
}

std::string Name(const ZerixBusNode &node)
{
    const std::string separator = node.vendor[0] != '\0' && node.model[0] != '\0' ? " " : "";
    return node.vendor + separator + node.model;
}

std::string Kind(const ZerixBusNode &node)
{
    if (!IsRemote(node))
        return "card";
    if (CantBeOpened(node))
        return IsLockedAway(node) ? "locked" : "not open";
    if (!Has(node, ZERIX_NODE_IS_CAMERA))
        return "other";
    return Has(node, ZERIX_NODE_IS_IN_USE) ? "camera, in use" : "camera";
}

std::string Left(uint32_t count, uint32_t of)
{
    return count == ZERIX_NODE_UNKNOWN ? "?" : fmt::format("{} of {}", count, of);
}

std::string CardLine(const ZerixBusNode &node)
{
    const std::string version =
        node.interfaceVersion == 0
            ? ""
            : fmt::format("kernel's interface version {}, ", node.interfaceVersion);
    return fmt::format("Card {}: {}{} units of bandwidth and {} channels left\n", node.card,
                       version, Left(node.bandwidthLeft, kBandwidthUnits),
                       Left(node.channelsLeft, kChannels));
}

nlohmann::ordered_json JsonOfCount(uint32_t count)
{
    return count == ZERIX_NODE_UNKNOWN ? nlohmann::ordered_json() : nlohmann::ordered_json(count);
}

std::vector<std::string> Units(const ZerixBusNode &node)
{
    std::istringstream words(node.units);
    std::vector<std::string> units;
    for (std::string word; words >> word;)
        units.push_back(word);
    return units;
}

// 0x123ABC:0x000102 as the database spells it.
std::string Match(const std::string &unit)
{
    std::string lower = unit;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return "ieee1394:node:ven*units*" + lower + "*\n IEEE1394_UNIT_FUNCTION_VIDEO=1\n";
}

} // namespace

std::string BusTable(const std::vector<ZerixBusNode> &nodes)
{
    size_t device = 6;
    size_t name = 12;
    size_t units = 5;
    for (const auto &node : nodes) {
        device = std::max(device, std::string_view(node.device).size());
        name = std::max(name, Name(node).size());
        units = std::max(units, std::string_view(node.units).size());
    }
    std::string text;
    for (size_t index = 0; index < nodes.size(); ++index) {
        const ZerixBusNode &node = nodes[index];
        if (index == 0 || node.card != nodes[index - 1].card) {
            text += (index == 0 ? "" : "\n") + CardLine(node);
            text += fmt::format("  {:<{}}  {:<16}  {:>4}  {:<{}}  {:<{}}  {}\n", "DEVICE", device,
                                "IDENTIFIER", "MB/S", "VENDOR MODEL", name, "UNITS", units, "KIND");
        }
        const std::string shownUnits = node.units[0] == '\0' ? "-" : node.units;
        text +=
            fmt::format("  {:<{}}  {:<16}  {:>4}  {:<{}}  {:<{}}  {}\n", node.device, device,
                        Guid(node), Speed(node), Name(node), name, shownUnits, units, Kind(node));
        if (node.remark[0] != '\0')
            text += fmt::format("      {}\n", node.remark);
    }
    return text;
}

std::string BusJson(const std::vector<ZerixBusNode> &nodes)
{
    auto list = nlohmann::ordered_json::array();
    for (const auto &node : nodes) {
        nlohmann::ordered_json entry{{"card", node.card},
                                     {"device", node.device},
                                     {"guid", Guid(node)},
                                     {"speed", node.speed},
                                     {"vendor", node.vendor},
                                     {"model", node.model},
                                     {"units", Units(node)},
                                     {"is_card", Has(node, ZERIX_NODE_IS_CARD)},
                                     {"is_camera", Has(node, ZERIX_NODE_IS_CAMERA)},
                                     {"may_open", Has(node, ZERIX_NODE_MAY_OPEN)},
                                     {"in_use", Has(node, ZERIX_NODE_IS_IN_USE)},
                                     {"system_error", node.systemError},
                                     {"interface_version", node.interfaceVersion}};
        entry["bandwidth_left"] = JsonOfCount(node.bandwidthLeft);
        entry["channels_left"] = JsonOfCount(node.channelsLeft);
        entry["remark"] = node.remark;
        list.push_back(entry);
    }
    return JsonText(list, 2) + "\n";
}

std::string HardwareDatabaseEntry(const std::vector<ZerixBusNode> &nodes)
{
    std::map<std::string, std::string> matches; // and whose they are
    for (const auto &node : nodes)
        if (IsLockedAway(node) || Has(node, ZERIX_NODE_IS_CAMERA))
            for (const auto &unit : Units(node))
                matches.emplace(Match(unit), node.device + (" " + Name(node)));
    if (matches.empty())
        throw CommandError(
            "No camera is at hand whose unit could be entered: connect it, switch it "
            "on, and see what \"zerix bus\" tells of it.");
    std::string text = "# /etc/udev/hwdb.d/70-zerix.hwdb: people at this computer, and the group\n"
                       "# video, may open these devices. Put it there, and run\n"
                       "#   systemd-hwdb update\n"
                       "#   udevadm trigger --subsystem-match=firewire\n";
    for (const auto &[match, whose] : matches)
        text += fmt::format("\n# {}\n{}", whose, match);
    return text;
}

std::string WhyNoCamera(const std::vector<ZerixBusNode> &nodes)
{
    if (nodes.empty())
        return "This computer has no FireWire card that this library can use. Use --sim for "
               "virtual cameras (--rack FILE for your own).";
    const auto locked = std::find_if(nodes.begin(), nodes.end(), IsLockedAway);
    if (locked != nodes.end())
        return fmt::format("{} ({}) may not be opened by this user: install what \"zerix bus "
                           "--hwdb\" prints, or become a member of the group video.",
                           locked->device, Name(*locked));
    const auto unopened = std::find_if(nodes.begin(), nodes.end(), CantBeOpened);
    if (unopened != nodes.end())
        return fmt::format("{} ({}) can't be opened: \"zerix bus\" tells more.", unopened->device,
                           Name(*unopened));
    const auto inUse = std::find_if(nodes.begin(), nodes.end(), [](const ZerixBusNode &node) {
        return Has(node, ZERIX_NODE_IS_CAMERA);
    });
    if (inUse != nodes.end())
        return fmt::format("The camera at {} can't be used now: another program has it, or it does "
                           "not answer; \"zerix bus\" shows it.",
                           inUse->device);
    if (std::none_of(nodes.begin(), nodes.end(), IsRemote))
        return "Nothing is connected to the FireWire card: connect a camera and switch it on, or "
               "use --sim for virtual cameras (--rack FILE for your own).";
    return "No device on the FireWire bus is a camera that this library knows; \"zerix bus\" shows "
           "them, and why. Use --sim for virtual cameras.";
}

} // namespace zerix::tool
