// The values that a configuration may have.
#pragma once

#include <array>
#include <string_view>

namespace zerix::os {

struct ConfigurationName {
    std::string_view name;
    bool isNumber; // otherwise a text
};

inline constexpr std::array kConfigurationNames = {
    ConfigurationName{"Bus", false},
    ConfigurationName{"SimulatedBus", false},
    ConfigurationName{"SimulatorLibrary", false},
    ConfigurationName{"FireWireUnits", false},
    ConfigurationName{"DebugOutput", false},
    ConfigurationName{"outputEnabled", true},
    ConfigurationName{"outputSettings", true},
    ConfigurationName{"outputGetInfo", true},
    ConfigurationName{"outputFrame", true},
    ConfigurationName{"outputSparseTable", true},
    ConfigurationName{"outputNestedCalls", true},
    ConfigurationName{"outputToFile", true},
    ConfigurationName{"outputReads", true},
    ConfigurationName{"outputWrites", true},
    ConfigurationName{"outputFilePath", false},
};

} // namespace zerix::os
