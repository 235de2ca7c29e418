// What the wall clock asks each system for.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/os.h"

namespace zerix::os {

WallTime SystemWallClock();

// The local time of day of a moment since 1970; false where the system knows none.
bool LocalTime(int64_t seconds, std::tm *local);

} // namespace zerix::os
