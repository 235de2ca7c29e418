// Where the configuration is looked for.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace zerix::os {

// The candidates in order, one a line; the first that can be read is the configuration. Empty on a
// system that keeps its configuration elsewhere than in files.
std::string ConfigurationPlaces();

// Bytes of a file. A larger one is none.
inline constexpr size_t kLargestConfiguration = size_t{1} << 20;

class Configuration;

// As Configuration::Open, without a word on what is wrong with it: for a caller that reads it in
// addition to another one, which reports that.
std::unique_ptr<Configuration> OpenConfigurationQuietly();

} // namespace zerix::os
