// The trace log's switches in the configuration file.
#pragma once

#include <string>
#include <vector>

namespace zerix::tool {

struct ConfigurationValue {
    std::string name;
    std::string value;
};

// The file that is the configuration, or that would become it; empty where the system keeps its
// configuration elsewhere.
std::string ConfigurationFile();

// Sets values in the user's configuration, and makes it if need be; every other line stays as it
// is. The file that it wrote. Throws CommandError.
std::string SetInConfiguration(const std::vector<ConfigurationValue> &values);

// The log's file: the configured one, or the place that the tool gives it.
std::string TraceFile();

// The same before the configuration is written: that it is missing isn't worth a word then.
std::string TraceFileToBe();

} // namespace zerix::tool
