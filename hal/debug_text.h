// Formatted lines for the debug output, and the failure box that tells the user of a failed
// request. Callable from any thread, but not from the receive thread's loop: both allocate.
#pragma once

#include <string>

namespace zerix::hal {

[[nodiscard]] __attribute__((format(printf, 1, 2))) std::string Formatted(const char *format, ...);

// "caller failed with error N: text", for the calling thread's last system error, in a box that the
// user has to close (where the system has boxes).
void ShowFailure(const char *caller);

} // namespace zerix::hal
