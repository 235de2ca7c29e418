// Names as people type them: case, dashes and underscores don't count, and a slip is forgiven as
// far as a suggestion goes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zerix::tool {

// In lower case, without dashes, underscores and blanks.
std::string Simplified(std::string_view name);

// Those of the names that `typed` may have been meant for, the nearest first; at most three.
std::vector<std::string> NearNames(std::string_view typed, const std::vector<std::string> &names);

// "a, b or c".
std::string Enumerated(const std::vector<std::string> &names, std::string_view last = "or");

} // namespace zerix::tool
