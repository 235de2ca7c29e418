// Turns the payloads of isochronous packets into frames, on the receive thread and in place: one copy
// from the packet to the frame's buffer. Knows the three stream formats, interlaced fields and colour
// planes. A leaf: it knows neither camera nor bus.
#pragma once

#include <cstdint>

#include "camera/assembler/frame_info.h"

namespace zerix {

// `peekFrame` prepares a frame and returns it, or null; `getFrame` returns the frame prepared last;
// `frameDone` tells that the current frame is finished; `overrun` that the buffer was overwritten
// while it was parsed. All run on the receive thread and must not block.
struct AssemblerCallbacks {
    tStFrameInfo *(*getFrame)(void *context) = nullptr;
    tStFrameInfo *(*peekFrame)(void *context) = nullptr;
    void (*frameDone)(void *context) = nullptr;
    void (*overrun)(void *context) = nullptr;
    void *context = nullptr;
};

class FrameAssembler {
public:
    // Takes the callbacks and forgets the current frame.
    void SetUp(const AssemblerCallbacks &callbacks);

    // Forgets the current frame; nothing is written to it any more.
    void Cancel();

    // 0, 1 or 2. Also restarts the packet count of format 0.
    void SetStreamingVersion(uint8_t version);

    // Parses one payload of `length` bytes, which it may change. Reads and writes nothing outside it.
    void Packet(uint8_t *payload, uint32_t length);

private:
    AssemblerCallbacks m_callbacks;
    tStFrameInfo *m_frame = nullptr;
    uint8_t m_streamingVersion = 0;
};

} // namespace zerix
