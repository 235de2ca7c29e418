// How often the configuration was read: what was chosen from it is chosen anew when it is read
// again.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/os.h"

namespace zerix::os {

// Readings of this process so far.
uint32_t ConfigurationReadings();

// As Configuration::Open, but not counted.
std::unique_ptr<Configuration> OpenConfigurationQuietly();

} // namespace zerix::os
