// The bus where there is none.
#include "bus/no_bus_driver.h"

namespace zerix::bus {

using namespace kernel;

uint32_t NoBusDriver::Enumerate(DevicePath *, uint32_t, uint32_t *count)
{
    *count = 0;
    return 0;
}

uint32_t NoBusDriver::DescribeNodes(ZerixBusNode *, uint32_t, uint32_t *count)
{
    *count = 0;
    return 0;
}

uint32_t NoBusDriver::Open(const char *, DeviceHandle *) { return kErrorFileNotFound; }

uint32_t NoBusDriver::CheckDevice(DeviceHandle, bool) { return kErrorInvalidHandle; }

} // namespace zerix::bus
