// File names as the interface has them, and as the standard library's paths: on Windows a text is
// in the system's code page, elsewhere it is the name's bytes.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace zerix::os {

std::filesystem::path FilePath(const std::string &text);

// A name that the code page can't hold comes with its replacement letters, and names no file then.
std::string PathText(const std::filesystem::path &path);

// A file to append text to, which is made where there is none; null if that fails. It never waits
// for whoever is to read it: a pipe without a reader is no file, and a full one takes no more.
std::FILE *OpenToAppend(const std::string &name);

} // namespace zerix::os
