// The other program: opens a camera and keeps it until it is told to end, or is killed.
#pragma once

namespace linux_kernel {

inline constexpr char kHoldCommand[] = "hold";

// What a process started with that word does. Reports "held" when it has the camera and streams;
// its standard input ends it, without a close. The process's exit status.
int HoldCamera();

} // namespace linux_kernel
