// The racks that need no file at run time: the build puts the files of racks/ into the library.
// Constant data, safe from any thread.
#pragma once

#include <string_view>
#include <vector>

namespace zerix::sim {

struct RackText {
    std::string_view name; // of the file, without its ending
    std::string_view text;
};

// The first one is what a bus has when nobody names a rack.
const std::vector<RackText> &BuiltInRackTexts();

} // namespace zerix::sim
