// Turns the payloads of isochronous packets into frames, on the receive thread and in place: one
// copy from the packet to the frame's buffer. Knows the three stream formats, interlaced fields and
// colour planes. It knows neither camera nor bus: the hardware layer passes it the packets and
// calls it as hal/packet_sink.h documents.
#pragma once

#include <cstdint>
#include <span>

#include "camera/assembler/frame_cursor.h"
#include "camera/assembler/frame_info.h"
#include "hal/packet_sink.h"

namespace zerix {

class FrameAssembler final : public hal::PacketSink {
public:
    void SetUp(const hal::FrameCallbacks &callbacks) override;

    // Also restarts the packet count of format 0. A frame in work stays in work.
    void Begin(uint8_t streamingVersion) override;

    // Reads and writes nothing outside the payload, however short it is.
    void Packet(std::span<uint8_t> payload) override;

    // The frame is marked as stray and no longer valid, and given back to its owner.
    void Drop() override;

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

    hal::FrameCallbacks m_callbacks;
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
