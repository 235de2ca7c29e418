// Names are bytes.
#include "platform/file_path.h"

namespace zerix::os {

std::filesystem::path FilePath(const std::string &text) { return text; }

std::string PathText(const std::filesystem::path &path) { return path.string(); }

} // namespace zerix::os
