// The scripted kernel's system folders.
#include "tests/bus/linux/scripted_bytes.h"
#include "tests/bus/linux/scripted_kernel.h"

#include <algorithm>
#include <cerrno>

namespace zerix::bus::linux_firewire {

namespace {

const std::string kDevices = "/sys/bus/firewire/devices";

std::string Hex(uint64_t value)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%016llx\n", static_cast<unsigned long long>(value));
    return text;
}

} // namespace

int ScriptedKernel::ListFolder(const char *path, std::vector<std::string> &names)
{
    const std::lock_guard lock(m_mutex);
    names.clear();
    if (path == kDevices) {
        if (folderError != 0)
            return folderError;
        for (const Node &node : m_nodes) {
            if (!node.isThere || node.isShutDown)
                continue;
            names.push_back(node.name);
            names.push_back(node.name + ".0");
        }
        for (const auto &[name, text] : texts)
            names.push_back(name.substr(0, name.find('/')));
        return 0;
    }
    for (const Node &node : m_nodes)
        for (const std::string &unit : node.boundUnits)
            if (kDevices + "/" + unit + "/driver" == path)
                return 0;
    return -ENOENT;
}

int ScriptedKernel::ReadSmallFile(const char *path, std::string &contents)
{
    const std::lock_guard lock(m_mutex);
    contents.clear();
    const std::string name = std::string(path).substr(kDevices.size() + 1);
    if (const auto given = texts.find(name); given != texts.end()) {
        contents = given->second;
        return 0;
    }
    for (const Node &node : m_nodes) {
        if (!node.isThere || name.substr(0, name.find('/')) != node.name)
            continue;
        const std::string file = name.substr(node.name.size() + 1);
        const auto rom = RomOf(node);
        if (file == "guid")
            contents = Hex(node.guid);
        else if (file == "is_local")
            contents = node.isLocal ? "1\n" : "0\n";
        else if (file == "units")
            contents = node.units + "\n";
        else if (file == "config_rom")
            contents.assign(reinterpret_cast<const char *>(rom.data()), rom.size() * 4);
        else
            return -ENOENT;
        return 0;
    }
    return -ENOENT;
}

} // namespace zerix::bus::linux_firewire
