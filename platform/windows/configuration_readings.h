// How often the configuration was read: what was chosen from it is chosen anew when it is read
// again.
#pragma once

#include <cstdint>

namespace zerix::os {

// Readings of this process so far.
uint32_t ConfigurationReadings();

} // namespace zerix::os
