// The verbs of the tool. Each throws CommandError with one sentence.
#pragma once

#include <cstdint>
#include <string>

#include "tools/session.h"

namespace zerix::tool {

void ListCameras(const CommonOptions &options);

void ShowInfo(const CommonOptions &options);

struct GrabOptions {
    std::string file;
    uint32_t count = 1;
};
void Grab(const CommonOptions &options, const GrabOptions &grab);

} // namespace zerix::tool
