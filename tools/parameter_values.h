// The values of parameters as texts: "20 ms", "6.02 dB", "mono16", "on", and back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/parameters.h"

namespace zerix::tool {

// Exact: what it says can be given back to ParseValue.
std::string ValueText(ParameterUnit unit, int64_t value);

// Nothing for a text that is no such value. A plain number is taken for a unit that has several
// ways to be written only if `takesPlainNumbers`, and is then in the key's own unit; 0 always is.
std::optional<int64_t> ParseValue(ParameterUnit unit, std::string_view text,
                                  bool takesPlainNumbers);

// "a time, such as 20ms or 1.5s", for the sentence on a text that can't be parsed.
std::string WaysToWrite(ParameterUnit unit);

// The unit as JSON tells it: "ns", "pixels"; empty for plain numbers and for names.
std::string_view UnitName(ParameterUnit unit);

// What the unit itself allows: 0 and 1 of a switch. Empty where the camera alone knows.
std::vector<int64_t> ValuesOf(ParameterUnit unit);

} // namespace zerix::tool
