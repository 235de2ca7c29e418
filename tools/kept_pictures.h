// Pictures that were kept raw, finished without a camera by the library's own filters. Everything
// throws CommandError.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/writers/picture_reader.h"

namespace zerix::tool {

// "nearest", "linear", "cubic".
uint16_t BayerAlgorithmOf(const std::string &method);

// "1.2,1,0.8": red, green, blue.
std::array<float, 3> ParseGains(const std::string &text);

// A mosaic as colours.
KeptPicture Interpolated(const KeptPicture &mosaic, uint16_t algorithm);

// The exposures behind the red, green and blue filters of a wheel as one picture.
KeptPicture Composed(const std::vector<KeptPicture> &exposures);

// Each colour times its gain.
void Balance(KeptPicture &picture, const std::array<float, 3> &gains);

} // namespace zerix::tool
