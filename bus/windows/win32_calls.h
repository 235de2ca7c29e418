// The system calls of the bus, made for real.
#pragma once

#include "bus/windows/system_calls.h"

namespace zerix::bus {

// One for the process; never destroyed.
SystemCalls &Win32Calls();

} // namespace zerix::bus
