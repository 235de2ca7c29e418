// Reads a whole file. Files that a rack names are people's: none makes the bus wait, or fill the
// memory. Without state, safe from any thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace zerix::sim {

enum class FileResult : uint8_t {
    kRead,
    kUnreadable,
    kNotRegular, // a pipe, a device, a folder
    kTooLarge,
};

// `text` is written on success only.
FileResult ReadRegularFile(const std::filesystem::path &path, uint64_t mostBytes,
                           std::string *text);

// "the file …", without an end.
std::string WhyNotRead(FileResult result, uint64_t mostBytes);

} // namespace zerix::sim
