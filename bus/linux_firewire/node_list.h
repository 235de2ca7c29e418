// The nodes of the FireWire buses as the system lists them, without opening any. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

// What a unit of a node is: who defined its programming interface, and which version of it.
struct Unit {
    uint32_t specifier;
    uint32_t version;
    bool operator==(const Unit &) const = default;
};

struct Node {
    std::string name; // "fw0": changes from boot to boot, and names another node after an unplug
    uint64_t guid = 0;
    bool isLocal = false; // the card itself
    std::vector<Unit> units;
    std::string rom; // of its configuration memory, as it came
    bool hasKernelDriver = false;

    std::string DeviceFile() const { return "/dev/" + name; }
};

// In order of their GUID, which is what tells a node from another. A node whose files can't be read
// or make no sense is left out, and of two with the same GUID the second. A system without FireWire
// has no nodes. 0, or the negative error number of a list that can't be read.
int ListNodes(SystemCalls &system, std::vector<Node> &nodes);

// "0x0800:0x0102 0x00a02d:0x000100", with commas or blanks in between; what is no unit is passed
// over.
std::vector<Unit> UnitsIn(std::string_view text);

// The path of a device by its GUID, and back.
std::string DevicePathOf(uint64_t guid);
std::optional<uint64_t> GuidOf(std::string_view devicePath);

} // namespace zerix::bus::linux_firewire
