// One open handle of a device: what it holds on the bus, and its queue of receive buffers. Whatever
// it holds goes back when it is destroyed. Guarded by the bus's lock.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "hal/requests/request_book.h"
#include "sim/bus_accounts.h"
#include "sim/virtual_camera.h"

namespace zerix::sim {

class BusDevice {
public:
    BusDevice(kernel::DeviceHandle handle, std::shared_ptr<VirtualCamera> camera, uint32_t busSpeed,
              BusAccounts &accounts, kernel::RequestBook &requests);
    ~BusDevice();
    BusDevice(const BusDevice &) = delete;
    BusDevice &operator=(const BusDevice &) = delete;

    [[nodiscard]] kernel::DeviceHandle Handle() const { return m_handle; }
    [[nodiscard]] VirtualCamera &Camera() const { return *m_camera; }
    [[nodiscard]] const std::shared_ptr<VirtualCamera> &SharedCamera() const { return m_camera; }
    // False once the camera has been taken off the bus, even if it has been put back since.
    [[nodiscard]] bool IsConnected() const;
    // From its first allocation of bandwidth until it closes.
    [[nodiscard]] bool IsOwner() const { return m_isOwner; }
    // The device went together with its driver: every request of the handle fails from now on.
    // What the handle held has gone back to the bus.
    void LoseDriver();
    [[nodiscard]] bool HasLostDriver() const { return m_hasLostDriver; }

    // Each returns 0 or a system error; ids are the driver's own and never 0.
    uint32_t AllocateBandwidth(uint32_t slotBytes, uint32_t speedFlag, uint32_t *id);
    uint32_t FreeBandwidth(uint32_t id);
    uint32_t AllocateChannel(uint32_t request, uint32_t *channel);
    uint32_t FreeChannel(uint32_t channel);
    uint32_t AllocateResources(const kernel::ResourcesRequest &request, uint32_t *id);
    uint32_t FreeResources(uint32_t id);
    uint32_t Listen(uint32_t resources);
    uint32_t StopListen(uint32_t resources);
    uint32_t DetachBuffers(uint32_t resources);

    // Receive buffers.
    uint32_t QueueBuffer(std::span<uint8_t> bytes, kernel::RequestId request);
    // Takes it out of the queue, without an end to its request. Does nothing if it isn't there.
    void DropBuffer(kernel::RequestId request);
    [[nodiscard]] bool IsListeningTo(uint32_t channel) const;
    [[nodiscard]] bool HasBuffer() const { return m_listening && !m_queue.empty(); }
    [[nodiscard]] uint32_t SlotBytes() const { return m_resources ? m_resources->slotBytes : 0; }
    [[nodiscard]] uint32_t SlotsFilled() const { return m_slotsFilled; }
    // Puts a packet into the next slot of the front buffer, of which there must be one with a free
    // slot. A packet that is larger than a slot leaves the slot empty.
    void FillSlot(std::span<const uint8_t> packet);
    [[nodiscard]] bool IsFull() const { return m_slotsFilled == kernel::kSlotsPerBuffer; }
    void CompleteFront();
    // Fails every queued buffer: there is nothing to fill them with.
    void FailBuffers(uint32_t systemError) { EndBuffers(systemError); }

    // Ends all pending requests and buffers with an error.
    void EndPending(uint32_t systemError);

    [[nodiscard]] uint32_t ChannelCount() const;
    [[nodiscard]] uint32_t BandwidthCount() const
    {
        return static_cast<uint32_t>(m_bandwidths.size());
    }
    [[nodiscard]] bool HasResources() const { return m_resources.has_value(); }
    [[nodiscard]] uint32_t QueuedCount() const { return static_cast<uint32_t>(m_queue.size()); }
    // Without the buffers.
    [[nodiscard]] uint32_t PendingCount() const;

private:
    struct Bandwidth {
        uint32_t id;
        uint32_t slotBytes;
        uint32_t units;
    };
    struct Resources {
        uint32_t id;
        uint32_t channel;
        uint32_t slotBytes;
        uint32_t bufferCount;
    };
    struct Buffer {
        std::span<uint8_t> bytes;
        kernel::RequestId request;
    };

    Bandwidth *BandwidthFor(uint32_t slotBytes);
    uint32_t CheckResources(const kernel::ResourcesRequest &request) const;
    bool PayFor(Bandwidth &bandwidth, uint32_t units);
    [[nodiscard]] bool Holds(uint32_t resources) const
    {
        return m_resources && m_resources->id == resources;
    }
    void EndBuffers(uint32_t systemError);
    void ReturnToBus();

    kernel::DeviceHandle m_handle;
    std::shared_ptr<VirtualCamera> m_camera;
    uint32_t m_plugNumber;
    uint32_t m_busSpeed;
    BusAccounts &m_accounts;
    kernel::RequestBook &m_requests;
    bool m_isOwner = false;
    bool m_hasLostDriver = false;
    bool m_listening = false;
    std::vector<Bandwidth> m_bandwidths;
    std::vector<uint32_t> m_channels;
    std::optional<Resources> m_resources;
    std::deque<Buffer> m_queue;
    uint32_t m_slotsFilled = 0;
    uint32_t m_nextId = 1;
};

} // namespace zerix::sim
