// Where the tree lies, and what was built of it.
#pragma once

#include <string>

namespace zerix::test {

// The tree's folder, without a final slash.
std::string SourceFolder();
// Files: the library, the zerix tool (empty where it isn't built), the monitor's plug-in.
std::string LibraryPath();
std::string ToolPath();
std::string PluginPath();
// One of the same name, in another folder, that lacks what the monitor looks for.
std::string PluginWithoutEntryPath();

} // namespace zerix::test
