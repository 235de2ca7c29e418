// What all verbs do before and after a picture.
#include "tools/picture_file.h"

#include <filesystem>

#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/writers/statistics.h"

namespace zerix::tool {

void CheckPictureFile(const std::string &file)
{
    std::string error;
    if (FormatOfFile(file, &error) == nullptr)
        throw CommandError(error);
    CheckFolder(file);
}

void CheckFolder(const std::string &file)
{
    const auto folder = std::filesystem::path(file).parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder))
        throw CommandError(
            fmt::format("{} can't be written: there is no folder {}.", file, folder.string()));
}

void FinishPicture(const std::string &file, uint32_t number, const Picture &picture)
{
    if (picture.hasMissingData)
        fmt::print(stderr, "zerix: warning: data of picture {} is missing and is black.\n", number);
    if (!file.empty()) {
        const std::string error = WritePicture(file, picture);
        if (!error.empty())
            throw CommandError(error);
    }
    fmt::print("{}: {}\n", file.empty() ? "a picture" : file, SummaryOf(picture));
}

} // namespace zerix::tool
