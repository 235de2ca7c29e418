// Takes a stream's packets out of the virtual bus's receive buffers, in a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "hal/kernel_driver.h"

namespace zerix::rack_cameras {

class PacketSink {
public:
    virtual ~PacketSink() = default;
    // One packet on the bus. May wait for room for it, until Wake after `isStopped` is set.
    virtual void Deliver(uint32_t channel, std::span<const uint8_t> payload,
                         const std::atomic<bool> &isStopped) = 0;
    virtual void Wake() = 0;
};

class StreamPump {
public:
    // For resources that have been allocated and that nobody listens on yet. Null if the virtual
    // bus refuses.
    static std::unique_ptr<StreamPump> Start(kernel::DeviceHandle device, uint32_t resources,
                                             uint32_t channel, uint32_t slotBytes,
                                             PacketSink &sink);
    // Stops listening, takes the buffers back and joins the thread.
    ~StreamPump();
    StreamPump(const StreamPump &) = delete;
    StreamPump &operator=(const StreamPump &) = delete;

    [[nodiscard]] uint32_t Channel() const { return m_channel; }

private:
    struct Buffer {
        std::vector<uint8_t> bytes;
        kernel::Overlapped overlapped;
    };

    StreamPump(kernel::DeviceHandle device, uint32_t resources, uint32_t channel,
               uint32_t slotBytes, PacketSink &sink);
    bool Queue(Buffer &buffer) const;
    bool Listen() const;
    void Run();
    void DeliverAll(const Buffer &buffer) const;

    kernel::DeviceHandle m_device;
    uint32_t m_resources;
    uint32_t m_channel;
    uint32_t m_slotBytes;
    PacketSink &m_sink;
    std::vector<std::unique_ptr<Buffer>> m_buffers;
    std::atomic<bool> m_isStopped = false;
    std::thread m_thread;
};

} // namespace zerix::rack_cameras
