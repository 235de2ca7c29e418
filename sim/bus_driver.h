// The kernel driver's side of the virtual bus: its 18 control requests. A request is served under
// the bus's lock as a whole, so that nothing changes between its check and its work.
#pragma once

#include <cstdint>
#include <memory>

#include "hal/requests/request_server.h"
#include "sim/bus_device.h"
#include "sim/camera_stream.h"

namespace zerix::sim {

class BusDriver final : public kernel::RequestServer {
public:
    // The only one. It is never destroyed, as the bus.
    static BusDriver &Instance();

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    bool IsSimulated() const override { return true; }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override;

private:
    using Request = kernel::Request;
    using Result = kernel::ControlResult;

    Result Serve(const kernel::RawRequest &raw) override;

    // Under the bus's lock --------------------------------------------------------------------

    bool IsHandle(kernel::DeviceHandle device) override;
    uint32_t CheckDevice(kernel::DeviceHandle device, bool givesBack) override;
    void CloseDevice(kernel::DeviceHandle device) override;
    bool Drop(kernel::DeviceHandle device, kernel::RequestId id) override;

    Result AsyncRead(const Request &request, uint32_t address, std::span<uint8_t> data) override;
    Result AsyncWrite(const Request &request, uint32_t address,
                      std::span<const uint8_t> data) override;
    uint32_t IsOpen(const Request &request, bool &isOpen) override;
    uint32_t AllocateBandwidth(const Request &request, kernel::BandwidthRequest &booking) override;
    uint32_t FreeBandwidth(const Request &request, uint32_t handle) override;
    uint32_t AllocateChannel(const Request &request, kernel::ChannelRequest &booking) override;
    uint32_t FreeChannel(const Request &request, uint32_t channel) override;
    uint32_t AllocateResources(const Request &request, kernel::ResourcesRequest &booking) override;
    uint32_t FreeResources(const Request &request, uint32_t handle) override;
    Result QueueBuffer(const Request &request, std::span<uint8_t> buffer) override;
    uint32_t DetachBuffers(const Request &request, uint32_t resources) override;
    uint32_t Listen(const Request &request, uint32_t resources) override;
    uint32_t StopListen(const Request &request, uint32_t resources) override;

    Result Answer(const Request &request, bool pends, Result result);
    bool DecidedByFault(const Request &request, const AccessFault &fault, bool pends,
                        Result *result);

    std::unique_ptr<CameraStream> m_ended; // by the request that is served
};

} // namespace zerix::sim
