// Columns as wide as what stands in them.
#include "tools/settings_table.h"

#include <algorithm>
#include <array>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/command_error.h"
#include "tools/parameter_values.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

using Line = std::array<std::string, 4>;

std::string Text(const ParameterRow &row, const std::optional<int64_t> &value)
{
    return value ? ValueText(row.unit, *value) : "-";
}

std::string WithUnit(const ParameterRow &row, const std::string &allowed)
{
    const bool isNamed = row.unit == ParameterUnit::kCounts || row.unit == ParameterUnit::kPixels;
    return isNamed && !allowed.empty() ? fmt::format("{} {}", allowed, UnitName(row.unit))
                                       : allowed;
}

Line LineOf(const ShownSetting &shown)
{
    const auto &[row, state] = shown;
    if (!state.isSupported)
        return {std::string(row->name), "-", "-", "not on this camera"};
    return {std::string(row->name), Text(*row, state.value), Text(*row, state.defaultValue),
            WithUnit(*row, AllowedText(*row, state))};
}

const char *KindName(ParameterKind kind)
{
    switch (kind) {
    case ParameterKind::kSigned:
        return "signed";
    case ParameterKind::kUnsigned64:
        return "unsigned64";
    case ParameterKind::kUnsigned:
        break;
    }
    return "unsigned";
}

nlohmann::ordered_json JsonOf(const std::optional<int64_t> &value)
{
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

} // namespace

void ShowSettings(const OpenCamera &camera, const std::vector<const ParameterRow *> &rows,
                  bool asJson)
{
    const auto states = StatesOf(camera);
    std::vector<ShownSetting> shown;
    for (const ParameterRow *row : rows) {
        const auto &state = states[static_cast<size_t>(row - kParameters.data())];
        if (!state.isSupported)
            Fail(fmt::format("this camera has no {}", row->name), ZERIX_ERROR_NOT_SUPPORTED);
        shown.push_back({row, state});
    }
    if (asJson)
        fmt::print("{}\n", JsonText(JsonOf(shown), 2));
    else
        PrintSettings(shown);
}

void PrintSettings(const std::vector<ShownSetting> &settings)
{
    std::vector<Line> lines = {{"SETTING", "VALUE", "DEFAULT", "ALLOWED"}};
    for (const auto &shown : settings)
        lines.push_back(LineOf(shown));
    std::array<size_t, 3> widths{};
    for (const Line &line : lines)
        for (size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], line[column].size());
    for (const Line &line : lines) {
        const std::string text = fmt::format("{:<{}}  {:<{}}  {:<{}}  {}", line[0], widths[0],
                                             line[1], widths[1], line[2], widths[2], line[3]);
        fmt::print("{}\n", text.substr(0, text.find_last_not_of(' ') + 1));
    }
}

nlohmann::ordered_json JsonOf(const std::vector<ShownSetting> &settings)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (const auto &[row, state] : settings) {
        nlohmann::ordered_json entry{
            {"name", row->name},           {"key", row->key},
            {"type", KindName(row->kind)}, {"meaning", row->meaning},
            {"unit", UnitName(row->unit)}, {"supported", state.isSupported}};
        if (state.isSupported) {
            entry["value"] = JsonOf(state.value);
            entry["text"] = state.value ? nlohmann::ordered_json(ValueText(row->unit, *state.value))
                                        : nlohmann::ordered_json();
            entry["default"] = JsonOf(state.defaultValue);
            entry["minimum"] = JsonOf(state.minimum);
            entry["maximum"] = JsonOf(state.maximum);
            entry["allowed"] = state.allowed;
            auto texts = nlohmann::ordered_json::array();
            for (const int64_t value : state.allowed)
                texts.push_back(ValueText(row->unit, value));
            entry["allowed_texts"] = texts;
        }
        json[std::string(row->fullName)] = entry;
    }
    return json;
}

} // namespace zerix::tool
