// Conversion of a floating-point number to an integer as the registers' arithmetic wants it.
#pragma once

#include <limits>

namespace zerix {

// Cuts the fraction off. What doesn't fit becomes the nearer limit, and no number becomes 0: both
// come only from information words that no camera holds, and the language leaves their conversion
// undefined.
template <typename Integer>
[[nodiscard]] constexpr Integer Truncated(double value)
{
    using Limits = std::numeric_limits<Integer>;
    if (value != value)
        return 0;
    if (value <= static_cast<double>(Limits::min()))
        return Limits::min();
    if (value >= static_cast<double>(Limits::max()))
        return Limits::max();
    return static_cast<Integer>(value);
}

static_assert(Truncated<int>(-1.9) == -1 && Truncated<int>(1.9) == 1);

} // namespace zerix
