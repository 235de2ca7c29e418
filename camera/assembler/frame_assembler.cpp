// The steps that the stream formats share: the start of a frame, copy and fill, and the check
// whether a frame is done. Receive thread, except for setting up, beginning and dropping.
#include "camera/assembler/frame_assembler.h"

#include <new>

#include "camera/assembler/packet_words.h"
#include "camera/assembler/turn_image.h"

namespace zerix {

namespace {

constexpr uint32_t kPlanesInTurn = 6;

// The planes of the filter wheel, in the order in which they come.
constexpr uint8_t kFirstPlane = 0;
constexpr uint8_t kSecondPlane = 1;
constexpr uint8_t kLastPlane = 3;

// Fields of an interlaced frame.
constexpr uint8_t kFirstField = 1;
constexpr uint8_t kSecondField = 0;

bool HasPlanes(const tStFrameInfo &frame)
{
    return frame.outputFormat >= 1 && frame.outputFormat <= kPlanesInTurn;
}

uint8_t PlaneOf(const uint8_t *header) { return header[2] & 0x0F; }
uint8_t TagOf(const uint8_t *header) { return header[3]; }
uint8_t FieldOf(const uint8_t *header) { return header[8] & 0x0F; }
uint8_t FieldHighOf(const uint8_t *header) { return header[8] >> 4; }
uint8_t BitCodeOf(const uint8_t *header) { return header[9] & 0x0F; }

// Only the continuation of a frame looks like this.
bool IsStray(const tStFrameInfo &frame, const uint8_t *header)
{
    const uint8_t plane = PlaneOf(header);
    return FieldOf(header) == kSecondField ||
           (HasPlanes(frame) && (plane == kSecondPlane || plane == kLastPlane));
}

// A mosaic seen from the far corner.
uint32_t TurnedPattern(uint32_t pattern)
{
    return pattern >= 5 && pattern <= 8 ? 13 - pattern : pattern;
}

// From here on the frame is the run loop's. Release: all that was written to it is seen there.
void GiveAway(tStFrameInfo &frame) { frame.finished.store(true, std::memory_order_release); }

// The run loop may still deliver such a frame, where triggers are awaited; then it is a black one.
void GiveAwayStray(tStFrameInfo &frame)
{
    frame.status = kFrameStray;
    if (frame.size > 0 && frame.data != nullptr)
        std::memset(frame.data, 0, frame.size);
    GiveAway(frame);
}

} // namespace

void FrameAssembler::SetUp(const hal::FrameCallbacks &callbacks)
{
    m_callbacks = callbacks;
    m_frame = nullptr;
    m_cursor.Clear();
}

void FrameAssembler::Begin(uint8_t streamingVersion)
{
    m_streamingVersion = streamingVersion;
    m_expectedPacket = 0;
}

void FrameAssembler::Packet(std::span<uint8_t> payload)
{
    if (m_streamingVersion == 0)
        Block(payload);
    else
        PositionedPacket(payload);
}

// Start ------------------------------------------------------------------------------------------

void FrameAssembler::StartFrame(const uint8_t *header)
{
    if (m_frame != nullptr) {
        if (ContinuesFrame(header))
            return;
        CloseAfterError(kFrameCut);
    }
    tStFrameInfo *frame = m_callbacks.peekFrame(m_callbacks.context);
    if (frame == nullptr)
        return;
    if (IsStray(*frame, header) || TagOf(header) != frame->psn) {
        m_cursor.Clear();
        GiveAwayStray(*frame);
        return;
    }
    m_frame = m_callbacks.getFrame(m_callbacks.context);
    if (m_frame != nullptr)
        TakeFrame(header);
}

// The next plane or the second field goes on with the frame from its start.
bool FrameAssembler::ContinuesFrame(const uint8_t *header)
{
    const uint8_t plane = PlaneOf(header);
    if (HasPlanes(*m_frame) && ((m_cursor.Plane() == kFirstPlane && plane == kSecondPlane) ||
                                (m_cursor.Plane() == kSecondPlane && plane == kLastPlane))) {
        m_cursor.RestartForPlane(plane);
        m_remaining = m_frame->expected;
        return true;
    }
    if (m_frame->interlaced && m_cursor.Field() == kFirstField && FieldOf(header) == kSecondField) {
        m_cursor.RestartForField(kSecondField);
        m_remaining = m_frame->expected;
        return true;
    }
    return false;
}

void FrameAssembler::TakeFrame(const uint8_t *header)
{
    m_cursor.Begin(*m_frame, BitCodeOf(header), PlaneOf(header), FieldOf(header));
    m_fieldHigh = FieldHighOf(header);
    m_frame->status = kFrameGood;
    m_frame->headerWord = static_cast<uint16_t>(WordAt(header));
    m_frame->headerTime = (WordAt(header + 4) << 16) + WordAt(header + 6);
    m_frame->colourPattern = PlaneOf(header);
    m_remaining = m_frame->expected;
}

// Copy and fill ----------------------------------------------------------------------------------

void FrameAssembler::Copy(const uint8_t *bytes, uint32_t count)
{
    if (m_frame == nullptr || m_remaining == 0)
        return;
    count = std::min(count, m_remaining);
    if (const uint32_t error = m_cursor.Place(bytes, count))
        return CloseAfterError(error);
    m_remaining -= count;
    FinishWhenDone();
}

void FrameAssembler::Fill(uint32_t count)
{
    count = std::min(count, m_remaining);
    if (const uint32_t error = m_cursor.Place(nullptr, count))
        return CloseAfterError(error);
    m_remaining -= count;
    FinishWhenDone();
}

// End --------------------------------------------------------------------------------------------

void FrameAssembler::FinishWhenDone()
{
    if (m_frame == nullptr || m_remaining > 0)
        return;
    if (m_frame->interlaced && m_cursor.Field() == kFirstField)
        return;
    if (HasPlanes(*m_frame) && m_cursor.Plane() != kLastPlane)
        return;
    m_cursor.BlackenRest();
    if (m_streamingVersion == 2)
        TurnFrame();
    Deliver();
}

void FrameAssembler::CloseAfterError(uint32_t status)
{
    m_cursor.BlackenRest();
    m_frame->status = status;
    Deliver();
}

// Format 2 comes from sensors that are read out from the far corner.
void FrameAssembler::TurnFrame()
{
    const uint32_t pixelBytes = m_cursor.BytesPerPixel();
    const uint32_t size = m_frame->data == nullptr ? 0 : m_frame->size;
    const bool inPlanes = m_frame->outputFormat == kPlanesInTurn && m_frame->expected > 0;
    const uint32_t partBytes = inPlanes ? std::min(m_frame->expected, size) : size;
    const uint32_t parts = inPlanes ? 3 : 1;
    for (uint32_t part = 0; part < parts && uint64_t{part + 1} * partBytes <= size; ++part)
        TurnImage(m_frame->data + size_t{part} * partBytes, partBytes / pixelBytes, pixelBytes);
    m_frame->colourPattern = TurnedPattern(m_frame->colourPattern);
}

// The wake-up comes after the frame has been given away, so that the run loop finds it.
void FrameAssembler::Deliver()
{
    GiveAway(*m_frame);
    m_frame = nullptr;
    m_cursor.Clear();
    m_callbacks.frameDone(m_callbacks.context);
}

void FrameAssembler::Drop()
{
    if (m_frame != nullptr) {
        m_frame->valid.store(false, std::memory_order_relaxed);
        m_frame->status = kFrameStray;
        GiveAway(*m_frame);
    }
    m_frame = nullptr;
    m_cursor.Clear();
}

std::unique_ptr<hal::PacketSink> hal::MakePacketSink()
{
    return std::unique_ptr<PacketSink>(new (std::nothrow) FrameAssembler);
}

} // namespace zerix
