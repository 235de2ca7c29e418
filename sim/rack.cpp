// Finds a rack by its name or path: built in, among the installed ones, or a file. Reads the
// environment and files; otherwise without state.
#include "sim/rack.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/file_path.h"
#include "platform/os.h"
#include "sim/built_in_racks.h"
#include "sim/rack_file.h"
#include "sim/regular_file.h"

namespace zerix::sim {
namespace {

constexpr const char *kFolderVariable = "ZERIX_RACKS";
constexpr const char *kInstalledFolders[] = {"/usr/local/share/zerix/racks",
                                             "/usr/share/zerix/racks"};
// From the folder of the library, or of a program, to the racks that were installed with it. Debian
// has one folder more for libraries.
constexpr const char *kFoldersFromModule[] = {"../share/zerix/racks", "../../share/zerix/racks"};

bool IsFile(const std::filesystem::path &path)
{
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

// Where installed racks are looked for; a folder of the user's own comes first, then those that
// belong to this very library.
std::vector<std::filesystem::path> RackFolders()
{
    std::vector<std::filesystem::path> folders;
    if (const auto own = os::EnvironmentVariable(kFolderVariable); own && !own->empty())
        folders.push_back(os::FilePath(*own));
    const std::filesystem::path module =
        os::FilePath(os::FolderOfModuleWith(reinterpret_cast<const void *>(&IsFile)));
    if (!module.empty()) {
        for (const char *folder : kFoldersFromModule)
            folders.push_back((module / folder).lexically_normal());
    }
    for (const char *folder : kInstalledFolders)
        folders.emplace_back(folder);
    return folders;
}

std::vector<RackDescription> InstalledRacks()
{
    std::vector<RackDescription> racks;
    for (const auto &folder : RackFolders()) {
        std::error_code failed;
        for (std::filesystem::directory_iterator entry(folder, failed), end;
             !failed && entry != end; entry.increment(failed)) {
            if (entry->path().extension() == ".toml" && IsFile(entry->path()))
                racks.push_back({os::PathText(entry->path().stem()), os::PathText(entry->path())});
        }
    }
    std::stable_sort(racks.begin(), racks.end(),
                     [](const auto &a, const auto &b) { return a.name < b.name; });
    return racks;
}

std::filesystem::path FindInstalledRack(const std::string &name)
{
    if (name.find_first_of("/\\") != std::string::npos)
        return {};
    for (const auto &folder : RackFolders()) {
        auto path = folder / os::FilePath(name + ".toml");
        if (IsFile(path))
            return path;
    }
    return {};
}

bool LoadRackFile(const std::filesystem::path &path, Rack *rack, std::string *error)
{
    constexpr uint64_t kMostBytes = 0x1000000;
    std::string text;
    const FileResult result = ReadRegularFile(path, kMostBytes, &text);
    if (result != FileResult::kRead) {
        *error = os::PathText(path) + ": " + WhyNotRead(result, kMostBytes) + ".";
        return false;
    }
    if (!ParseRack(text, os::PathText(path), rack, error))
        return false;
    for (CameraDescription &camera : rack->cameras)
        camera.folder = os::PathText(path.parent_path());
    return true;
}

std::string KnownNames()
{
    std::string names;
    for (const RackDescription &known : KnownRacks())
        names += (names.empty() ? "\"" : ", \"") + known.name + "\"";
    return names;
}

bool ParseBuiltIn(const RackText &builtIn, Rack *rack, std::string *error)
{
    return ParseRack(builtIn.text, "racks/" + std::string(builtIn.name) + ".toml", rack, error);
}

} // namespace

std::string SceneOf(const CameraDescription &camera)
{
    constexpr std::string_view kPicture = "picture:";
    if (!std::string_view(camera.scene).starts_with(kPicture))
        return camera.scene;
    const auto beside =
        os::FilePath(camera.folder) / os::FilePath(camera.scene.substr(kPicture.size()));
    return IsFile(beside) ? std::string(kPicture) + os::PathText(beside) : camera.scene;
}

bool LoadRack(const std::string &nameOrPath, Rack *rack, std::string *error)
{
    std::string ignored;
    if (error == nullptr)
        error = &ignored;
    for (const RackText &builtIn : BuiltInRackTexts()) {
        if (nameOrPath.empty() || builtIn.name == nameOrPath)
            return ParseBuiltIn(builtIn, rack, error);
    }
    if (const auto installed = FindInstalledRack(nameOrPath); !installed.empty())
        return LoadRackFile(installed, rack, error);
    std::error_code failed;
    if (const auto path = os::FilePath(nameOrPath); std::filesystem::exists(path, failed))
        return LoadRackFile(path, rack, error);
    *error = nameOrPath + ": no such rack; expected the path of a rack file, or one of " +
             KnownNames() + ".";
    return false;
}

std::vector<RackDescription> KnownRacks()
{
    std::vector<RackDescription> racks;
    for (const RackText &builtIn : BuiltInRackTexts()) {
        Rack rack;
        std::string ignored;
        ParseBuiltIn(builtIn, &rack, &ignored);
        racks.push_back({std::string(builtIn.name), rack.meaning});
    }
    for (RackDescription &installed : InstalledRacks()) {
        const bool hidden =
            std::any_of(racks.begin(), racks.end(),
                        [&](const RackDescription &known) { return known.name == installed.name; });
        if (!hidden)
            racks.push_back(std::move(installed));
    }
    return racks;
}

} // namespace zerix::sim
