// On the virtual bus with its fast clock a camera takes pictures as quickly as the processor can.
// To get the same files from every run, the tool grants it one exposure at a time. On a real bus
// this does nothing, and times are the computer's.
#pragma once

#include <cstdint>
#include <functional>

namespace zerix::tool {

class FrameCredit {
public:
    FrameCredit(bool isSimulated, uint32_t uniqueId);

    // Runs `grab`, which takes one picture, with one exposure granted; one more every two seconds,
    // for pictures that a fault plan loses.
    // A turning filter wheel takes three exposures for a picture.
    uint32_t WhileGranted(const std::function<uint32_t()> &grab, uint32_t exposures = 1);

    // The same for a call that takes several pictures, one after the other: `exposures` for each.
    uint32_t WhileEachGranted(const std::function<uint32_t()> &call, uint32_t exposures);

    // For whoever takes frames from a stream: grants the exposures of one picture, which may also
    // be those of one that was lost. True of IsGranting: without it no frame comes.
    void Grant(uint32_t exposures = 1) const;
    [[nodiscard]] bool IsGranting() const { return m_isSimulated; }

    // When the frame's exposure began, in nanoseconds since 1970 UTC.
    [[nodiscard]] uint64_t StartOfExposure(uint16_t frameNumber,
                                           uint64_t exposureNanoseconds) const;

private:
    uint32_t WithRefills(const std::function<uint32_t()> &call, uint32_t exposures) const;

    bool m_isVirtual = false; // knows its frames' times, on either clock
    bool m_isSimulated = false;
    uint32_t m_camera = 0;
};

} // namespace zerix::tool
