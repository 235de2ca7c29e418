// Raw files: the samples as they are, rows top down, little-endian; the metadata as FILE.json
// beside them.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/writers/picture.h"

namespace zerix::tool {

namespace {

std::string WriteBytes(const std::string &path, const void *bytes, size_t size)
{
    errno = 0;
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return std::strerror(errno);
    const bool written = std::fwrite(bytes, 1, size, file) == size;
    const bool closed = std::fclose(file) == 0;
    return written && closed ? std::string{} : std::string(std::strerror(errno));
}

} // namespace

std::string WriteRaw(const std::string &path, const Picture &picture)
{
    return WriteBytes(path, picture.pixels.data(), picture.pixels.size());
}

std::string WriteMetadata(const std::string &path, const Picture &picture)
{
    const std::string text = MetadataJson(picture) + "\n";
    return WriteBytes(path, text.data(), text.size());
}

} // namespace zerix::tool
