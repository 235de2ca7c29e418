// Names in the system's code page, as its calls with an A take them. The standard library would
// take them for UTF-8.
#include "platform/file_path.h"

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

} // namespace zerix::os
