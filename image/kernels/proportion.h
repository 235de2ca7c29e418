// Tables that multiply, as those of white balance do, need no lookup: finding the factor makes the
// lookup a multiplication of the same result. Whether it is the same is tried on every level.
#pragma once

#include <cstdint>
#include <optional>

#include "image/kernels/kernels.h"

namespace zerix {

// The proportion that gives exactly this map of all levels, if there is one.
[[nodiscard]] std::optional<Proportion8> FindProportion(const uint8_t *map,
                                                        const Kernels8 &kernels);
[[nodiscard]] std::optional<Proportion16> FindProportion(const uint16_t *map,
                                                         const Kernels16 &kernels);

} // namespace zerix
