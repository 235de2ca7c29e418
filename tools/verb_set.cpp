// zerix set: tries settings on a camera and shows what it makes of them.
#include <algorithm>

#include "tools/apply_settings.h"
#include "tools/settings_table.h"
#include "tools/verbs.h"

namespace zerix::tool {

void SetSettings(const CommonOptions &options, const std::vector<std::string> &assignments)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, assignments);
    const CameraSettings settings(camera);
    std::vector<const ParameterRow *> rows;
    for (const auto &assignment : assignments) {
        const auto named = FindParameters(assignment.substr(0, assignment.find('=')));
        for (const ParameterRow *row : SupportedOf(settings, named))
            if (std::find(rows.begin(), rows.end(), row) == rows.end())
                rows.push_back(row);
    }
    ShowSettings(camera, rows, options.json);
}

} // namespace zerix::tool
