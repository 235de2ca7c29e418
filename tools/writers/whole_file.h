// Files that are there whole or not at all.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace zerix::tool {

// Lets `write` write under a temporary name in the same folder, and moves the file to its place
// when it is whole. `write` returns why it could not, or nothing. Empty, or one sentence on what
// went wrong; what was at `path` stays then. A symbolic link stays and its target is written; a
// file that is replaced hands its owner and mode on; only a regular file is replaced.
std::string WriteWhole(const std::string &path,
                       const std::function<std::string(const std::string &)> &write);

// Empty, or why it can't be done.
std::string WriteBytes(const std::string &path, std::string_view bytes);

} // namespace zerix::tool
