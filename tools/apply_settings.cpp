// Names, values and groups of parameters as people write them.
#include "tools/apply_settings.h"

#include <array>
#include <cstdlib>
#include <span>

#include <fmt/format.h>

#include "tools/camera_settings.h"
#include "tools/command_error.h"
#include "tools/name_match.h"
#include "tools/parameter_values.h"

namespace zerix::tool {

namespace {

struct Group {
    std::string_view name;
    std::array<std::string_view, 4> members;
    size_t count;
};

// The binning along each axis is what counts where a camera has it; the symmetrical one otherwise.
constexpr std::array kGroups = {
    Group{"roi", {"roi-x", "roi-y", "roi-width", "roi-height"}, 4},
    Group{"binning", {"symmetrical-binning", "horizontal-binning", "vertical-binning"}, 3},
};
constexpr std::string_view kPrefix = "zprm";

const ParameterRow *FindRow(std::string_view typed)
{
    const std::string wanted = Simplified(typed);
    for (const ParameterRow &row : kParameters)
        if (Simplified(row.name) == wanted)
            return &row;
    for (const ParameterRow &row : kParameters) {
        const std::string full = Simplified(row.fullName);
        if (full == wanted || full.substr(kPrefix.size()) == wanted)
            return &row;
    }
    return nullptr;
}

const Group *FindGroup(std::string_view typed)
{
    for (const Group &group : kGroups)
        if (Simplified(group.name) == Simplified(typed))
            return &group;
    return nullptr;
}

std::vector<std::string> KnownNames()
{
    std::vector<std::string> names;
    names.reserve(std::size(kGroups) + std::size(kParameters));
    for (const Group &group : kGroups)
        names.emplace_back(group.name);
    for (const ParameterRow &row : kParameters)
        names.emplace_back(row.name);
    return names;
}

[[noreturn]] void FailUnknown(const std::string &typed)
{
    const auto near = NearNames(typed, KnownNames());
    if (!near.empty())
        throw CommandError(fmt::format("\"{}\" is no setting; did you mean {}? \"zerix info\" "
                                       "shows them all.",
                                       typed, Enumerated(near)));
    throw CommandError(
        fmt::format("\"{}\" is no setting; known are {}.", typed, Enumerated(KnownNames(), "and")));
}

std::vector<std::string> SplitAt(const std::string &text, std::string_view separators)
{
    std::vector<std::string> parts{""};
    for (const char c : text) {
        if (separators.find(c) != std::string_view::npos)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

struct Setting {
    const ParameterRow *row;
    int64_t value;
};

int64_t Parsed(const CameraSettings &camera, const ParameterRow &row, const std::string &name,
               const std::string &text)
{
    // Whoever uses the interface's own name may use its own unit.
    const bool isFullName = Simplified(name).starts_with(kPrefix);
    const auto value = ParseValue(row.unit, text, isFullName);
    if (value)
        return *value;
    const std::string allowed = AllowedText(row, camera.State(row));
    throw CommandError(fmt::format("{} can't be \"{}\": it takes {}{}.", name, text,
                                   WaysToWrite(row.unit),
                                   allowed.empty() ? "" : "; the camera allows " + allowed));
}

std::vector<Setting> RegionOf(const CameraSettings &camera, const Group &group,
                              const std::string &text)
{
    const auto parts = SplitAt(text, ",");
    if (parts.size() != group.count)
        throw CommandError(fmt::format("roi can't be \"{}\": it takes x,y,width,height in pixels, "
                                       "such as 100,100,640,480.",
                                       text));
    std::vector<Setting> settings;
    for (size_t i = 0; i < group.count; ++i) {
        const ParameterRow *row = FindRow(group.members[i]);
        settings.push_back({row, Parsed(camera, *row, std::string(row->name), parts[i])});
    }
    return settings;
}

// A camera that bins along one axis alone has no binning along the other.
std::vector<Setting> BinningByAxes(const CameraSettings &camera, const Group &group, int64_t along,
                                   int64_t across)
{
    const ParameterRow *both = FindRow(group.members[0]);
    const ParameterRow *horizontal = FindRow(group.members[1]);
    const ParameterRow *vertical = FindRow(group.members[2]);
    std::vector<Setting> settings;
    if (camera.IsSupported(*horizontal))
        settings.push_back({horizontal, along});
    if (camera.IsSupported(*vertical))
        settings.push_back({vertical, across});
    if (settings.size() == 2)
        return settings;
    if (settings.empty() && along != across)
        throw CommandError("binning must be the same along rows and columns on this camera.");
    if (settings.empty())
        return {{both, along}};
    const bool hasRows = settings.front().row == horizontal;
    if ((hasRows ? across : along) != 1)
        throw CommandError(fmt::format("this camera bins along {} alone: write binning={}.",
                                       hasRows ? "rows" : "columns", hasRows ? "Nx1" : "1xN"));
    return settings;
}

// "2" for both axes, or "2x4", along the rows and along the columns.
std::vector<Setting> BinningOf(const CameraSettings &camera, const Group &group,
                               const std::string &text)
{
    const auto parts = SplitAt(text, "xX");
    const auto along = ParseValue(ParameterUnit::kPixels, parts.front(), true);
    const auto across = ParseValue(ParameterUnit::kPixels, parts.back(), true);
    if (parts.size() > 2 || !along || !across)
        throw CommandError(fmt::format("binning can't be \"{}\": it takes a number of pixels for "
                                       "both axes, such as 2, or two for rows and columns, such "
                                       "as 2x4.",
                                       text));
    return BinningByAxes(camera, group, *along, *across);
}

std::vector<Setting> SettingsOf(const CameraSettings &camera, const std::string &assignment)
{
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0)
        throw CommandError(fmt::format("\"{}\" is no setting: write KEY=VALUE, such as "
                                       "exposure=20ms.",
                                       assignment));
    const std::string name = assignment.substr(0, equals);
    const std::string text = assignment.substr(equals + 1);
    if (const Group *group = FindGroup(name))
        return group == &kGroups.front() ? RegionOf(camera, *group, text)
                                         : BinningOf(camera, *group, text);
    const ParameterRow *row = FindParameters(name).front();
    return {{row, Parsed(camera, *row, name, text)}};
}

bool IsAskedFor(const std::vector<Setting> &asked, const ParameterRow *row)
{
    for (const Setting &setting : asked)
        if (setting.row == row)
            return true;
    return false;
}

// A mosaic is interpolated at its own depth: under a finished format of another one the library
// makes noise of it.
void CheckFinishedFormat(const CameraSettings &camera, const std::vector<Setting> &asked)
{
    const ParameterRow *const formatRow = FindRow("format");
    const ParameterRow *const finishedRow = FindRow("post-format");
    const auto format = static_cast<uint32_t>(camera.Value(*formatRow).value_or(0));
    const auto finished = static_cast<uint32_t>(camera.Value(*finishedRow).value_or(0));
    const bool isProcessed =
        camera.Value(*FindRow("post-processing")).value_or(0) != 0 && Zerix_isBayer(format) == 1;
    if (!isProcessed && !IsAskedFor(asked, finishedRow))
        return;
    const bool isWide = Zerix_is16bit(format) == 1;
    if (isWide == (Zerix_is16bit(finished) == 1))
        return;
    throw CommandError(fmt::format(
        "pictures of the format {} can't be finished as {}: both must have 8 bits a sample or "
        "both more. With {} goes post-format={}.",
        ValueText(formatRow->unit, format), ValueText(finishedRow->unit, finished),
        ValueText(formatRow->unit, format), isWide ? "rgb48" : "rgb24"));
}

// Gains and times are rounded to the camera's own steps.
bool IsAsAsked(const Setting &asked, int64_t got)
{
    const int64_t difference = std::llabs(got - asked.value);
    switch (asked.row->unit) {
    case ParameterUnit::kNanoseconds:
    case ParameterUnit::kMicroseconds:
        return difference <= asked.value / 1000;
    case ParameterUnit::kMicrodecibels:
    case ParameterUnit::kMillionths:
    case ParameterUnit::kThousandths:
        return difference <= 100'000 + std::llabs(asked.value / 100);
    default:
        return difference == 0;
    }
}

void WarnOfChanges(const CameraSettings &camera, const std::vector<Setting> &asked)
{
    for (size_t i = 0; i < asked.size(); ++i) {
        bool isOverridden = false;
        for (size_t later = i + 1; later < asked.size(); ++later)
            isOverridden = isOverridden || asked[later].row == asked[i].row;
        const auto got = camera.Value(*asked[i].row);
        if (!isOverridden && got && !IsAsAsked(asked[i], *got))
            fmt::print(stderr, "zerix: warning: {} is {}, not {}.\n", asked[i].row->name,
                       ValueText(asked[i].row->unit, *got),
                       ValueText(asked[i].row->unit, asked[i].value));
    }
}

} // namespace

std::vector<const ParameterRow *> FindParameters(const std::string &name)
{
    std::vector<const ParameterRow *> rows;
    if (const Group *group = FindGroup(name)) {
        for (size_t i = 0; i < group->count; ++i)
            rows.push_back(FindRow(group->members[i]));
    } else if (const ParameterRow *row = FindRow(name)) {
        rows.push_back(row);
    } else {
        FailUnknown(name);
    }
    return rows;
}

std::vector<const ParameterRow *> SupportedOf(const CameraSettings &settings,
                                              const std::vector<const ParameterRow *> &rows)
{
    std::vector<const ParameterRow *> supported;
    for (const ParameterRow *row : rows)
        if (settings.IsSupported(*row))
            supported.push_back(row);
    return supported.empty() ? std::vector{rows.front()} : supported;
}

void ApplySettings(const OpenCamera &camera, const std::vector<std::string> &assignments)
{
    if (assignments.empty())
        return;
    CameraSettings settings(camera);
    std::vector<Setting> asked;
    for (const auto &assignment : assignments) {
        for (const Setting &setting : SettingsOf(settings, assignment)) {
            settings.Set(*setting.row, setting.value);
            asked.push_back(setting);
        }
    }
    CheckFinishedFormat(settings, asked);
    settings.Send();
    settings.ReadPresent();
    WarnOfChanges(settings, asked);
}

} // namespace zerix::tool
