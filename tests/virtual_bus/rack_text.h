// The text of a rack file with the cameras that a test describes.
#pragma once

#include <iosfwd>
#include <string>

#include "sim/rack.h"

namespace zerix::test {

// The text in quotes, as TOML has it.
std::string Quoted(const std::string &text);
// One [[camera]] of the file.
void WriteCamera(std::ostream &file, const sim::CameraDescription &camera);

} // namespace zerix::test
