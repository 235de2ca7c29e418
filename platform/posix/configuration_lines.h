// The text of a configuration file: lines "name = value", where a value is a number (decimal or
// 0x), a text, or a text in double quotes, and "#" begins a comment. Names are compared without
// case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace zerix::os {

using ConfigurationValue = std::variant<uint32_t, std::string>;
using ConfigurationValues = std::map<std::string, ConfigurationValue>; // by name in lower case

std::string LowerCase(std::string_view text);

// Gives `complain` the number of each odd line, counted from 1, and what is wrong with it: it is
// malformed, names a value that the library doesn't have, or gives that value the other type. A
// malformed line is left out.
ConfigurationValues
ParseConfiguration(std::string_view text,
                   const std::function<void(size_t line, const std::string &)> &complain);

} // namespace zerix::os
