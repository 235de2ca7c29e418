// What each information key tells of a camera, tied to its name and text by number.
#pragma once

#include <cstdint>

#include "api/context.h"
#include "camera/z_camera.h"

namespace zerix::api {

struct InfoSource {
    ZX::ZCamera &camera;
    ZerixContext &context;
};

// Writes the value and returns 0; or returns 1, with the value left alone unless told otherwise.
using InfoValue = uint32_t (*)(const InfoSource &source, uint32_t &value);

// Null for a key that tells nothing.
InfoValue FindInfoValue(uint32_t key);

} // namespace zerix::api
