// Settings as a person gives them, "exposure=20ms", to the camera: what --set and the verb set do.
#pragma once

#include <string>
#include <vector>

#include "tools/parameters.h"
#include "tools/session.h"

namespace zerix::tool {

class CameraSettings;

// A person's name for one parameter, or for several that belong together: roi, binning. Throws
// CommandError with the names that may have been meant.
std::vector<const ParameterRow *> FindParameters(const std::string &name);

// Those of them that the camera has; the first alone if it has none.
std::vector<const ParameterRow *> SupportedOf(const CameraSettings &settings,
                                              const std::vector<const ParameterRow *> &rows);

// Checks all KEY=VALUE in their order, sends them at once, and warns on the standard error where
// the camera made something else of a value. Nothing is sent for an empty list. Throws
// CommandError; the camera is then as it was, unless it is the camera that refused.
void ApplySettings(const OpenCamera &camera, const std::vector<std::string> &assignments);

} // namespace zerix::tool
