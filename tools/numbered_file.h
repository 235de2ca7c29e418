// The files of several pictures.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include <fmt/format.h>

namespace zerix::tool {

// FILE for one picture; STEM-0001.ENDING and so on for several, with `index` from 0.
inline std::string NumberedFile(const std::string &file, uint32_t index, size_t count)
{
    if (count == 1)
        return file;
    const std::filesystem::path path(file);
    const auto name =
        fmt::format("{}-{:04}{}", path.stem().string(), index + 1, path.extension().string());
    return (path.parent_path() / name).string();
}

} // namespace zerix::tool
