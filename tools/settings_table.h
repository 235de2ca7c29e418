// Settings as a table for people and as JSON for programs.
#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/camera_settings.h"

namespace zerix::tool {

struct ShownSetting {
    const ParameterRow *row;
    ParameterState state;
};

// Of the camera's present settings. Throws CommandError for one that it lacks.
void ShowSettings(const OpenCamera &camera, const std::vector<const ParameterRow *> &rows,
                  bool asJson);

void PrintSettings(const std::vector<ShownSetting> &settings);

// By full name; numbers in the key's own unit. Of a parameter that the camera lacks only that.
nlohmann::ordered_json JsonOf(const std::vector<ShownSetting> &settings);

} // namespace zerix::tool
