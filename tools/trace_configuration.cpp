// Lines of the file are kept with their comments: it is a person's file.
#include "tools/trace_configuration.h"

#include <filesystem>
#include <sstream>

#include <fmt/format.h>

#include "platform/configuration_places.h"
#include "platform/file_path.h"
#include "platform/os.h"
#include "tools/command_error.h"
#include "tools/name_match.h"
#include "tools/writers/whole_file.h"

namespace zerix::tool {

namespace {

std::vector<std::string> Places()
{
    std::vector<std::string> places;
    std::istringstream lines(os::ConfigurationPlaces());
    for (std::string line; std::getline(lines, line);)
        places.push_back(line);
    return places;
}

// False if it can't be read.
bool ReadLines(const std::string &path, std::vector<std::string> &lines)
{
    std::error_code ignored;
    const auto text = os::ReadWholeFile(path, os::kLargestConfiguration, ignored);
    if (!text)
        return false;
    std::istringstream stream(*text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return true;
}

bool Sets(const std::string &line, const std::string &name)
{
    const size_t equals = line.find('=');
    std::string before = line.substr(0, equals);
    std::erase(before, '\t');
    return equals != std::string::npos && Simplified(before) == Simplified(name);
}

void SetLine(std::vector<std::string> &lines, const ConfigurationValue &value)
{
    const std::string text = fmt::format("{} = {}", value.name, value.value);
    bool isSet = false;
    for (auto &line : lines) {
        if (!Sets(line, value.name))
            continue;
        line = text; // where a name stands twice, the last line counts
        isSet = true;
    }
    if (!isSet)
        lines.push_back(text);
}

void WriteLines(const std::string &path, const std::vector<std::string> &lines)
{
    const std::filesystem::path target(path);
    std::error_code ignored; // what is wrong is told where the file is written
    if (target.has_parent_path())
        std::filesystem::create_directories(target.parent_path(), ignored);
    std::string text;
    for (const auto &line : lines)
        text += line + '\n';
    const std::string error =
        WriteWhole(path, [&](const std::string &temporary) { return WriteBytes(temporary, text); });
    if (!error.empty())
        throw CommandError("the configuration " + error);
}

std::string DefaultTraceFile()
{
    constexpr const char *kName = "zerix-trace.log";
    std::filesystem::path folder = std::filesystem::temp_directory_path();
    if (const auto state = os::EnvironmentVariable("XDG_STATE_HOME"); state && !state->empty())
        folder = std::filesystem::path(*state) / "zerix";
    else if (const auto home = os::EnvironmentVariable("HOME"); home && !home->empty())
        folder = std::filesystem::path(*home) / ".local" / "state" / "zerix";
    return (folder / kName).string();
}

std::string FileOf(const os::Configuration *configuration)
{
    const auto path = configuration != nullptr ? configuration->Text("outputFilePath")
                                               : std::optional<std::string>();
    return path && !path->empty() ? *path : DefaultTraceFile();
}

} // namespace

std::string ConfigurationFile()
{
    const auto places = Places();
    std::vector<std::string> ignored;
    for (const auto &place : places)
        if (ReadLines(place, ignored))
            return place;
    return places.empty() ? "" : places.front();
}

std::string SetInConfiguration(const std::vector<ConfigurationValue> &values)
{
    const auto places = Places();
    if (places.empty())
        throw CommandError("on this system the log's switches stand in the registry, under "
                           "SOFTWARE\\Tolvane\\Zerix: see docs/configuration.md.");
    // The user's own file comes before the system's, and then hides it: it begins as its copy.
    std::vector<std::string> lines;
    ReadLines(ConfigurationFile(), lines);
    for (const auto &value : values)
        SetLine(lines, value);
    const auto configuration = ConfigurationFile();
    const bool isSystems = configuration == places.back() && places.size() > 1;
    std::string target = isSystems ? places.front() : configuration;
    WriteLines(target, lines);
    return target;
}

std::string TraceFile() { return FileOf(os::Configuration::Open().get()); }

std::string TraceFileToBe() { return FileOf(os::OpenConfigurationQuietly().get()); }

} // namespace zerix::tool
