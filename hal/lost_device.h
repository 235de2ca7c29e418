// Which system errors say that a device is gone.
#pragma once

#include <cstdint>

#include "hal/kernel_driver.h"

namespace zerix::hal {

// Windows says it in one of several ways, as it happens to notice.
inline bool SaysDeviceLost(uint32_t systemError)
{
    constexpr uint32_t kDeviceNotExist = 55;
    constexpr uint32_t kNoSuchDevice = 433;
    constexpr uint32_t kDeviceRemoved = 1617;
    switch (systemError) {
    case kernel::kErrorDeviceNotConnected:
    case kernel::kErrorFileNotFound:
    case kernel::kErrorInvalidHandle:
    case kDeviceNotExist:
    case kNoSuchDevice:
    case kDeviceRemoved:
        return true;
    default:
        return false;
    }
}

} // namespace zerix::hal
