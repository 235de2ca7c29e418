// zerix get: the settings of a camera, all that it has or those that are named.
#include "tools/apply_settings.h"
#include "tools/settings_table.h"
#include "tools/verbs.h"

namespace zerix::tool {

namespace {

std::vector<const ParameterRow *> Wanted(const CameraSettings &settings,
                                         const std::vector<std::string> &names)
{
    std::vector<const ParameterRow *> rows;
    for (const auto &name : names)
        for (const ParameterRow *row : SupportedOf(settings, FindParameters(name)))
            rows.push_back(row);
    if (names.empty())
        for (const ParameterRow &row : kParameters)
            if (settings.IsSupported(row))
                rows.push_back(&row);
    return rows;
}

} // namespace

void GetSettings(const CommonOptions &options, const std::vector<std::string> &names)
{
    for (const auto &name : names)
        FindParameters(name); // a slip is told without a camera
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ShowSettings(camera, Wanted(CameraSettings(camera), names), options.json);
}

} // namespace zerix::tool
