// Where the payloads of a stream's packets go. The layer above implements it and makes frames of
// them; this one knows nothing of frames.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "zerix/zerix_hal.h"

namespace zerix::hal {

// The callbacks of HAL_CameraConnect that a sink calls. They run on the receive thread, and must
// not block. All are null for a connection without streaming.
struct FrameCallbacks {
    HAL_FrameCallback getFrame = nullptr;  // returns the frame that was prepared last
    HAL_FrameCallback peekFrame = nullptr; // prepares a frame and returns it, or null
    HAL_EventCallback frameDone = nullptr; // the frame in work is finished
    HAL_EventCallback overrun = nullptr;   // a payload was overwritten while it was parsed
    void *context = nullptr;               // what each of them is given
};

// A device has one for as long as its record lives. Threads: Packet() is called on the receive
// thread, the others on any thread while no packet is passed; the calls of one sink never meet
// unless a callback does not return.
class PacketSink {
public:
    PacketSink() = default;
    virtual ~PacketSink() = default;
    PacketSink(const PacketSink &) = delete;
    PacketSink &operator=(const PacketSink &) = delete;

    // A connection begins; its streams use these callbacks. Forgets the frame in work without
    // touching it: it belonged to the connection before, whose owner may have freed it.
    virtual void SetUp(const FrameCallbacks &callbacks) = 0;

    // A stream begins, in format 0, 1 or 2. Its first packet comes after that.
    virtual void Begin(uint8_t streamingVersion) = 0;

    // One packet's payload of more than 12 bytes, which the sink may change; the driver has it
    // again after the return. Called for every packet of the stream in the order of their arrival:
    // it must neither block nor allocate.
    virtual void Packet(std::span<uint8_t> payload) = 0;

    // The stream is over: gives up the frame in work. Nothing is written to it afterwards, and no
    // callback is called for it. Does nothing without one.
    virtual void Drop() = 0;
};

// A new sink; null without the memory. This layer doesn't define it: the frame assembler does for
// the library, and a test program may. A program without a definition doesn't link.
[[nodiscard]] std::unique_ptr<PacketSink> MakePacketSink();

} // namespace zerix::hal
