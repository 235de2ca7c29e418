// The description of an OME-TIFF file, by the OME schema of June 2016.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/writers/sequence.h"

namespace zerix::tool {

// Everything, with a plane and an annotation for every frame.
std::string OmeXml(const Picture &first, std::span<const FrameFacts> frames);

// What a file carries until it is finished. The number of its frames has ten digits from
// `*countOffset` on, so that it can be put right in place.
std::string OmeXmlOfBegun(const Picture &first, size_t *countOffset);
std::string OmeFrameCount(uint64_t frames);

} // namespace zerix::tool
