// What the tests of the virtual bus share: a client that speaks to the kernel driver's interface
// and nothing else, a plain parser of packets, and a fixture that wants everything given back at
// the end.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "zerix/zerix_sim.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix::test {

// A packet of formats 1 and 2, as bytes on the wire tell it.
struct Packet {
    std::vector<uint8_t> bytes;
    bool isIdle = false;
    bool hasMarker = false;
    bool hasTrailer = false;
    bool hasHeader = false;
    uint8_t frameId = 0;
    uint32_t position = 0;
    uint16_t rollingNumber = 0;
    uint8_t colour = 0;
    uint8_t tag = 0;
    uint32_t time = 0;
    uint8_t field = 0;
    uint8_t depthLess1 = 0;
    std::vector<uint8_t> data;
};
Packet ParsePacket(const uint8_t *bytes, uint32_t length);

struct Frame {
    Packet header;
    std::vector<uint8_t> pixels;
    std::vector<Packet> packets;
};

// Offsets of the control block that the tests write.
struct Setup {
    uint8_t tag = 7;
    uint32_t depthCode = 1;
    uint32_t rateCode = 0;
    bool littleEndian = true;
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 64;
    uint32_t height = 48;
    uint64_t exposureNanoseconds = 10'000'000;
    uint32_t triggerCode = 0;
    uint32_t packetBytes = 1000;
    uint32_t wheel = 0;
};

// One open handle.
class BusClient {
public:
    explicit BusClient(uint32_t pathIndex = 0);
    // Of a rack's first device, which can't be opened perhaps: the handle is then 0.
    struct IfItOpens {};
    explicit BusClient(IfItOpens);
    ~BusClient();
    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;
    void Close();

    kernel::DeviceHandle handle = 0;
    uint32_t bandwidth = 0;
    uint32_t channel = 0;
    uint32_t resources = 0;
    uint32_t slotBytes = 0;

    // Requests; each gives 0 or the system error.
    uint32_t Send(uint32_t code, const void *in, uint32_t inSize, void *out, uint32_t outSize);
    uint32_t SendWord(uint32_t code, uint32_t word, uint32_t *answer = nullptr);
    uint32_t Read(uint32_t address, uint32_t count, std::vector<uint32_t> *words);
    uint32_t Write(uint32_t address, const std::vector<uint32_t> &words);
    uint32_t Word(uint32_t address); // 0xDEADDEAD if it can't be read
    uint32_t AllocateBandwidth(uint32_t bytes);
    uint32_t AllocateChannel();
    uint32_t AllocateResources(uint32_t bytes, uint32_t speedFlag, uint32_t tag = 1);
    uint32_t Connect(uint32_t bytes = 1012, uint32_t speedFlag = kernel::kSpeedFlag800);

    // Addresses of the blocks, read from the camera.
    uint32_t Block(uint32_t directoryOffset);
    uint32_t Information() { return Block(0x08); }
    uint32_t Control() { return Block(0x10); }
    uint32_t Command() { return Block(0x18); }
    uint32_t Status() { return Block(0x20); }
    uint32_t Streaming() { return Block(0x28); }
    void Apply(const Setup &setup); // writes the control words and commits
    uint32_t Commit() { return Write(Command() + 4, {1}); }

    // Streaming.
    void QueueAll(uint32_t count = kernel::kReceiveBuffers);
    uint32_t Listen();
    uint32_t Enable() { return Write(Streaming() + 4, {channel << 24 | 1}); }
    uint32_t Disable() { return Write(Streaming() + 4, {0}); }
    void Start(uint32_t buffers = kernel::kReceiveBuffers);
    // The same, with the first error.
    uint32_t TryToStart(uint32_t buffers);
    uint32_t Stop();
    // The packets of the next buffer, which is queued again; nothing if the request failed (its
    // error is in lastError) or couldn't be queued again.
    std::optional<std::vector<Packet>> NextBuffer();
    // The next packet with image data.
    std::optional<Packet> NextDataPacket();
    // Collects packets until a frame of so many bytes is whole.
    std::optional<Frame> NextFrame(uint32_t bytes);
    uint32_t lastError = 0;

private:
    struct Slot {
        std::vector<uint8_t> bytes;
        kernel::Overlapped request;
    };
    uint32_t Queue(Slot &slot);
    uint32_t TryToQueue(uint32_t count);

    std::vector<std::unique_ptr<Slot>> m_slots;
    size_t m_nextSlot = 0;
    std::vector<Packet> m_waiting;
};

class BusTest : public ::testing::Test {
protected:
    // One camera, "position" in view, and more lines for it.
    void OneCamera(const std::string &cameraLines = "", const std::string &rackLines = "");
    void Choose(const std::string &rackText);
    void SetUp() override;
    void TearDown() override;
    static ZerixSimHeld Held();
    // A test that misuses registers on purpose takes its number; the fixture wants none left over.
    static ZerixSimMistakes TakeMistakes();
};

kernel::KernelDriver &SimDriver();

} // namespace zerix::test
