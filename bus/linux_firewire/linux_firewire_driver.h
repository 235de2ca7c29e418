// The kernel-driver port on Linux: requests to the kernel's FireWire character devices. Any thread.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "bus/linux_firewire/closing.h"
#include "bus/linux_firewire/node_list.h"
#include "bus/linux_firewire/open_node.h"
#include "bus/linux_firewire/recognition.h"
#include "bus/linux_firewire/system_calls.h"
#include "hal/requests/request_server.h"

namespace zerix::bus::linux_firewire {

class LinuxFirewireDriver final : public kernel::RequestServer {
public:
    // `system` must outlive it.
    LinuxFirewireDriver(SystemCalls &system, Recognition recognition);
    // Closes what is open, and waits for that. The driver of a process is never destroyed.
    ~LinuxFirewireDriver() override;

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    bool IsSimulated() const override { return false; }
    uint32_t DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count) override;

    // Waits until the files of closed handles are closed, too; nothing else needs to. False if that
    // takes longer.
    bool AwaitClosed(std::chrono::milliseconds timeout) { return m_closer.AwaitIdle(timeout); }

protected:
    bool IsHandle(kernel::DeviceHandle device) override;
    uint32_t CheckDevice(kernel::DeviceHandle device, bool givesBack) override;
    void CloseDevice(kernel::DeviceHandle device) override;
    bool Drop(kernel::DeviceHandle device, kernel::RequestId id) override;

    kernel::ControlResult AsyncRead(const kernel::Request &request, uint32_t address,
                                    std::span<uint8_t> data) override;
    kernel::ControlResult AsyncWrite(const kernel::Request &request, uint32_t address,
                                     std::span<const uint8_t> data) override;
    uint32_t IsOpen(const kernel::Request &request, bool &isOpen) override;
    uint32_t AllocateBandwidth(const kernel::Request &request,
                               kernel::BandwidthRequest &booking) override;
    uint32_t FreeBandwidth(const kernel::Request &request, uint32_t handle) override;
    uint32_t AllocateChannel(const kernel::Request &request,
                             kernel::ChannelRequest &booking) override;
    uint32_t FreeChannel(const kernel::Request &request, uint32_t channel) override;
    uint32_t AllocateResources(const kernel::Request &request,
                               kernel::ResourcesRequest &booking) override;
    uint32_t FreeResources(const kernel::Request &request, uint32_t handle) override;
    kernel::ControlResult QueueBuffer(const kernel::Request &request,
                                      std::span<uint8_t> buffer) override;
    uint32_t DetachBuffers(const kernel::Request &request, uint32_t resources) override;
    uint32_t Listen(const kernel::Request &request, uint32_t resources) override;
    uint32_t StopListen(const kernel::Request &request, uint32_t resources) override;

private:
    class Reader;
    using NodePointer = std::shared_ptr<OpenNode>;

    // Null for a device that isn't open.
    NodePointer NodeOf(kernel::DeviceHandle device);
    // One look at the bus: what is there, and how long devices may still leave it without an
    // answer.
    struct Look {
        std::vector<Node> nodes;
        Patience silence{};
    };
    uint32_t Begin(Look &look);
    bool IsCamera(const Node &node, Look &look);
    bool IsReachable(const Node &node, Look &look);
    // Null, and a system error, for a node that can't be opened.
    uint32_t OpenReader(const Node &node, Look &look, std::unique_ptr<RegisterReader> &reader);
    // `look` must outlive it.
    Recogniser::OpenReader OpensReaders(Look &look);
    Patience PatienceWith(uint64_t guid);
    uint32_t OpenListed(const Node &node, const std::vector<Node> &nodes, Patience patience,
                        kernel::DeviceHandle *device);
    kernel::DeviceHandle NextHandle();
    // What an operation of a handle's node gives, and kErrorInvalidHandle without one.
    template <typename Operation>
    uint32_t OnNode(const kernel::Request &request, Operation operation);

    SystemCalls &m_system;
    Recogniser m_recogniser;
    Closer m_closer;

    std::mutex m_mutex; // over what follows
    std::map<kernel::DeviceHandle, NodePointer> m_nodes;
    kernel::DeviceHandle m_lastHandle = 0;
    // When a node was seen first; those that were there at the first look have no time.
    std::map<uint64_t, std::chrono::nanoseconds> m_firstSeen;
    bool m_hasLooked = false;
};

} // namespace zerix::bus::linux_firewire
