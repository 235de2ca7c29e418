// The verbs of the tool. Each throws CommandError with one sentence.
#pragma once

#include <cstdint>
#include <string>

#include "tools/session.h"

namespace zerix::tool {

void ListCameras(const CommonOptions &options);

void ShowInfo(const CommonOptions &options);

// The known racks of the virtual bus and its scenes; needs no bus.
void ListRacks(const CommonOptions &options);

struct GrabOptions {
    std::string file;
    uint32_t count = 1;
};
void Grab(const CommonOptions &options, const GrabOptions &grab);

struct PreviewOptions {
    std::string file;
    uint32_t longestSide = 400; // pixels
};
void ShowPreview(const CommonOptions &options, const PreviewOptions &wanted);

} // namespace zerix::tool
