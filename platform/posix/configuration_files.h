// Where the configuration is looked for.
#pragma once

#include <string>

namespace zerix::os {

// The candidates in order, one a line; the first that can be read is the configuration.
std::string ConfigurationPlaces();

} // namespace zerix::os
