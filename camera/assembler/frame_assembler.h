// Turns the payloads of isochronous packets into frames, on the receive thread and in place: one
// copy from the packet to the frame's buffer. Knows the three stream formats, interlaced fields and
// colour planes. A leaf: it knows neither camera nor bus.
#pragma once

#include <cstdint>
#include <span>

#include "camera/assembler/frame_cursor.h"
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
    // Takes the callbacks and forgets the current frame, without touching it.
    void SetUp(const AssemblerCallbacks &callbacks);

    // Forgets the current frame; nothing is written to it any more, and it will not be delivered.
    void Cancel();

    // 0, 1 or 2. Also restarts the packet count of format 0.
    void SetStreamingVersion(uint8_t version);

    // Parses one payload of `length` bytes, which it may change. Reads and writes nothing outside
    // it.
    void Packet(uint8_t *payload, uint32_t length);

private:
    // Formats 1 and 2: one packet at a time, each with its position in the frame.
    void PositionedPacket(std::span<uint8_t> packet);
    void FillGapBefore(uint32_t position, uint8_t id);

    // Format 0: a block of numbered sub-packets, some of which make a group.
    void Block(std::span<uint8_t> block);
    void SubPacket(std::span<uint8_t> bytes, uint8_t number, uint32_t groupSize);
    void FillLostGroups(uint8_t number, uint32_t groupSize);
    bool StartGroup(std::span<uint8_t> bytes);

    // The steps that all formats share. `header` is the 12 bytes after their swap.
    void StartFrame(const uint8_t *header);
    bool ContinuesFrame(const uint8_t *header);
    void Restart();
    void TakeFrame(const uint8_t *header);
    void Copy(const uint8_t *bytes, uint32_t count);
    void Fill(uint32_t count);
    void CloseAfterError(uint32_t status);
    void FinishWhenDone();
    void TurnFrame();
    void Deliver();
    void Drop();

    AssemblerCallbacks m_callbacks;
    tStFrameInfo *m_frame = nullptr;
    FrameCursor m_cursor;
    uint8_t m_fieldHigh = 0; // kept with the frame; nothing depends on it
    uint8_t m_streamingVersion = 0;
    uint32_t m_remaining = 0; // bytes still owed to the frame, the field or the plane

    // Format 0.
    uint8_t m_expectedPacket = 0;
    uint16_t m_groupBytes = 0;
    uint16_t m_bytesInGroup = 0; // still to come

    // Formats 1 and 2.
    uint8_t m_frameId = 0;
    uint32_t m_framePosition = 0; // of the next packet's data
};

} // namespace zerix
