// The bus where there is none.
#include "bus/no_bus_driver.h"

namespace zerix::bus {

using namespace kernel;

namespace {

constexpr ControlResult kNoSuchDevice = {Completion::kFailed, kErrorInvalidHandle, 0};

} // namespace

uint32_t NoBusDriver::Enumerate(DevicePath *, uint32_t, uint32_t *count)
{
    *count = 0;
    return 0;
}

uint32_t NoBusDriver::Open(const char *, DeviceHandle *) { return kErrorFileNotFound; }

ControlResult NoBusDriver::Control(DeviceHandle, uint32_t, const void *, uint32_t, void *, uint32_t,
                                   Overlapped *)
{
    return kNoSuchDevice;
}

ControlResult NoBusDriver::Wait(DeviceHandle, Overlapped *) { return kNoSuchDevice; }

void NoBusDriver::CancelPending(DeviceHandle) {}

void NoBusDriver::Close(DeviceHandle) {}

bool NoBusDriver::IsSimulated() const { return false; }

} // namespace zerix::bus
