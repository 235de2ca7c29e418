// The ioctls of a device file.
#pragma once

#include <memory>

#include "tests/linux_model/device_file.h"
#include "tests/linux_model/machine.h"

namespace zerix::linux_model {

// The result, or an error. Under the lock, which is given up where an ioctl waits.
int ServeIoctl(Machine &machine, Lock &lock, const std::shared_ptr<DeviceFile> &file,
               unsigned long request, void *record);

} // namespace zerix::linux_model
