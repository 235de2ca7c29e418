// The system errors of the port for the error numbers of Linux.
#pragma once

#include <cerrno>
#include <cstdint>

#include "hal/kernel_driver.h"

namespace zerix::bus::linux_firewire {

// Of a system call's result: 0 if it isn't negative.
constexpr uint32_t SystemErrorOf(long result)
{
    if (result >= 0)
        return 0;
    switch (static_cast<int>(-result)) {
    case ENODEV:
    case ENXIO:
        return kernel::kErrorDeviceNotConnected;
    case ENOENT:
        return kernel::kErrorFileNotFound;
    case EACCES:
    case EPERM:
        return kernel::kErrorAccessDenied;
    case EBUSY:
    case EAGAIN:
        return kernel::kErrorBusy;
    case EINVAL:
        return kernel::kErrorInvalidParameter;
    case ENOTTY:
    case ENOSYS:
    case EOPNOTSUPP:
        return kernel::kErrorNotSupported;
    case ENOMEM:
    case EMFILE:
    case ENFILE:
    case ENOLCK:
    case ENOSPC:
        return kernel::kErrorNoSystemResources;
    default:
        return kernel::kErrorGenFailure;
    }
}

} // namespace zerix::bus::linux_firewire
