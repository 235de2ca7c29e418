// The configuration file, and what is wrong with it.
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <set>
#include <sstream>
#include <system_error>

#include "platform/configuration_places.h"
#include "platform/file_path.h"
#include "platform/os.h"
#include "platform/posix/cancellation.h"
#include "platform/posix/configuration_lines.h"

namespace zerix::os {

namespace {

// Each complaint once in the life of the process, however often the file is opened.
void Complain(const std::string &complaint)
{
    // Never destroyed: threads may still open the file while the process ends.
    static std::mutex mutex;
    static auto *const made = new std::set<std::string>;
    const std::lock_guard lock(mutex);
    if (made->insert(complaint).second)
        std::fprintf(stderr, "%s\n", complaint.c_str());
}

void ComplainOfLine(const std::string &path, size_t line, const std::string &complaint)
{
    Complain(path + ":" + std::to_string(line) + ": " + complaint);
}

class FileConfiguration final : public Configuration {
public:
    explicit FileConfiguration(ConfigurationValues values) : m_values(std::move(values)) {}

    std::optional<uint32_t> Number(const char *name) const override { return Find<uint32_t>(name); }

    std::optional<std::string> Text(const char *name) const override
    {
        return Find<std::string>(name);
    }

private:
    template <typename Type>
    std::optional<Type> Find(const char *name) const
    {
        const auto found = m_values.find(LowerCase(name));
        if (found == m_values.end() || !std::holds_alternative<Type>(found->second))
            return std::nullopt;
        return std::get<Type>(found->second);
    }

    const ConfigurationValues m_values;
};

std::optional<std::string> FullVariable(const char *name)
{
    auto value = EnvironmentVariable(name);
    return value && !value->empty() ? value : std::nullopt;
}

// A place that is only looked at may have nothing for this user; one that is named has a file.
bool IsExpected(const std::string &path, const std::error_code &error)
{
    if (path == FullVariable("ZERIX_CONFIG"))
        return false;
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
           error == std::errc::permission_denied;
}

std::string Reason(const std::error_code &error)
{
    return error == std::errc::not_supported ? "it is no regular file" : error.message();
}

std::unique_ptr<Configuration> OpenFirst(bool isQuiet)
{
    std::istringstream places(ConfigurationPlaces());
    std::string path;
    while (std::getline(places, path)) {
        std::error_code error;
        const auto text = ReadWholeFile(path, kLargestConfiguration, error);
        if (!text && !isQuiet && !IsExpected(path, error))
            Complain(path + ": the configuration can't be read: " + Reason(error));
        if (!text)
            continue;
        return std::make_unique<FileConfiguration>(
            ParseConfiguration(*text, [&](size_t line, const std::string &complaint) {
                if (!isQuiet)
                    ComplainOfLine(path, line, complaint);
            }));
    }
    return nullptr;
}

std::unique_ptr<Configuration> OpenUncancelled(bool isQuiet)
{
    const CancellationOff noCancellation;
    try {
        return OpenFirst(isQuiet);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

} // namespace

std::string ConfigurationPlaces()
{
    std::string places;
    if (const auto named = FullVariable("ZERIX_CONFIG"))
        places += *named + "\n";
    if (const auto folder = FullVariable("XDG_CONFIG_HOME"))
        places += *folder + "/zerix/zerix.conf\n";
    else if (const auto home = FullVariable("HOME"))
        places += *home + "/.config/zerix/zerix.conf\n";
    return places + "/etc/zerix/zerix.conf\n";
}

std::unique_ptr<Configuration> Configuration::Open() { return OpenUncancelled(false); }

std::unique_ptr<Configuration> OpenConfigurationQuietly() { return OpenUncancelled(true); }

std::optional<std::string> EnvironmentVariable(const char *name)
{
    const char *const value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace zerix::os
