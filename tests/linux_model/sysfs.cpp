// Every folder is made anew from the nodes when it is asked for.
#include "tests/linux_model/sysfs.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace zerix::linux_model {
namespace {

using Files = std::map<std::string, std::string>;

constexpr const char *kDevices = "/sys/bus/firewire/devices";
constexpr uint32_t kDeviceMajor = 246;
constexpr uint32_t kUnitStart = 10; // of the unit's directory in the ROM, in quadlets

[[gnu::format(printf, 1, 2)]] std::string Text(const char *format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

Files FilesOfNode(const Node &node)
{
    const RomContents &rom = node.contents;
    Files files = {
        {"config_rom", std::string(reinterpret_cast<const char *>(node.rom.data()),
                                   node.rom.size() * sizeof node.rom[0])},
        {"dev", Text("%u:%u\n", kDeviceMajor, *node.minor)},
        {"guid", Text("0x%08x%08x\n", node.rom[3], node.rom[4])},
        {"is_local", node.IsLocal() ? "1\n" : "0\n"},
        {"model", Text("0x%06x\n", rom.model)},
        {"units", ""},
        {"vendor", Text("0x%06x\n", rom.vendor)},
    };
    if (rom.hasUnit)
        files["units"] = Text("0x%06x:0x%06x\n", rom.unitSpecifier, rom.unitVersion);
    return files;
}

Files FilesOfUnit(const Node &node)
{
    const RomContents &rom = node.contents;
    return {
        {"modalias", Text("ieee1394:ven%08Xmo%08Xsp%08Xver%08X\n", rom.vendor, rom.model,
                          rom.unitSpecifier, rom.unitVersion)},
        {"rom_index", Text("%u\n", kUnitStart)},
        {"specifier_id", Text("0x%06x\n", rom.unitSpecifier)},
        {"version", Text("0x%06x\n", rom.unitVersion)},
    };
}

// Folders with their files; a folder without files has folders.
std::map<std::string, Files> DeviceFolders(const Machine &machine)
{
    std::map<std::string, Files> folders;
    for (const auto &node : machine.bus.Named()) {
        folders[node->Name()] = FilesOfNode(*node);
        if (node->contents.hasUnit)
            folders[node->Name() + ".0"] = FilesOfUnit(*node);
    }
    return folders;
}

std::vector<std::string> NamesInDev(const Machine &machine)
{
    std::vector<std::string> names = {"null", "tty0", "fd"};
    for (const auto &node : machine.bus.Named())
        names.push_back(node->Name());
    return names;
}

// The rest of a path below the devices' folder: "fw1" or "fw1/guid". Empty if it is not below.
std::string BelowDevices(const std::string &path)
{
    const std::string start = std::string(kDevices) + "/";
    return path.starts_with(start) ? path.substr(start.size()) : std::string();
}

} // namespace

int ListModelFolder(const Machine &machine, const std::string &path,
                    std::vector<std::string> &names)
{
    names.clear();
    if (path == "/dev") {
        names = NamesInDev(machine);
        return 0;
    }
    const auto folders = DeviceFolders(machine);
    if (path == kDevices) {
        for (const auto &[name, files] : folders)
            names.push_back(name);
        return 0;
    }
    const auto folder = folders.find(BelowDevices(path));
    std::string ignored;
    if (folder == folders.end())
        return ReadModelFile(machine, path, ignored) == 0 ? -ENOTDIR : -ENOENT;
    for (const auto &[name, contents] : folder->second)
        names.push_back(name);
    return 0;
}

int ReadModelFile(const Machine &machine, const std::string &path, std::string &contents)
{
    const std::string below = BelowDevices(path);
    const size_t slash = below.find('/');
    const auto folders = DeviceFolders(machine);
    const auto folder = folders.find(below.substr(0, slash));
    if (folder == folders.end())
        return path == kDevices ? -EISDIR : -ENOENT;
    if (slash == std::string::npos)
        return -EISDIR;
    const auto file = folder->second.find(below.substr(slash + 1));
    if (file == folder->second.end())
        return -ENOENT;
    contents = file->second;
    return 0;
}

} // namespace zerix::linux_model
