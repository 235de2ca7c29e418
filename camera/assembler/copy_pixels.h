// The copy of a packet's pixels to the frame. From packet to packet, source and target shift
// against each other by the packet's header, and the C library's copy chooses its way anew for
// each; for a few thousand bytes that shows. This one takes the plain way through whole cache lines
// of the frame.
#pragma once

#include <cstdint>
#include <cstring>

namespace zerix {

inline void CopyPixels(uint8_t *target, const uint8_t *source, uint32_t count)
{
    constexpr uint32_t kLine = 64; // a constant size, so that each is a few wide loads and stores
    if (count >= kLine) {
        // The first line as it lies; what it shares with the next one is written twice.
        std::memcpy(target, source, kLine);
        const auto toNextLine =
            kLine - static_cast<uint32_t>(reinterpret_cast<uintptr_t>(target) % kLine);
        target += toNextLine;
        source += toNextLine;
        count -= toNextLine;
    }
    for (; count >= kLine; count -= kLine, target += kLine, source += kLine)
        std::memcpy(target, source, kLine);
    if (count > 0)
        std::memcpy(target, source, count);
}

} // namespace zerix
