// A bus of one camera that is nothing but words: blocks at fixed addresses, as long as a test says
// and with whatever in them, however odd. It takes the place of the bus behind the tap while it
// lives, and sends no packets. Any thread, as every kernel driver; the words are changed while
// nothing runs.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

#include "hal/requests/request_server.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {

class RegisterBus final : public kernel::RequestServer {
public:
    explicit RegisterBus(bool isFast = true);
    ~RegisterBus() override;
    RegisterBus(const RegisterBus &) = delete;
    RegisterBus &operator=(const RegisterBus &) = delete;

    // What both model registers hold: the number in the upper half.
    uint32_t modelWord = 0;
    // The words of a block, which decide its length too. The first is its version.
    std::vector<uint32_t> &Words(Block block) { return m_blocks[static_cast<size_t>(block)]; }
    // Makes a block of that version and length, all zeros behind the version. The directory is
    // made with the addresses of the other five.
    void Make(Block block, uint32_t version, uint32_t wordCount);

    // Quadlets written since the last call, oldest first.
    std::vector<RegisterWrite> TakeWrites();
    // Blocks read from since the last call, each with the number of quadlets from its start.
    struct BlockRead {
        Block block;
        uint32_t quadlets;
        bool operator==(const BlockRead &) const = default;
    };
    std::vector<BlockRead> TakeReads();
    // Reads and writes that didn't lie within one block; they failed.
    uint32_t StrayCount() const { return m_strays; }
    uint32_t OpenHandles() const { return m_openHandles; }

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    bool IsSimulated() const override { return true; }

private:
    static constexpr size_t kBlockCount = 6;
    using Request = kernel::Request;

    bool IsHandle(kernel::DeviceHandle device) override { return device == 1; }
    uint32_t CheckDevice(kernel::DeviceHandle, bool) override { return 0; }
    void CloseDevice(kernel::DeviceHandle device) override;

    kernel::ControlResult AsyncRead(const Request &request, uint32_t address,
                                    std::span<uint8_t> data) override;
    kernel::ControlResult AsyncWrite(const Request &request, uint32_t address,
                                     std::span<const uint8_t> data) override;
    uint32_t IsOpen(const Request &request, bool &isOpen) override;
    uint32_t AllocateBandwidth(const Request &request, kernel::BandwidthRequest &booking) override;
    uint32_t FreeBandwidth(const Request &, uint32_t) override { return 0; }
    uint32_t AllocateChannel(const Request &request, kernel::ChannelRequest &booking) override;
    uint32_t FreeChannel(const Request &, uint32_t) override { return 0; }
    uint32_t AllocateResources(const Request &request, kernel::ResourcesRequest &booking) override;
    uint32_t FreeResources(const Request &, uint32_t) override { return 0; }
    // Nothing ever pends: a stream has its buffers back at once.
    kernel::ControlResult QueueBuffer(const Request &request, std::span<uint8_t> buffer) override;
    uint32_t DetachBuffers(const Request &, uint32_t) override { return 0; }
    uint32_t Listen(const Request &, uint32_t) override { return 0; }
    uint32_t StopListen(const Request &, uint32_t) override { return 0; }

    uint32_t *Find(uint32_t address, size_t quadlets, Block *block);

    kernel::KernelDriver &m_replaced; // by this one while it lives
    std::mutex m_mutex;
    std::array<std::vector<uint32_t>, kBlockCount> m_blocks;
    std::vector<RegisterWrite> m_writes;
    std::vector<BlockRead> m_reads;
    uint32_t m_strays = 0;
    uint32_t m_openHandles = 0;
    bool m_isFast;
};

std::ostream &operator<<(std::ostream &stream, const RegisterBus::BlockRead &read);

} // namespace zerix::test
