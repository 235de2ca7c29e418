// Names in the system's code page, as its calls with an A take them. The standard library would
// take them for UTF-8.
#include "platform/file_path.h"

#include <fstream>
#include <windows.h>

namespace zerix::os {

std::filesystem::path FilePath(const std::string &text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // a letter is one unit at least
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size);
    wide.resize(static_cast<size_t>(length));
    return wide;
}

std::string PathText(const std::filesystem::path &path)
{
    const std::wstring &wide = path.native();
    const int size = static_cast<int>(wide.size());
    const int length =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), size, text.data(), length, nullptr, nullptr);
    return text;
}

std::FILE *OpenToAppend(const std::string &name) { return std::fopen(name.c_str(), "a"); }

std::optional<std::string> ReadWholeFile(const std::string &name, size_t mostBytes,
                                         std::error_code &error)
{
    error.clear();
    const std::filesystem::path path = FilePath(name);
    if (std::filesystem::is_directory(path, error))
        error = std::make_error_code(std::errc::is_a_directory);
    std::ifstream file(path, std::ios::binary);
    if (!file && !error)
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    std::string text(mostBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    if (text.size() > mostBytes && !error)
        error = std::make_error_code(std::errc::file_too_large);
    return error ? std::nullopt : std::optional(std::move(text));
}

void TakeOwnerAndMode(const std::string &, const std::string &) {}

} // namespace zerix::os
