// How large the buffers are made that filters and pipelines keep ready for frames to come.
#pragma once

#include <cstdint>

namespace zerix {

// A camera's region has 12 bits for a side, whatever the camera says of its sensor. What is larger
// all the same gets its room when it comes.
inline constexpr uint64_t kLongestSide = 4095;
inline constexpr uint64_t kMostPixelsAhead = kLongestSide * kLongestSide;

} // namespace zerix
