// zerix info: what one camera is and can do.
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/info_keys.h"
#include "tools/settings_table.h"
#include "tools/verbs.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

std::string Readable(const InfoRow &row, uint32_t value)
{
    if (row.unit == "yes")
        return value != 0 ? "yes" : "no";
    if (row.unit == "colour")
        return value == 1 ? "Bayer" : "monochrome";
    return row.unit.empty() ? fmt::format("{}", value) : fmt::format("{} {}", value, row.unit);
}

std::string JsonName(std::string_view name)
{
    std::string result(name);
    for (char &c : result)
        c = c == ' ' || c == '-' ? '_' : static_cast<char>(std::tolower(c));
    return result;
}

std::vector<ShownSetting> SettingsOf(const OpenCamera &camera)
{
    const auto states = StatesOf(camera);
    std::vector<ShownSetting> shown;
    for (size_t i = 0; i < kParameters.size(); ++i)
        shown.push_back({&kParameters[i], states[i]});
    return shown;
}

void PrintJson(const OpenCamera &camera)
{
    nlohmann::ordered_json json;
    json["model"] = camera.Model();
    json["serial"] = camera.Serial();
    for (const auto &row : kInfoRows) {
        const auto value = camera.Info(row.key);
        json[JsonName(row.name)] =
            value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
    }
    json["parameters"] = JsonOf(SettingsOf(camera));
    fmt::print("{}\n", JsonText(json, 2));
}

void PrintTable(const OpenCamera &camera)
{
    fmt::print("{:<36}  {}\n", "model", camera.Model());
    fmt::print("{:<36}  {}\n", "serial", camera.Serial());
    for (const auto &row : kInfoRows) {
        // The serial number's own key is always 0; the text above is the one that counts.
        if (row.key == zinfSerialNumber || row.key == zinfReserved7)
            continue;
        const auto value = camera.Info(row.key);
        fmt::print("{:<36}  {}\n", row.name, value ? Readable(row, *value) : "-");
    }
    fmt::print("\n");
    PrintSettings(SettingsOf(camera));
}

} // namespace

void ShowInfo(const CommonOptions &options)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    options.json ? PrintJson(camera) : PrintTable(camera);
}

} // namespace zerix::tool
