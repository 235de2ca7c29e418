#include "camera/assembler/frame_cursor.h"

namespace zerix {

namespace {

constexpr uint32_t kFirstInterleaved = 2;
constexpr uint32_t kLastInterleaved = 5;
constexpr uint32_t kPlanesInTurn = 6;
constexpr uint32_t kLargestPlane = 3;

// Of the output formats 2 to 5: samples of a pixel, and the channel of each plane.
struct ChannelRow {
    uint32_t step;
    uint8_t channel[kLargestPlane + 1];
};
constexpr ChannelRow kChannelRows[] = {
    {4, {1, 2, 0, 3}},
    {3, {2, 1, 0, 0}},
    {4, {2, 1, 0, 0}},
    {3, {0, 1, 0, 2}},
};
static_assert(std::size(kChannelRows) == kLastInterleaved - kFirstInterleaved + 1);

} // namespace

void FrameCursor::Begin(const tStFrameInfo &frame, uint8_t bitCode, uint8_t plane, uint8_t field)
{
    m_data = frame.data;
    m_size = frame.data == nullptr ? 0 : frame.size;
    m_placed = 0;
    m_planeBytes = frame.expected;
    m_lineBytes = frame.lineBytes;
    m_outputFormat = frame.outputFormat;
    m_layout = LayoutOf(frame);
    m_bitCode = bitCode;
    m_plane = plane;
    m_field = field;
    if (m_layout != Layout::kStraight)
        PutAt(0, nullptr, m_size);
}

void FrameCursor::RestartForPlane(uint8_t plane)
{
    m_placed = 0;
    m_plane = plane;
}

void FrameCursor::RestartForField(uint8_t field)
{
    m_placed = 0;
    m_field = field;
}

void FrameCursor::BlackenRest()
{
    if (m_layout == Layout::kStraight)
        PutAt(m_placed, nullptr, m_size - m_placed);
}

FrameCursor::Layout FrameCursor::LayoutOf(const tStFrameInfo &frame)
{
    if (frame.interlaced)
        return Layout::kEveryOtherLine;
    if (frame.outputFormat == kPlanesInTurn)
        return Layout::kPlanes;
    if (frame.outputFormat >= kFirstInterleaved && frame.outputFormat <= kLastInterleaved)
        return Layout::kInterleaved;
    return Layout::kStraight;
}

uint32_t FrameCursor::PlaceScattered(const uint8_t *source, uint32_t count)
{
    switch (m_layout) {
    case Layout::kEveryOtherLine:
        return PlaceInLines(source, count);
    case Layout::kPlanes:
        return PlaceInPlane(source, count);
    case Layout::kInterleaved:
        return PlaceInChannel(source, count);
    case Layout::kStraight:
        break;
    }
    return PlaceStraight(source, count);
}

// The second field's lines begin one line in.
uint32_t FrameCursor::PlaceInLines(const uint8_t *source, uint32_t count)
{
    if (m_lineBytes == 0)
        return count == 0 ? kFrameGood : kFrameOverflow;
    while (count > 0) {
        const uint32_t line = m_placed / m_lineBytes;
        const uint32_t column = m_placed % m_lineBytes;
        const uint64_t row = uint64_t{line} * 2 + (m_field == 0 ? 1 : 0);
        const uint32_t piece = std::min(count, m_lineBytes - column);
        if (!PutIfItFits(row * m_lineBytes + column, source, piece))
            return kFrameOverflow;
        m_placed += piece;
        count -= piece;
        if (source != nullptr)
            source += piece;
    }
    return kFrameGood;
}

uint32_t FrameCursor::PlaceInPlane(const uint8_t *source, uint32_t count)
{
    const uint32_t place = m_plane == 1 ? 1 : m_plane == 3 ? 2 : 0;
    if (!PutIfItFits(uint64_t{m_planeBytes} * place + m_placed, source, count))
        return kFrameOverflow;
    m_placed += count;
    return kFrameGood;
}

// Byte by byte, because a packet may end within a sample.
uint32_t FrameCursor::PlaceInChannel(const uint8_t *source, uint32_t count)
{
    if (m_plane > kLargestPlane)
        return kFrameCut;
    const ChannelRow &row = kChannelRows[m_outputFormat - kFirstInterleaved];
    const uint32_t sampleBytes = BytesPerPixel();
    for (uint32_t i = 0; i < count; ++i, ++m_placed) {
        const uint64_t sample = uint64_t{m_placed / sampleBytes} * row.step + row.channel[m_plane];
        const uint64_t position = sample * sampleBytes + m_placed % sampleBytes;
        if (!PutIfItFits(position, source == nullptr ? nullptr : source + i, 1))
            return kFrameOverflow;
    }
    return kFrameGood;
}

// False if not all of it fits; what does is put.
bool FrameCursor::PutIfItFits(uint64_t position, const uint8_t *source, uint32_t count)
{
    const uint64_t room = position < m_size ? m_size - position : 0;
    const uint32_t fits = static_cast<uint32_t>(std::min<uint64_t>(count, room));
    PutAt(position, source, fits);
    return fits == count;
}

} // namespace zerix
