// Values are kept under any name: the library may be older than the file.
#include "platform/posix/configuration_lines.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/configuration_names.h"

namespace zerix::os {

namespace {

constexpr size_t kLongestText = 1023;
constexpr size_t kLongestQuotation = 200; // of a line that is complained of
constexpr std::string_view kBlanks = " \t\r";

struct Line {
    std::string_view name;
    std::string_view text; // of the value, as it is in the file
    ConfigurationValue value;
};

std::string_view Trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
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

std::optional<ConfigurationValue> QuotedValue(std::string_view text)
{
    const size_t end = text.find('"', 1);
    if (end == std::string_view::npos || !IsNothingOrComment(text.substr(end + 1)))
        return std::nullopt;
    return std::string(text.substr(1, std::min(end - 1, kLongestText)));
}

// A "#" inside a word belongs to it: paths may hold one.
std::string_view WithoutComment(std::string_view text)
{
    for (size_t at = 0; at < text.size(); ++at)
        if (text[at] == '#' && (at == 0 || kBlanks.find(text[at - 1]) != std::string_view::npos))
            return Trimmed(text.substr(0, at));
    return text;
}

std::optional<ConfigurationValue> PlainValue(std::string_view text)
{
    if (text.empty())
        return std::nullopt;
    if (const auto number = NumberIn(text))
        return *number;
    return std::string(text.substr(0, kLongestText));
}

// Nothing if it isn't "name = value".
std::optional<Line> ParseLine(std::string_view line)
{
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    const std::string_view name = Trimmed(line.substr(0, equals));
    if (name.empty() || name.find_first_of(" \t\"#") != std::string_view::npos)
        return std::nullopt;
    const std::string_view rest = Trimmed(line.substr(equals + 1));
    const bool isQuoted = rest.starts_with('"');
    const std::string_view text = isQuoted ? rest : WithoutComment(rest);
    auto value = isQuoted ? QuotedValue(text) : PlainValue(text);
    if (!value)
        return std::nullopt;
    return Line{name, text, std::move(*value)};
}

std::string Quoted(std::string_view text)
{
    return '"' + std::string(text.substr(0, kLongestQuotation)) + '"';
}

// Empty for a value that the library has and of the type that it takes.
std::string WhyUseless(const Line &line)
{
    const std::string name = LowerCase(line.name);
    const auto *const known =
        std::find_if(kConfigurationNames.begin(), kConfigurationNames.end(),
                     [&](const ConfigurationName &row) { return LowerCase(row.name) == name; });
    if (known == kConfigurationNames.end())
        return "the library knows no value named " + Quoted(line.name);
    const bool isNumber = std::holds_alternative<uint32_t>(line.value);
    if (known->isNumber && !isNumber)
        return std::string(known->name) + " takes a number, found " + Quoted(line.text);
    if (!known->isNumber && isNumber)
        return std::string(known->name) + " takes a text: put a text of digits only in quotes";
    return {};
}

} // namespace

std::string LowerCase(std::string_view text)
{
    std::string lower(text);
    for (char &letter : lower)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

ConfigurationValues
ParseConfiguration(std::string_view text,
                   const std::function<void(size_t line, const std::string &)> &complain)
{
    ConfigurationValues values;
    for (size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (IsNothingOrComment(line))
            continue;
        auto parsed = ParseLine(line);
        const std::string complaint =
            parsed ? WhyUseless(*parsed)
                   : "expected \"name = value\", found " + Quoted(Trimmed(line));
        if (!complaint.empty())
            complain(number, complaint);
        if (parsed)
            values.insert_or_assign(LowerCase(parsed->name), std::move(parsed->value));
    }
    return values;
}

} // namespace zerix::os
