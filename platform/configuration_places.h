// Where the configuration is looked for.
#pragma once

#include <string>

namespace zerix::os {

// The candidates in order, one a line; the first that can be read is the configuration. Empty on a
// system that keeps its configuration elsewhere than in files.
std::string ConfigurationPlaces();

} // namespace zerix::os
