// The bus where there is none: no device is ever present, and that is no error. Any thread.
#pragma once

#include "hal/requests/request_server.h"

namespace zerix::bus {

class NoBusDriver final : public kernel::RequestServer {
public:
    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    bool IsSimulated() const override { return false; }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override;

private:
    bool IsHandle(kernel::DeviceHandle) override { return false; }
    uint32_t CheckDevice(kernel::DeviceHandle, bool) override;
    void CloseDevice(kernel::DeviceHandle) override {}
};

} // namespace zerix::bus
