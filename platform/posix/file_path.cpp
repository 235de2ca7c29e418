// Names are bytes.
#include "platform/file_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zerix::os {

std::filesystem::path FilePath(const std::string &text) { return text; }

std::string PathText(const std::filesystem::path &path) { return path.string(); }

std::FILE *OpenToAppend(const std::string &name)
{
    constexpr mode_t kForAll = 0666; // less what the process's mask takes away
    const int descriptor =
        open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, kForAll);
    if (descriptor < 0)
        return nullptr;
    std::FILE *const file = fdopen(descriptor, "a");
    if (file == nullptr)
        close(descriptor);
    return file;
}

} // namespace zerix::os
