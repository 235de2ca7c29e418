// What the exported functions may return when another thread works with the same camera.
#pragma once

#include <cstdint>
#include <string_view>

namespace zerix::concurrency {

// Whether a function may return a code next to an operation with these effects (of Effect).
bool IsAllowed(std::string_view function, uint32_t code, uint32_t effects);

} // namespace zerix::concurrency
