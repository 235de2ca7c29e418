// A temporary file beside the wanted one, and a move.
#include "tools/writers/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "platform/file_path.h"

namespace zerix::tool {

namespace {

namespace fs = std::filesystem;

// The file that a name stands for, whether it is there or not: a symbolic link stays one.
fs::path TargetOf(const std::string &path)
{
    constexpr int kMostLinks = 40;
    fs::path target(path);
    std::error_code ignored;
    for (int i = 0; i < kMostLinks && fs::is_symlink(target, ignored); ++i)
        target = target.parent_path() / fs::read_symlink(target, ignored);
    return target;
}

// Empty if a file may be moved there.
std::string WhyIrreplaceable(const fs::path &target, const fs::file_status &status,
                             const std::error_code &error)
{
    if (status.type() == fs::file_type::none)
        return error.message();
    if (fs::is_directory(status))
        return std::make_error_code(std::errc::is_a_directory).message();
    if (fs::exists(status) && !fs::is_regular_file(status))
        return "it is no regular file";
    return target.has_filename() ? "" : "it has no name";
}

// Nobody sees in the temporary file what the one that it replaces hides.
void Prepare(const fs::path &temporary, const fs::path &replaced)
{
    if (std::FILE *const file = os::OpenToAppend(temporary.string()))
        std::fclose(file);
    os::TakeOwnerAndMode(replaced.string(), temporary.string());
}

std::string Write(const std::string &path,
                  const std::function<std::string(const std::string &)> &write)
{
    std::error_code code;
    const fs::path target = TargetOf(path);
    const fs::file_status status = fs::status(target, code);
    std::string error = WhyIrreplaceable(target, status, code);
    if (!error.empty())
        return error;
    const fs::path temporary =
        target.parent_path() / fmt::format(".{}.part", target.filename().string());
    fs::remove(temporary, code);
    if (fs::exists(status))
        Prepare(temporary, target);
    error = write(temporary.string());
    code.clear();
    if (error.empty())
        fs::rename(temporary, target, code);
    if (code)
        error = code.message();
    if (!error.empty())
        fs::remove(temporary, code);
    return error;
}

} // namespace

std::string WriteWhole(const std::string &path,
                       const std::function<std::string(const std::string &)> &write)
{
    const std::string error = Write(path, write);
    return error.empty() ? error : fmt::format("{} can't be written: {}.", path, error);
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
