// File names as the interface has them, and as the standard library's paths: on Windows a text is
// in the system's code page, elsewhere it is the name's bytes. And what the standard library can't
// do with files.
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace zerix::os {

std::filesystem::path FilePath(const std::string &text);

// A name that the code page can't hold comes with its replacement letters, and names no file then.
std::string PathText(const std::filesystem::path &path);

// A file to append text to, which is made where there is none; null if that fails. It never waits
// for whoever is to read it: a pipe without a reader is no file, and a full one takes no more.
std::FILE *OpenToAppend(const std::string &name);

// The whole text of a file of at most so many bytes; nothing, and why, if it can't be read. It
// never waits: a pipe is not supported. A character device counts as an empty file, as the null
// device is.
std::optional<std::string> ReadWholeFile(const std::string &name, size_t mostBytes,
                                         std::error_code &error);

// Gives a file the owner and the permissions of another, as far as this user may; what the file
// lets others do never becomes more than the other one did. Nothing to do on Windows, where a file
// has those of its folder.
void TakeOwnerAndMode(const std::string &from, const std::string &to);

} // namespace zerix::os
