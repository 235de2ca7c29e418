// Looks at a file before it is opened: a pipe would make the opening wait for a writer.
#include "sim/regular_file.h"

#include <fstream>
#include <system_error>

namespace zerix::sim {

FileResult ReadRegularFile(const std::filesystem::path &path, uint64_t mostBytes, std::string *text)
{
    std::error_code failed;
    const auto status = std::filesystem::status(path, failed);
    if (failed || !std::filesystem::exists(status))
        return FileResult::kUnreadable;
    if (!std::filesystem::is_regular_file(status))
        return FileResult::kNotRegular;
    const uint64_t size = std::filesystem::file_size(path, failed);
    if (failed)
        return FileResult::kUnreadable;
    if (size > mostBytes)
        return FileResult::kTooLarge;
    std::ifstream file(path, std::ios::binary);
    std::string read(static_cast<size_t>(size), '\0');
    file.read(read.data(), static_cast<std::streamsize>(size));
    if (!file.is_open() || file.bad())
        return FileResult::kUnreadable;
    read.resize(static_cast<size_t>(file.gcount()));
    *text = std::move(read);
    return FileResult::kRead;
}

std::string WhyNotRead(FileResult result, uint64_t mostBytes)
{
    switch (result) {
    case FileResult::kNotRegular:
        return "the file is a pipe, a device or a folder";
    case FileResult::kTooLarge:
        return "the file has more than " + std::to_string(mostBytes >> 20) + " megabytes";
    default:
        return "the file can't be read";
    }
}

} // namespace zerix::sim
