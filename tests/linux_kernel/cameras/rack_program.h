// A rack as a program of its own, for whoever uses the cameras in other programs.
#pragma once

namespace linux_kernel {

inline constexpr char kRackCommand[] = "rack";

// Puts the cameras of a rack, by its name or its file, on the card while a program runs, which is
// named with its arguments. The program's exit status.
int RunWithRack(const char *rack, char **program);

} // namespace linux_kernel
