// The configuration file: lines "name = value", where a value is a number (decimal or 0x), a text,
// or a text in double quotes, and "#" begins a comment. Names are compared without case.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <sstream>
#include <string_view>
#include <variant>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "platform/posix/cancellation.h"

namespace zerix::os {

namespace {

constexpr size_t kLongestText = 1023;
constexpr std::string_view kBlanks = " \t\r";

using Value = std::variant<uint32_t, std::string>;
using Values = std::map<std::string, Value>;

std::string_view Trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string LowerCase(std::string_view text)
{
    std::string lower(text);
    for (char &letter : lower)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

std::optional<uint32_t> NumberIn(std::string_view text)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    uint32_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

bool IsNothingOrComment(std::string_view text)
{
    const std::string_view rest = Trimmed(text);
    return rest.empty() || rest.front() == '#';
}

std::optional<Value> QuotedValue(std::string_view text)
{
    const size_t end = text.find('"', 1);
    if (end == std::string_view::npos || !IsNothingOrComment(text.substr(end + 1)))
        return std::nullopt;
    return Value(std::string(text.substr(1, std::min(end - 1, kLongestText))));
}

// A "#" inside a word belongs to it: paths may hold one.
std::string_view WithoutComment(std::string_view text)
{
    for (size_t at = 0; at < text.size(); ++at)
        if (text[at] == '#' && (at == 0 || kBlanks.find(text[at - 1]) != std::string_view::npos))
            return Trimmed(text.substr(0, at));
    return text;
}

std::optional<Value> PlainValue(std::string_view text)
{
    text = WithoutComment(text);
    if (text.empty())
        return std::nullopt;
    if (const auto number = NumberIn(text))
        return Value(*number);
    return Value(std::string(text.substr(0, kLongestText)));
}

// False if it isn't "name = value".
bool TakeLine(std::string_view line, Values &values)
{
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos)
        return false;
    const std::string_view name = Trimmed(line.substr(0, equals));
    if (name.empty() || name.find_first_of(" \t\"#") != std::string_view::npos)
        return false;
    const std::string_view text = Trimmed(line.substr(equals + 1));
    auto value = text.starts_with('"') ? QuotedValue(text) : PlainValue(text);
    if (!value)
        return false;
    values.insert_or_assign(LowerCase(name), std::move(*value));
    return true;
}

// Each bad line once in the life of the process, however often the file is opened.
void TellOfBadLine(const std::string &path, uint32_t number, std::string_view line)
{
    // Never destroyed: threads may still open the file while the process ends.
    static std::mutex mutex;
    static auto *const told = new std::set<std::string>;
    const std::string place = path + ":" + std::to_string(number);
    const std::lock_guard lock(mutex);
    if (!told->insert(place).second)
        return;
    std::fprintf(stderr, "%s: expected \"name = value\", found \"%.*s\"\n", place.c_str(),
                 static_cast<int>(line.size()), line.data());
}

Values ValuesOf(std::istream &file, const std::string &path, bool isQuiet)
{
    Values values;
    std::string line;
    for (uint32_t number = 1; std::getline(file, line); ++number)
        if (!IsNothingOrComment(line) && !TakeLine(line, values) && !isQuiet)
            TellOfBadLine(path, number, Trimmed(line));
    return values;
}

class FileConfiguration final : public Configuration {
public:
    explicit FileConfiguration(Values values) : m_values(std::move(values)) {}

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

    const Values m_values;
};

std::unique_ptr<Configuration> OpenFirst(bool isQuiet)
{
    std::istringstream places(ConfigurationPlaces());
    std::string path;
    while (std::getline(places, path)) {
        std::error_code ignored;
        std::ifstream file;
        if (!std::filesystem::is_directory(path, ignored))
            file.open(path);
        if (file.is_open())
            return std::make_unique<FileConfiguration>(ValuesOf(file, path, isQuiet));
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

std::optional<std::string> FullVariable(const char *name)
{
    auto value = EnvironmentVariable(name);
    return value && !value->empty() ? value : std::nullopt;
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
