// Where the next byte of an image goes in its frame's buffer: straight on, to every other line, or
// to one channel of the pixels. Copying and filling with black are one rule.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "camera/assembler/copy_pixels.h"
#include "camera/assembler/frame_info.h"

namespace zerix {

class FrameCursor {
public:
    // Goes to the start of a new frame. A frame whose bytes don't come in order begins black, so
    // that what never comes is black.
    void Begin(const tStFrameInfo &frame, uint8_t bitCode, uint8_t plane, uint8_t field);

    // Goes back to the start, for the next plane or field.
    void RestartForPlane(uint8_t plane);
    void RestartForField(uint8_t field);

    // Has no place any more: everything overflows.
    void Clear() { *this = {}; }

    // Places `count` bytes, or as many bytes of black if `source` is null. What fits is placed;
    // returns kFrameOverflow if something didn't, kFrameCut for a plane that the format doesn't
    // have.
    [[nodiscard]] uint32_t Place(const uint8_t *source, uint32_t count)
    {
        return m_layout == Layout::kStraight ? PlaceStraight(source, count)
                                             : PlaceScattered(source, count);
    }

    // Makes everything black that has not been placed.
    void BlackenRest();

    [[nodiscard]] uint8_t Plane() const { return m_plane; }
    [[nodiscard]] uint8_t Field() const { return m_field; }
    [[nodiscard]] uint32_t BytesPerPixel() const { return m_bitCode < 8 ? 1 : 2; }

private:
    enum class Layout : uint8_t { kStraight, kEveryOtherLine, kPlanes, kInterleaved };

    static Layout LayoutOf(const tStFrameInfo &frame);

    uint32_t PlaceStraight(const uint8_t *source, uint32_t count)
    {
        const uint32_t fits = std::min(count, m_size - m_placed);
        PutAt(m_placed, source, fits);
        m_placed += fits;
        return fits == count ? kFrameGood : kFrameOverflow;
    }
    uint32_t PlaceScattered(const uint8_t *source, uint32_t count);
    uint32_t PlaceInLines(const uint8_t *source, uint32_t count);
    uint32_t PlaceInPlane(const uint8_t *source, uint32_t count);
    uint32_t PlaceInChannel(const uint8_t *source, uint32_t count);
    bool PutIfItFits(uint64_t position, const uint8_t *source, uint32_t count);

    void PutAt(uint64_t position, const uint8_t *source, uint32_t count)
    {
        if (count == 0)
            return;
        if (source != nullptr)
            CopyPixels(m_data + position, source, count);
        else
            std::memset(m_data + position, 0, count);
    }

    uint8_t *m_data = nullptr;
    uint32_t m_size = 0;
    uint32_t m_placed = 0; // bytes of this frame, plane or field
    uint32_t m_planeBytes = 0;
    uint32_t m_lineBytes = 0;
    uint32_t m_outputFormat = 0;
    Layout m_layout = Layout::kStraight;
    uint8_t m_bitCode = 0; // bit depth minus 1
    uint8_t m_plane = 0;   // colour of the wheel: 0, 1 or 3
    uint8_t m_field = 0;   // 0 is the second one
};

} // namespace zerix
