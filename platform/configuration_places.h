// Where the configuration is looked for.
#pragma once

#include <memory>
#include <string>

namespace zerix::os {

// The candidates in order, one a line; the first that can be read is the configuration. Empty on a
// system that keeps its configuration elsewhere than in files.
std::string ConfigurationPlaces();

class Configuration;

// As Configuration::Open, without a word on malformed lines: for whoever reads it beside another
// that tells of them.
std::unique_ptr<Configuration> OpenConfigurationQuietly();

} // namespace zerix::os
