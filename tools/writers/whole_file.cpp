// A temporary file beside the wanted one, and a move.
#include "tools/writers/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

namespace zerix::tool {

std::string WriteWhole(const std::string &path,
                       const std::function<std::string(const std::string &)> &write)
{
    const std::filesystem::path target(path);
    const std::filesystem::path temporary =
        target.parent_path() / fmt::format(".{}.part", target.filename().string());
    std::string error = write(temporary.string());
    std::error_code code;
    if (error.empty()) {
        std::filesystem::rename(temporary, target, code);
        if (code)
            error = code.message();
    }
    if (error.empty())
        return {};
    std::filesystem::remove(temporary, code);
    return fmt::format("{} can't be written: {}.", path, error);
}

std::string WriteBytes(const std::string &path, std::string_view bytes)
{
    errno = 0;
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return std::strerror(errno);
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    return written && closed ? std::string{} : std::string(std::strerror(errno));
}

} // namespace zerix::tool
