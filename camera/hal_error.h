// What every failing hardware call of the camera classes does before it returns.
#pragma once

#include <cstdint>

namespace zerix {

// Prints the system's text of the calling thread's last failure to the standard output, if there is
// one, and gives the status for the hardware layer's number.
uint16_t ReportHalError(uint32_t halError);

} // namespace zerix
