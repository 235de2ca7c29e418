// A picture as a person would like to see it at a glance: small, in colour where there is a mosaic,
// and stretched from its darkest to its brightest. For the eye, not for measurement.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/writers/picture.h"

namespace zerix::tool {

struct Preview {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> rgb; // three bytes a pixel, rows top down
};

// At most `longestSide` pixels on the longer side; a whole number of samples becomes one pixel.
Preview MakePreview(const Picture &picture, uint32_t longestSide);

// Writes a PPM file, whole or not at all; empty, or one sentence on what went wrong.
std::string WritePreview(const std::string &path, const Preview &preview);

} // namespace zerix::tool
