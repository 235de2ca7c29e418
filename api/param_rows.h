// What each parameter key means in a camera: its default and its read-back. One row per key and
// family, tied to its name and text by number.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "api/context.h"
#include "camera/z_camera.h"

namespace zerix::api {

// Where a value comes from. A record in the legacy layout knows nothing of the later keys.
struct ParamSource {
    ZX::ZCamera &camera;
    ZerixContext &context;
    bool isCurrent;
};

// Nothing: the slot isn't written.
template <typename T>
using ParamValue = std::optional<T> (*)(const ParamSource &source);

template <typename T>
struct ParamRow {
    uint32_t key;
    ParamValue<T> defaultValue; // null: never written
    ParamValue<T> readBack;     // null: never written
};

extern const std::array<ParamRow<uint32_t>, 53> kParamRows;
extern const std::array<ParamRow<int32_t>, 3> kParamS32Rows;
extern const std::array<ParamRow<uint64_t>, 4> kParam64Rows;

} // namespace zerix::api
