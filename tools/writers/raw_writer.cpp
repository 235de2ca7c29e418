// Raw files: the samples as they are, rows top down, little-endian; the metadata as FILE.json
// beside them.
#include "tools/writers/picture.h"
#include "tools/writers/whole_file.h"

namespace zerix::tool {

std::string WriteRaw(const std::string &path, const Picture &picture)
{
    return WriteBytes(
        path, {reinterpret_cast<const char *>(picture.pixels.data()), picture.pixels.size()});
}

std::string WriteMetadata(const std::string &path, const Picture &picture)
{
    return WriteBytes(path, MetadataJson(picture) + "\n");
}

} // namespace zerix::tool
