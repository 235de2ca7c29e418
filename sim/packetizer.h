// Cuts the pixels of a frame into the packets of the three stream formats. Fields of 16 bits are
// big-endian on the wire (32 bits in the lead of format 0). Not for use by two threads at once.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zerix::sim {

struct FrameLayout {
    uint16_t streamingVersion = 1;
    uint32_t packetBytes = 4080; // most that a packet may have, header and trailer included
    uint16_t rollingFrameNumber = 0;
    uint8_t tag = 0;
    uint8_t colourCode = 0; // mosaic 5 to 8, filter wheel 0, 1, 3, plain 0
    uint8_t bitDepth = 8;
    uint32_t time = 0;      // start of exposure, microseconds since power-on, wrapping
    bool twoFields = false; // even lines first, then odd ones, each with a header of its own
    uint32_t lineBytes = 0; // of frames in two fields
};

class Packetizer {
public:
    // Begins a frame. Its pixels are copied.
    void Begin(const FrameLayout &layout, std::span<const uint8_t> pixels);

    // Makes the next packet; false when the frame has no more.
    bool Next(std::vector<uint8_t> &packet);

    // Pixel bytes that the sensor must have read out before the packet made last can go.
    [[nodiscard]] uint32_t BytesTaken() const;

    // The packet of a slot without image data.
    static std::vector<uint8_t> IdlePacket();

private:
    void MakePositioned(std::vector<uint8_t> &packet);
    void MakeGroup(std::vector<uint8_t> &packet);
    void WriteFrameHeader(uint8_t *header, uint16_t lastWord) const;
    [[nodiscard]] uint32_t FieldEnd() const;
    void SplitFields();

    FrameLayout m_layout;
    std::vector<uint8_t> m_pixels; // in the order of sending
    uint32_t m_sent = 0;
    uint32_t m_fieldStart = 0;
    uint32_t m_firstFieldBytes = 0;
    bool m_atFieldStart = false;
    uint8_t m_frameId = 0;   // of formats 1 and 2: counts the headers sent
    uint8_t m_subPacket = 0; // of format 0: runs on from frame to frame
};

} // namespace zerix::sim
