// Pictures that were kept as the camera sent them, back from their files: raw samples with
// FILE.json beside them, of one picture or a recording, and TIFF files of the tool's own.
#pragma once

#include <string>
#include <vector>

#include "tools/writers/picture.h"

namespace zerix::tool {

struct KeptPicture {
    std::vector<uint8_t> samples;
    Picture picture; // its pixels are the samples
};

// Empty, and one sentence on what is wrong, if they can't be read.
std::vector<KeptPicture> ReadPictures(const std::string &path, std::string *error);

// The reverse of IsoTime, with or without a Z behind; 0 for a text that is no time.
uint64_t ParseIsoTime(const std::string &text);

} // namespace zerix::tool
